#include "sessionclock.h"

#include "routeplan.h"

#include <algorithm>
#include <cmath>

int SessionClock::durationRecords(const Options &o)
{
    return o.duration > 0.0 ? std::max(1, int(std::llround(o.duration * TickRate))) : 0;
}

double SessionClock::durationEnd(const Options &o)
{
    const int records = durationRecords(o);
    const bool replay = o.scenario == SessionGenerator::Scenario::Replay;
    const int extraTicks = replay ? std::min(o.replayFastRecords, records / 2) : 0;
    return o.startTime + double(records - 1 + extraTicks) / TickRate;
}

SessionClock::SessionClock(const Options &o, const RoutePlan &plan)
    : m_startTime(o.startTime)
    , m_firstTick(int(std::llround(o.startTime * TickRate)))
{
    placeFastStretch(o, plan);
    int records = durationRecords(o);
    if (records == 0) {
        const double end = plan.endTime() + o.stallWait;
        while (timeOf(records) < end)
            ++records;
        ++records;
    }
    if (m_fast.first >= records) {
        m_fast.first = -1;
        m_fast.count = 0;
    } else if (m_fast.first >= 0) {
        m_fast.count = std::min(m_fast.count, records - m_fast.first);
    }
    m_recordCount = records;
    while (m_sessionLength < lastTime() + 60.0)
        m_sessionLength += 1800.0;
}

// From the options' start, or from the middle of the first flying lap.
void SessionClock::placeFastStretch(const Options &o, const RoutePlan &plan)
{
    if (o.scenario != SessionGenerator::Scenario::Replay || o.replayFastRecords <= 0)
        return;
    double start = o.replayFastStart;
    if (start < 0.0) {
        start = !plan.flyingStartTimes().empty()
            ? plan.flyingStartTimes().front() + 0.5 * plan.lapTimes().front()
            : 0.5 * (o.startTime + plan.endTime());
    }
    m_fast.first = std::max(1, int(std::llround((start - o.startTime) * TickRate)));
    m_fast.count = o.replayFastRecords;
}

int SessionClock::ticksBefore(int record) const
{
    if (m_fast.first < 0)
        return record;
    return record + std::clamp(record - m_fast.first + 1, 0, m_fast.count);
}

double SessionClock::timeOf(int record) const
{
    return m_startTime + double(ticksBefore(record)) / TickRate;
}

bool SessionClock::isFast(int record) const
{
    return m_fast.first >= 0 && record >= m_fast.first && record < m_fast.first + m_fast.count;
}
