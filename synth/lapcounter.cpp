#include "lapcounter.h"

LapCounter::LapCounter(const std::vector<RoutePlan::Crossing> &crossings, int startLap,
                       double lastLapTimeDelay)
    : m_crossings(crossings)
    , m_delay(lastLapTimeDelay)
    , m_lap(startLap)
{ }

void LapCounter::advance(int64_t line, double t)
{
    while (m_next < m_crossings.size() && m_crossings[m_next].index <= line) {
        const RoutePlan::Crossing &c = m_crossings[m_next++];
        if (c.counted)
            ++m_lap;
        // A crossing still pending shows at once when the next one comes.
        if (m_pending)
            showPending();
        m_pending = true;
        m_pendingAt = c.time + m_delay;
        m_pendingZero = c.time;
        m_pendingTime = c.lapTime;
    }
    if (m_pending && t >= m_pendingAt) {
        showPending();
        m_pending = false;
    }
}

void LapCounter::showPending()
{
    m_clockZero = m_pendingZero;
    m_lastLapTime = m_pendingTime;
}
