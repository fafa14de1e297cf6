#include "trackoutline.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double CornerAngle = 2.0 * std::numbers::pi / LapProfile::Corners;

} // namespace

// A flying lap is slowest in a corner's middle and fastest where it leaves it, half the
// corner's angle on: a wider corner is longer and left faster, but asks less at any speed.
double TrackOutline::cornerRadiusFor(double length, double lapTime)
{
    const auto most = [&](double radius) {
        const double exit = LapProfile::ApexShare + 0.5 * radius * CornerAngle / length;
        const double speed = LapProfile::speedAt(length, lapTime, exit);
        return speed * speed / radius;
    };
    double tight = MinCornerRadius;
    double wide = std::max(tight, length / (2.0 * std::numbers::pi));
    if (most(wide) > CornerAcceleration)
        return wide;
    for (int i = 0; i < 60; ++i) {
        const double middle = 0.5 * (tight + wide);
        if (most(middle) > CornerAcceleration)
            tight = middle;
        else
            wide = middle;
    }
    return wide;
}

TrackOutline::TrackOutline(double length, double cornerRadius)
    : m_length(length)
    , m_radius(cornerRadius)
    , m_straight(std::max(0.0, length / Sections - m_radius * CornerAngle))
    , m_section(length / Sections)
{
    // The line lies in the middle of the first straight; each section starts where the
    // corner before it ends.
    Pose start {-0.5 * m_straight, 0.0, 0.0, 0.0};
    for (int k = 0; k < Sections; ++k) {
        m_sectionStart[size_t(k)] = start;
        start = cornerPoint(start, start.heading + CornerAngle);
        start.curvature = 0.0;
    }
}

// The point of the corner after the straight that begins at start where the heading has
// turned to that angle; the corner's centre lies a radius to the left of the straight's end.
TrackOutline::Pose TrackOutline::cornerPoint(const Pose &start, double heading) const
{
    const double cx
        = start.x + m_straight * std::cos(start.heading) - m_radius * std::sin(start.heading);
    const double cy
        = start.y + m_straight * std::sin(start.heading) + m_radius * std::cos(start.heading);
    return {cx + m_radius * std::sin(heading), cy - m_radius * std::cos(heading), heading,
            1.0 / m_radius};
}

TrackOutline::Pose TrackOutline::at(double distance) const
{
    // From the start of the first straight, within the lap.
    double along = distance + 0.5 * m_straight;
    along -= m_length * std::floor(along / m_length);
    const int k = std::clamp(int(along / m_section), 0, Sections - 1);
    const Pose &start = m_sectionStart[size_t(k)];
    const double into = along - double(k) * m_section;
    if (into <= m_straight) {
        return {start.x + into * std::cos(start.heading), start.y + into * std::sin(start.heading),
                start.heading, 0.0};
    }
    return cornerPoint(start, start.heading + (into - m_straight) / m_radius);
}
