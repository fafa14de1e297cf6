#include "sessiongenerator.h"

#include <QFile>
#include <QIODevice>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

namespace {

constexpr double Pi = 3.14159265358979323846;
constexpr int MaxCars = 64;
constexpr int TickRate = 60;

// Speed over a flying lap swings by this fraction around the average, with this many slow
// corners per lap; the distance covered stays monotonic and the lap time exact.
constexpr double ProfileDepth = 0.35;
constexpr int ProfileCorners = 4;

constexpr double Acceleration = 3.0; // m/s^2 when speeding up outside a flying lap
constexpr double Deceleration = 6.0; // m/s^2 when slowing down

// The simulator's session flags as seen in its files.
constexpr uint32_t FlagsPractice = 0x10040200;
constexpr uint32_t FlagsGreen = 0x10040004;
constexpr uint32_t FlagsWhite = 0x10040006;
constexpr uint32_t FlagsCheckered = 0x10040001;

// The simulator's track locations.
constexpr int InPitStall = 1;
constexpr int ApproachingPits = 2;
constexpr int OnTrack = 3;

// Deterministic variation of flying laps, in units of the spread.
constexpr std::array<double, 7> LapPattern = {0.0, -0.6, 0.35, -0.2, 1.0, -0.45, 0.15};

double lapProfile(double u)
{
    const double w = 2.0 * Pi * ProfileCorners;
    return u + ProfileDepth * std::sin(w * u) / w;
}

double maxLapSpeed(double length, double lapTime)
{
    return length / lapTime * (1.0 + ProfileDepth);
}

struct Motion
{
    double distance = 0.0; // metres from the line where the lap counter started
    double speed = 0.0;
    double acceleration = 0.0;
    bool pitRoad = false;
    bool inStall = false;
};

struct Segment
{
    enum Kind { Stand, Ramp, FlyingLap };
    Kind kind = Stand;
    double t0 = 0.0;
    double duration = 0.0;
    double d0 = 0.0;
    double distance = 0.0;
    double v0 = 0.0;
    double v1 = 0.0;
    bool pitRoad = false;
    bool inStall = false;

    Motion at(double t) const
    {
        const double tau = std::clamp(t - t0, 0.0, duration);
        Motion m;
        m.pitRoad = pitRoad;
        m.inStall = inStall;
        switch (kind) {
        case Stand:
            m.distance = d0;
            break;
        case Ramp: {
            const double a = (v1 * v1 - v0 * v0) / (2.0 * distance);
            m.distance = d0 + v0 * tau + 0.5 * a * tau * tau;
            m.speed = std::max(0.0, v0 + a * tau);
            m.acceleration = a;
            break;
        }
        case FlyingLap: {
            const double u = tau / duration;
            const double w = 2.0 * Pi * ProfileCorners;
            const double average = distance / duration;
            m.distance = d0 + distance * lapProfile(u);
            m.speed = average * (1.0 + ProfileDepth * std::cos(w * u));
            m.acceleration = -average * ProfileDepth * w / duration * std::sin(w * u);
            break;
        }
        }
        m.distance = std::min(m.distance, d0 + distance);
        return m;
    }
};

// Lays out the player's route as segments of closed-form motion.
class Planner
{
public:
    Planner(double time, double distance)
        : m_time(time)
        , m_distance(distance)
    { }

    std::vector<Segment> segments;

    double time() const { return m_time; }
    double distance() const { return m_distance; }
    double speed() const { return m_speed; }

    void stand(double duration, bool pitRoad, bool inStall)
    {
        if (duration <= 0.0)
            return;
        Segment s;
        s.kind = Segment::Stand;
        s.t0 = m_time;
        s.duration = duration;
        s.d0 = m_distance;
        s.pitRoad = pitRoad;
        s.inStall = inStall;
        segments.push_back(s);
        m_time += duration;
        m_speed = 0.0;
    }

    // Constant acceleration from the current speed to v1 over the distance.
    void ramp(double distance, double v1, bool pitRoad)
    {
        if (distance <= 1e-9 || m_speed + v1 <= 1e-9) {
            m_speed = v1;
            return;
        }
        Segment s;
        s.kind = Segment::Ramp;
        s.t0 = m_time;
        s.duration = 2.0 * distance / (m_speed + v1);
        s.d0 = m_distance;
        s.distance = distance;
        s.v0 = m_speed;
        s.v1 = v1;
        s.pitRoad = pitRoad;
        segments.push_back(s);
        m_time += s.duration;
        m_distance += distance;
        m_speed = v1;
    }

    // Drives to a distance, speeding up or slowing down to the cruising speed and
    // arriving at the end speed; on a short stretch the changes of speed are squeezed.
    void run(double to, double cruise, double endSpeed, bool pitRoad)
    {
        const double span = to - m_distance;
        if (span <= 0.0)
            return;
        double first = std::abs(cruise * cruise - m_speed * m_speed)
            / (2.0 * (cruise >= m_speed ? Acceleration : Deceleration));
        double last = std::abs(cruise * cruise - endSpeed * endSpeed)
            / (2.0 * (endSpeed >= cruise ? Acceleration : Deceleration));
        if (first + last > span) {
            const double scale = span / (first + last);
            first *= scale;
            last *= scale;
        }
        const double middle = std::max(0.0, span - first - last);
        ramp(first, cruise, pitRoad);
        ramp(middle, cruise, pitRoad);
        ramp(to - m_distance, endSpeed, pitRoad);
    }

