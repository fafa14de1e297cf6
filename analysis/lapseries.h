#pragma once

#include <QList>
#include <QPolygonF>

#include <vector>

// A channel of a lap drawn over its lap distance: line segments that break where a value is
// missing and where the distance falls back (the next lap's counter showing at the end, or
// the last lap's at the start).
class LapSeries
{
public:
    static QList<QPolygonF> overDistance(const std::vector<double> &distance,
                                         const std::vector<double> &values);
    // The distance the segments cover, each counted from its first to its last point.
    static double coveredDistance(const QList<QPolygonF> &segments);
    // The same segments as steps: each value held until the next one, as a gear is.
    static QList<QPolygonF> steps(const QList<QPolygonF> &segments);
};
