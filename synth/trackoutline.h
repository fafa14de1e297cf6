#pragma once

#include "lapprofile.h"

#include <array>

// The track's racing line: a closed outline of LapProfile::Corners equal straights and as many
// equal circular corners, all turning left, so that the corners lie where the lap profile is
// slowest and the straights where it is fastest. The lap distance is the length along it
// from the line, in the middle of the first straight. Metres in the track's own frame: x
// along the first straight, y to its left; headings in radians counter-clockwise from x.
class TrackOutline
{
public:
    // Where on the outline, which way it runs there and how it bends (1/m, left positive).
    struct Pose
    {
        double x = 0.0;
        double y = 0.0;
        double heading = 0.0;
        double curvature = 0.0;
    };

    // The most lateral acceleration a flying lap takes its corners with, 1.5 g.
    static constexpr double CornerAcceleration = 14.7; // m/s^2
    static constexpr double MinCornerRadius = 5.0; // metres, a hairpin's

    // The corners' radius for flying laps of that length and time at the most: the tightest
    // that they take at no more than CornerAcceleration, or a circle, the least demanding
    // shape, when even that asks for more.
    static double cornerRadiusFor(double length, double lapTime);

    // The radius at most length / 2 pi, where the straights vanish.
    TrackOutline(double length, double cornerRadius);

    double length() const { return m_length; }
    double cornerRadius() const { return m_radius; }
    double straightLength() const { return m_straight; }

    // At any route distance: the outline repeats lap after lap.
    Pose at(double distance) const;

private:
    Pose cornerPoint(const Pose &start, double heading) const;

    static constexpr int Sections = LapProfile::Corners; // a straight and the corner after it

    double m_length;
    double m_radius;
    double m_straight;
    double m_section; // metres of a straight and its corner
    std::array<Pose, Sections> m_sectionStart; // where each straight begins
};
