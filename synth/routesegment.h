#pragma once

#include "carmotion.h"

// One stretch of the player's route in closed form: standing still, a constant change of
// speed, or (part of) a flying lap on the lap profile.
struct RouteSegment
{
    enum Kind { Stand, Ramp, Profile };
    Kind kind = Stand;
    double t0 = 0.0; // session time of its start
    double duration = 0.0; // seconds
    double d0 = 0.0; // route distance at its start
    double distance = 0.0; // metres covered
    double v0 = 0.0; // ramp: speed at its start
    double v1 = 0.0; // ramp: speed at its end
    // Profile: the flying lap's length and time, and the share of its time at the start.
    double lapLength = 0.0;
    double lapTime = 0.0;
    double lapStart = 0.0;
    bool pitRoad = false;
    bool inStall = false;

    // The motion at session time t, held at the segment's ends outside it.
    CarMotion at(double t) const;
};
