#include "channel.h"

#include <bit>

namespace ZUM::SDK {

static_assert(std::bit_cast<quint64>(InvalidValue) == 0x45208B2A20000000ULL);
static_assert(std::bit_cast<quint64>(ValidValueLimit) == 0x44EA784380000000ULL);

bool isValidValue(double value)
{
    return value < ValidValueLimit;
}

Channel::Channel(std::initializer_list<double> values)
    : m_values(values)
{ }

void Channel::reserve(qint64 count)
{
    if (count > 0)
        m_values.reserve(size_t(count));
}

void Channel::resize(qint64 count)
{
    m_values.resize(size_t(qMax<qint64>(count, 0)));
}

} // namespace ZUM::SDK
