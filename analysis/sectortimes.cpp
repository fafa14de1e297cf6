#include "sectortimes.h"

#include "laptime.h"
#include "timeatdistance.h"

namespace {

// A lap covers the track when its samples reach this close to the line at both ends; the
// rest is carried on from the nearest samples.
constexpr double lineShare = 0.01;

} // namespace

QList<double> SectorTimes::starts(double trackLength, const QList<double> &fractions)
{
    QList<double> starts;
    starts.reserve(fractions.size());
    for (double fraction : fractions)
        starts.append(trackLength * fraction);
    return starts;
}

QList<double> SectorTimes::equalStarts(double trackLength, int sectors)
{
    QList<double> starts;
    starts.reserve(sectors);
    for (int k = 0; k < sectors; ++k)
        starts.append(trackLength * k / sectors);
    return starts;
}

std::optional<SectorTimes> SectorTimes::of(const ZUM::SDK::Lap &lap, double trackLength,
                                           const QList<double> &starts)
{
    if (!(trackLength > 0.0) || starts.isEmpty() || !LapTime::isTimedLap(lap.header()))
        return std::nullopt;
    const std::optional<TimeAtDistance> times = TimeAtDistance::of(lap, trackLength);
    if (!times || times->firstDistance() > lineShare * trackLength
        || times->lastDistance() < (1.0 - lineShare) * trackLength)
        return std::nullopt;
    const double driven = times->at(trackLength) - times->at(0.0);
    if (!(driven > 0.0))
        return std::nullopt;
    const double scale = LapTime::seconds(lap.header().lapTime) / driven;

    SectorTimes sectors;
    sectors.m_times.reserve(starts.size());
    double start = times->at(starts.front());
    for (qsizetype k = 0; k < starts.size(); ++k) {
        const double end = times->at(k + 1 < starts.size() ? starts[k + 1] : trackLength);
        sectors.m_times.append((end - start) * scale);
        start = end;
    }
    return sectors;
}
