#include "routeplan.h"

#include "lapprofile.h"
#include "routeplanner.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Deterministic variation of flying laps, in units of the spread.
constexpr std::array<double, 7> LapPattern = {0.0, -0.6, 0.35, -0.2, 1.0, -0.45, 0.15};

} // namespace

RoutePlan::RoutePlan(const Options &options, int laps)
    : RoutePlan(options, laps, RouteOnly {})
{
    findCrossings();
    placeSessionChange(options);
    m_fuelStart = 58.0;
    const double driven = std::max(1.0, m_endDistance - m_startDistance);
    m_fuelPerMetre = std::min(2.6 / 4309.0, (m_fuelStart - 2.0) / driven);
}

RoutePlan::RoutePlan(const Options &o, int laps, RouteOnly)
    : m_race(o.scenario == SessionGenerator::Scenario::Race)
    , m_length(o.trackLength)
    , m_averageLapTime(o.lapTime)
    , m_pitSpeed(o.pitSpeedLimit / 3.6 * 0.95)
{
    for (int i = 0; i < laps; ++i)
        m_lapTimes.push_back(lapTime(i, o));
    const double average = m_length / o.lapTime;
    RoutePlanner planner = m_race ? planRace(o, average) : planPractice(o, average);
    planPitIn(planner, o);
    m_segments = planner.takeSegments();
}

int RoutePlan::lapsFitting(const Options &options, double lastTime)
{
    int laps = int(options.duration / options.lapTime) + 1;
    for (; laps > 0; --laps) {
        if (RoutePlan(options, laps, RouteOnly {}).m_endTime + options.stallWait <= lastTime)
            break;
    }
    return laps;
}

double RoutePlan::lapTime(int i, const Options &o) const
{
    return std::max(10.0, o.lapTime + o.lapTimeSpread * LapPattern[size_t(i) % LapPattern.size()]);
}

double RoutePlan::lineAfter(double distance) const
{
    return (std::floor(distance / m_length) + 1.0) * m_length;
}

// The next route distance at that lap fraction, at least a metre ahead.
double RoutePlan::nextAt(double distance, double pct) const
{
    double at = (std::floor(distance / m_length) + pct) * m_length;
    while (at <= distance + 1.0)
        at += m_length;
    return at;
}

double RoutePlan::firstLapTime() const
{
    return m_lapTimes.empty() ? m_averageLapTime : m_lapTimes.front();
}

double RoutePlan::lastLapTime() const
{
    return m_lapTimes.empty() ? m_averageLapTime : m_lapTimes.back();
}

// Onto the line at the first flying lap's speed: cruising to the last corner's middle,
// arriving at its speed, then along the lap profile, as a flying lap takes that corner;
// straight up to speed when the route joins too close to the line for that.
void RoutePlan::runUpToLine(RoutePlanner &p, double line, double cruise) const
{
    const double apex = line - LapProfile::ApexShare * m_length;
    if (p.distance() >= apex) {
        const double top = LapProfile::topSpeed(m_length, firstLapTime());
        p.run(line, top, top, false);
        return;
    }
    p.run(apex, cruise, LapProfile::apexSpeed(m_length, firstLapTime()), false);
    p.alongProfile(m_length, firstLapTime(), 1.0 - LapProfile::ApexShare, 1.0);
}

// From the line at the last flying lap's speed to a route distance beyond it: along the lap
// profile through the first corner, as a flying lap takes it, then cruising; straight down
// to the end speed when the distance comes before that corner's middle.
void RoutePlan::runDownFromLine(RoutePlanner &p, double to, double cruise, double endSpeed) const
{
    if (to - p.distance() > LapProfile::ApexShare * m_length)
        p.alongProfile(m_length, lastLapTime(), 0.0, LapProfile::ApexShare);
    p.run(to, cruise, endSpeed, false);
}

// From the grid: get in car, warm-up, the parade behind the pace car (or a standing start),
// the race laps from the green flag, the checkered flag, then towards the pit entry.
RoutePlanner RoutePlan::planRace(const Options &o, double average)
{
    m_startDistance = -(1.0 - o.gridPct) * m_length;
    RoutePlanner p(o.startTime, m_startDistance);
    m_initialKind = LapKind::Grid;
    m_firstCountedLine = o.paradeLaps;
    m_states.push_back({o.startTime, StateGetInCar});
    m_states.push_back({o.startTime + 8.0, StateWarmup});
    p.stand(16.0, false, false);
    m_states.push_back({p.time(), o.paradeLaps > 0 ? StateParadeLaps : StateRacing});
    runUpToLine(p, double(o.paradeLaps) * m_length, 0.55 * average);
    m_greenTime = p.time();
    if (o.paradeLaps > 0)
        m_states.push_back({m_greenTime, StateRacing});
    for (int64_t k = 0; k < o.paradeLaps; ++k)
        m_kindAfterLine[k] = LapKind::Grid;
    int64_t line = o.paradeLaps;
    for (double time : m_lapTimes) {
        m_kindAfterLine[line++] = LapKind::Racing;
        m_flyingStartTimes.push_back(p.time());
        p.flyingLap(m_length, time);
    }
    const double finishTime = p.time();
    m_finalRaceLap = o.startLap + int(m_lapTimes.size());
    m_kindAfterLine[line] = LapKind::CoolDown;
    m_states.push_back({finishTime, StateCheckered});
    m_states.push_back({finishTime + 20.0, StateCoolDown});
    runDownFromLine(p, nextAt(p.distance(), o.pitEntryPct), 0.5 * average, m_pitSpeed);
    return p;
}

