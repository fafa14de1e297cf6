#pragma once

#include "zumsdk_global.h"

#include <QString>

namespace ZUM::SDK {

// Where a car is and what kind of lap it is on at one tick.
enum class CarStatus : qint32 {
    Undefined = -1,
    NotConnected = 0,
    NotInWorld = 1,
    WaitingForStart = 2,
    InPitStall = 3,
    InPitLane = 4,
    OutLap = 5,
    FlyingLap = 6,
    OnTrack = 7,
    OffTrack = 8,
};

// The display text of a status; a null string for a value that is not a status.
ZUMSDK_EXPORT QString carStatusToString(CarStatus status);

} // namespace ZUM::SDK
