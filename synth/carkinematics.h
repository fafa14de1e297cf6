#pragma once

#include "carmotion.h"
#include "pitlane.h"
#include "sessiongenerator.h"
#include "trackoutline.h"
#include "trackplacement.h"

// The player's car on the track's outline: where it is on the earth, which way it points and
// how it is pushed sideways, from its route distance and speed. It follows the racing line,
// or the pit lane while on pit road, pointing along its path: no slip.
class CarKinematics
{
public:
    // What the car's instruments show at a moment.
    struct State
    {
        double latitude = 0.0; // degrees
        double longitude = 0.0;
        double yaw = 0.0; // heading in the track's frame, radians in [-pi, pi], left positive
        double speed = 0.0; // m/s along its path: the racing line's speed, or off it the lane's
        double lateralAcceleration = 0.0; // m/s^2, to the left: speed^2 times the curvature
        double steeringWheelAngle = 0.0; // radians, left positive
    };

    static constexpr double Wheelbase = 2.67; // metres
    static constexpr double SteeringRatio = 14.0; // steering wheel to front wheel angle

    // The outline's corners suit the fastest flying lap the options allow.
    static double cornerRadius(const SessionGenerator::Options &options);

    explicit CarKinematics(const SessionGenerator::Options &options);

    const TrackOutline &outline() const { return m_outline; }
    State at(const CarMotion &motion) const;

private:
    TrackOutline m_outline;
    PitLane m_pitLane;
    TrackPlacement m_placement;
};
