#pragma once

#include "sessiongenerator.h"

class RoutePlan;

// The records' clock: 60 ticks a second from the session time of the first record, a replay's
// stretch at double speed in which each record steps two ticks, how many records there are,
// and how long the session runs.
class SessionClock
{
public:
    using Options = SessionGenerator::Options;

    static constexpr int TickRate = 60;

    // The records a duration asks for; 0 without a duration.
    static int durationRecords(const Options &options);
    // The session time of the last of those records.
    static double durationEnd(const Options &options);

    // Records to the end of the route with the stall wait, unless a duration fixes them.
    SessionClock(const Options &options, const RoutePlan &plan);

    int recordCount() const { return m_recordCount; }
    // Ticks from the first record to this one.
    int ticksBefore(int record) const;
    double timeOf(int record) const;
    int firstTick() const { return m_firstTick; }
    int tickOf(int record) const { return m_firstTick + ticksBefore(record); }
    double lastTime() const { return timeOf(m_recordCount - 1); }

    // Replay: the first record of the double-speed stretch (-1 without one) and its length.
    int fastFirst() const { return m_fast.first; }
    int fastCount() const { return m_fast.count; }
    bool isFast(int record) const;

    // Seconds the session runs: an hour, or by half hours as long as the records need.
    double sessionLength() const { return m_sessionLength; }

private:
    void placeFastStretch(const Options &options, const RoutePlan &plan);

    // The replay's double-speed stretch: its first record, -1 without one, and its length.
    struct Stretch
    {
        int first = -1;
        int count = 0;
    };

    double m_startTime = 0.0;
    int m_firstTick = 0;
    Stretch m_fast;
    int m_recordCount = 0;
    double m_sessionLength = 3600.0;
};
