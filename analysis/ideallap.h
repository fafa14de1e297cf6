#pragma once

#include "lapchannels.h"

#include <QList>

#include <optional>

// The lap a driver could put together from his own best parts: the track cut into equal
// mini-sectors by lap distance, and the fastest time through each of them that any timed lap
// drove, added up. A lap's time through a sector comes from its session time at the sector's
// two ends (see TimeAtDistance), scaled so that its sectors add up to its lap time: the ideal
// lap is never slower than the best.
class IdealLap
{
public:
    static constexpr int Sectors = 20;

    struct Sector
    {
        double time; // seconds
        qsizetype lap; // index of the lap that drove it fastest
    };

    // From the timed laps that cover the whole track; null when there is none, or without a
    // track length.
    static std::optional<IdealLap> of(const Laps &laps, std::optional<double> trackLength,
                                      int sectors = Sectors);

    double time() const { return m_time; }
    const QList<Sector> &sectors() const { return m_sectors; }
    // How many laps were compared.
    int lapCount() const { return m_lapCount; }

private:
    double m_time = 0.0;
    QList<Sector> m_sectors;
    int m_lapCount = 0;
};
