#include "routesegment.h"

#include "lapprofile.h"

#include <algorithm>
#include <cmath>

CarMotion RouteSegment::at(double t) const
{
    const double tau = std::clamp(t - t0, 0.0, duration);
    CarMotion m;
    m.pitRoad = pitRoad;
    m.inStall = inStall;
    switch (kind) {
    case Stand:
        m.distance = d0;
        break;
    case Ramp: {
        const double a = (v1 * v1 - v0 * v0) / (2.0 * distance);
        m.distance = d0 + v0 * tau + 0.5 * a * tau * tau;
        m.speed = std::max(0.0, v0 + a * tau);
        m.acceleration = a;
        break;
    }
    case Profile: {
        const double u = lapStart + tau / lapTime;
        const double w = LapProfile::Wave;
        const double average = lapLength / lapTime;
        m.distance = d0
            + lapLength
                * (LapProfile::distanceFraction(u) - LapProfile::distanceFraction(lapStart));
        m.speed = average * (1.0 + LapProfile::Depth * std::cos(w * u));
        m.acceleration = -average * LapProfile::Depth * w / lapTime * std::sin(w * u);
        break;
    }
    }
    m.distance = std::min(m.distance, d0 + distance);
    return m;
}
