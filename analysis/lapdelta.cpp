#include "lapdelta.h"

#include <algorithm>

namespace {

// How far before its first or past its last sample a lap's time is still carried on.
constexpr double edgeShare = 0.01;

} // namespace

QList<QPointF> LapDelta::of(const TimeAtDistance &lap, const TimeAtDistance &reference,
                            double trackLength, int points)
{
    QList<QPointF> result;
    if (!(trackLength > 0.0) || points < 2)
        return result;
    const double edge = edgeShare * trackLength;
    const double low = std::max(lap.firstDistance(), reference.firstDistance()) - edge;
    const double high = std::min(lap.lastDistance(), reference.lastDistance()) + edge;
    const double lapStart = lap.at(0.0);
    const double referenceStart = reference.at(0.0);
    result.reserve(points);
    for (int k = 0; k < points; ++k) {
        const double distance = trackLength * k / (points - 1);
        if (distance < low || distance > high)
            continue;
        result.append(
            {distance, (lap.at(distance) - lapStart) - (reference.at(distance) - referenceStart)});
    }
    return result;
}
