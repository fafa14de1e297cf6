#pragma once

#include "timeatdistance.h"

#include <QList>
#include <QPointF>

// How much time a lap lost (positive) or gained (negative) against a reference lap on the
// way to each point of the track: the time each took from the line to the same distance,
// interpolated, the one minus the other.
class LapDelta
{
public:
    static constexpr int Points = 600;

    // (distance in metres, seconds) at `points` equally spaced distances from the line to
    // trackLength, where both laps have samples around them.
    static QList<QPointF> of(const TimeAtDistance &lap, const TimeAtDistance &reference,
                             double trackLength, int points = Points);
};
