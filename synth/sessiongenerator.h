#pragma once

#include "ibtwriter.h"
#include "irsdk.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>

class ChannelTable;
class Field;
class QIODevice;
class RoutePlan;
class SessionClock;

// Builds a synthetic but realistic recording of one driver's session and writes it as an
// .ibt file: the player's car drives a planned route (pit stall, pit lane, track) with a
// speed profile that makes every flying lap exactly its planned time, on a track with a
// closed outline placed on the earth (straights, and corners whose radii suit the profile's
// speeds), so that its position, heading and accelerations agree; the lap counter, lap
// clock and last-lap time behave like the simulator's around the line, other cars circulate
// in the per-car arrays, and the session text describes track, weather, sessions with
// results, drivers and the car set-up in the simulator's own text format.
//
// Everything follows from the options: no clock, no randomness. summary() tells what was
// generated, so that tests can compare without working it out again.
class SessionGenerator
{
public:
    // The generator's limits; options beyond them are brought back within.
    static constexpr double MinTrackLength = 100.0; // metres
    static constexpr double MinLapTime = 10.0; // seconds
    // Car indexes 0 to 63, the player's among them.
    static constexpr int CarSlots = IRSDK_MAX_CARS;

    enum class Scenario {
        // From the pit stall: out lap, flying laps, in lap back to the stall.
        Practice,
        // On the grid, parade lap(s) behind the pace car, race laps from a rolling start,
        // checkered flag, cool-down lap into the pits.
        Race,
        // A practice session played back as a replay, with a stretch played at 2x speed.
        Replay,
        // A practice session whose session number changes in the middle of a lap.
        SessionChange,
    };

    enum class CarSetupStyle {
        None, // no CarSetup section, like the files of format version 1
        Gt, // Tires, Chassis with Chassis/Rear/FuelLevel
        Prototype, // TiresAero with AeroCalculator, fuel under BrakesDriveUnit
    };

    enum class LapKind {
        OutLap, // from the pit stall to the first crossing of the line
        Flying, // a timed lap in practice
        InLap, // from the last timed crossing into the pit lane
        PitStall, // after crossing the line in the pit lane, standing in the stall
        Grid, // a race's standing on the grid and the parade lap(s)
        Racing, // a timed race lap
        CoolDown, // after the checkered flag, into the pit lane
    };

    struct Options
    {
        Scenario scenario = Scenario::Practice;

        // Track, written into the session text as Latin-1 bytes.
        double trackLength = 4309.0; // metres
        QString trackName = QStringLiteral("interlagos gp");
        QString trackDisplayName = QStringLiteral("Autodromo Jose Carlos Pace");
        QString trackDisplayShortName = QStringLiteral("Interlagos");
        QString trackConfigName = QStringLiteral("Grand Prix");
        QString trackCity = QStringLiteral("Sao Paulo");
        QString trackCountry = QStringLiteral("Brazil");
        int trackId = 175;
        int trackNumTurns = 15;
        // Where the start/finish line lies on the earth; the track's frame is turned by the
        // north offset, as the simulator's Yaw is.
        double trackLatitude = -23.7036; // degrees
        double trackLongitude = -46.6997; // degrees
        double trackAltitude = 785.28; // metres
        double trackNorthOffset = 4.1245; // rad
        double trackSurfaceTemp = 34.85; // C
        double trackAirTemp = 25.56; // C
        double weatherTemp = 25.56; // C
        QString skies = QStringLiteral("Partly Cloudy");

        // Pit lane as fractions of a lap. The stall sits just past the line, so the in lap
        // crosses the line on pit road; with the stall short of it, the out lap does.
        double pitEntryPct = 0.92;
        double pitStallPct = 0.04;
        double pitExitPct = 0.11;
        double pitSpeedLimit = 80.0; // km/h
        double gridPct = 0.97; // where the player's car stands on the race grid

        // Driving.
        int laps = 3; // flying laps, or race laps
        double lapTime = 100.0; // seconds of the player's average flying lap
        double lapTimeSpread = 0.5; // seconds; flying laps vary within +-spread, deterministically
        int paradeLaps = 1; // race: laps behind the pace car before the green flag
        double duration = 0.0; // seconds of records; > 0 fits as many laps as possible
        double startTime = 25.0; // session time of the first record
        int startLap = 0; // the lap counter in the first record
        double stallWait = 5.0; // seconds in the stall before driving off, and at the end
        double lastLapTimeDelay = 0.55; // seconds from the line to the lap clock's reset

        // Cars.
        int otherCars = 3; // cars besides the player, at the lowest free car indexes
        int playerCarIdx = 0;
        QString playerName = QStringLiteral("Marta Lindqvist");
        QString carScreenName = QStringLiteral("Mercedes AMG GT4"); // every car's

