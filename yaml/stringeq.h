#pragma once

#include <string_view>

// Byte equality of names given either as std::string or as std::string_view; the partner of
// StringHash for lookups that allocate nothing.
struct StringEq
{
    using is_transparent = void;

    bool operator()(std::string_view a, std::string_view b) const noexcept { return a == b; }
};
