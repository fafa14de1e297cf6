#pragma once

#include "lapheader.h"

#include <QString>
#include <QTime>

// How lap times are read and shown. The import stores a lap time as a time of day (00:00
// plus the lap time) and marks a lap the simulator did not time with 59:59.000.
class LapTime
{
public:
    // False for no time and for the marker of an untimed lap.
    static bool isTimed(const QTime &lapTime);
    // A lap that crossed the line and has a time: the laps that times are compared over.
    static bool isTimedLap(const ZUM::SDK::LapHeader &header);
    // The lap time in seconds, from its milliseconds.
    static double seconds(const QTime &lapTime);

    // "1:39.612"; "no time" for the marker of an untimed lap, "-" when there is no time at
    // all. Lap times of an hour or more get their hours in front.
    static QString text(const QTime &lapTime);
    // A lap time in seconds as "1:39.612", "0:15.098"; from an hour on with its hours,
    // "1:02:03.004".
    static QString text(double seconds);
    // A session time in seconds as "h:mm:ss.zzz", "1:10:16.383".
    static QString clockText(double seconds);
};
