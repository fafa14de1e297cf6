#include "recordwriter.h"

#include "field.h"
#include "ibtwriter.h"
#include "lapcounter.h"
#include "lapprofile.h"
#include "routeplan.h"
#include "sessionclock.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace {

using enum ChannelTable::Channel;

// The simulator's session flags as seen in its files.
constexpr uint32_t FlagsPractice = 0x10040200;
constexpr uint32_t FlagsGreen = 0x10040004;
constexpr uint32_t FlagsWhite = 0x10040006;
constexpr uint32_t FlagsCheckered = 0x10040001;

// The simulator's track locations.
constexpr int InPitStall = 1;
constexpr int ApproachingPits = 2;
constexpr int OnTrack = 3;

constexpr double IdleRpm = 1100.0;
constexpr double RedLineRpm = 7200.0;
constexpr int Gears = 6;

} // namespace

RecordWriter::RecordWriter(const Options &options, const RoutePlan &plan, const SessionClock &clock,
                           const Field &field, const ChannelTable &channels, IbtWriter &writer)
    : m_options(options)
    , m_plan(plan)
    , m_clock(clock)
    , m_field(field)
    , m_writer(writer)
    , m_race(options.scenario == SessionGenerator::Scenario::Race)
    , m_topSpeed(LapProfile::topSpeed(plan.length(), options.lapTime) * 1.08)
    , m_at(channels.indexesIn(writer))
    , m_kinematics(options)
{
    for (const ChannelTable::Padding &pad : channels.padding()) {
        const int index = writer.indexOf(pad.name);
        if (index >= 0)
            m_padding.push_back({index, pad.count, pad.base, pad.swing});
    }
    m_standing.reserve(SessionGenerator::CarSlots);
}

void RecordWriter::set(ChannelTable::Channel channel, double value)
{
    m_writer.setValue(m_at[channel], value);
}

void RecordWriter::setCar(ChannelTable::Channel channel, int carIdx, double value)
{
    m_writer.setValue(m_at[channel], carIdx, value);
}

bool RecordWriter::writeAll()
{
    if (!m_writer.isOpen())
        return false;
    clear();
    const double length = m_plan.length();
    LapCounter counter(m_plan.crossings(), m_options.startLap, m_options.lastLapTimeDelay);
    size_t cursor = 0;
    for (int r = 0; r < m_clock.recordCount(); ++r) {
        Tick tick;
        tick.record = r;
        tick.time = m_clock.timeOf(r);
        tick.motion = m_plan.motionAt(tick.time, cursor);
        const CarMotion &m = tick.motion;
        const int64_t line = int64_t(std::floor(m.distance / length));
        tick.pct = std::clamp((m.distance - double(line) * length) / length, 0.0, 1.0);
        tick.surface = m.inStall ? InPitStall : (m.pitRoad ? ApproachingPits : OnTrack);
        tick.stale = r == 0 && m_options.firstRecordLapZero;
        counter.advance(line, tick.time);

        writeSession(tick, counter.lap());
        writePlayer(tick, counter);
        if (m_options.carArrays)
            writeCars(tick, counter);
        writePadding(tick.pct);
        if (!m_writer.appendRecord())
            return false;
    }
    const int partial = m_options.shortLastRecordBytes;
    return partial < 0 || m_writer.appendPartialRecord(partial);
}

// Cars without a driver show -1 throughout; the values that never change are set once.
void RecordWriter::clear()
{
    m_writer.clearRecord();
    m_writer.fill(m_at[ChCarIdxLap], -1);
    m_writer.fill(m_at[ChCarIdxLapCompleted], -1);
    m_writer.fill(m_at[ChCarIdxLapDistPct], -1);
    m_writer.fill(m_at[ChCarIdxTrackSurface], -1);
    m_writer.fill(m_at[ChCarIdxLastLapTime], -1);
    set(ChSessionUniqueID, 1);
    set(ChIsReplayPlaying, 1);
}

void RecordWriter::writeSession(const Tick &tick, int lap)
{
    const double t = tick.time;
    const int state = m_plan.stateAt(t);
    uint32_t flags = FlagsPractice;
    if (m_race && state == RoutePlan::StateRacing)
        flags = lap == m_plan.finalRaceLap() ? FlagsWhite : FlagsGreen;
    else if (m_race && state >= RoutePlan::StateCheckered)
        flags = FlagsCheckered;

    set(ChSessionTime, t);
    set(ChSessionTick, m_clock.tickOf(tick.record));
    set(ChSessionNum, m_plan.sessionNumAt(t));
    set(ChSessionState, state);
    set(ChSessionFlags, flags);
    set(ChSessionTimeRemain, std::max(0.0, m_clock.sessionLength() - t));
    set(ChReplayFrameNum, m_clock.tickOf(tick.record));
    set(ChReplayPlaySpeed, m_clock.isFast(tick.record) ? 2 : 1);
    set(ChIsOnTrack, 1);
}

