#pragma once

#include "lap.h"

#include <QList>

#include <optional>

// A lap's time through each sector of the track: its session time at the sector's two ends
// (see TimeAtDistance), scaled so that its sectors add up to its lap time, since the samples'
// clock and the simulator's lap time can differ by part of a tick.
//
// Sectors are given by the lap distances, in metres, at which they start: the first at the
// line, rising; the last ends at the line again, one track length on.
class SectorTimes
{
public:
    // The starts of sectors given as fractions of a lap, as the session text lists them.
    static QList<double> starts(double trackLength, const QList<double> &fractions);
    // The starts of that many equal sectors.
    static QList<double> equalStarts(double trackLength, int sectors);

    // Null when the lap is not timed, does not cover the track (its samples must reach within
    // 1% of a lap of the line at both ends), or without a track length or sectors.
    static std::optional<SectorTimes> of(const ZUM::SDK::Lap &lap, double trackLength,
                                         const QList<double> &starts);

    // Seconds, one per sector, in the order of the starts.
    const QList<double> &times() const { return m_times; }

private:
    QList<double> m_times;
};
