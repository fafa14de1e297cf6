#pragma once

#include "carmotion.h"
#include "routesegment.h"
#include "sessiongenerator.h"

#include <cstdint>
#include <limits>
#include <map>
#include <utility>
#include <vector>

class RoutePlanner;

// The player's route: what the car does when. From the pit stall (or its grid slot) through
// the laps the options ask for and back into the stall, as segments of closed-form motion;
// where it crosses the line and which of those laps are timed, which kind of lap follows
// each line, the session states over time and the fuel it burns.
class RoutePlan
{
public:
    using Options = SessionGenerator::Options;
    using LapKind = SessionGenerator::LapKind;

    // The simulator's session states, as the route passes through them.
    enum SessionState {
        StateGetInCar = 1,
        StateWarmup = 2,
        StateParadeLaps = 3,
        StateRacing = 4,
        StateCheckered = 5,
        StateCoolDown = 6,
    };

    struct Crossing
    {
        int64_t index = 0; // the line at index × track length
        double time = 0.0;
        bool counted = true; // the lap counter steps
        double lapTime = -1.0; // reported a moment later; -1 when the lap was not timed
    };

    // The route for that many flying or race laps.
    RoutePlan(const Options &options, int laps);
    // The most laps, at most one more than the duration holds, whose route ends in the stall
    // with the stall wait to spare by the session time lastTime; 0 when none does.
    static int lapsFitting(const Options &options, double lastTime);

    double length() const { return m_length; }
    // The planned flying or race laps' times, in order.
    const std::vector<double> &lapTimes() const { return m_lapTimes; }
    // Session times at which they start.
    const std::vector<double> &flyingStartTimes() const { return m_flyingStartTimes; }
    double startDistance() const { return m_startDistance; }
    // The route ends here, standing in the stall; any later records stay in it.
    double endTime() const { return m_endTime; }
    // The line index from which a race's lap counter counts: the parade laps do not count.
    int64_t firstCountedLine() const { return m_firstCountedLine; }
    const std::vector<Crossing> &crossings() const { return m_crossings; }
    LapKind initialKind() const { return m_initialKind; }
    // The kind of lap that begins at a line, the pit stall when none is planned.
    LapKind kindAfterLine(int64_t line) const;
    double greenTime() const { return m_greenTime; } // race: the crossing that starts racing
    int finalRaceLap() const { return m_finalRaceLap; } // race: the Lap value of the last lap
    double sessionChangeTime() const { return m_sessionChangeTime; } // -1 without a change

    // The motion at session time t; the cursor remembers the segment for the next call.
    CarMotion motionAt(double t, size_t &cursor) const;
    double distanceAt(double t) const;
    int stateAt(double t) const;
    int sessionNumAt(double t) const;
    // Litres in the tank with the car at that route distance; they last the whole route.
    double fuelAt(double distance) const;
    double fuelAtStart() const { return m_fuelStart; }

private:
    struct RouteOnly
    {
    };
    RoutePlan(const Options &options, int laps, RouteOnly);

    double lapTime(int i, const Options &o) const;
    double lineAfter(double distance) const;
    double nextAt(double distance, double pct) const;
    RoutePlanner planRace(const Options &o, double average);
    RoutePlanner planPractice(const Options &o, double average);
    void runUpToLine(RoutePlanner &planner, double line, double cruise) const;
    void runDownFromLine(RoutePlanner &planner, double to, double cruise, double endSpeed) const;
    double firstLapTime() const;
    double lastLapTime() const;
    void planPitIn(RoutePlanner &planner, const Options &o);
    void findCrossings();
    void placeSessionChange(const Options &o);

    bool m_race = false;
    double m_length = 0.0;
    double m_averageLapTime = 0.0;
    std::vector<double> m_lapTimes;
    std::vector<RouteSegment> m_segments;
    double m_startDistance = 0.0;
    double m_endTime = 0.0;
    double m_endDistance = 0.0;
    int64_t m_firstCountedLine = std::numeric_limits<int64_t>::min();
    std::vector<Crossing> m_crossings;
    std::map<int64_t, LapKind> m_kindAfterLine;
    LapKind m_initialKind = LapKind::OutLap;
    std::vector<std::pair<double, int>> m_states; // session state from a session time on
    double m_greenTime = -1.0;
    int m_finalRaceLap = -1;
    double m_sessionChangeTime = -1.0;
    std::vector<double> m_flyingStartTimes;
    double m_pitSpeed = 0.0;
    double m_fuelStart = 58.0;
    double m_fuelPerMetre = 0.0;
};
