#include "sample.h"

namespace ZUM::SDK {

QDataStream &operator<<(QDataStream &stream, const Sample &sample)
{
    return stream << static_cast<const CarInfo &>(sample);
}

QDataStream &operator>>(QDataStream &stream, Sample &sample)
{
    return stream >> static_cast<CarInfo &>(sample);
}

} // namespace ZUM::SDK
