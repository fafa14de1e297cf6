#pragma once

// Options for the generator's tests: short sessions on short tracks keep them quick.

#include "sessiongenerator.h"

inline SessionGenerator::Options quick(SessionGenerator::Scenario scenario)
{
    SessionGenerator::Options o;
    o.scenario = scenario;
    o.trackLength = 1500.0;
    o.lapTime = 40.0;
    o.laps = 3;
    o.replayFastRecords = 180;
    return o;
}

// A practice on a short track, with the pits on the back straight.
inline SessionGenerator::Options shortTrack(double lapTime)
{
    SessionGenerator::Options o = quick(SessionGenerator::Scenario::Practice);
    o.trackLength = 850.0;
    o.lapTime = lapTime;
    o.pitStallPct = 0.5;
    o.pitExitPct = 0.6;
    o.pitEntryPct = 0.4;
    return o;
}

// A practice whose pit stall lies short of the line, the pit entry in the last corner.
inline SessionGenerator::Options pitsBeforeTheLine()
{
    SessionGenerator::Options o = quick(SessionGenerator::Scenario::Practice);
    o.pitStallPct = 0.97;
    o.pitExitPct = 0.08;
    o.pitEntryPct = 0.85;
    return o;
}
