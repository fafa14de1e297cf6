#pragma once

#include "ideallap.h"
#include "lapchannels.h"

#include <QString>

#include <cmath>
#include <optional>

// What a driver asks of a session after the lap list: the best lap, how even the timed laps
// were, the ideal lap, the top speed and the fuel a lap takes. Every number is in the unit
// the laps carry; NaN where the laps do not give it.
struct SessionSummary
{
    static SessionSummary of(const Laps &laps);

    qsizetype best = -1; // index of the fastest timed lap
    int timedLaps = 0;
    double average = NAN; // seconds, over the timed laps
    double spread = NAN; // standard deviation of the timed laps' times; needs two of them
    std::optional<IdealLap> ideal;

    double topSpeed = NAN; // highest "speed" of any lap
    QString speedUnit;
    qsizetype topSpeedLap = -1;

    double fuelPerLap = NAN; // "fuellevel" at the start less at the end, over the timed laps
    QString fuelUnit;
    int fuelLaps = 0; // timed laps that measure it: a lap that refuels does not
};
