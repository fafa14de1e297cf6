#include "sessiontext.h"

#include "driverroster.h"
#include "field.h"
#include "routeplan.h"
#include "sessionclock.h"
#include "sessionresults.h"
#include "sessiontextbuilder.h"

#include <QStringList>

namespace {

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

void writeResults(SessionTextBuilder &t, const std::vector<SessionResults::Row> &rows)
{
    t.section(3, QStringLiteral("ResultsPositions"));
    for (size_t i = 0; i < rows.size(); ++i) {
        const SessionResults::Row &r = rows[i];
        t.item(3, QStringLiteral("Position"), QString::number(i + 1));
        t.values(5,
                 {{"ClassPosition", QString::number(i)},
                  {"CarIdx", QString::number(r.carIdx)},
                  {"Lap", QString::number(r.fastestLap)},
                  {"Time", SessionTextBuilder::number(r.fastestTime, 4)},
                  {"FastestLap", QString::number(r.fastestLap)},
                  {"FastestTime", SessionTextBuilder::number(r.fastestTime, 4)},
                  {"LastTime", SessionTextBuilder::number(r.lastTime, 4)},
                  {"LapsLed", QString::number(r.lapsLed)},
                  {"LapsComplete", QString::number(r.lapsComplete)},
                  {"JokerLapsComplete", "0"},
                  {"LapsDriven", "0.000"},
                  {"Incidents", "0"},
                  {"ReasonOutId", "0"},
                  {"ReasonOutStr", "Running"}});
    }
    t.section(3, QStringLiteral("ResultsFastestLap"));
    const SessionResults::Row *fastest = SessionResults::fastest(rows);
    t.item(3, QStringLiteral("CarIdx"), QString::number(fastest ? fastest->carIdx : 255));
    t.values(
        5,
        {{"FastestLap", QString::number(fastest ? fastest->fastestLap : 0)},
         {"FastestTime", SessionTextBuilder::number(fastest ? fastest->fastestTime : -1.0, 4)}});
}

} // namespace

SessionText::SessionText(const Options &options, const Summary &summary, const RoutePlan &plan,
                         const SessionClock &clock, const Field &field)
    : m_options(options)
    , m_summary(summary)
    , m_plan(plan)
    , m_clock(clock)
    , m_field(field)
{ }

QByteArray SessionText::text() const
{
    SessionTextBuilder t;
    t.line(0, QStringLiteral("---"));
    weekendInfo(t);
    weekendOptions(t);
    sessionInfo(t);
    cameraInfo(t);
    driverInfo(t);
    drivers(t);
    splitTimeInfo(t);
    carSetup(t);
    t.line(0, QStringLiteral("..."));
    return t.text().toLatin1();
}

