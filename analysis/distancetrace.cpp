#include "distancetrace.h"

#include "lapchannels.h"

#include <algorithm>
#include <cmath>

DistanceTrace DistanceTrace::of(const ZUM::SDK::Lap &lap, const QString &channel,
                                std::optional<double> trackLength)
{
    return of(LapChannels::distance(lap, trackLength), LapChannels::values(lap, channel));
}

DistanceTrace DistanceTrace::of(const std::vector<double> &distance,
                                const std::vector<double> &values)
{
    const size_t count = std::min(distance.size(), values.size());

    // The longest run over which the distance never falls back.
    size_t bestFirst = 0, bestEnd = 0, first = 0;
    double bestCovered = -1.0;
    const auto closeRun = [&](size_t end) {
        size_t a = first;
        while (a < end && !std::isfinite(distance[a]))
            ++a;
        size_t b = end;
        while (b > a && !std::isfinite(distance[b - 1]))
            --b;
        const double covered = b > a ? distance[b - 1] - distance[a] : -1.0;
        if (covered > bestCovered) {
            bestCovered = covered;
            bestFirst = a;
            bestEnd = b;
        }
    };
    double last = -INFINITY;
    for (size_t i = 0; i < count; ++i) {
        if (!std::isfinite(distance[i]))
            continue;
        if (distance[i] < last) {
            closeRun(i);
            first = i;
        }
        last = distance[i];
    }
    closeRun(count);

    DistanceTrace trace;
    for (size_t i = bestFirst; i < bestEnd; ++i) {
        // A sample where the car did not move on adds nothing to a trace over distance.
        if (!std::isfinite(distance[i])
            || (!trace.m_distance.empty() && distance[i] <= trace.m_distance.back()))
            continue;
        trace.m_distance.push_back(distance[i]);
        trace.m_values.push_back(values[i]);
    }
    if (trace.m_distance.size() < 2)
        return {};
    return trace;
}

double DistanceTrace::at(double distance) const
{
    if (isEmpty() || !(distance >= m_distance.front() && distance <= m_distance.back()))
        return NAN;
    const auto after = std::lower_bound(m_distance.begin(), m_distance.end(), distance);
    const size_t i = size_t(after - m_distance.begin());
    if (m_distance[i] == distance)
        return m_values[i];
    const double share = (distance - m_distance[i - 1]) / (m_distance[i] - m_distance[i - 1]);
    return m_values[i - 1] + (m_values[i] - m_values[i - 1]) * share;
}

double DistanceTrace::heldAt(double distance) const
{
    if (isEmpty() || !(distance >= m_distance.front() && distance <= m_distance.back()))
        return NAN;
    const auto after = std::upper_bound(m_distance.begin(), m_distance.end(), distance);
    return m_values[size_t(after - m_distance.begin()) - 1];
}

std::pair<double, double> DistanceTrace::valueRange() const
{
    double low = INFINITY, high = -INFINITY;
    for (const double value : m_values) {
        if (std::isfinite(value)) {
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    return {low, high};
}

QList<QPolygonF> DistanceTrace::decimated(double low, double high, int columns) const
{
    QList<QPolygonF> lines;
    if (isEmpty() || !(high > low) || columns < 1)
        return lines;
    // One sample beyond each end, so the line reaches the panel's edges.
    size_t first
        = size_t(std::lower_bound(m_distance.begin(), m_distance.end(), low) - m_distance.begin());
    size_t end
        = size_t(std::upper_bound(m_distance.begin(), m_distance.end(), high) - m_distance.begin());
    first = first > 0 ? first - 1 : 0;
    end = std::min(end + 1, m_distance.size());

    const double columnWidth = (high - low) / columns;
    QPolygonF line;
    const auto breakLine = [&] {
        if (line.size() > 1)
            lines.append(line);
        line.clear();
    };
    size_t i = first;
    while (i < end) {
        if (!std::isfinite(m_values[i])) {
            breakLine();
            ++i;
            continue;
        }
        // The samples of this pixel column, up to a missing value.
        const double column = std::floor((m_distance[i] - low) / columnWidth);
        size_t j = i, lowest = i, highest = i;
        while (j < end && std::isfinite(m_values[j])
               && std::floor((m_distance[j] - low) / columnWidth) == column) {
            if (m_values[j] < m_values[lowest])
                lowest = j;
            if (m_values[j] > m_values[highest])
                highest = j;
            ++j;
        }
        // A column's lowest and highest value, in the order driven: a line through them
        // covers every pixel the samples would.
        line.append(QPointF(m_distance[std::min(lowest, highest)],
                            m_values[std::min(lowest, highest)]));
        if (lowest != highest)
            line.append(QPointF(m_distance[std::max(lowest, highest)],
                                m_values[std::max(lowest, highest)]));
        i = j;
    }
    breakLine();
    return lines;
}