// From the stall: the pit lane, the out lap, the flying laps, then the in lap towards the
// pit entry.
RoutePlanner RoutePlan::planPractice(const Options &o, double average)
{
    m_startDistance = o.pitStallPct * m_length;
    RoutePlanner p(o.startTime, m_startDistance);
    m_initialKind = LapKind::OutLap;
    m_states.push_back({o.startTime, StateRacing});
    p.stand(o.stallWait, true, true);
    const double exit = nextAt(p.distance(), o.pitExitPct);
    p.run(exit, m_pitSpeed, m_pitSpeed, true);
    const double line = lineAfter(p.distance());
    // The out and in laps cruise at a flying lap's speed in the middle of the corners.
    const double cruise = (1.0 - LapProfile::Depth) * average;
    runUpToLine(p, line, cruise);
    int64_t index = int64_t(std::llround(line / m_length));
    // A stall short of the line: the out lap crosses it on pit road.
    for (int64_t k = int64_t(std::floor(m_startDistance / m_length)) + 1; k < index; ++k)
        m_kindAfterLine[k] = LapKind::OutLap;
    for (double time : m_lapTimes) {
        m_kindAfterLine[index++] = LapKind::Flying;
        m_flyingStartTimes.push_back(p.time());
        p.flyingLap(m_length, time);
    }
    m_kindAfterLine[index] = LapKind::InLap;
    runDownFromLine(p, nextAt(p.distance(), o.pitEntryPct), cruise, m_pitSpeed);
    return p;
}

// Pit lane to the stall, then at rest in it for good.
void RoutePlan::planPitIn(RoutePlanner &p, const Options &o)
{
    const double entryDistance = p.distance();
    const double stall = nextAt(entryDistance, o.pitStallPct);
    for (int64_t k = int64_t(std::floor(entryDistance / m_length)) + 1;
         double(k) * m_length <= stall; ++k)
        m_kindAfterLine[k] = LapKind::PitStall;
    p.run(stall, m_pitSpeed, 0.0, true);
    m_endTime = p.time();
    m_endDistance = p.distance();
    p.stand(1e7, true, true);
}

// Every line the route passes, found by bisection on its closed-form distance. A lap is
// timed when the line before it was crossed too, counted, and it did not touch pit road.
void RoutePlan::findCrossings()
{
    const int64_t first = int64_t(std::floor(m_startDistance / m_length)) + 1;
    const int64_t last = int64_t(std::floor(m_endDistance / m_length));
    for (int64_t k = first; k <= last; ++k) {
        const double target = double(k) * m_length;
        double lo = m_segments.front().t0;
        double hi = m_endTime;
        for (int i = 0; i < 200 && hi - lo > 1e-12; ++i) {
            const double mid = 0.5 * (lo + hi);
            if (distanceAt(mid) >= target)
                hi = mid;
            else
                lo = mid;
        }
        Crossing c;
        c.index = k;
        c.time = hi;
        c.counted = !m_race || k >= m_firstCountedLine;
        if (!m_crossings.empty() && m_crossings.back().index == k - 1
            && (!m_race || k - 1 >= m_firstCountedLine)) {
            const double from = m_crossings.back().time;
            const bool pit = std::any_of(m_segments.begin(), m_segments.end(), [&](const auto &s) {
                return s.pitRoad && s.t0 < c.time && s.t0 + s.duration > from;
            });
            if (!pit)
                c.lapTime = c.time - from;
        }
        m_crossings.push_back(c);
    }
}

// In the middle of the second flying lap, or of the only one, unless the options say when.
void RoutePlan::placeSessionChange(const Options &o)
{
    if (o.scenario != SessionGenerator::Scenario::SessionChange)
        return;
    double at = o.sessionChangeTime;
    if (at < 0.0) {
        const size_t lap = m_flyingStartTimes.size() > 1 ? 1 : 0;
        at = m_flyingStartTimes.empty() ? 0.5 * (o.startTime + m_endTime)
                                        : m_flyingStartTimes[lap] + 0.5 * m_lapTimes[lap];
    }
    m_sessionChangeTime = at;
}

SessionGenerator::LapKind RoutePlan::kindAfterLine(int64_t line) const
{
    const auto kind = m_kindAfterLine.find(line);
    return kind != m_kindAfterLine.end() ? kind->second : LapKind::PitStall;
}

CarMotion RoutePlan::motionAt(double t, size_t &cursor) const
{
    if (m_segments.empty())
        return {};
    if (cursor >= m_segments.size())
        cursor = 0;
    while (cursor > 0 && t < m_segments[cursor].t0)
        --cursor;
    while (cursor + 1 < m_segments.size() && t >= m_segments[cursor + 1].t0)
        ++cursor;
    return m_segments[cursor].at(t);
}

double RoutePlan::distanceAt(double t) const
{
    size_t cursor = 0;
    return motionAt(t, cursor).distance;
}

int RoutePlan::stateAt(double t) const
{
    int state = m_states.empty() ? StateRacing : m_states.front().second;
    for (const auto &[from, value] : m_states) {
        if (t >= from)
            state = value;
    }
    return state;
}

// A race weekend records its third session; a practice its first, until the change.
int RoutePlan::sessionNumAt(double t) const
{
    if (m_race)
        return 2;
    return m_sessionChangeTime >= 0.0 && t >= m_sessionChangeTime ? 1 : 0;
}

double RoutePlan::fuelAt(double distance) const
{
    return std::max(0.5, m_fuelStart - m_fuelPerMetre * (distance - m_startDistance));
}