void SessionText::weekendInfo(SessionTextBuilder &t) const
{
    const Options &o = m_options;
    const Summary &s = m_summary;
    const bool race = o.scenario == SessionGenerator::Scenario::Race;
    t.section(0, QStringLiteral("WeekendInfo"));
    t.values(
        1,
        {{"TrackName", o.trackName},
         {"TrackID", QString::number(o.trackId)},
         {"TrackLength", QString::fromLatin1(s.trackLengthText)},
         {"TrackLengthOfficial", QString::fromLatin1(s.trackLengthText)},
         {"TrackDisplayName", o.trackDisplayName},
         {"TrackDisplayShortName", o.trackDisplayShortName},
         {"TrackConfigName", o.trackConfigName},
         {"TrackCity", o.trackCity},
         {"TrackCountry", o.trackCountry},
         {"TrackAltitude", SessionTextBuilder::number(o.trackAltitude, 2) + QStringLiteral(" m")},
         {"TrackLatitude", SessionTextBuilder::number(o.trackLatitude, 6) + QStringLiteral(" m")},
         {"TrackLongitude", SessionTextBuilder::number(o.trackLongitude, 6) + QStringLiteral(" m")},
         {"TrackNorthOffset",
          SessionTextBuilder::number(o.trackNorthOffset, 4) + QStringLiteral(" rad")},
         {"TrackNumTurns", QString::number(o.trackNumTurns)},
         {"TrackPitSpeedLimit",
          SessionTextBuilder::number(o.pitSpeedLimit, 2) + QStringLiteral(" kph")},
         {"TrackType", "road course"},
         {"TrackDirection", "neutral"},
         {"TrackWeatherType", "Static"},
         {"TrackSkies", o.skies},
         {"TrackSurfaceTemp",
          SessionTextBuilder::number(o.trackSurfaceTemp, 2) + QStringLiteral(" C")},
         {"TrackAirTemp", SessionTextBuilder::number(o.trackAirTemp, 2) + QStringLiteral(" C")},
         {"TrackAirPressure", "27.61 Hg"},
         {"TrackWindVel", "2.24 m/s"},
         {"TrackWindDir", "3.14 rad"},
         {"TrackRelativeHumidity", "55 %"},
         {"TrackFogLevel", "0 %"},
         {"TrackCleanup", "0"},
         {"TrackDynamicTrack", "1"},
         {"TrackVersion", "2024.05.28.02"},
         {"SeriesID", QString::number(race ? 4170 : 0)},
         {"SeasonID", QString::number(race ? 4896 : 0)},
         {"SessionID", QString::number(o.sessionId)},
         {"SubSessionID", QString::number(o.subSessionId)},
         {"LeagueID", "0"},
         {"Official", QString::number(race ? 1 : 0)},
         {"RaceWeek", QString::number(race ? 3 : 0)},
         {"EventType", race ? QStringLiteral("Race") : QStringLiteral("Practice")},
         {"Category", "Road"},
         {"SimMode",
          o.scenario == SessionGenerator::Scenario::Replay ? QStringLiteral("replay")
                                                           : QStringLiteral("full")},
         {"TeamRacing", "0"},
         {"MinDrivers", "0"},
         {"MaxDrivers", "0"},
         {"DCRuleSet", "None"},
         {"QualifierMustStartRace", "0"},
         {"NumCarClasses", "1"},
         {"NumCarTypes", "1"},
         {"HeatRacing", "0"},
         {"BuildType", "Release"},
         {"BuildTarget", "Members"},
         {"BuildVersion", "2024.06.04.01"}});
}

void SessionText::weekendOptions(SessionTextBuilder &t) const
{
    const Options &o = m_options;
    const Summary &s = m_summary;
    const bool race = o.scenario == SessionGenerator::Scenario::Race;
    t.section(1, QStringLiteral("WeekendOptions"));
    t.values(2,
             {{"NumStarters", QString::number(race ? s.carIdxs.size() : 0)},
              {"StartingGrid", "2x2 inline pole on left"},
              {"QualifyScoring", "best lap"},
              {"CourseCautions", "full"},
              {"StandingStart", QString::number(race && o.paradeLaps == 0 ? 1 : 0)},
              {"ShortParadeLap", "0"},
              {"Restarts", "double file lapped cars behind"},
              {"WeatherType", "Static"},
              {"Skies", o.skies},
              {"WindDirection", "N"},
              {"WindSpeed", "8.05 km/h"},
              {"WeatherTemp", SessionTextBuilder::number(o.weatherTemp, 2) + QStringLiteral(" C")},
              {"RelativeHumidity", "55 %"},
              {"FogLevel", "0 %"},
              {"TimeOfDay", "2:00 pm"},
              {"Date", "2024-06-01"},
              {"EarthRotationSpeedupFactor", "1"},
              {"Unofficial", QString::number(race ? 0 : 1)},
              {"CommercialMode", "consumer"},
              {"NightMode", "variable"},
              {"IsFixedSetup", "0"},
              {"StrictLapsChecking", "default"},
              {"HasOpenRegistration", "0"},
              {"HardcoreLevel", "1"},
              {"NumJokerLaps", "0"},
              {"IncidentLimit", "unlimited"},
              {"FastRepairsLimit", "unlimited"},
              {"GreenWhiteCheckeredLimit", "0"}});
    t.section(1, QStringLiteral("TelemetryOptions"));
    t.values(2, {{"TelemetryDiskFile", "\"\""}});
    t.blank();
}

