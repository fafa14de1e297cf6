#pragma once

#include "routesegment.h"

#include <utility>
#include <vector>

// Lays out the player's route as segments of closed-form motion, one after the other, from a
// session time and a route distance on.
class RoutePlanner
{
public:
    RoutePlanner(double time, double distance);

    double time() const { return m_time; }
    double distance() const { return m_distance; }
    double speed() const { return m_speed; }

    void stand(double duration, bool pitRoad, bool inStall);
    // Constant acceleration from the current speed to v1 over the distance.
    void ramp(double distance, double v1, bool pitRoad);
    // Drives to a route distance, speeding up or slowing down to the cruising speed and
    // arriving at the end speed; on a short stretch the changes of speed are squeezed.
    void run(double to, double cruise, double endSpeed, bool pitRoad);
    // Along the profile of a flying lap of that length and time, between two shares of its
    // time at the middle of a straight or a corner, where it has covered that share of its
    // length.
    void alongProfile(double length, double lapTime, double from, double to);
    void flyingLap(double length, double lapTime) { alongProfile(length, lapTime, 0.0, 1.0); }

    std::vector<RouteSegment> takeSegments() { return std::move(m_segments); }

private:
    void append(RouteSegment segment);

    std::vector<RouteSegment> m_segments;
    double m_time;
    double m_distance;
    double m_speed = 0.0;
};