    void flyingLap(double length, double lapTime)
    {
        Segment s;
        s.kind = Segment::FlyingLap;
        s.t0 = m_time;
        s.duration = lapTime;
        s.d0 = m_distance;
        s.distance = length;
        segments.push_back(s);
        m_time += lapTime;
        m_distance += length;
        m_speed = maxLapSpeed(length, lapTime);
    }

private:
    double m_time;
    double m_distance;
    double m_speed = 0.0;
};

struct Crossing
{
    int64_t index = 0; // the line at index × track length
    double time = 0.0;
    bool counted = true; // the lap counter steps
    double lapTime = -1.0; // reported a moment later; -1 when the lap was not timed
};

struct OtherCar
{
    int carIdx = 0;
    double lapTime = 0.0;
    double phase = 0.0; // lap fraction at the first record (practice)
    int startLap = 1;
    double gap = 0.0; // metres ahead of the player on the grid (race)
    int gridPosition = 0;
};

struct Driver
{
    int carIdx = 0;
    QString name;
    int userId = 0;
    int carNumber = 0;
    int iRating = 0;
    QString licence; // e.g. "A 4.99"
    QString licenceColour; // e.g. "0x0153db"
    int licLevel = 0;
    int licSubLevel = 0;
    QString club;
    QString division;
};

QString number(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

// The simulator's text: one space per level, list items' continuation lines two spaces
// past the item's own indentation.
class TextBuilder
{
public:
    void line(int indent, const QString &text) { m_text += QString(indent, u' ') + text + u'\n'; }
    void section(int indent, const QString &name) { line(indent, name + u':'); }
    void value(int indent, const QString &key, const QString &value)
    {
        line(indent, key + QStringLiteral(": ") + value);
    }
    void value(int indent, const QString &key, double v, int decimals)
    {
        value(indent, key, number(v, decimals));
    }
    void value(int indent, const QString &key, qint64 v) { value(indent, key, QString::number(v)); }
    void item(int indent, const QString &key, const QString &value)
    {
        line(indent, QStringLiteral("- ") + key + QStringLiteral(": ") + value);
    }
    void blank() { m_text += u'\n'; }
    const QString &text() const { return m_text; }

private:
    QString m_text;
};

enum Channel {
    ChSessionTime,
    ChSessionTick,
    ChSessionNum,
    ChSessionState,
    ChSessionUniqueID,
    ChSessionFlags,
    ChSessionTimeRemain,
    ChIsReplayPlaying,
    ChReplayFrameNum,
    ChIsOnTrack,
    ChCarIdxLap,
    ChCarIdxLapCompleted,
    ChCarIdxLapDistPct,
    ChCarIdxTrackSurface,
    ChCarIdxOnPitRoad,
    ChCarIdxPosition,
    ChCarIdxLastLapTime,
    ChPlayerTrackSurface,
    ChPlayerCarInPitStall,
    ChOnPitRoad,
    ChThrottle,
    ChBrake,
    ChGear,
    ChRPM,
    ChLap,
    ChLapCompleted,
    ChLapDist,
    ChLapDistPct,
    ChLapLastLapTime,
    ChLapCurrentLapTime,
    ChLastLapTime,
    ChSpeed,
    ChYaw,
    ChLongAccel,
    ChFuelLevel,
    ChFuelLevelPct,
    ChReplayPlaySpeed,
    ChannelCount
};

struct ChannelDef
{
    int id; // a Channel, or -1 for padding
    const char *name;
    int32_t type;
    int32_t count;
    const char *unit;
    const char *description;
};

constexpr ChannelDef CoreChannels[] = {
    {ChSessionTime, "SessionTime", irsdk_double, 1, "s", "Seconds since session start"},
    {ChSessionTick, "SessionTick", irsdk_int, 1, "", "Current update number"},
    {ChSessionNum, "SessionNum", irsdk_int, 1, "", "Session number"},
    {ChSessionState, "SessionState", irsdk_int, 1, "irsdk_SessionState", "Session state"},
    {ChSessionUniqueID, "SessionUniqueID", irsdk_int, 1, "", "Session ID"},
    {ChSessionFlags, "SessionFlags", irsdk_bitField, 1, "irsdk_Flags", "Session flags"},
    {ChSessionTimeRemain, "SessionTimeRemain", irsdk_double, 1, "s",
     "Seconds left till session ends"},
    {ChIsReplayPlaying, "IsReplayPlaying", irsdk_bool, 1, "",
     "0=replay not playing  1=replay playing"},
    {ChReplayFrameNum, "ReplayFrameNum", irsdk_int, 1, "",
     "Integer replay frame number (60 per second)"},
    {ChIsOnTrack, "IsOnTrack", irsdk_bool, 1, "",
     "1=Car on track physics running with player in car"},
    {ChCarIdxLap, "CarIdxLap", irsdk_int, MaxCars, "", "Laps started by car index"},
    {ChCarIdxLapCompleted, "CarIdxLapCompleted", irsdk_int, MaxCars, "",
     "Laps completed by car index"},
    {ChCarIdxLapDistPct, "CarIdxLapDistPct", irsdk_float, MaxCars, "%",
     "Percentage distance around lap by car index"},
    {ChCarIdxTrackSurface, "CarIdxTrackSurface", irsdk_int, MaxCars, "irsdk_TrkLoc",
     "Track surface type by car index"},
    {ChCarIdxOnPitRoad, "CarIdxOnPitRoad", irsdk_bool, MaxCars, "",
     "On pit road between the cones by car index"},
    {ChCarIdxPosition, "CarIdxPosition", irsdk_int, MaxCars, "",
     "Cars position in race by car index"},
    {ChCarIdxLastLapTime, "CarIdxLastLapTime", irsdk_float, MaxCars, "s", "Cars last lap time"},
    {ChPlayerTrackSurface, "PlayerTrackSurface", irsdk_int, 1, "irsdk_TrkLoc",
     "Players car track surface type"},
    {ChPlayerCarInPitStall, "PlayerCarInPitStall", irsdk_bool, 1, "",
     "Players car is properly in their pitstall"},
    {ChOnPitRoad, "OnPitRoad", irsdk_bool, 1, "",
     "Is the player car on pit road between the cones"},
    {ChThrottle, "Throttle", irsdk_float, 1, "%", "0=off throttle to 1=full throttle"},
    {ChBrake, "Brake", irsdk_float, 1, "%", "0=brake released to 1=max pedal force"},
    {ChGear, "Gear", irsdk_int, 1, "", "-1=reverse  0=neutral  1..n=current gear"},
    {ChRPM, "RPM", irsdk_float, 1, "revs/min", "Engine rpm"},
    {ChLap, "Lap", irsdk_int, 1, "", "Laps started count"},
    {ChLapCompleted, "LapCompleted", irsdk_int, 1, "", "Laps completed count"},
    {ChLapDist, "LapDist", irsdk_float, 1, "m", "Meters traveled from S/F this lap"},
    {ChLapDistPct, "LapDistPct", irsdk_float, 1, "%", "Percentage distance around lap"},
    {ChLapLastLapTime, "LapLastLapTime", irsdk_float, 1, "s", "Players last lap time"},
    {ChLapCurrentLapTime, "LapCurrentLapTime", irsdk_float, 1, "s",
     "Estimate of players current lap time as shown in F3 box"},
    {ChLastLapTime, "LastLapTime", irsdk_float, 1, "s", "Last lap time"},
    {ChSpeed, "Speed", irsdk_float, 1, "m/s", "GPS vehicle speed"},
    {ChYaw, "Yaw", irsdk_float, 1, "rad", "Yaw orientation"},
    {ChLongAccel, "LongAccel", irsdk_float, 1, "m/s^2",
     "Longitudinal acceleration (including gravity)"},
    {ChFuelLevel, "FuelLevel", irsdk_float, 1, "l", "Liters of fuel remaining"},
    {ChFuelLevelPct, "FuelLevelPct", irsdk_float, 1, "%", "Percent fuel remaining"},
    {ChReplayPlaySpeed, "ReplayPlaySpeed", irsdk_int, 1, "", "Replay playback speed"},
};

// Further channels of a full recording, for files as wide as the simulator's.
struct PadDef
{
    QByteArray name;
    int32_t type;
    int32_t count;
    QByteArray unit;
    QByteArray description;
    double base;
    double swing; // amplitude of the variation over a lap
    bool countAsTime;
};

std::vector<PadDef> padDefinitions(int wanted)
{
    std::vector<PadDef> pads;
    const auto add = [&](const QByteArray &name, int32_t type, const QByteArray &unit,
                         const QByteArray &description, double base, double swing,
                         int32_t count = 1, bool countAsTime = false) {
        if (int(pads.size()) < wanted)
            pads.push_back({name, type, count, unit, description, base, swing, countAsTime});
    };
    add("FrameRate", irsdk_float, "fps", "Average frames per second", 118.0, 4.0);
    add("CpuUsageBG", irsdk_float, "%", "Percent of available tim bg thread took", 0.21, 0.02);
    add("SteeringWheelAngle", irsdk_float, "rad", "Steering wheel angle", 0.0, 0.6);
    add("Clutch", irsdk_float, "%", "0=disengaged to 1=fully engaged", 1.0, 0.0);
    add("ThrottleRaw", irsdk_float, "%", "Raw throttle input", 0.7, 0.3);
    add("BrakeRaw", irsdk_float, "%", "Raw brake input", 0.1, 0.1);
    add("VelocityX", irsdk_float, "m/s", "X velocity", 40.0, 15.0);
    add("VelocityY", irsdk_float, "m/s", "Y velocity", 0.0, 0.5);
    add("VelocityZ", irsdk_float, "m/s", "Z velocity", 0.0, 0.1);
    add("YawRate", irsdk_float, "rad/s", "Yaw rate", 0.0, 0.5);
    add("PitchRate", irsdk_float, "rad/s", "Pitch rate", 0.0, 0.02);
    add("RollRate", irsdk_float, "rad/s", "Roll rate", 0.0, 0.03);
    add("Pitch", irsdk_float, "rad", "Pitch orientation", 0.0, 0.01);
    add("Roll", irsdk_float, "rad", "Roll orientation", 0.0, 0.02);
    add("VertAccel", irsdk_float, "m/s^2", "Vertical acceleration (including gravity)", 9.81, 0.8);
    add("LatAccel", irsdk_float, "m/s^2", "Lateral acceleration (including gravity)", 0.0, 14.0);
    add("Lat", irsdk_double, "deg", "Latitude in decimal degrees", -23.7036, 0.002);
    add("Lon", irsdk_double, "deg", "Longitude in decimal degrees", -46.6997, 0.002);
    add("Alt", irsdk_float, "m", "Altitude in meters", 760.0, 15.0);
    add("TrackTempCrew", irsdk_float, "C", "Temperature of track measured by crew", 34.85, 0.0);
    add("AirTemp", irsdk_float, "C", "Temperature of air at start/finish line", 25.56, 0.0);
    add("AirDensity", irsdk_float, "kg/m^3", "Density of air at start/finish line", 1.05, 0.0);
    add("AirPressure", irsdk_float, "Hg", "Pressure of air at start/finish line", 27.6, 0.0);
    add("WindVel", irsdk_float, "m/s", "Wind velocity at start/finish line", 2.2, 0.0);
    add("WindDir", irsdk_float, "rad", "Wind direction at start/finish line", 3.1, 0.0);
    add("RelativeHumidity", irsdk_float, "%", "Relative Humidity", 0.55, 0.0);
    add("WaterTemp", irsdk_float, "C", "Engine coolant temp", 88.0, 2.0);
    add("WaterLevel", irsdk_float, "l", "Engine coolant level", 8.0, 0.0);
    add("FuelPress", irsdk_float, "bar", "Engine fuel pressure", 4.2, 0.1);
    add("OilTemp", irsdk_float, "C", "Engine oil temperature", 102.0, 3.0);
    add("OilPress", irsdk_float, "bar", "Engine oil pressure", 5.1, 0.6);
    add("OilLevel", irsdk_float, "l", "Engine oil level", 9.0, 0.0);
    add("ManifoldPress", irsdk_float, "bar", "Engine manifold pressure", 0.9, 0.2);
    add("Voltage", irsdk_float, "V", "Engine voltage", 14.1, 0.1);
    add("FuelUsePerHour", irsdk_float, "kg/h", "Engine fuel used instantaneous", 48.0, 30.0);
    add("EngineWarnings", irsdk_bitField, "irsdk_EngineWarnings", "Bitfield for warning lights",
        0.0, 0.0);
    add("dcBrakeBias", irsdk_float, "", "In car brake bias adjustment", 56.7, 0.0);
    add("SteeringWheelTorque", irsdk_float, "N*m", "Output torque on steering shaft", 0.0, 9.0);
    add("SteeringWheelTorque_ST", irsdk_float, "N*m", "Output torque on steering shaft at 360 Hz",
        0.0, 9.0, 6, true);
    add("DriverMarker", irsdk_bool, "", "Driver activated flag", 0.0, 0.0);
    for (const char *corner : {"LF", "RF", "LR", "RR"}) {
        const QByteArray c(corner);
        add(c + "brakeLinePress", irsdk_float, "bar", c + " brake line pressure", 8.0, 8.0);
        add(c + "speed", irsdk_float, "m/s", c + " wheel speed", 40.0, 15.0);
        add(c + "pressure", irsdk_float, "kPa", c + " tire pressure", 175.0, 2.0);
        add(c + "coldPressure", irsdk_float, "kPa", c + " tire cold pressure  as set in the garage",
            162.0, 0.0);
        for (const char *part : {"L", "M", "R"})
            add(c + "temp" + part, irsdk_float, "C", c + " tire surface temperature", 78.0, 6.0);
        for (const char *part : {"CL", "CM", "CR"})
            add(c + "temp" + part, irsdk_float, "C", c + " tire carcass temperature", 74.0, 2.0);
        for (const char *part : {"L", "M", "R"})
            add(c + "wear" + part, irsdk_float, "%", c + " tire percent tread remaining", 0.98,
                0.0);
        add(c + "shockDefl", irsdk_float, "m", c + " shock deflection", 0.05, 0.01);
        add(c + "shockVel", irsdk_float, "m/s", c + " shock velocity", 0.0, 0.1);
        add(c + "rideHeight", irsdk_float, "m", c + " ride height", 0.08, 0.01);
    }
    for (int i = 1; int(pads.size()) < wanted; ++i) {
        add("AuxChannel" + QByteArray::number(i).rightJustified(3, '0'), irsdk_float, "",
            "Auxiliary logged channel", 0.5 * i, 0.1);
    }
    return pads;
}

const QStringList &driverNames()
{
    static const QStringList names = {
        QStringLiteral("Tomas Brenner"),  QStringLiteral("Aiko Saito"),
        QStringLiteral("Rafael Duarte"),  QStringLiteral("Priya Raman"),
        QStringLiteral("Jonas Kettunen"), QStringLiteral("Lea Moreau"),
        QStringLiteral("Samuel Okafor"),  QStringLiteral("Irene Castell"),
        QStringLiteral("Viktor Hale"),    QStringLiteral("Nadia Petrova"),
        QStringLiteral("Hugo Lindgren"),  QStringLiteral("Chloe Martins"),
    };
    return names;
}

QString abbreviation(const QString &name)
{
    const QStringList parts = name.split(u' ', Qt::SkipEmptyParts);
    if (parts.size() < 2)
        return name;
    return parts.last() + QStringLiteral(", ") + parts.first().left(1);
}

QString initials(const QString &name)
{
    QString result;
    for (const QString &part : name.split(u' ', Qt::SkipEmptyParts))
        result += part.left(1);
    return result;
}

} // namespace

struct SessionGenerator::Plan
{
    double length = 0.0;
    int flyingLaps = 0;
    std::vector<double> lapTimes; // planned flying or race laps
    std::vector<Segment> segments;
    double startDistance = 0.0;
    double endTime = 0.0; // the planned route ends here, standing in the stall
    double endDistance = 0.0;
    int64_t firstCountedLine = std::numeric_limits<int64_t>::min();
    std::vector<Crossing> crossings;
    std::map<int64_t, LapKind> kindAfterLine;
    LapKind initialKind = LapKind::OutLap;
    std::vector<std::pair<double, int>> states; // session state from a session time on
    double greenTime = -1.0;
    double finishTime = -1.0;
    int finalRaceLap = -1; // race: the Lap value of the last race lap
    double sessionChangeTime = -1.0;
    std::vector<double> flyingStartTimes;
    std::vector<OtherCar> others;
    std::vector<Driver> drivers; // every car with a driver entry, by car index
    int recordCount = 0;
    int fastFirst = -1;
    int fastCount = 0;
    double fuelStart = 58.0;
    double fuelPerMetre = 0.0;
    double sessionLength = 3600.0;
    double pitSpeed = 0.0;

