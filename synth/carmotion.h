#pragma once

// Where the player's car is on its route at a moment, and how it moves.
struct CarMotion
{
    double distance = 0.0; // metres from the line where the lap counter started
    double speed = 0.0; // m/s
    double acceleration = 0.0; // m/s^2, along the route
    bool pitRoad = false;
    bool inStall = false;
};
