#pragma once

#include "carkinematics.h"
#include "carmotion.h"
#include "channeltable.h"
#include "sessiongenerator.h"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

class Field;
class IbtWriter;
class LapCounter;
class RoutePlan;
class SessionClock;

// Streams the records of a generated session into an open writer: per tick the session's
// clock, state and flags, the player's car on its route with its lap counter, its place and
// motion on the track's outline and its pedals, the other cars with the positions, and the
// padding channels.
class RecordWriter
{
public:
    using Options = SessionGenerator::Options;

    RecordWriter(const Options &options, const RoutePlan &plan, const SessionClock &clock,
                 const Field &field, const ChannelTable &channels, IbtWriter &writer);

    bool writeAll();

private:
    // What one record shows of the player.
    struct Tick
    {
        int record = 0;
        double time = 0.0;
        CarMotion motion;
        double pct = 0.0; // lap fraction
        int surface = 0; // the simulator's track location
        bool stale = false; // the simulator's stale first record: Lap 0, at rest
    };
    struct PaddingSlot
    {
        int index;
        int count;
        double base;
        double swing;
    };

    void set(ChannelTable::Channel channel, double value);
    void setCar(ChannelTable::Channel channel, int carIdx, double value);
    void clear();
    void writeSession(const Tick &tick, int lap);
    void writePlayer(const Tick &tick, const LapCounter &counter);
    void writePose(const CarMotion &motion);
    void writeInputs(const CarMotion &motion);
    void writeCars(const Tick &tick, const LapCounter &counter);
    void writePadding(double pct);

    const Options &m_options;
    const RoutePlan &m_plan;
    const SessionClock &m_clock;
    const Field &m_field;
    IbtWriter &m_writer;
    const bool m_race;
    const double m_topSpeed; // m/s, where the gears end
    std::array<int, ChannelTable::ChannelCount> m_at;
    CarKinematics m_kinematics;
    std::vector<PaddingSlot> m_padding;
    std::vector<std::pair<double, int>> m_standing; // route distance and car, for the positions
};
