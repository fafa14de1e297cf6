#include "lapprofile.h"

#include <cmath>

double LapProfile::distanceFraction(double u)
{
    return u + Depth * std::sin(Wave * u) / Wave;
}

// By Newton's method: the distance fraction grows at least 1 - Depth as fast as the time's.
double LapProfile::timeFraction(double distanceFraction)
{
    double u = distanceFraction;
    for (int i = 0; i < 50; ++i) {
        const double step = (LapProfile::distanceFraction(u) - distanceFraction)
            / (1.0 + Depth * std::cos(Wave * u));
        u -= step;
        if (std::abs(step) < 1e-15)
            break;
    }
    return u;
}

double LapProfile::topSpeed(double length, double lapTime)
{
    return length / lapTime * (1.0 + Depth);
}

double LapProfile::apexSpeed(double length, double lapTime)
{
    return length / lapTime * (1.0 - Depth);
}

double LapProfile::speedAt(double length, double lapTime, double distanceFraction)
{
    return length / lapTime * (1.0 + Depth * std::cos(Wave * timeFraction(distanceFraction)));
}
