#include "carkinematics.h"

#include <cmath>
#include <numbers>

CarKinematics::CarKinematics(const SessionGenerator::Options &o)
    : m_outline(o.trackLength, cornerRadius(o))
    , m_pitLane(m_outline, o.pitEntryPct, o.pitExitPct)
    , m_placement(o.trackLatitude, o.trackLongitude, o.trackNorthOffset)
{ }

double CarKinematics::cornerRadius(const SessionGenerator::Options &o)
{
    return TrackOutline::cornerRadiusFor(o.trackLength, o.lapTime - o.lapTimeSpread);
}

CarKinematics::State CarKinematics::at(const CarMotion &motion) const
{
    const TrackOutline::Pose line = m_outline.at(motion.distance);
    const PitLane::Offset lane = motion.pitRoad ? m_pitLane.at(motion.distance) : PitLane::Offset();
    const double kappa = line.curvature;
    // The path lane.lateral to the left of the line: its direction along the line (a, b), how
    // much longer it is (stretch) and how fast its heading turns per metre of the line (turn).
    const double a = 1.0 - lane.lateral * kappa;
    const double b = lane.slope;
    const double stretch = std::hypot(a, b);
    const double turn = kappa + (a * lane.bend + b * lane.slope * kappa) / (a * a + b * b);

    const TrackPlacement::Position position
        = m_placement.at(line.x - lane.lateral * std::sin(line.heading),
                         line.y + lane.lateral * std::cos(line.heading));
    State state;
    state.latitude = position.latitude;
    state.longitude = position.longitude;
    state.yaw = std::remainder(line.heading + std::atan2(b, a), 2.0 * std::numbers::pi);
    state.speed = motion.speed * stretch;
    state.lateralAcceleration = motion.speed * motion.speed * stretch * turn;
    state.steeringWheelAngle = SteeringRatio * std::atan(Wheelbase * turn / stretch);
    return state;
}