// The recorded sessions from the route; a race weekend's earlier ones made up.
std::vector<SessionText::Session> SessionText::sessions() const
{
    if (m_options.scenario == SessionGenerator::Scenario::Race) {
        return {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), false},
                {1, QStringLiteral("Qualify"), QStringLiteral("QUALIFY"), false},
                {2, QStringLiteral("Race"), QStringLiteral("RACE"), true}};
    }
    if (m_options.scenario == SessionGenerator::Scenario::SessionChange) {
        return {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), true},
                {1, QStringLiteral("Qualify"), QStringLiteral("QUALIFY"), true}};
    }
    return {{0, QStringLiteral("Practice"), QStringLiteral("PRACTICE"), true}};
}

void SessionText::sessionInfo(SessionTextBuilder &t) const
{
    const SessionResults results(m_options, m_plan, m_field, m_summary.laps,
                                 m_summary.lastSessionTime);
    t.section(0, QStringLiteral("SessionInfo"));
    t.section(1, QStringLiteral("Sessions"));
    for (const Session &def : sessions())
        session(t, def, results);
    t.blank();
}

void SessionText::session(SessionTextBuilder &t, const Session &def,
                          const SessionResults &results) const
{
    const Options &o = m_options;
    t.item(1, QStringLiteral("SessionNum"), QString::number(def.num));
    t.values(3,
             {{"SessionLaps",
               def.type == QLatin1String("Race") ? QString::number(o.laps)
                                                 : QStringLiteral("unlimited")},
              {"SessionTime",
               SessionTextBuilder::number(m_clock.sessionLength(), 4) + QStringLiteral(" sec")},
              {"SessionNumLapsToAvg", "0"},
              {"SessionType", def.type},
              {"SessionTrackRubberState", "moderate usage"},
              {"SessionName", def.name},
              {"SessionSubType", QString()},
              {"SessionSkipped", "0"},
              {"SessionRunGroupsUsed", "0"},
              {"SessionEnforceTireCompoundChange", "0"}});
    writeResults(t, results.standings(def.num, def.recorded));
    t.values(3,
             {{"ResultsAverageLapTime", "-1.0000"},
              {"ResultsNumCautionFlags", "0"},
              {"ResultsNumCautionLaps", "0"},
              {"ResultsNumLeadChanges", "0"},
              {"ResultsLapsComplete", "-1"},
              {"ResultsOfficial", "0"}});
}

void SessionText::cameraInfo(SessionTextBuilder &t) const
{
    t.section(0, QStringLiteral("CameraInfo"));
    t.section(1, QStringLiteral("Groups"));
    const char *cameras[] = {"Nose", "Gearbox", "Roll Bar", "Cockpit", "Chase", "Blimp"};
    for (int i = 0; i < 6; ++i) {
        t.item(1, QStringLiteral("GroupNum"), QString::number(i + 1));
        t.values(3, {{"GroupName", QLatin1String(cameras[i])}});
        t.section(3, QStringLiteral("Cameras"));
        t.item(3, QStringLiteral("CameraNum"), QStringLiteral("1"));
        t.values(5, {{"CameraName", QStringLiteral("Cam") + QLatin1String(cameras[i])}});
    }
    t.blank();
}

