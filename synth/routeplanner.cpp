#include "routeplanner.h"

#include "lapprofile.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double Acceleration = 3.0; // m/s^2 when speeding up outside a flying lap
constexpr double Deceleration = 6.0; // m/s^2 when slowing down

} // namespace

RoutePlanner::RoutePlanner(double time, double distance)
    : m_time(time)
    , m_distance(distance)
{ }

// Starts the segment where the route stands and moves the route on to its end.
void RoutePlanner::append(RouteSegment segment)
{
    segment.t0 = m_time;
    segment.d0 = m_distance;
    m_segments.push_back(segment);
    m_time += segment.duration;
    m_distance += segment.distance;
}

void RoutePlanner::stand(double duration, bool pitRoad, bool inStall)
{
    if (duration <= 0.0)
        return;
    append({.kind = RouteSegment::Stand,
            .duration = duration,
            .pitRoad = pitRoad,
            .inStall = inStall});
    m_speed = 0.0;
}

void RoutePlanner::ramp(double distance, double v1, bool pitRoad)
{
    if (distance <= 1e-9 || m_speed + v1 <= 1e-9) {
        m_speed = v1;
        return;
    }
    append({.kind = RouteSegment::Ramp,
            .duration = 2.0 * distance / (m_speed + v1),
            .distance = distance,
            .v0 = m_speed,
            .v1 = v1,
            .pitRoad = pitRoad});
    m_speed = v1;
}

void RoutePlanner::run(double to, double cruise, double endSpeed, bool pitRoad)
{
    const double span = to - m_distance;
    if (span <= 0.0)
        return;
    double first = std::abs(cruise * cruise - m_speed * m_speed)
        / (2.0 * (cruise >= m_speed ? Acceleration : Deceleration));
    double last = std::abs(cruise * cruise - endSpeed * endSpeed)
        / (2.0 * (endSpeed >= cruise ? Acceleration : Deceleration));
    if (first + last > span) {
        const double scale = span / (first + last);
        first *= scale;
        last *= scale;
    }
    const double middle = std::max(0.0, span - first - last);
    ramp(first, cruise, pitRoad);
    ramp(middle, cruise, pitRoad);
    ramp(to - m_distance, endSpeed, pitRoad);
}

void RoutePlanner::alongProfile(double length, double lapTime, double from, double to)
{
    append({.kind = RouteSegment::Profile,
            .duration = lapTime * (to - from),
            .distance = length * (to - from),
            .lapLength = length,
            .lapTime = lapTime,
            .lapStart = from});
    m_speed = length / lapTime * (1.0 + LapProfile::Depth * std::cos(LapProfile::Wave * to));
}
