#include "timeatdistance.h"

#include "lapchannels.h"
#include "lapseries.h"

#include <algorithm>
#include <cmath>

TimeAtDistance::TimeAtDistance(std::vector<double> distance, std::vector<double> time)
    : m_distance(std::move(distance))
    , m_time(std::move(time))
{ }

std::optional<TimeAtDistance> TimeAtDistance::of(const ZUM::SDK::Lap &lap,
                                                 std::optional<double> trackLength)
{
    const std::vector<double> distance = LapChannels::distance(lap, trackLength);
    const std::vector<double> time = LapChannels::values(lap, QStringLiteral("sessiontime"));

    // The longest stretch between two falls of the distance, points where the car moved on.
    const QList<QPolygonF> segments = LapSeries::overDistance(distance, time);
    const auto longest = std::max_element(
        segments.begin(), segments.end(), [](const QPolygonF &a, const QPolygonF &b) {
            return LapSeries::coveredDistance({a}) < LapSeries::coveredDistance({b});
        });
    if (longest == segments.end())
        return std::nullopt;
    std::vector<double> keptDistance;
    std::vector<double> keptTime;
    for (const QPointF &point : *longest) {
        if (!keptDistance.empty()
            && (point.x() <= keptDistance.back() || point.y() <= keptTime.back()))
            continue;
        keptDistance.push_back(point.x());
        keptTime.push_back(point.y());
    }
    if (keptDistance.size() < 2)
        return std::nullopt;
    return TimeAtDistance(std::move(keptDistance), std::move(keptTime));
}

double TimeAtDistance::at(double distance) const
{
    // The segment that holds the distance, or the first or last one beyond either end.
    const auto upper = std::upper_bound(m_distance.begin(), m_distance.end(), distance);
    const size_t i
        = std::clamp<size_t>(size_t(upper - m_distance.begin()), 1, m_distance.size() - 1);
    const double share = (distance - m_distance[i - 1]) / (m_distance[i] - m_distance[i - 1]);
    return m_time[i - 1] + share * (m_time[i] - m_time[i - 1]);
}
