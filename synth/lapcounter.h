#pragma once

#include "routeplan.h"

#include <cstdint>
#include <vector>

// The player's lap counter, lap clock and last lap time as the simulator shows them: the
// counter steps the moment the car crosses the line; the clock restarts from that moment and
// the last lap time appears only a moment later.
class LapCounter
{
public:
    LapCounter(const std::vector<RoutePlan::Crossing> &crossings, int startLap,
               double lastLapTimeDelay);

    // Moves on to session time t, the car past the line of that index.
    void advance(int64_t line, double t);

    int lap() const { return m_lap; }
    // Session time from which the lap clock counts.
    double clockZero() const { return m_clockZero; }
    // -1 until a timed lap is reported, and for an untimed one.
    double lastLapTime() const { return m_lastLapTime; }

private:
    void showPending();

    const std::vector<RoutePlan::Crossing> &m_crossings;
    double m_delay;
    size_t m_next = 0;
    int m_lap;
    double m_clockZero = 0.0;
    double m_lastLapTime = -1.0;
    // A crossing whose clock reset and lap time are still to show.
    bool m_pending = false;
    double m_pendingAt = 0.0;
    double m_pendingZero = 0.0;
    double m_pendingTime = -1.0;
};
