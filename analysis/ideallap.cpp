#include "ideallap.h"

#include "sectortimes.h"

#include <cmath>

std::optional<IdealLap> IdealLap::of(const Laps &laps, std::optional<double> trackLength,
                                     int sectors)
{
    if (!trackLength || !(*trackLength > 0.0) || sectors < 1)
        return std::nullopt;
    return ofStarts(laps, *trackLength, SectorTimes::equalStarts(*trackLength, sectors));
}

std::optional<IdealLap> IdealLap::of(const Laps &laps, std::optional<double> trackLength,
                                     const QList<double> &sectorStarts)
{
    if (!trackLength || !(*trackLength > 0.0) || sectorStarts.isEmpty())
        return std::nullopt;
    return ofStarts(laps, *trackLength, SectorTimes::starts(*trackLength, sectorStarts));
}

std::optional<IdealLap> IdealLap::ofStarts(const Laps &laps, double trackLength,
                                           const QList<double> &starts)
{
    IdealLap ideal;
    ideal.m_sectors.fill({INFINITY, -1}, starts.size());
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const std::optional<SectorTimes> sectors = SectorTimes::of(*laps[i], trackLength, starts);
        if (!sectors)
            continue;
        ++ideal.m_lapCount;
        for (qsizetype k = 0; k < starts.size(); ++k) {
            if (sectors->times()[k] < ideal.m_sectors[k].time)
                ideal.m_sectors[k] = {sectors->times()[k], i};
        }
    }
    if (ideal.m_lapCount == 0)
        return std::nullopt;
    for (const Sector &sector : ideal.m_sectors)
        ideal.m_time += sector.time;
    return ideal;
}
