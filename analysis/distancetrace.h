#pragma once

#include "lap.h"

#include <QList>
#include <QPolygonF>
#include <QString>

#include <optional>
#include <vector>

// One channel of a lap over its lap distance, for a view that asks for values at any
// distance and draws any stretch of it: the lap's longest run of rising distance (the next
// lap's counter at the end, or the last lap's at the start, left out), with the channel's
// values as recorded.
class DistanceTrace
{
public:
    DistanceTrace() = default;
    // Empty when the lap has no such channel or no distance.
    static DistanceTrace of(const ZUM::SDK::Lap &lap, const QString &channel,
                            std::optional<double> trackLength);
    // The same of values given per sample with their distances.
    static DistanceTrace of(const std::vector<double> &distance, const std::vector<double> &values);

    bool isEmpty() const { return m_distance.empty(); }
    qsizetype size() const { return qsizetype(m_distance.size()); }
    double firstDistance() const { return m_distance.front(); }
    double lastDistance() const { return m_distance.back(); }

    // The value at that distance, linear between the two samples around it; NaN outside the
    // trace and where either sample holds no value.
    double at(double distance) const;
    // The value of the sample at or before that distance, as a gear is held until the next
    // sample; NaN outside the trace.
    double heldAt(double distance) const;

    // The lowest and highest value over the whole trace; an empty range when it has none.
    std::pair<double, double> valueRange() const;

    // The stretch from low to high as a line to draw `columns` pixel columns wide, with
    // the samples just outside so that it runs to the edges. The samples of each pixel column
    // are reduced to their lowest and highest value, so that the line's length follows the
    // width, not the lap's length, and keeps every peak. Breaks where a value is missing.
    QList<QPolygonF> decimated(double low, double high, int columns) const;

private:
    std::vector<double> m_distance; // rising
    std::vector<double> m_values;
};