void SessionText::driverInfo(SessionTextBuilder &t) const
{
    const Options &o = m_options;
    t.section(0, QStringLiteral("DriverInfo"));
    if (o.player)
        t.values(1, {{"DriverCarIdx", QString::number(o.playerCarIdx)}});
    t.values(1,
             {{"DriverUserID", "402215"},
              {"PaceCarIdx", "-1"},
              {"DriverHeadPosX", "-0.643"},
              {"DriverHeadPosY", "0.393"},
              {"DriverHeadPosZ", "0.622"},
              {"DriverCarIsElectric", "0"},
              {"DriverCarIdleRPM", "1100.000"},
              {"DriverCarRedLine", "7200.000"},
              {"DriverCarEngCylinderCount", "8"},
              {"DriverCarFuelKgPerLtr", "0.750"},
              {"DriverCarFuelMaxLtr", "105.000"},
              {"DriverCarMaxFuelPct", "1.000"},
              {"DriverCarGearNumForward", "6"},
              {"DriverCarGearNeutral", "1"},
              {"DriverCarGearReverse", "1"},
              {"DriverCarSLFirstRPM", "5750.000"},
              {"DriverCarSLShiftRPM", "6850.000"},
              {"DriverCarSLLastRPM", "6900.000"},
              {"DriverCarSLBlinkRPM", "7000.000"},
              {"DriverCarVersion", "2024.05.30.01"},
              {"DriverPitTrkPct", SessionTextBuilder::number(o.pitStallPct, 6)},
              {"DriverCarEstLapTime", SessionTextBuilder::number(o.lapTime, 4)},
              {"DriverSetupName", "baseline.sto"},
              {"DriverSetupIsModified", "0"},
              {"DriverSetupLoadTypeName", "baseline"},
              {"DriverSetupPassedTech", "1"},
              {"DriverIncidentCount", "0"}});
}

void SessionText::drivers(SessionTextBuilder &t) const
{
    const Options &o = m_options;
    t.section(1, QStringLiteral("Drivers"));
    const DriverRoster roster(o, m_field);
    for (const DriverRoster::Driver &d : roster.drivers()) {
        t.item(1, QStringLiteral("CarIdx"), QString::number(d.carIdx));
        t.values(3,
                 {{"UserName", d.name},
                  {"AbbrevName", abbreviation(d.name)},
                  {"Initials", initials(d.name)},
                  {"UserID", QString::number(d.userId)},
                  {"TeamID", "0"},
                  {"TeamName", d.name},
                  {"CarNumber", QStringLiteral("\"%1\"").arg(d.carNumber)},
                  {"CarNumberRaw", QString::number(d.carNumber)},
                  {"CarPath", "mercedesamggt4"},
                  {"CarClassID", "4084"},
                  {"CarID", "157"},
                  {"CarIsPaceCar", "0"},
                  {"CarIsAI", "0"},
                  {"CarIsElectric", "0"},
                  {"CarScreenName", o.carScreenName},
                  {"CarScreenNameShort", o.carScreenName},
                  {"CarClassShortName", "GT4"},
                  {"CarClassRelSpeed", "40"},
                  {"CarClassLicenseLevel", "4"},
                  {"CarClassMaxFuelPct", "1.000 %"},
                  {"CarClassWeightPenalty", "0.000 kg"},
                  {"CarClassPowerAdjust", "0.000 %"},
                  {"CarClassDryTireSetLimit", "0 %"},
                  {"CarClassColor", "0xffda59"},
                  {"CarClassEstLapTime", SessionTextBuilder::number(o.lapTime, 4)},
                  {"IRating", QString::number(d.iRating)},
                  {"LicLevel", QString::number(d.licLevel)},
                  {"LicSubLevel", QString::number(d.licSubLevel)},
                  {"LicString", d.licence},
                  {"LicColor", d.licenceColour},
                  {"IsSpectator", "0"},
                  {"CarDesignStr", "1,ff0000,00ff00,0000ff"},
                  {"HelmetDesignStr", "22,03b60a,ffffff,e00000"},
                  {"SuitDesignStr", "1,ffffff,ffee47,0300c2"},
                  {"CarNumberDesignStr", "0,0,ffffff,777777,000000"},
                  {"CarSponsor_1", "0"},
                  {"CarSponsor_2", "0"},
                  {"ClubName", d.club},
                  {"DivisionName", d.division},
                  {"CurDriverIncidentCount", "0"},
                  {"TeamIncidentCount", "0"}});
    }
    t.blank();
}