    double lapTime(int i, const Options &o) const
    {
        return std::max(10.0,
                        o.lapTime + o.lapTimeSpread * LapPattern[size_t(i) % LapPattern.size()]);
    }

    Motion motionAt(double t, size_t &cursor) const
    {
        if (segments.empty())
            return {};
        if (cursor >= segments.size())
            cursor = 0;
        while (cursor > 0 && t < segments[cursor].t0)
            --cursor;
        while (cursor + 1 < segments.size() && t >= segments[cursor + 1].t0)
            ++cursor;
        return segments[cursor].at(t);
    }

    double distanceAt(double t) const
    {
        size_t cursor = 0;
        return motionAt(t, cursor).distance;
    }

    // Ticks from the first record to this one: the records of the 2x stretch each step two.
    int ticksBefore(int record) const
    {
        if (fastFirst < 0)
            return record;
        return record + std::clamp(record - fastFirst + 1, 0, fastCount);
    }

    int stateAt(double t) const
    {
        int state = states.empty() ? 4 : states.front().second;
        for (const auto &[from, value] : states) {
            if (t >= from)
                state = value;
        }
        return state;
    }

    void build(const Options &o, int laps);
    void findCrossings(const Options &o);
    double otherDistance(const OtherCar &car, double t, double playerDistance,
                         double playerGreenDistance, const Options &o) const;
    int otherLap(const OtherCar &car, double distance, const Options &o) const;
};

void SessionGenerator::Plan::build(const Options &o, int laps)
{
    flyingLaps = laps;
    lapTimes.clear();
    for (int i = 0; i < laps; ++i)
        lapTimes.push_back(lapTime(i, o));
    kindAfterLine.clear();
    states.clear();
    flyingStartTimes.clear();
    greenTime = finishTime = -1.0;
    finalRaceLap = -1;
    pitSpeed = o.pitSpeedLimit / 3.6 * 0.95;

    const double average = length / o.lapTime;
    const double firstLapSpeed = maxLapSpeed(length, laps > 0 ? lapTimes.front() : o.lapTime);
    const auto lineAfter = [&](double d) {
        return (std::floor(d / length) + 1.0) * length;
    };
    const auto nextAt = [&](double d, double pct) {
        double at = (std::floor(d / length) + pct) * length;
        while (at <= d + 1.0)
            at += length;
        return at;
    };

    Planner p(o.startTime, 0.0);
    if (o.scenario == Scenario::Race) {
        startDistance = -(1.0 - o.gridPct) * length;
        p = Planner(o.startTime, startDistance);
        initialKind = LapKind::Grid;
        firstCountedLine = o.paradeLaps;
        // Get in car, warm-up, then the parade behind the pace car.
        states.push_back({o.startTime, 1});
        states.push_back({o.startTime + 8.0, 2});
        p.stand(16.0, false, false);
        if (o.paradeLaps > 0) {
            states.push_back({p.time(), 3});
            p.run(double(o.paradeLaps) * length, 0.55 * average, firstLapSpeed, false);
        } else {
            states.push_back({p.time(), 4});
            p.run(0.0, firstLapSpeed, firstLapSpeed, false);
        }
        greenTime = p.time();
        if (o.paradeLaps > 0)
            states.push_back({greenTime, 4});
        for (int64_t k = 0; k < o.paradeLaps; ++k)
            kindAfterLine[k] = LapKind::Grid;
        int64_t line = o.paradeLaps;
        for (int i = 0; i < laps; ++i) {
            kindAfterLine[line++] = LapKind::Racing;
            flyingStartTimes.push_back(p.time());
            p.flyingLap(length, lapTimes[size_t(i)]);
        }
        finishTime = p.time();
        finalRaceLap = o.startLap + laps;
        kindAfterLine[line] = LapKind::CoolDown;
        states.push_back({finishTime, 5});
        states.push_back({finishTime + 20.0, 6});
        const double entry = nextAt(p.distance(), o.pitEntryPct);
        p.run(entry, 0.5 * average, pitSpeed, false);
    } else {
        startDistance = o.pitStallPct * length;
        p = Planner(o.startTime, startDistance);
        initialKind = LapKind::OutLap;
        states.push_back({o.startTime, 4});
        p.stand(o.stallWait, true, true);
        const double exit = nextAt(p.distance(), o.pitExitPct);
        p.run(exit, pitSpeed, pitSpeed, true);
        const double line = lineAfter(p.distance());
        p.run(line, firstLapSpeed, firstLapSpeed, false);
        int64_t index = int64_t(std::llround(line / length));
        // A stall short of the line: the out lap crosses it on pit road.
        for (int64_t k = int64_t(std::floor(startDistance / length)) + 1; k < index; ++k)
            kindAfterLine[k] = LapKind::OutLap;
        for (int i = 0; i < laps; ++i) {
            kindAfterLine[index++] = LapKind::Flying;
            flyingStartTimes.push_back(p.time());
            p.flyingLap(length, lapTimes[size_t(i)]);
        }
        kindAfterLine[index] = LapKind::InLap;
        const double entry = nextAt(p.distance(), o.pitEntryPct);
        p.run(entry, 0.7 * average, pitSpeed, false);
    }
    // Pit lane to the stall, then a while at rest in it.
    const double entryDistance = p.distance();
    const double stall = nextAt(entryDistance, o.pitStallPct);
    for (int64_t k = int64_t(std::floor(entryDistance / length)) + 1; double(k) * length <= stall;
         ++k)
        kindAfterLine[k] = LapKind::PitStall;
    p.run(stall, pitSpeed, 0.0, true);
    // The stall is the end of the route; any further records stay in it.
    endTime = p.time();
    endDistance = p.distance();
    p.stand(1e7, true, true);
    segments = std::move(p.segments);
}

void SessionGenerator::Plan::findCrossings(const Options &o)
{
    crossings.clear();
    const int64_t first = int64_t(std::floor(startDistance / length)) + 1;
    const int64_t last = int64_t(std::floor(endDistance / length));
    for (int64_t k = first; k <= last; ++k) {
        const double target = double(k) * length;
        double lo = segments.front().t0;
        double hi = endTime;
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
        c.counted = o.scenario != Scenario::Race || k >= firstCountedLine;
        if (!crossings.empty() && crossings.back().index == k - 1
            && (o.scenario != Scenario::Race || k - 1 >= firstCountedLine)) {
            const double from = crossings.back().time;
            bool pit = false;
            for (const Segment &s : segments) {
                if (s.pitRoad && s.t0 < c.time && s.t0 + s.duration > from)
                    pit = true;
            }
            if (!pit)
                c.lapTime = c.time - from;
        }
        crossings.push_back(c);
    }
}

double SessionGenerator::Plan::otherDistance(const OtherCar &car, double t, double playerDistance,
                                             double playerGreenDistance, const Options &o) const
{
    if (o.scenario != Scenario::Race)
        return length * (car.phase + lapProfile((t - o.startTime) / car.lapTime));
    if (greenTime < 0.0 || t < greenTime)
        return playerDistance + car.gap;
    return playerGreenDistance + car.gap + length * lapProfile((t - greenTime) / car.lapTime);
}

int SessionGenerator::Plan::otherLap(const OtherCar &car, double distance, const Options &o) const
{
    const int64_t line = int64_t(std::floor(distance / length));
    if (o.scenario != Scenario::Race)
        return car.startLap + int(line);
    return o.startLap + int(std::max<int64_t>(0, line - firstCountedLine + 1));
}

SessionGenerator::SessionGenerator(const Options &options)
    : m_options(options)
    , m_plan(std::make_unique<Plan>())
{
    Options &o = m_options;
    o.trackLength = std::max(o.trackLength, 100.0);
    o.lapTime = std::max(o.lapTime, 10.0);
    o.lapTimeSpread = std::clamp(o.lapTimeSpread, 0.0, o.lapTime / 4.0);
    o.laps = std::max(o.laps, 0);
    o.paradeLaps = std::max(o.paradeLaps, 0);
    o.otherCars = std::clamp(o.otherCars, 0, MaxCars - 1);
    o.playerCarIdx = std::clamp(o.playerCarIdx, 0, MaxCars - 1);
    o.stallWait = std::max(o.stallWait, 0.0);
    o.lastLapTimeDelay = std::max(o.lastLapTimeDelay, 0.0);
    o.replayFastRecords = std::max(o.replayFastRecords, 0);
    const auto fraction = [](double v) {
        return v - std::floor(v);
    };
    o.pitEntryPct = fraction(o.pitEntryPct);
    o.pitStallPct = fraction(o.pitStallPct);
    o.pitExitPct = fraction(o.pitExitPct);
    o.gridPct = std::clamp(o.gridPct, 0.5, 0.999);

    Plan &plan = *m_plan;
    plan.length = o.trackLength;

    // With a duration, as many laps as fit, and exactly that many records.
    const bool replay = o.scenario == Scenario::Replay;
    int records = o.duration > 0.0 ? std::max(1, int(std::llround(o.duration * TickRate))) : 0;
    int laps = o.laps;
    if (records > 0) {
        const int extraTicks = replay ? std::min(o.replayFastRecords, records / 2) : 0;
        const double lastTime = o.startTime + double(records - 1 + extraTicks) / TickRate;
        laps = int(o.duration / o.lapTime) + 1;
        for (; laps > 0; --laps) {
            plan.build(o, laps);
            if (plan.endTime + o.stallWait <= lastTime)
                break;
        }
    }
    plan.build(o, laps);
    plan.findCrossings(o);

    // Replay: the 2x stretch.
    if (replay && o.replayFastRecords > 0) {
        double start = o.replayFastStart;
        if (start < 0.0) {
            start = !plan.flyingStartTimes.empty()
                ? plan.flyingStartTimes.front() + 0.5 * plan.lapTimes.front()
                : 0.5 * (o.startTime + plan.endTime);
        }
        plan.fastFirst = std::max(1, int(std::llround((start - o.startTime) * TickRate)));
        plan.fastCount = o.replayFastRecords;
    }
    const auto ticksBefore = [&](int record) {
        return plan.ticksBefore(record);
    };
    if (records == 0) {
        const double end = plan.endTime + o.stallWait;
        while (o.startTime + double(ticksBefore(records)) / TickRate < end)
            ++records;
        ++records;
    }
    if (plan.fastFirst >= records) {
        plan.fastFirst = -1;
        plan.fastCount = 0;
    } else if (plan.fastFirst >= 0) {
        plan.fastCount = std::min(plan.fastCount, records - plan.fastFirst);
    }
    plan.recordCount = records;

    // Session change: in the middle of the second flying lap, or of the only one.
    if (o.scenario == Scenario::SessionChange) {
        double at = o.sessionChangeTime;
        if (at < 0.0) {
            const size_t lap = plan.flyingStartTimes.size() > 1 ? 1 : 0;
            at = plan.flyingStartTimes.empty()
                ? 0.5 * (o.startTime + plan.endTime)
                : plan.flyingStartTimes[lap] + 0.5 * plan.lapTimes[lap];
        }
        plan.sessionChangeTime = at;
    }

    // Fuel lasts the whole route.
    plan.fuelStart = 58.0;
    const double driven = std::max(1.0, plan.endDistance - plan.startDistance);
    plan.fuelPerMetre = std::min(2.6 / 4309.0, (plan.fuelStart - 2.0) / driven);

    // The other cars and the driver list.
    std::vector<int> free;
    for (int idx = 0; idx < MaxCars && int(free.size()) < o.otherCars; ++idx) {
        if (idx != o.playerCarIdx)
            free.push_back(idx);
    }
    const int playerGrid = std::min(o.otherCars, 2) + 1;
    for (size_t j = 0; j < free.size(); ++j) {
        OtherCar car;
        car.carIdx = free[j];
        const double step = 0.006 * double(j / 2 + 1);
        car.lapTime = o.lapTime * (j % 2 == 0 ? 1.0 + step : 1.0 - step * 0.5);
        car.phase = std::fmod(0.37 + 0.29 * double(j), 1.0);
        car.startLap = 2 + int(j % 5);
        car.gridPosition = int(j) + 1 >= playerGrid ? int(j) + 2 : int(j) + 1;
        car.gap = double(playerGrid - car.gridPosition) * 16.0;
        plan.others.push_back(car);
    }
    const QStringList &names = driverNames();
    const char *licenceColours[] = {"0x0153db", "0x00c702", "0xfeec04", "0xfc8a27", "0xfc0706"};
    const char *licenceClasses[] = {"A", "B", "C", "D", "R"};
    const char *clubs[] = {"Scandinavia", "Japan", "Brazil", "India", "Finland", "France"};
    std::vector<int> cars = free;
    cars.push_back(o.playerCarIdx);
    std::sort(cars.begin(), cars.end());
    for (int idx : cars) {
        Driver d;
        d.carIdx = idx;
        const bool mine = idx == o.playerCarIdx;
        const int n = int(std::find(free.begin(), free.end(), idx) - free.begin());
        d.name = mine ? o.playerName
                      : (n < names.size() ? names[n] : QStringLiteral("Driver %1").arg(n + 1));
        d.userId = mine ? 402215 : 100003 + 7919 * n;
        d.carNumber = mine ? 7 : 11 + 3 * n;
        d.iRating = mine ? 2240 : 1350 + (217 * n) % 2500;
        const int cls = mine ? 0 : n % 5;
        d.licLevel = 20 - 4 * cls;
        d.licSubLevel = mine ? 412 : 150 + (37 * n) % 349;
        d.licence = QStringLiteral("%1 %2").arg(QLatin1String(licenceClasses[cls]),
                                                number(d.licSubLevel / 100.0, 2));
        d.licenceColour = QLatin1String(licenceColours[cls]);
        d.club = QLatin1String(mine ? "Scandinavia" : clubs[n % 6]);
        d.division = QStringLiteral("Division %1").arg(mine ? 2 : 1 + n % 7);
        plan.drivers.push_back(d);
    }
    plan.sessionLength = 3600.0;
    const double lastTime = o.startTime + double(ticksBefore(records - 1)) / TickRate;
    while (plan.sessionLength < lastTime + 60.0)
        plan.sessionLength += 1800.0;

    // What the file will say.
    Summary &s = m_summary;
    s.recordCount = records;
    s.firstSessionTime = o.startTime;
    s.lastSessionTime = lastTime;
    s.firstTick = int(std::llround(o.startTime * TickRate));
    s.lastTick = s.firstTick + ticksBefore(records - 1);
    s.playerCarIdx = o.player ? o.playerCarIdx : -1;
    for (int idx : cars)
        s.carIdxs.append(idx);
    s.fastFirstRecord = plan.fastFirst;
    s.fastRecordCount = plan.fastCount;
    s.greenFlagTime = plan.greenTime;
    s.fuelAtStart = plan.fuelStart;
    s.trackDisplayName = o.trackDisplayName.toLatin1();
    s.trackCity = o.trackCity.toLatin1();
    s.trackLengthText = (number(o.trackLength / 1000.0, 2) + QStringLiteral(" km")).toLatin1();
    if (plan.sessionChangeTime >= 0.0) {
        for (int r = 0; r < records; ++r) {
            if (o.startTime + double(ticksBefore(r)) / TickRate >= plan.sessionChangeTime) {
                s.sessionChangeRecord = r;
                break;
            }
        }
    }
    const auto sessionNumAt = [&](double t) {
        if (o.scenario == Scenario::Race)
            return 2;
        return plan.sessionChangeTime >= 0.0 && t >= plan.sessionChangeTime ? 1 : 0;
    };
    Lap lap {plan.initialKind,
             o.startLap,
             sessionNumAt(o.startTime),
             o.startTime,
             lastTime,
             -1.0,
             false};
    for (const Crossing &c : plan.crossings) {
        // The record after the crossing is the first to show it.
        if (c.time > lastTime)
            break;
        lap.endTime = c.time;
        lap.complete = true;
        lap.lapTime = c.time + o.lastLapTimeDelay <= lastTime ? c.lapTime : -1.0;
        if (lap.lapTime >= 0.0)
            s.timedLapTimes.append(lap.lapTime);
        s.laps.append(lap);
        ++s.lapsCompleted;
        const auto kind = plan.kindAfterLine.find(c.index);
        lap = {kind != plan.kindAfterLine.end() ? kind->second : LapKind::PitStall,
               lap.lap + (c.counted ? 1 : 0),
               sessionNumAt(c.time),
               c.time,
               lastTime,
               -1.0,
               false};
    }
    s.laps.append(lap);

    // The session text and the record layout.
    m_sessionInfo = buildSessionInfo();
    IbtWriter probe;
    configure(probe);
    s.variableCount = probe.variableCount();
    s.recordLength = probe.recordLength();
}

SessionGenerator::SessionGenerator()
    : SessionGenerator(Options())
{ }

SessionGenerator::~SessionGenerator() = default;

QString SessionGenerator::scenarioName(Scenario scenario)
{
    switch (scenario) {
    case Scenario::Practice:
        return QStringLiteral("practice");
    case Scenario::Race:
        return QStringLiteral("race");
    case Scenario::Replay:
        return QStringLiteral("replay");
    case Scenario::SessionChange:
        return QStringLiteral("session-change");
    }
    return {};
}

QString SessionGenerator::lapKindName(LapKind kind)
{
    switch (kind) {
    case LapKind::OutLap:
        return QStringLiteral("out lap");
    case LapKind::Flying:
        return QStringLiteral("flying");
    case LapKind::InLap:
        return QStringLiteral("in lap");
    case LapKind::PitStall:
        return QStringLiteral("pit stall");
    case LapKind::Grid:
        return QStringLiteral("grid");
    case LapKind::Racing:
        return QStringLiteral("racing");
    case LapKind::CoolDown:
        return QStringLiteral("cool-down");
    }
    return {};
}

namespace {

struct ResultRow
{
    int carIdx = 0;
    int fastestLap = 0;
    double fastestTime = -1.0;
    double lastTime = -1.0;
    int lapsComplete = 0;
    int lapsLed = 0;
    double distance = 0.0; // race order
};

std::vector<const ChannelDef *> coreChannels(const SessionGenerator::Options &o)
{
    std::vector<const ChannelDef *> channels;
    const bool replay = o.scenario == SessionGenerator::Scenario::Replay;
    for (const ChannelDef &def : CoreChannels) {
        switch (def.id) {
        case ChSessionTick:
            if (o.version < 2)
                continue;
            break;
        case ChIsReplayPlaying:
        case ChReplayFrameNum:
        case ChReplayPlaySpeed:
            if (!replay)
                continue;
            break;
        case ChCarIdxLap:
        case ChCarIdxLapCompleted:
        case ChCarIdxLapDistPct:
        case ChCarIdxTrackSurface:
        case ChCarIdxOnPitRoad:
        case ChCarIdxPosition:
        case ChCarIdxLastLapTime:
            if (!o.carArrays)
                continue;
            break;
        case ChIsOnTrack:
            if (!o.isOnTrackVariable)
                continue;
            break;
        case ChLastLapTime:
            if (!o.lastLapTimeVariable)
                continue;
            break;
        default:
            break;
        }
        if (o.omitVariables.contains(QLatin1String(def.name)))
            continue;
        channels.push_back(&def);
    }
    return channels;
}

std::vector<PadDef> paddingFor(const SessionGenerator::Options &o)
{
    const int wanted = o.totalVariables - int(coreChannels(o).size());
    std::vector<PadDef> pads = padDefinitions(std::max(wanted, 0));
    pads.erase(std::remove_if(pads.begin(), pads.end(),
                              [&](const PadDef &pad) {
                                  return o.omitVariables.contains(QString::fromLatin1(pad.name));
                              }),
               pads.end());
    return pads;
}

void writeResults(TextBuilder &t, std::vector<ResultRow> rows, bool race)
{
    std::stable_sort(rows.begin(), rows.end(), [&](const ResultRow &a, const ResultRow &b) {
        if (race)
            return a.distance > b.distance;
        const bool aTimed = a.fastestTime > 0.0;
        const bool bTimed = b.fastestTime > 0.0;
        if (aTimed != bTimed)
            return aTimed;
        return aTimed && a.fastestTime < b.fastestTime;
    });
    t.section(3, QStringLiteral("ResultsPositions"));
    for (size_t i = 0; i < rows.size(); ++i) {
        const ResultRow &r = rows[i];
        t.item(3, QStringLiteral("Position"), QString::number(i + 1));
        t.value(5, QStringLiteral("ClassPosition"), qint64(i));
        t.value(5, QStringLiteral("CarIdx"), qint64(r.carIdx));
        t.value(5, QStringLiteral("Lap"), qint64(r.fastestLap));
        t.value(5, QStringLiteral("Time"), r.fastestTime, 4);
        t.value(5, QStringLiteral("FastestLap"), qint64(r.fastestLap));
        t.value(5, QStringLiteral("FastestTime"), r.fastestTime, 4);
        t.value(5, QStringLiteral("LastTime"), r.lastTime, 4);
        t.value(5, QStringLiteral("LapsLed"), qint64(r.lapsLed));
        t.value(5, QStringLiteral("LapsComplete"), qint64(r.lapsComplete));
        t.value(5, QStringLiteral("JokerLapsComplete"), qint64(0));
        t.value(5, QStringLiteral("LapsDriven"), 0.0, 3);
        t.value(5, QStringLiteral("Incidents"), qint64(0));
        t.value(5, QStringLiteral("ReasonOutId"), qint64(0));
        t.value(5, QStringLiteral("ReasonOutStr"), QStringLiteral("Running"));
    }
    t.section(3, QStringLiteral("ResultsFastestLap"));
    const auto fastest
        = std::min_element(rows.begin(), rows.end(), [](const auto &a, const auto &b) {
              const double x = a.fastestTime > 0.0 ? a.fastestTime : 1e9;
              const double y = b.fastestTime > 0.0 ? b.fastestTime : 1e9;
              return x < y;
          });
    const bool any = fastest != rows.end() && fastest->fastestTime > 0.0;
    t.item(3, QStringLiteral("CarIdx"), QString::number(any ? fastest->carIdx : 255));
    t.value(5, QStringLiteral("FastestLap"), qint64(any ? fastest->fastestLap : 0));
    t.value(5, QStringLiteral("FastestTime"), any ? fastest->fastestTime : -1.0, 4);
}

} // namespace

QByteArray SessionGenerator::buildSessionInfo() const
{
    const Options &o = m_options;
    const Plan &plan = *m_plan;
    const Summary &s = m_summary;
    const bool race = o.scenario == Scenario::Race;
    TextBuilder t;
    t.line(0, QStringLiteral("---"));

    t.section(0, QStringLiteral("WeekendInfo"));
    t.value(1, QStringLiteral("TrackName"), o.trackName);
    t.value(1, QStringLiteral("TrackID"), qint64(o.trackId));
    t.value(1, QStringLiteral("TrackLength"), QString::fromLatin1(s.trackLengthText));
    t.value(1, QStringLiteral("TrackLengthOfficial"), QString::fromLatin1(s.trackLengthText));
    t.value(1, QStringLiteral("TrackDisplayName"), o.trackDisplayName);
    t.value(1, QStringLiteral("TrackDisplayShortName"), o.trackDisplayShortName);
    t.value(1, QStringLiteral("TrackConfigName"), o.trackConfigName);
    t.value(1, QStringLiteral("TrackCity"), o.trackCity);
    t.value(1, QStringLiteral("TrackCountry"), o.trackCountry);
    t.value(1, QStringLiteral("TrackAltitude"), QStringLiteral("785.28 m"));
    t.value(1, QStringLiteral("TrackLatitude"), QStringLiteral("-23.703600 m"));
    t.value(1, QStringLiteral("TrackLongitude"), QStringLiteral("-46.699700 m"));
    t.value(1, QStringLiteral("TrackNorthOffset"),
            number(o.trackNorthOffset, 4) + QStringLiteral(" rad"));
    t.value(1, QStringLiteral("TrackNumTurns"), qint64(o.trackNumTurns));
    t.value(1, QStringLiteral("TrackPitSpeedLimit"),
            number(o.pitSpeedLimit, 2) + QStringLiteral(" kph"));
    t.value(1, QStringLiteral("TrackType"), QStringLiteral("road course"));
    t.value(1, QStringLiteral("TrackDirection"), QStringLiteral("neutral"));
    t.value(1, QStringLiteral("TrackWeatherType"), QStringLiteral("Static"));
    t.value(1, QStringLiteral("TrackSkies"), o.skies);
    t.value(1, QStringLiteral("TrackSurfaceTemp"),
            number(o.trackSurfaceTemp, 2) + QStringLiteral(" C"));
    t.value(1, QStringLiteral("TrackAirTemp"), number(o.trackAirTemp, 2) + QStringLiteral(" C"));
    t.value(1, QStringLiteral("TrackAirPressure"), QStringLiteral("27.61 Hg"));
    t.value(1, QStringLiteral("TrackWindVel"), QStringLiteral("2.24 m/s"));
    t.value(1, QStringLiteral("TrackWindDir"), QStringLiteral("3.14 rad"));
    t.value(1, QStringLiteral("TrackRelativeHumidity"), QStringLiteral("55 %"));
    t.value(1, QStringLiteral("TrackFogLevel"), QStringLiteral("0 %"));
    t.value(1, QStringLiteral("TrackCleanup"), qint64(0));
    t.value(1, QStringLiteral("TrackDynamicTrack"), qint64(1));
    t.value(1, QStringLiteral("TrackVersion"), QStringLiteral("2024.05.28.02"));
    t.value(1, QStringLiteral("SeriesID"), qint64(race ? 4170 : 0));
    t.value(1, QStringLiteral("SeasonID"), qint64(race ? 4896 : 0));
    t.value(1, QStringLiteral("SessionID"), o.sessionId);
    t.value(1, QStringLiteral("SubSessionID"), o.subSessionId);
    t.value(1, QStringLiteral("LeagueID"), qint64(0));
    t.value(1, QStringLiteral("Official"), qint64(race ? 1 : 0));
    t.value(1, QStringLiteral("RaceWeek"), qint64(race ? 3 : 0));
    t.value(1, QStringLiteral("EventType"),
            race ? QStringLiteral("Race") : QStringLiteral("Practice"));
    t.value(1, QStringLiteral("Category"), QStringLiteral("Road"));
    t.value(1, QStringLiteral("SimMode"),
            o.scenario == Scenario::Replay ? QStringLiteral("replay") : QStringLiteral("full"));
    t.value(1, QStringLiteral("TeamRacing"), qint64(0));
    t.value(1, QStringLiteral("MinDrivers"), qint64(0));
    t.value(1, QStringLiteral("MaxDrivers"), qint64(0));
    t.value(1, QStringLiteral("DCRuleSet"), QStringLiteral("None"));
    t.value(1, QStringLiteral("QualifierMustStartRace"), qint64(0));
    t.value(1, QStringLiteral("NumCarClasses"), qint64(1));
    t.value(1, QStringLiteral("NumCarTypes"), qint64(1));
    t.value(1, QStringLiteral("HeatRacing"), qint64(0));
    t.value(1, QStringLiteral("BuildType"), QStringLiteral("Release"));
    t.value(1, QStringLiteral("BuildTarget"), QStringLiteral("Members"));
    t.value(1, QStringLiteral("BuildVersion"), QStringLiteral("2024.06.04.01"));
    t.section(1, QStringLiteral("WeekendOptions"));
    t.value(2, QStringLiteral("NumStarters"), qint64(race ? s.carIdxs.size() : 0));
    t.value(2, QStringLiteral("StartingGrid"), QStringLiteral("2x2 inline pole on left"));
    t.value(2, QStringLiteral("QualifyScoring"), QStringLiteral("best lap"));
    t.value(2, QStringLiteral("CourseCautions"), QStringLiteral("full"));
    t.value(2, QStringLiteral("StandingStart"), qint64(race && o.paradeLaps == 0 ? 1 : 0));
    t.value(2, QStringLiteral("ShortParadeLap"), qint64(0));
    t.value(2, QStringLiteral("Restarts"), QStringLiteral("double file lapped cars behind"));
    t.value(2, QStringLiteral("WeatherType"), QStringLiteral("Static"));
    t.value(2, QStringLiteral("Skies"), o.skies);
    t.value(2, QStringLiteral("WindDirection"), QStringLiteral("N"));
    t.value(2, QStringLiteral("WindSpeed"), QStringLiteral("8.05 km/h"));
    t.value(2, QStringLiteral("WeatherTemp"), number(o.weatherTemp, 2) + QStringLiteral(" C"));
    t.value(2, QStringLiteral("RelativeHumidity"), QStringLiteral("55 %"));
    t.value(2, QStringLiteral("FogLevel"), QStringLiteral("0 %"));
    t.value(2, QStringLiteral("TimeOfDay"), QStringLiteral("2:00 pm"));
    t.value(2, QStringLiteral("Date"), QStringLiteral("2024-06-01"));
    t.value(2, QStringLiteral("EarthRotationSpeedupFactor"), qint64(1));
    t.value(2, QStringLiteral("Unofficial"), qint64(race ? 0 : 1));
    t.value(2, QStringLiteral("CommercialMode"), QStringLiteral("consumer"));
    t.value(2, QStringLiteral("NightMode"), QStringLiteral("variable"));
    t.value(2, QStringLiteral("IsFixedSetup"), qint64(0));
    t.value(2, QStringLiteral("StrictLapsChecking"), QStringLiteral("default"));
    t.value(2, QStringLiteral("HasOpenRegistration"), qint64(0));
    t.value(2, QStringLiteral("HardcoreLevel"), qint64(1));
    t.value(2, QStringLiteral("NumJokerLaps"), qint64(0));
    t.value(2, QStringLiteral("IncidentLimit"), QStringLiteral("unlimited"));
    t.value(2, QStringLiteral("FastRepairsLimit"), QStringLiteral("unlimited"));
    t.value(2, QStringLiteral("GreenWhiteCheckeredLimit"), qint64(0));
    t.section(1, QStringLiteral("TelemetryOptions"));
    t.value(2, QStringLiteral("TelemetryDiskFile"), QStringLiteral("\"\""));
    t.blank();

    // Sessions: the recorded ones from the route, a race weekend's earlier ones made up.
    struct SessionDef
    {
        int num;
        QString type;
        QString name;
        bool recorded;
    };
    std::vector<SessionDef> sessions;
    if (race) {
        sessions = {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), false},
                    {1, QStringLiteral("Qualify"), QStringLiteral("QUALIFY"), false},
                    {2, QStringLiteral("Race"), QStringLiteral("RACE"), true}};
    } else if (o.scenario == Scenario::SessionChange) {
        sessions = {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), true},
                    {1, QStringLiteral("Qualify"), QStringLiteral("QUALIFY"), true}};
    } else {
        sessions = {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), true}};
    }
    const double endTime = s.lastSessionTime;
    const double playerEndDistance = plan.distanceAt(endTime);
    const double greenDistance = double(o.paradeLaps) * plan.length;
    t.section(0, QStringLiteral("SessionInfo"));
    t.section(1, QStringLiteral("Sessions"));
    for (const SessionDef &def : sessions) {
        t.item(1, QStringLiteral("SessionNum"), QString::number(def.num));
        t.value(3, QStringLiteral("SessionLaps"),
                def.type == QLatin1String("Race") ? QString::number(o.laps)
                                                  : QStringLiteral("unlimited"));
        t.value(3, QStringLiteral("SessionTime"),
                number(plan.sessionLength, 4) + QStringLiteral(" sec"));
        t.value(3, QStringLiteral("SessionNumLapsToAvg"), qint64(0));
        t.value(3, QStringLiteral("SessionType"), def.type);
        t.value(3, QStringLiteral("SessionTrackRubberState"), QStringLiteral("moderate usage"));
        t.value(3, QStringLiteral("SessionName"), def.name);
        t.value(3, QStringLiteral("SessionSubType"), QString());
        t.value(3, QStringLiteral("SessionSkipped"), qint64(0));
        t.value(3, QStringLiteral("SessionRunGroupsUsed"), qint64(0));
        t.value(3, QStringLiteral("SessionEnforceTireCompoundChange"), qint64(0));

        std::vector<ResultRow> rows;
        ResultRow mine;
        mine.carIdx = o.playerCarIdx;
        if (def.recorded) {
            int lastLap = -1;
            for (const Lap &lap : s.laps) {
                if (lap.sessionNum != def.num)
                    continue;
                if (lap.complete)
                    ++mine.lapsComplete;
                if (lap.lapTime > 0.0) {
                    mine.lastTime = lap.lapTime;
                    if (mine.fastestTime < 0.0 || lap.lapTime < mine.fastestTime) {
                        mine.fastestTime = lap.lapTime;
                        mine.fastestLap = lap.lap;
                    }
                }
                lastLap = lap.lap;
            }
            Q_UNUSED(lastLap);
            mine.distance = playerEndDistance;
        } else {
            mine.lapsComplete = 6 + def.num;
            mine.fastestTime = o.lapTime + 0.3 - 0.2 * def.num;
            mine.lastTime = mine.fastestTime + 0.4;
            mine.fastestLap = 3;
        }
        rows.push_back(mine);
        for (const OtherCar &car : plan.others) {
            ResultRow row;
            row.carIdx = car.carIdx;
            if (def.recorded) {
                const double d
                    = plan.otherDistance(car, endTime, playerEndDistance, greenDistance, o);
                const int lap = plan.otherLap(car, d, o);
                row.lapsComplete = std::max(0, lap - 1);
                const bool timed = !race || lap >= 2;
                row.fastestTime = timed ? car.lapTime : -1.0;
                row.lastTime = timed ? car.lapTime : -1.0;
                row.fastestLap = timed ? std::max(1, lap - 1) : 0;
                row.distance = d;
            } else {
                row.lapsComplete = 5 + (car.carIdx + def.num) % 4;
                row.fastestTime = car.lapTime + 0.3 - 0.2 * def.num;
                row.lastTime = row.fastestTime + 0.25;
                row.fastestLap = 2 + car.carIdx % 3;
            }
            rows.push_back(row);
        }
        if (race && def.recorded && !rows.empty()) {
            const auto leader
                = std::max_element(rows.begin(), rows.end(), [](const auto &a, const auto &b) {
                      return a.distance < b.distance;
                  });
            leader->lapsLed = leader->lapsComplete;
        }
        writeResults(t, rows, race && def.recorded);
        t.value(3, QStringLiteral("ResultsAverageLapTime"), -1.0, 4);
        t.value(3, QStringLiteral("ResultsNumCautionFlags"), qint64(0));
        t.value(3, QStringLiteral("ResultsNumCautionLaps"), qint64(0));
        t.value(3, QStringLiteral("ResultsNumLeadChanges"), qint64(0));
        t.value(3, QStringLiteral("ResultsLapsComplete"), qint64(-1));
        t.value(3, QStringLiteral("ResultsOfficial"), qint64(0));
    }
    t.blank();

    t.section(0, QStringLiteral("CameraInfo"));
    t.section(1, QStringLiteral("Groups"));
    const char *cameras[] = {"Nose", "Gearbox", "Roll Bar", "Cockpit", "Chase", "Blimp"};
    for (int i = 0; i < 6; ++i) {
        t.item(1, QStringLiteral("GroupNum"), QString::number(i + 1));
        t.value(3, QStringLiteral("GroupName"), QLatin1String(cameras[i]));
        t.section(3, QStringLiteral("Cameras"));
        t.item(3, QStringLiteral("CameraNum"), QStringLiteral("1"));
        t.value(5, QStringLiteral("CameraName"), QStringLiteral("Cam") + QLatin1String(cameras[i]));
    }
    t.blank();

    t.section(0, QStringLiteral("DriverInfo"));
    if (o.player)
        t.value(1, QStringLiteral("DriverCarIdx"), qint64(o.playerCarIdx));
    t.value(1, QStringLiteral("DriverUserID"), qint64(402215));
    t.value(1, QStringLiteral("PaceCarIdx"), qint64(-1));
    t.value(1, QStringLiteral("DriverHeadPosX"), -0.643, 3);
    t.value(1, QStringLiteral("DriverHeadPosY"), 0.393, 3);
    t.value(1, QStringLiteral("DriverHeadPosZ"), 0.622, 3);
    t.value(1, QStringLiteral("DriverCarIsElectric"), qint64(0));
    t.value(1, QStringLiteral("DriverCarIdleRPM"), 1100.0, 3);
    t.value(1, QStringLiteral("DriverCarRedLine"), 7200.0, 3);
    t.value(1, QStringLiteral("DriverCarEngCylinderCount"), qint64(8));
    t.value(1, QStringLiteral("DriverCarFuelKgPerLtr"), 0.75, 3);
    t.value(1, QStringLiteral("DriverCarFuelMaxLtr"), 105.0, 3);
    t.value(1, QStringLiteral("DriverCarMaxFuelPct"), 1.0, 3);
    t.value(1, QStringLiteral("DriverCarGearNumForward"), qint64(6));
    t.value(1, QStringLiteral("DriverCarGearNeutral"), qint64(1));
    t.value(1, QStringLiteral("DriverCarGearReverse"), qint64(1));
    t.value(1, QStringLiteral("DriverCarSLFirstRPM"), 5750.0, 3);
    t.value(1, QStringLiteral("DriverCarSLShiftRPM"), 6850.0, 3);
    t.value(1, QStringLiteral("DriverCarSLLastRPM"), 6900.0, 3);
    t.value(1, QStringLiteral("DriverCarSLBlinkRPM"), 7000.0, 3);
    t.value(1, QStringLiteral("DriverCarVersion"), QStringLiteral("2024.05.30.01"));
    t.value(1, QStringLiteral("DriverPitTrkPct"), o.pitStallPct, 6);
    t.value(1, QStringLiteral("DriverCarEstLapTime"), o.lapTime, 4);
    t.value(1, QStringLiteral("DriverSetupName"), QStringLiteral("baseline.sto"));
    t.value(1, QStringLiteral("DriverSetupIsModified"), qint64(0));
    t.value(1, QStringLiteral("DriverSetupLoadTypeName"), QStringLiteral("baseline"));
    t.value(1, QStringLiteral("DriverSetupPassedTech"), qint64(1));
    t.value(1, QStringLiteral("DriverIncidentCount"), qint64(0));
    t.section(1, QStringLiteral("Drivers"));
    for (const Driver &d : plan.drivers) {
        t.item(1, QStringLiteral("CarIdx"), QString::number(d.carIdx));
        t.value(3, QStringLiteral("UserName"), d.name);
        t.value(3, QStringLiteral("AbbrevName"), abbreviation(d.name));
        t.value(3, QStringLiteral("Initials"), initials(d.name));
        t.value(3, QStringLiteral("UserID"), qint64(d.userId));
        t.value(3, QStringLiteral("TeamID"), qint64(0));
        t.value(3, QStringLiteral("TeamName"), d.name);
        t.value(3, QStringLiteral("CarNumber"), QStringLiteral("\"%1\"").arg(d.carNumber));
        t.value(3, QStringLiteral("CarNumberRaw"), qint64(d.carNumber));
        t.value(3, QStringLiteral("CarPath"), QStringLiteral("mercedesamggt4"));
        t.value(3, QStringLiteral("CarClassID"), qint64(4084));
        t.value(3, QStringLiteral("CarID"), qint64(157));
        t.value(3, QStringLiteral("CarIsPaceCar"), qint64(0));
        t.value(3, QStringLiteral("CarIsAI"), qint64(0));
        t.value(3, QStringLiteral("CarIsElectric"), qint64(0));
        t.value(3, QStringLiteral("CarScreenName"), QStringLiteral("Mercedes AMG GT4"));
        t.value(3, QStringLiteral("CarScreenNameShort"), QStringLiteral("Mercedes AMG GT4"));
        t.value(3, QStringLiteral("CarClassShortName"), QStringLiteral("GT4"));
        t.value(3, QStringLiteral("CarClassRelSpeed"), qint64(40));
        t.value(3, QStringLiteral("CarClassLicenseLevel"), qint64(4));
        t.value(3, QStringLiteral("CarClassMaxFuelPct"), QStringLiteral("1.000 %"));
        t.value(3, QStringLiteral("CarClassWeightPenalty"), QStringLiteral("0.000 kg"));
        t.value(3, QStringLiteral("CarClassPowerAdjust"), QStringLiteral("0.000 %"));
        t.value(3, QStringLiteral("CarClassDryTireSetLimit"), QStringLiteral("0 %"));
        t.value(3, QStringLiteral("CarClassColor"), QStringLiteral("0xffda59"));
        t.value(3, QStringLiteral("CarClassEstLapTime"), o.lapTime, 4);
        t.value(3, QStringLiteral("IRating"), qint64(d.iRating));
        t.value(3, QStringLiteral("LicLevel"), qint64(d.licLevel));
        t.value(3, QStringLiteral("LicSubLevel"), qint64(d.licSubLevel));
        t.value(3, QStringLiteral("LicString"), d.licence);
        t.value(3, QStringLiteral("LicColor"), d.licenceColour);
        t.value(3, QStringLiteral("IsSpectator"), qint64(0));
        t.value(3, QStringLiteral("CarDesignStr"), QStringLiteral("1,ff0000,00ff00,0000ff"));
        t.value(3, QStringLiteral("HelmetDesignStr"), QStringLiteral("22,03b60a,ffffff,e00000"));
        t.value(3, QStringLiteral("SuitDesignStr"), QStringLiteral("1,ffffff,ffee47,0300c2"));
        t.value(3, QStringLiteral("CarNumberDesignStr"),
                QStringLiteral("0,0,ffffff,777777,000000"));
        t.value(3, QStringLiteral("CarSponsor_1"), qint64(0));
        t.value(3, QStringLiteral("CarSponsor_2"), qint64(0));
        t.value(3, QStringLiteral("ClubName"), d.club);
        t.value(3, QStringLiteral("DivisionName"), d.division);
        t.value(3, QStringLiteral("CurDriverIncidentCount"), qint64(0));
        t.value(3, QStringLiteral("TeamIncidentCount"), qint64(0));
    }
    t.blank();

    t.section(0, QStringLiteral("SplitTimeInfo"));
    t.section(1, QStringLiteral("Sectors"));
    const double sectors[] = {0.0, 0.331877, 0.687195};
    for (int i = 0; i < 3; ++i) {
        t.item(1, QStringLiteral("SectorNum"), QString::number(i));
        t.value(3, QStringLiteral("SectorStartPct"), sectors[i], 6);
    }
    t.blank();

    const QString fuel = o.setupFuelInKg ? number(plan.fuelStart * 0.75, 1) + QStringLiteral(" kg")
                                         : number(plan.fuelStart, 1) + QStringLiteral(" L");
    if (o.carSetup == CarSetupStyle::Gt) {
        t.section(0, QStringLiteral("CarSetup"));
        t.value(1, QStringLiteral("UpdateCount"), qint64(1));
        t.section(1, QStringLiteral("Tires"));
        for (const char *corner : {"LeftFront", "LeftRear", "RightFront", "RightRear"}) {
            const bool left = corner[0] == 'L';
            t.section(2, QLatin1String(corner));
            t.value(3, QStringLiteral("StartingPressure"), QStringLiteral("162 kPa"));
            t.value(3, QStringLiteral("LastHotPressure"), QStringLiteral("162 kPa"));
            t.value(3, left ? QStringLiteral("LastTempsOMI") : QStringLiteral("LastTempsIMO"),
                    QStringLiteral("47C, 47C, 47C"));
            t.value(3, QStringLiteral("TreadRemaining"), QStringLiteral("100%, 100%, 100%"));
        }
        t.section(1, QStringLiteral("Chassis"));
        t.section(2, QStringLiteral("Front"));
        t.value(3, QStringLiteral("ArbSetting"), qint64(2));
        t.value(3, QStringLiteral("ToeIn"), QStringLiteral("-2.3 mm"));
        t.value(3, QStringLiteral("CrossWeight"), QStringLiteral("49.7%"));
        for (const char *corner : {"LeftFront", "LeftRear", "RightFront", "RightRear"}) {
            t.section(2, QLatin1String(corner));
            t.value(3, QStringLiteral("CornerWeight"), QStringLiteral("5717 N"));
            t.value(3, QStringLiteral("RideHeight"), QStringLiteral("110.1 mm"));
            t.value(3, QStringLiteral("BumpStiffness"), QStringLiteral("+8 clicks"));
            t.value(3, QStringLiteral("ReboundStiffness"), QStringLiteral("+6 clicks"));
            t.value(3, QStringLiteral("Camber"), QStringLiteral("-3.5 deg"));
        }
        t.section(2, QStringLiteral("Rear"));
        t.value(3, QStringLiteral("FuelLevel"), fuel);
        t.value(3, QStringLiteral("ArbSetting"), qint64(0));
        t.value(3, QStringLiteral("WingSetting"), qint64(10));
        t.blank();
    } else if (o.carSetup == CarSetupStyle::Prototype) {
        t.section(0, QStringLiteral("CarSetup"));
        t.value(1, QStringLiteral("UpdateCount"), qint64(1));
        t.section(1, QStringLiteral("TiresAero"));
        t.section(2, QStringLiteral("LeftFront"));
        t.value(3, QStringLiteral("StartingPressure"), QStringLiteral("152 kPa"));
        t.value(3, QStringLiteral("LastHotPressure"), QStringLiteral("152 kPa"));
        t.section(2, QStringLiteral("AeroSettings"));
        t.value(3, QStringLiteral("RearWingAngle"), QStringLiteral("17 deg"));
        t.section(2, QStringLiteral("AeroCalculator"));
        t.value(3, QStringLiteral("FrontRhAtSpeed"), QStringLiteral("15.0 mm"));
        t.value(3, QStringLiteral("RearRhAtSpeed"), QStringLiteral("40.0 mm"));
        t.value(3, QStringLiteral("DownforceBalance"), QStringLiteral("50.14%"));
        t.value(3, QStringLiteral("LD"), QStringLiteral("3.795"));
        t.section(1, QStringLiteral("Chassis"));
        t.section(2, QStringLiteral("Rear"));
        t.value(3, QStringLiteral("ThirdSpring"), QStringLiteral("530 N/mm"));
        t.value(3, QStringLiteral("CrossWeight"), QStringLiteral("50.0%"));
        t.section(1, QStringLiteral("BrakesDriveUnit"));
        t.section(2, QStringLiteral("Fuel"));
        t.value(3, QStringLiteral("FuelLevel"), fuel);
        t.value(3, QStringLiteral("FuelLowWarning"), QStringLiteral("10.0 L"));
        t.blank();
    }
    t.line(0, QStringLiteral("..."));
    return t.text().toLatin1();
}

