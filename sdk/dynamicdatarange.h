#pragma once

#include "value.h"
#include "zumsdk_global.h"

#include <QString>

#include <unordered_map>

namespace ZUM::SDK {

using DynamicDataMap = std::unordered_map<QString, Value>;

// All entries of one DynamicData, valid while that DynamicData is not changed.
class ZUMSDK_EXPORT DynamicDataRange
{
public:
    DynamicDataRange(DynamicDataMap::const_iterator begin, DynamicDataMap::const_iterator end)
        : m_begin(begin)
        , m_end(end)
    { }

    DynamicDataMap::const_iterator begin() const { return m_begin; }
    DynamicDataMap::const_iterator end() const { return m_end; }

private:
    DynamicDataMap::const_iterator m_begin;
    DynamicDataMap::const_iterator m_end;
};

} // namespace ZUM::SDK
