#include "value.h"

namespace ZUM::SDK {

Value::Value(const QVariant &value, QString unit)
    : QVariant(value)
    , m_unit(std::move(unit))
{ }

bool Value::operator==(const Value &other)
{
    return m_unit == other.m_unit
        && static_cast<const QVariant &>(*this) == static_cast<const QVariant &>(other);
}

bool Value::operator!=(const Value &other)
{
    return !(*this == other);
}

} // namespace ZUM::SDK
