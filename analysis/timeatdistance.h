#pragma once

#include "lap.h"

#include <optional>
#include <vector>

// When a lap reached each point of the track: its session time over its lap distance,
// linear between samples and carried on along the nearest two samples beyond either end,
// so that the line itself, which falls between two samples, gets a time too.
//
// Samples without a distance or a time are skipped; so are the stretches where the distance
// wraps (the next lap's counter showing at the end) and the samples where the car did not
// move on, which keeps the distance strictly rising.
class TimeAtDistance
{
public:
    // Null when the lap has fewer than two usable samples.
    static std::optional<TimeAtDistance> of(const ZUM::SDK::Lap &lap,
                                            std::optional<double> trackLength);

    // The session time at that distance in metres.
    double at(double distance) const;

    double firstDistance() const { return m_distance.front(); }
    double lastDistance() const { return m_distance.back(); }

private:
    TimeAtDistance(std::vector<double> distance, std::vector<double> time);

    std::vector<double> m_distance; // strictly rising
    std::vector<double> m_time;
};
