#pragma once

#include <numbers>

// The speed over a flying lap: it swings by Depth around the lap's average, slowest in the
// middle of each of the Corners corners of a lap and fastest in the middle of the straights
// between them: the corners' middles lie at (k + 1/2) / Corners of the lap, the straights' at
// k / Corners. The distance covered stays monotonic and the lap takes exactly its time.
class LapProfile
{
public:
    static constexpr double Depth = 0.35;
    static constexpr int Corners = 4;
    // Radians of the speed's swing per lap.
    static constexpr double Wave = 2.0 * std::numbers::pi * Corners;
    // The share of the lap from the middle of a straight to the middle of the next corner.
    static constexpr double ApexShare = 0.5 / Corners;

    // The fraction of the lap covered after the fraction u of its time, and back.
    static double distanceFraction(double u);
    static double timeFraction(double distanceFraction);
    // The speed on the straights of a lap of that length and time.
    static double topSpeed(double length, double lapTime);
    // The speed in the middle of the corners, the slowest of the lap.
    static double apexSpeed(double length, double lapTime);
    // The speed where the lap has covered that fraction of its length.
    static double speedAt(double length, double lapTime, double distanceFraction);
};