void SessionGenerator::configure(IbtWriter &writer) const
{
    const Options &o = m_options;
    writer.setVersion(o.version);
    writer.setTickRate(TickRate);
    writer.setSessionInfo(m_sessionInfo);
    writer.setSessionStartDate(o.startDate);
    for (const ChannelDef *def : coreChannels(o)) {
        writer.addVariable(QByteArray(def->name), def->type, def->count, QByteArray(def->unit),
                           QByteArray(def->description));
    }
    for (const PadDef &pad : paddingFor(o)) {
        IbtWriter::Variable variable;
        variable.name = pad.name;
        variable.type = pad.type;
        variable.count = pad.count;
        variable.unit = pad.unit;
        variable.description = pad.description;
        variable.countAsTime = pad.countAsTime;
        writer.addVariable(variable);
    }
    if (o.unknownTypeVariable) {
        writer.addVariable("UnknownTypeChannel", 9, 1, "",
                           "A type code the format does not define");
    }
    if (o.variablesOutsideRecord) {
        const int32_t length = writer.recordLength();
        IbtWriter::Variable past;
        past.name = "OutsideOffset";
        past.type = irsdk_float;
        past.offset = length + 8;
        past.description = "Starts past the end of the record";
        writer.addVariable(past);
        IbtWriter::Variable across;
        across.name = "OutsideCount";
        across.type = irsdk_float;
        across.count = 4;
        across.offset = std::max(0, length - 4);
        across.description = "Its elements run past the end of the record";
        writer.addVariable(across);
        writer.setRecordLength(length);
    }
    writer.setOverrides(o.overrides);
    writer.setTruncateAt(o.truncateAt);
}

