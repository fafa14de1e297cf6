#pragma once

#include "lapchannels.h"

#include <QList>

#include <optional>

// The lap a driver could put together from his own best parts: the track cut into sectors by
// lap distance (equal mini-sectors, or the track's own), and the fastest time through each of
// them that any timed lap drove, added up. A lap's sectors add up to its lap time (see
// SectorTimes): the ideal lap is never slower than the best.
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
    // The same over sectors that start at these fractions of a lap (the first 0, rising), such
    // as the track's own.
    static std::optional<IdealLap> of(const Laps &laps, std::optional<double> trackLength,
                                      const QList<double> &sectorStarts);

    double time() const { return m_time; }
    const QList<Sector> &sectors() const { return m_sectors; }
    // How many laps were compared.
    int lapCount() const { return m_lapCount; }

private:
    // Over sectors that start at these lap distances in metres.
    static std::optional<IdealLap> ofStarts(const Laps &laps, double trackLength,
                                            const QList<double> &starts);

    double m_time = 0.0;
    QList<Sector> m_sectors;
    int m_lapCount = 0;
};