void RecordWriter::writePlayer(const Tick &tick, const LapCounter &counter)
{
    const CarMotion &m = tick.motion;
    const double length = m_plan.length();
    const int lap = counter.lap();
    set(ChPlayerTrackSurface, tick.surface);
    set(ChPlayerCarInPitStall, m.inStall);
    set(ChOnPitRoad, m.pitRoad);
    writeInputs(m);

    set(ChLap, tick.stale ? 0 : lap);
    set(ChLapCompleted, tick.stale ? 0 : std::max(lap - 1, 0));
    set(ChLapDist, tick.stale ? 0.0 : tick.pct * length);
    set(ChLapDistPct, tick.stale ? 0.0 : tick.pct);
    set(ChLapLastLapTime, counter.lastLapTime());
    set(ChLastLapTime, counter.lastLapTime());
    set(ChLapCurrentLapTime, tick.time - counter.clockZero());
    set(ChSpeed, tick.stale ? 0.0 : m.speed);
    set(ChLongAccel, m.acceleration);
    writePose(m);
    const double fuel = m_plan.fuelAt(m.distance);
    set(ChFuelLevel, fuel);
    set(ChFuelLevelPct, fuel / 105.0);
}

// Where the car is and how it moves on the track's outline. Velocities are in the car's
// frame, as the simulator's: X forward, Y to the left, which without slip stays 0.
void RecordWriter::writePose(const CarMotion &m)
{
    const CarKinematics::State state = m_kinematics.at(m);
    set(ChLat, state.latitude);
    set(ChLon, state.longitude);
    set(ChAlt, m_options.trackAltitude);
    set(ChYaw, state.yaw);
    set(ChVelocityX, state.speed);
    set(ChVelocityY, 0.0);
    set(ChLatAccel, state.lateralAcceleration);
    set(ChSteeringWheelAngle, state.steeringWheelAngle);
}

// Pedals, gear and engine speed from the speed and its change: a gear per sixth of the top
// speed, the throttle to speed up or hold the speed, the brake to slow down.
void RecordWriter::writeInputs(const CarMotion &m)
{
    const double vTop = m_topSpeed;
    double throttle = 0.0;
    double brake = 0.0;
    int gear = m.pitRoad ? 0 : 1;
    double rpm = IdleRpm;
    if (m.speed >= 0.3) {
        gear = std::clamp(int(std::ceil(m.speed / (vTop / Gears))), 1, Gears);
        rpm = std::clamp(RedLineRpm * m.speed / (gear * vTop / Gears), IdleRpm, RedLineRpm);
        if (m.acceleration > 0.05)
            throttle = std::clamp(0.4 + m.acceleration / 5.0, 0.0, 1.0);
        else if (m.acceleration < -0.5)
            brake = std::clamp(-m.acceleration / 10.0, 0.0, 1.0);
        else
            throttle = 0.3 + 0.4 * m.speed / vTop;
    }
    set(ChThrottle, throttle);
    set(ChBrake, brake);
    set(ChGear, gear);
    set(ChRPM, rpm);
}

// The per-car arrays. Practice positions follow the lap times; a race's the grid until the
// green flag, then the distance covered.
void RecordWriter::writeCars(const Tick &tick, const LapCounter &counter)
{
    const double t = tick.time;
    const CarMotion &m = tick.motion;
    const bool racing = m_race && t >= m_plan.greenTime();
    const int me = m_options.playerCarIdx;
    m_standing.clear();
    m_standing.push_back({m.distance, me});
    for (const Field::Car &car : m_field.cars()) {
        const double d = m_field.distanceOf(car, t, m.distance);
        const int carLap = m_field.lapOf(car, d);
        setCar(ChCarIdxLap, car.carIdx, carLap);
        setCar(ChCarIdxLapCompleted, car.carIdx, std::max(carLap - 1, 0));
        setCar(ChCarIdxLapDistPct, car.carIdx,
               d / m_plan.length() - std::floor(d / m_plan.length()));
        setCar(ChCarIdxTrackSurface, car.carIdx, OnTrack);
        setCar(ChCarIdxOnPitRoad, car.carIdx, 0);
        setCar(ChCarIdxLastLapTime, car.carIdx, m_field.isTimed(carLap) ? car.lapTime : -1.0);
        if (!m_race)
            setCar(ChCarIdxPosition, car.carIdx, m_field.practicePosition(car.carIdx));
        else if (!racing)
            setCar(ChCarIdxPosition, car.carIdx, car.gridPosition);
        m_standing.push_back({d, car.carIdx});
    }
    int myPosition = m_race ? m_field.playerGridPosition() : m_field.practicePosition(me);
    if (racing) {
        std::sort(m_standing.begin(), m_standing.end(), std::greater<>());
        for (size_t i = 0; i < m_standing.size(); ++i) {
            if (m_standing[i].second == me)
                myPosition = int(i) + 1;
            else
                setCar(ChCarIdxPosition, m_standing[i].second, int(i) + 1);
        }
    }
    const int lap = counter.lap();
    setCar(ChCarIdxLap, me, tick.stale ? 0 : lap);
    setCar(ChCarIdxLapCompleted, me, tick.stale ? 0 : std::max(lap - 1, 0));
    setCar(ChCarIdxLapDistPct, me, tick.stale ? 0.0 : tick.pct);
    setCar(ChCarIdxTrackSurface, me, tick.surface);
    setCar(ChCarIdxOnPitRoad, me, m.pitRoad);
    setCar(ChCarIdxPosition, me, myPosition);
    setCar(ChCarIdxLastLapTime, me, counter.lastLapTime());
}

// Each padding channel swings once a lap around its base value.
void RecordWriter::writePadding(double pct)
{
    const double wave = std::sin(2.0 * std::numbers::pi * pct);
    for (const PaddingSlot &pad : m_padding) {
        const double value = pad.base + pad.swing * wave;
        if (pad.count == 1)
            m_writer.setValue(pad.index, value);
        else
            m_writer.fill(pad.index, value);
    }
}
