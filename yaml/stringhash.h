#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// Hashes names given either as std::string or as std::string_view to the same value, so that
// maps keyed by std::string can be searched with a slice of a path without building a string.
struct StringHash
{
    using is_transparent = void;

    std::size_t operator()(std::string_view text) const noexcept
    {
        return std::hash<std::string_view> {}(text);
    }
    std::size_t operator()(const std::string &text) const noexcept
    {
        return std::hash<std::string_view> {}(text);
    }
    std::size_t operator()(const char *text) const noexcept
    {
        return std::hash<std::string_view> {}(text);
    }
};