bool SessionGenerator::writeRecords(IbtWriter &writer) const
{
    if (!writer.isOpen())
        return false;
    const Options &o = m_options;
    const Plan &plan = *m_plan;
    const Summary &s = m_summary;
    const bool race = o.scenario == Scenario::Race;
    const double length = plan.length;

    std::array<int, ChannelCount> at;
    at.fill(-1);
    for (const ChannelDef &def : CoreChannels)
        at[size_t(def.id)] = writer.indexOf(def.name);
    struct PadSlot
    {
        int index;
        int count;
        double base;
        double swing;
    };
    std::vector<PadSlot> pads;
    for (const PadDef &pad : paddingFor(o)) {
        const int index = writer.indexOf(pad.name);
        if (index >= 0)
            pads.push_back({index, pad.count, pad.base, pad.swing});
    }
    const auto set = [&](Channel channel, double value) {
        writer.setValue(at[channel], value);
    };
    const auto setCar = [&](Channel channel, int car, double value) {
        writer.setValue(at[channel], car, value);
    };

    writer.clearRecord();
    writer.fill(at[ChCarIdxLap], -1);
    writer.fill(at[ChCarIdxLapCompleted], -1);
    writer.fill(at[ChCarIdxLapDistPct], -1);
    writer.fill(at[ChCarIdxTrackSurface], -1);
    writer.fill(at[ChCarIdxLastLapTime], -1);
    set(ChSessionUniqueID, 1);
    set(ChIsReplayPlaying, 1);

    const double vTop = maxLapSpeed(length, o.lapTime) * 1.08;
    const double idle = 1100.0;
    const double redLine = 7200.0;
    const double greenDistance = double(o.paradeLaps) * length;

    // Practice order follows the lap times; a race's the distance covered.
    std::vector<std::pair<double, int>> order;
    order.push_back({o.lapTime, o.playerCarIdx});
    for (const OtherCar &car : plan.others)
        order.push_back({car.lapTime, car.carIdx});
    std::sort(order.begin(), order.end());
    std::array<int, MaxCars> practicePosition {};
    for (size_t i = 0; i < order.size(); ++i)
        practicePosition[size_t(order[i].second)] = int(i) + 1;
    const int playerGrid = std::min(o.otherCars, 2) + 1;

    size_t cursor = 0;
    size_t nextCrossing = 0;
    int lap = o.startLap;
    double clockZero = 0.0;
    double lastLapTime = -1.0;
    bool pending = false;
    double pendingAt = 0.0;
    double pendingZero = 0.0;
    double pendingTime = -1.0;
    std::vector<std::pair<double, int>> standing;
    standing.reserve(MaxCars);

    for (int r = 0; r < s.recordCount; ++r) {
        const int ticks = plan.ticksBefore(r);
        const double t = o.startTime + double(ticks) / TickRate;
        const Motion m = plan.motionAt(t, cursor);
        const int64_t line = int64_t(std::floor(m.distance / length));
        const double pct = std::clamp((m.distance - double(line) * length) / length, 0.0, 1.0);

        // The counter steps at the line; the lap clock and the last lap time follow a
        // moment later, as the simulator's do.
        while (nextCrossing < plan.crossings.size() && plan.crossings[nextCrossing].index <= line) {
            const Crossing &c = plan.crossings[nextCrossing++];
            if (c.counted)
                ++lap;
            if (pending) {
                clockZero = pendingZero;
                lastLapTime = pendingTime;
            }
            pending = true;
            pendingAt = c.time + o.lastLapTimeDelay;
            pendingZero = c.time;
            pendingTime = c.lapTime;
        }
        if (pending && t >= pendingAt) {
            clockZero = pendingZero;
            lastLapTime = pendingTime;
            pending = false;
        }
        const int state = plan.stateAt(t);
        const int sessionNum
            = race ? 2 : (plan.sessionChangeTime >= 0.0 && t >= plan.sessionChangeTime ? 1 : 0);
        uint32_t flags = FlagsPractice;
        if (race && state == 4)
            flags = lap == plan.finalRaceLap ? FlagsWhite : FlagsGreen;
        else if (race && state >= 5)
            flags = FlagsCheckered;

        set(ChSessionTime, t);
        set(ChSessionTick, s.firstTick + ticks);
        set(ChSessionNum, sessionNum);
        set(ChSessionState, state);
        set(ChSessionFlags, flags);
        set(ChSessionTimeRemain, std::max(0.0, plan.sessionLength - t));
        set(ChReplayFrameNum, s.firstTick + ticks);
        const bool fast
            = plan.fastFirst >= 0 && r >= plan.fastFirst && r < plan.fastFirst + plan.fastCount;
        set(ChReplayPlaySpeed, fast ? 2 : 1);
        set(ChIsOnTrack, 1);
        const int surface = m.inStall ? InPitStall : (m.pitRoad ? ApproachingPits : OnTrack);
        set(ChPlayerTrackSurface, surface);
        set(ChPlayerCarInPitStall, m.inStall);
        set(ChOnPitRoad, m.pitRoad);

        double throttle = 0.0;
        double brake = 0.0;
        int gear = m.pitRoad ? 0 : 1;
        double rpm = idle;
        if (m.speed >= 0.3) {
            gear = std::clamp(int(std::ceil(m.speed / (vTop / 6.0))), 1, 6);
            rpm = std::clamp(redLine * m.speed / (gear * vTop / 6.0), idle, redLine);
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

        const bool stale = r == 0 && o.firstRecordLapZero;
        set(ChLap, stale ? 0 : lap);
        set(ChLapCompleted, stale ? 0 : std::max(lap - 1, 0));
        set(ChLapDist, stale ? 0.0 : pct * length);
        set(ChLapDistPct, stale ? 0.0 : pct);
        set(ChLapLastLapTime, lastLapTime);
        set(ChLastLapTime, lastLapTime);
        set(ChLapCurrentLapTime, t - clockZero);
        set(ChSpeed, stale ? 0.0 : m.speed);
        set(ChYaw, std::remainder(2.0 * Pi * m.distance / length, 2.0 * Pi));
        set(ChLongAccel, m.acceleration);
        const double fuel
            = std::max(0.5, plan.fuelStart - plan.fuelPerMetre * (m.distance - plan.startDistance));
        set(ChFuelLevel, fuel);
        set(ChFuelLevelPct, fuel / 105.0);

        if (o.carArrays) {
            const int me = o.playerCarIdx;
            standing.clear();
            standing.push_back({m.distance, me});
            for (const OtherCar &car : plan.others) {
                const double d = plan.otherDistance(car, t, m.distance, greenDistance, o);
                const int carLap = plan.otherLap(car, d, o);
                setCar(ChCarIdxLap, car.carIdx, carLap);
                setCar(ChCarIdxLapCompleted, car.carIdx, std::max(carLap - 1, 0));
                setCar(ChCarIdxLapDistPct, car.carIdx, d / length - std::floor(d / length));
                setCar(ChCarIdxTrackSurface, car.carIdx, OnTrack);
                setCar(ChCarIdxOnPitRoad, car.carIdx, 0);
                const bool timed = !race || carLap >= 2;
                setCar(ChCarIdxLastLapTime, car.carIdx, timed ? car.lapTime : -1.0);
                if (race && t < plan.greenTime)
                    setCar(ChCarIdxPosition, car.carIdx, car.gridPosition);
                else if (!race)
                    setCar(ChCarIdxPosition, car.carIdx, practicePosition[size_t(car.carIdx)]);
                standing.push_back({d, car.carIdx});
            }
            int myPosition = race ? playerGrid : practicePosition[size_t(me)];
            if (race && t >= plan.greenTime) {
                std::sort(standing.begin(), standing.end(), std::greater<>());
                for (size_t i = 0; i < standing.size(); ++i) {
                    if (standing[i].second == me)
                        myPosition = int(i) + 1;
                    else
                        setCar(ChCarIdxPosition, standing[i].second, int(i) + 1);
                }
            }
            setCar(ChCarIdxLap, me, stale ? 0 : lap);
            setCar(ChCarIdxLapCompleted, me, stale ? 0 : std::max(lap - 1, 0));
            setCar(ChCarIdxLapDistPct, me, stale ? 0.0 : pct);
            setCar(ChCarIdxTrackSurface, me, surface);
            setCar(ChCarIdxOnPitRoad, me, m.pitRoad);
            setCar(ChCarIdxPosition, me, myPosition);
            setCar(ChCarIdxLastLapTime, me, lastLapTime);
        }

        const double wave = std::sin(2.0 * Pi * pct);
        for (const PadSlot &pad : pads) {
            const double value = pad.base + pad.swing * wave;
            if (pad.count == 1)
                writer.setValue(pad.index, value);
            else
                writer.fill(pad.index, value);
        }

        if (!writer.appendRecord())
            return false;
    }
    if (o.shortLastRecordBytes >= 0 && !writer.appendPartialRecord(o.shortLastRecordBytes))
        return false;
    return true;
}

bool SessionGenerator::write(QIODevice *device, QString *errorMessage) const
{
    IbtWriter writer;
    configure(writer);
    const bool ok = writer.open(device) && writeRecords(writer) && writer.finish();
    if (!ok && errorMessage)
        *errorMessage = writer.errorString();
    return ok;
}

bool SessionGenerator::write(const QString &path, QString *errorMessage) const
{
    IbtWriter writer;
    configure(writer);
    const bool ok = writer.open(path) && writeRecords(writer) && writer.finish();
    if (!ok && errorMessage)
        *errorMessage = writer.errorString();
    return ok;
}