void SessionText::splitTimeInfo(SessionTextBuilder &t) const
{
    t.section(0, QStringLiteral("SplitTimeInfo"));
    t.section(1, QStringLiteral("Sectors"));
    const double sectors[] = {0.0, 0.331877, 0.687195};
    for (int i = 0; i < 3; ++i) {
        t.item(1, QStringLiteral("SectorNum"), QString::number(i));
        t.values(3, {{"SectorStartPct", SessionTextBuilder::number(sectors[i], 6)}});
    }
    t.blank();
}

void SessionText::carSetup(SessionTextBuilder &t) const
{
    const Options &o = m_options;
    const QString fuel = o.setupFuelInKg
        ? SessionTextBuilder::number(m_plan.fuelAtStart() * 0.75, 1) + QStringLiteral(" kg")
        : SessionTextBuilder::number(m_plan.fuelAtStart(), 1) + QStringLiteral(" L");
    if (o.carSetup == SessionGenerator::CarSetupStyle::Gt)
        gtSetup(t, fuel);
    else if (o.carSetup == SessionGenerator::CarSetupStyle::Prototype)
        prototypeSetup(t, fuel);
}

void SessionText::gtSetup(SessionTextBuilder &t, const QString &fuel) const
{
    t.section(0, QStringLiteral("CarSetup"));
    t.values(1, {{"UpdateCount", "1"}});
    t.section(1, QStringLiteral("Tires"));
    for (const char *corner : {"LeftFront", "LeftRear", "RightFront", "RightRear"}) {
        const bool left = corner[0] == 'L';
        t.section(2, QLatin1String(corner));
        t.values(3, {{"StartingPressure", "162 kPa"}, {"LastHotPressure", "162 kPa"}});
        t.value(3, left ? QStringLiteral("LastTempsOMI") : QStringLiteral("LastTempsIMO"),
                QStringLiteral("47C, 47C, 47C"));
        t.values(3, {{"TreadRemaining", "100%, 100%, 100%"}});
    }
    t.section(1, QStringLiteral("Chassis"));
    t.section(2, QStringLiteral("Front"));
    t.values(3, {{"ArbSetting", "2"}, {"ToeIn", "-2.3 mm"}, {"CrossWeight", "49.7%"}});
    for (const char *corner : {"LeftFront", "LeftRear", "RightFront", "RightRear"}) {
        t.section(2, QLatin1String(corner));
        t.values(3,
                 {{"CornerWeight", "5717 N"},
                  {"RideHeight", "110.1 mm"},
                  {"BumpStiffness", "+8 clicks"},
                  {"ReboundStiffness", "+6 clicks"},
                  {"Camber", "-3.5 deg"}});
    }
    t.section(2, QStringLiteral("Rear"));
    t.values(3, {{"FuelLevel", fuel}, {"ArbSetting", "0"}, {"WingSetting", "10"}});
    t.blank();
}

void SessionText::prototypeSetup(SessionTextBuilder &t, const QString &fuel) const
{
    t.section(0, QStringLiteral("CarSetup"));
    t.values(1, {{"UpdateCount", "1"}});
    t.section(1, QStringLiteral("TiresAero"));
    t.section(2, QStringLiteral("LeftFront"));
    t.values(3, {{"StartingPressure", "152 kPa"}, {"LastHotPressure", "152 kPa"}});
    t.section(2, QStringLiteral("AeroSettings"));
    t.values(3, {{"RearWingAngle", "17 deg"}});
    t.section(2, QStringLiteral("AeroCalculator"));
    t.values(3,
             {{"FrontRhAtSpeed", "15.0 mm"},
              {"RearRhAtSpeed", "40.0 mm"},
              {"DownforceBalance", "50.14%"},
              {"LD", "3.795"}});
    t.section(1, QStringLiteral("Chassis"));
    t.section(2, QStringLiteral("Rear"));
    t.values(3, {{"ThirdSpring", "530 N/mm"}, {"CrossWeight", "50.0%"}});
    t.section(1, QStringLiteral("BrakesDriveUnit"));
    t.section(2, QStringLiteral("Fuel"));
    t.values(3, {{"FuelLevel", fuel}, {"FuelLowWarning", "10.0 L"}});
    t.blank();
}
