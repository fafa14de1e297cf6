#include "lapseries.h"

#include <algorithm>
#include <cmath>

namespace {

// A fall of the distance by more than this share of its span starts a new segment.
constexpr double fallShare = 0.05;

} // namespace

QList<QPolygonF> LapSeries::overDistance(const std::vector<double> &distance,
                                         const std::vector<double> &values)
{
    double low = INFINITY;
    double high = -INFINITY;
    for (const double x : distance) {
        if (std::isfinite(x)) {
            low = std::min(low, x);
            high = std::max(high, x);
        }
    }
    const double fall = low <= high ? fallShare * (high - low) : 0.0;

    QList<QPolygonF> segments;
    QPolygonF current;
    const auto close = [&] {
        if (current.size() >= 2)
            segments.append(current);
        current.clear();
    };
    for (size_t i = 0; i < std::min(distance.size(), values.size()); ++i) {
        const double x = distance[i];
        if (!std::isfinite(x) || !std::isfinite(values[i])) {
            close();
            continue;
        }
        if (!current.isEmpty() && x < current.last().x() - fall)
            close();
        current.append(QPointF(x, values[i]));
    }
    close();
    return segments;
}

double LapSeries::coveredDistance(const QList<QPolygonF> &segments)
{
    double covered = 0.0;
    for (const QPolygonF &segment : segments)
        covered += std::max(segment.last().x() - segment.first().x(), 0.0);
    return covered;
}

QList<QPolygonF> LapSeries::steps(const QList<QPolygonF> &segments)
{
    QList<QPolygonF> result;
    for (const QPolygonF &segment : segments) {
        QPolygonF stepped;
        stepped.reserve(segment.size() * 2);
        for (qsizetype i = 0; i < segment.size(); ++i) {
            if (i > 0 && segment[i].y() != segment[i - 1].y())
                stepped.append(QPointF(segment[i].x(), segment[i - 1].y()));
            stepped.append(segment[i]);
        }
        result.append(stepped);
    }
    return result;
}
