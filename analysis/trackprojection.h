#pragma once

#include "lap.h"

#include <QList>
#include <QPointF>
#include <QRectF>

#include <optional>
#include <vector>

// The shape of the track as one lap drove it, from the car's "lat" and "lon": an
// equirectangular projection around the lap's mean latitude, in metres east (x) and north
// (y) of the lap's mean position, so that distances keep their proportions at the scale of
// a track.
class TrackProjection
{
public:
    // Null when the lap has fewer than two positions. Samples without a position, or at
    // 0/0 where the simulator has none, are left out. trackLength: where the lap distance
    // comes round to the line again; without it, the lap's longest distance.
    static std::optional<TrackProjection> of(const ZUM::SDK::Lap &lap,
                                             std::optional<double> trackLength = std::nullopt);
    // The same of positions in degrees, each with the lap's speed and lap distance there.
    static std::optional<TrackProjection> of(const std::vector<double> &latitude,
                                             const std::vector<double> &longitude,
                                             const std::vector<double> &speed,
                                             const std::vector<double> &distance,
                                             std::optional<double> trackLength);

    const QList<QPointF> &points() const { return m_points; }
    // The lap's "speed" at each point, in its own unit; NaN where it has none.
    const QList<double> &speeds() const { return m_speeds; }
    // Where the lap passes the line: its point of lap distance nearest to 0 or to the track
    // length; null when the lap never comes within 2% of a lap of it, such as an out lap cut
    // short, or has no distance.
    std::optional<QPointF> startFinish() const
    {
        return m_startFinish >= 0 ? std::optional<QPointF>(m_points[m_startFinish]) : std::nullopt;
    }
    QRectF bounds() const;

private:
    QList<QPointF> m_points;
    QList<double> m_speeds;
    qsizetype m_startFinish = -1;
};
