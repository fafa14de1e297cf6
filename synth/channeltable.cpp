#include "channeltable.h"

#include "ibtwriter.h"

#include <algorithm>

struct ChannelTable::Definition
{
    int id; // a Channel
    const char *name;
    int32_t type;
    int32_t count;
    const char *unit;
    const char *description;
};

namespace {

using enum ChannelTable::Channel;

constexpr ChannelTable::Definition CoreChannels[] = {
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
    {ChCarIdxLap, "CarIdxLap", irsdk_int, SessionGenerator::CarSlots, "",
     "Laps started by car index"},
    {ChCarIdxLapCompleted, "CarIdxLapCompleted", irsdk_int, SessionGenerator::CarSlots, "",
     "Laps completed by car index"},
    {ChCarIdxLapDistPct, "CarIdxLapDistPct", irsdk_float, SessionGenerator::CarSlots, "%",
     "Percentage distance around lap by car index"},
    {ChCarIdxTrackSurface, "CarIdxTrackSurface", irsdk_int, SessionGenerator::CarSlots,
     "irsdk_TrkLoc", "Track surface type by car index"},
    {ChCarIdxOnPitRoad, "CarIdxOnPitRoad", irsdk_bool, SessionGenerator::CarSlots, "",
     "On pit road between the cones by car index"},
    {ChCarIdxPosition, "CarIdxPosition", irsdk_int, SessionGenerator::CarSlots, "",
     "Cars position in race by car index"},
    {ChCarIdxLastLapTime, "CarIdxLastLapTime", irsdk_float, SessionGenerator::CarSlots, "s",
     "Cars last lap time"},
    {ChPlayerTrackSurface, "PlayerTrackSurface", irsdk_int, 1, "irsdk_TrkLoc",
     "Players car track surface type"},
    {ChPlayerCarInPitStall, "PlayerCarInPitStall", irsdk_bool, 1, "",
     "Players car is properly in their pitstall"},
    {ChOnPitRoad, "OnPitRoad", irsdk_bool, 1, "",
     "Is the player car on pit road between the cones"},
    {ChThrottle, "Throttle", irsdk_float, 1, "%", "0=off throttle to 1=full throttle"},
    {ChBrake, "Brake", irsdk_float, 1, "%", "0=brake released to 1=max pedal force"},
    {ChSteeringWheelAngle, "SteeringWheelAngle", irsdk_float, 1, "rad", "Steering wheel angle"},
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
    {ChLat, "Lat", irsdk_double, 1, "deg", "Latitude in decimal degrees"},
    {ChLon, "Lon", irsdk_double, 1, "deg", "Longitude in decimal degrees"},
    {ChAlt, "Alt", irsdk_float, 1, "m", "Altitude in meters"},
    {ChVelocityX, "VelocityX", irsdk_float, 1, "m/s", "X velocity"},
    {ChVelocityY, "VelocityY", irsdk_float, 1, "m/s", "Y velocity"},
    {ChLatAccel, "LatAccel", irsdk_float, 1, "m/s^2", "Lateral acceleration (including gravity)"},
    {ChLongAccel, "LongAccel", irsdk_float, 1, "m/s^2",
     "Longitudinal acceleration (including gravity)"},
    {ChFuelLevel, "FuelLevel", irsdk_float, 1, "l", "Liters of fuel remaining"},
    {ChFuelLevelPct, "FuelLevelPct", irsdk_float, 1, "%", "Percent fuel remaining"},
    {ChReplayPlaySpeed, "ReplayPlaySpeed", irsdk_int, 1, "", "Replay playback speed"},
};

// Further channels of a full recording, for files as wide as the simulator's.
std::vector<ChannelTable::Padding> padDefinitions(int wanted)
{
    std::vector<ChannelTable::Padding> pads;
    const auto add = [&](const QByteArray &name, int32_t type, const QByteArray &unit,
                         const QByteArray &description, double base, double swing,
                         int32_t count = 1, bool countAsTime = false) {
        if (int(pads.size()) < wanted)
            pads.push_back({name, type, count, unit, description, base, swing, countAsTime});
    };
    add("FrameRate", irsdk_float, "fps", "Average frames per second", 118.0, 4.0);
    add("CpuUsageBG", irsdk_float, "%", "Percent of available tim bg thread took", 0.21, 0.02);
    add("Clutch", irsdk_float, "%", "0=disengaged to 1=fully engaged", 1.0, 0.0);
    add("ThrottleRaw", irsdk_float, "%", "Raw throttle input", 0.7, 0.3);
    add("BrakeRaw", irsdk_float, "%", "Raw brake input", 0.1, 0.1);
    add("VelocityZ", irsdk_float, "m/s", "Z velocity", 0.0, 0.1);
    add("YawRate", irsdk_float, "rad/s", "Yaw rate", 0.0, 0.5);
    add("PitchRate", irsdk_float, "rad/s", "Pitch rate", 0.0, 0.02);
    add("RollRate", irsdk_float, "rad/s", "Roll rate", 0.0, 0.03);
    add("Pitch", irsdk_float, "rad", "Pitch orientation", 0.0, 0.01);
    add("Roll", irsdk_float, "rad", "Roll orientation", 0.0, 0.02);
    add("VertAccel", irsdk_float, "m/s^2", "Vertical acceleration (including gravity)", 9.81, 0.8);
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

} // namespace

ChannelTable::ChannelTable(const Options &options)
    : m_core(coreChannels(options))
    , m_padding(paddingFor(options))
    , m_unknownTypeVariable(options.unknownTypeVariable)
    , m_variablesOutsideRecord(options.variablesOutsideRecord)
{ }

std::vector<const ChannelTable::Definition *> ChannelTable::coreChannels(const Options &o)
{
    std::vector<const Definition *> channels;
    const bool replay = o.scenario == SessionGenerator::Scenario::Replay;
    for (const Definition &def : CoreChannels) {
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

std::vector<ChannelTable::Padding> ChannelTable::paddingFor(const Options &o)
{
    const int wanted = o.totalVariables - int(coreChannels(o).size());
    std::vector<Padding> pads = padDefinitions(std::max(wanted, 0));
    pads.erase(std::remove_if(pads.begin(), pads.end(),
                              [&](const Padding &pad) {
                                  return o.omitVariables.contains(QString::fromLatin1(pad.name));
                              }),
               pads.end());
    return pads;
}

void ChannelTable::describe(IbtWriter &writer) const
{
    for (const Definition *def : m_core) {
        writer.addVariable(QByteArray(def->name), def->type, def->count, QByteArray(def->unit),
                           QByteArray(def->description));
    }
    for (const Padding &pad : m_padding) {
        IbtWriter::Variable variable;
        variable.name = pad.name;
        variable.type = pad.type;
        variable.count = pad.count;
        variable.unit = pad.unit;
        variable.description = pad.description;
        variable.countAsTime = pad.countAsTime;
        writer.addVariable(variable);
    }
    describeDamage(writer);
}

void ChannelTable::describeDamage(IbtWriter &writer) const
{
    if (m_unknownTypeVariable) {
        writer.addVariable("UnknownTypeChannel", 9, 1, "",
                           "A type code the format does not define");
    }
    if (m_variablesOutsideRecord) {
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
}

std::array<int, ChannelTable::ChannelCount> ChannelTable::indexesIn(const IbtWriter &writer) const
{
    std::array<int, ChannelCount> at;
    at.fill(-1);
    for (const Definition &def : CoreChannels)
        at[size_t(def.id)] = writer.indexOf(def.name);
    return at;
}
