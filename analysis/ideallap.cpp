#include "ideallap.h"

#include "laptime.h"
#include "timeatdistance.h"

namespace {

// A lap covers the track when its samples reach this close to the line at both ends; the
// rest is carried on from the nearest samples.
constexpr double lineShare = 0.01;

} // namespace

std::optional<IdealLap> IdealLap::of(const Laps &laps, std::optional<double> trackLength,
                                     int sectors)
{
    if (!trackLength || !(*trackLength > 0.0) || sectors < 1)
        return std::nullopt;
    const double length = *trackLength;

    IdealLap ideal;
    for (int k = 0; k < sectors; ++k)
        ideal.m_sectors.append({INFINITY, -1});
    for (qsizetype i = 0; i < laps.size(); ++i) {
        if (!LapTime::isTimedLap(laps[i]->header()))
            continue;
        const std::optional<TimeAtDistance> times = TimeAtDistance::of(*laps[i], length);
        if (!times || times->firstDistance() > lineShare * length
            || times->lastDistance() < (1.0 - lineShare) * length)
            continue;
        // The samples' clock and the simulator's lap time can differ by part of a tick: the
        // sectors are scaled to add up to the lap time, so that no lap beats the ideal one.
        const double driven = times->at(length) - times->at(0.0);
        if (!(driven > 0.0))
            continue;
        const double scale = LapTime::seconds(laps[i]->header().lapTime) / driven;
        ++ideal.m_lapCount;
        double start = times->at(0.0);
        for (int k = 0; k < sectors; ++k) {
            const double end = times->at(length * (k + 1) / sectors);
            const double time = (end - start) * scale;
            if (time < ideal.m_sectors[k].time)
                ideal.m_sectors[k] = {time, i};
            start = end;
        }
    }
    if (ideal.m_lapCount == 0)
        return std::nullopt;
    for (const Sector &sector : ideal.m_sectors)
        ideal.m_time += sector.time;
    return ideal;
}