        // Replay: where the 2x stretch begins (session time; < 0: the middle of the first
        // flying lap) and how many records it covers.
        double replayFastStart = -1.0;
        int replayFastRecords = 300;

        // Session change: when the session number goes from 0 to 1 (session time; < 0: the
        // middle of the second flying lap, or of the first when there is only one).
        double sessionChangeTime = -1.0;

        // File shape.
        int version = 2; // 1: no SessionTick variable and header version 1
        bool isOnTrackVariable = true;
        bool player = true; // false: no DriverCarIdx in the session text
        bool carArrays = true; // the CarIdx* arrays of 64 cars
        bool lastLapTimeVariable = false; // an extra scalar "LastLapTime", as a replay reads it
        bool firstRecordLapZero = false; // the simulator's stale first record: Lap 0, at rest
        int totalVariables = 0; // > 0: pad with further channels up to this many variables
        QStringList omitVariables; // names of variables not to write
        CarSetupStyle carSetup = CarSetupStyle::Gt;
        bool setupFuelInKg = false;
        int64_t startDate = 1717245296; // seconds since the Unix epoch
        qint64 sessionId = 57248149;
        qint64 subSessionId = 13844274;

        // Damage, for robustness tests.
        IbtWriter::Overrides overrides;
        qint64 truncateAt = -1; // bytes; -1 writes everything
        int shortLastRecordBytes = -1; // >= 0: append a last record of only this many bytes
        bool unknownTypeVariable = false; // a descriptor with type code 9
        bool variablesOutsideRecord = false; // descriptors whose offset or count pass bufLen
    };

    // One stretch of the player's driving between two events of the lap counter's line.
    struct Lap
    {
        LapKind kind;
        int lap; // the Lap variable's value during it
        int sessionNum; // at its start
        double startTime; // session time of the line crossing that began it, or of the first record
        double endTime; // session time of the crossing that ended it, or of the last record
        double lapTime; // the time the simulator reports for it, -1 when it is not timed
        bool complete; // it ends with a line crossing
    };

    struct Summary
    {
        int recordCount = 0;
        int variableCount = 0;
        int recordLength = 0;
        double firstSessionTime = 0.0;
        double lastSessionTime = 0.0;
        int firstTick = 0; // SessionTick of the first record
        int lastTick = 0;
        int playerCarIdx = -1; // -1 without a player
        QList<int> carIdxs; // every car with a driver entry, ascending
        QList<Lap> laps; // the player's laps in order
        QList<double> timedLapTimes; // the lap times the simulator reports, in order
        int lapsCompleted = 0; // the player's laps that end with a crossing
        int fastFirstRecord = -1; // replay: first record of the 2x stretch
        int fastRecordCount = 0;
        int sessionChangeRecord = -1; // first record of session 1
        double greenFlagTime = -1.0; // race: the crossing that starts racing
        QByteArray trackDisplayName; // as written into the session text
        QByteArray trackCity;
        QByteArray trackLengthText; // e.g. "4.31 km"
        double fuelAtStart = 0.0; // litres
        double cornerRadius = 0.0; // metres, of every corner of the track's outline
    };

    SessionGenerator(); // a practice session with the default options
    explicit SessionGenerator(const Options &options);
    ~SessionGenerator();
    SessionGenerator(const SessionGenerator &) = delete;
    SessionGenerator &operator=(const SessionGenerator &) = delete;

    const Options &options() const { return m_options; }
    const Summary &summary() const { return m_summary; }
    // The session text exactly as written (Latin-1 bytes).
    const QByteArray &sessionInfo() const { return m_sessionInfo; }

    // Describes the file to the writer: version, session text, variables, damage. Call
    // before the writer is opened.
    void configure(IbtWriter &writer) const;
    // Streams every record into an open writer configured by configure().
    bool writeRecords(IbtWriter &writer) const;

    // configure, open, writeRecords and finish in one step.
    bool write(const QString &path, QString *errorMessage = nullptr) const;
    bool write(QIODevice *device, QString *errorMessage = nullptr) const;

    static QString scenarioName(Scenario scenario);
    // Every scenario's name, in the order of the enumeration.
    static QStringList scenarioNames();
    // The scenario of that name; none for a name that is not one.
    static std::optional<Scenario> scenarioNamed(const QString &name);
    static QString lapKindName(LapKind kind);

private:
    void summarise();
    template<typename Target>
    bool writeTo(Target target, QString *errorMessage) const;

    Options m_options;
    std::unique_ptr<RoutePlan> m_plan;
    std::unique_ptr<SessionClock> m_clock;
    std::unique_ptr<Field> m_field;
    std::unique_ptr<ChannelTable> m_channels;
    Summary m_summary;
    QByteArray m_sessionInfo;
};
