#pragma once

#include "carinfo.h"
#include "dynamicdata.h"
#include "zumsdk_global.h"

#include <QDataStream>
#include <QMetaType>

namespace ZUM::SDK {

// One tick of one car: who the car is and in what state, plus the simulator's variables
// of that tick by name.
class ZUMSDK_EXPORT Sample : public CarInfo
{
public:
    DynamicData dynamicData;
};

// A sample streams as its car record alone: its named values are neither written nor read.
ZUMSDK_EXPORT QDataStream &operator<<(QDataStream &stream, const Sample &sample);
ZUMSDK_EXPORT QDataStream &operator>>(QDataStream &stream, Sample &sample);

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(ZUM::SDK::Sample)
