#include "lapprofile.h"

#include <cmath>

double LapProfile::distanceFraction(double u)
{
    return u + Depth * std::sin(Wave * u) / Wave;
}

double LapProfile::topSpeed(double length, double lapTime)
{
    return length / lapTime * (1.0 + Depth);
}
