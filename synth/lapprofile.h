#pragma once

#include <numbers>

// The speed over a flying lap: it swings by Depth around the lap's average, slowest in the
// middle of each of the Corners corners of a lap and fastest in the middle of the straights
// between them. The distance covered stays monotonic and the lap takes exactly its time.
class LapProfile
{
public:
    static constexpr double Depth = 0.35;
    static constexpr int Corners = 4;
    // Radians of the speed's swing per lap.
    static constexpr double Wave = 2.0 * std::numbers::pi * Corners;

    // The fraction of the lap covered after the fraction u of its time.
    static double distanceFraction(double u);
    // The speed on the straights of a lap of that length and time.
    static double topSpeed(double length, double lapTime);
};
