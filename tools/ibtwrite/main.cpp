// ibt-write: writes a synthetic telemetry session as an .ibt file, optionally damaged.

#include "ibtwriter.h"
#include "sessiongenerator.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include <QCoreApplication>
#include <QMap>
#include <QTextStream>

#include <cstdio>
#include <limits>
#include <optional>

namespace {

constexpr int UsageError = 2;
constexpr int WriteError = 1;

struct UsageFailure
{
    QString message;
};

qint64 parseInt64(const QString &text, const QString &option, qint64 minimum,
                  qint64 maximum = std::numeric_limits<qint64>::max())
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    if (!ok || value < minimum || value > maximum) {
        throw UsageFailure {QStringLiteral("--%1 needs a whole number of at least %2, not \"%3\"")
                                .arg(option)
                                .arg(minimum)
                                .arg(text)};
    }
    return value;
}

int parseInt(const QString &text, const QString &option, int minimum)
{
    return int(parseInt64(text, option, minimum, std::numeric_limits<int>::max()));
}

double parseDouble(const QString &text, const QString &option, double minimum)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || value < minimum) {
        throw UsageFailure {QStringLiteral("--%1 needs a number of at least %2, not \"%3\"")
                                .arg(option)
                                .arg(minimum)
                                .arg(text)};
    }
    return value;
}

// Applies "field=value" to the header overrides.
void applyHeaderField(IbtWriter::Overrides &overrides, const QString &assignment)
{
    const qsizetype equals = assignment.indexOf(u'=');
    if (equals <= 0)
        throw UsageFailure {
            QStringLiteral("--set-header needs FIELD=VALUE, not \"%1\"").arg(assignment)};
    const QString field = assignment.left(equals);
    const QString text = assignment.mid(equals + 1);
    bool ok = false;
    if (field == QLatin1String("sessionStartTime") || field == QLatin1String("sessionEndTime")) {
        const double value = text.toDouble(&ok);
        if (!ok)
            throw UsageFailure {
                QStringLiteral("--set-header %1 needs a number, not \"%2\"").arg(field, text)};
        (field == QLatin1String("sessionStartTime") ? overrides.sessionStartTime
                                                    : overrides.sessionEndTime)
            = value;
        return;
    }
    if (field == QLatin1String("sessionStartDate")) {
        const qint64 value = text.toLongLong(&ok);
        if (!ok)
            throw UsageFailure {QStringLiteral("--set-header %1 needs a whole number, not \"%2\"")
                                    .arg(field, text)};
        overrides.sessionStartDate = value;
        return;
    }
    const QMap<QString, std::optional<int32_t> IbtWriter::Overrides::*> fields = {
        {QStringLiteral("ver"), &IbtWriter::Overrides::ver},
        {QStringLiteral("status"), &IbtWriter::Overrides::status},
        {QStringLiteral("tickRate"), &IbtWriter::Overrides::tickRate},
        {QStringLiteral("sessionInfoUpdate"), &IbtWriter::Overrides::sessionInfoUpdate},
        {QStringLiteral("sessionInfoLen"), &IbtWriter::Overrides::sessionInfoLen},
        {QStringLiteral("sessionInfoOffset"), &IbtWriter::Overrides::sessionInfoOffset},
        {QStringLiteral("numVars"), &IbtWriter::Overrides::numVars},
        {QStringLiteral("varHeaderOffset"), &IbtWriter::Overrides::varHeaderOffset},
        {QStringLiteral("numBuf"), &IbtWriter::Overrides::numBuf},
        {QStringLiteral("bufLen"), &IbtWriter::Overrides::bufLen},
        {QStringLiteral("tickCount"), &IbtWriter::Overrides::tickCount},
        {QStringLiteral("bufOffset"), &IbtWriter::Overrides::bufOffset},
        {QStringLiteral("sessionLapCount"), &IbtWriter::Overrides::sessionLapCount},
        {QStringLiteral("sessionRecordCount"), &IbtWriter::Overrides::sessionRecordCount},
    };
    const auto member = fields.constFind(field);
    if (member == fields.constEnd()) {
        QStringList names = fields.keys();
        names << QStringLiteral("sessionStartDate") << QStringLiteral("sessionStartTime")
              << QStringLiteral("sessionEndTime");
        names.sort();
        throw UsageFailure {QStringLiteral("--set-header: unknown field \"%1\"; known: %2")
                                .arg(field, names.join(QStringLiteral(", ")))};
    }
    const int value = text.toInt(&ok, 0);
    if (!ok)
        throw UsageFailure {
            QStringLiteral("--set-header %1 needs a 32-bit integer, not \"%2\"").arg(field, text)};
    overrides.*(member.value()) = value;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ibt-write"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUM_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Writes a synthetic iRacing telemetry session (.ibt), optionally damaged."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("OUTPUT.ibt"),
                                 QStringLiteral("The file to write."));

    const QCommandLineOption scenario(
        QStringLiteral("scenario"),
        QStringLiteral("practice, race, replay or session-change (default practice)."),
        QStringLiteral("kind"), QStringLiteral("practice"));
    const QCommandLineOption laps(QStringLiteral("laps"),
                                  QStringLiteral("Flying or race laps (default 3)."),
                                  QStringLiteral("N"));
    const QCommandLineOption lapTime(QStringLiteral("lap-time"),
                                     QStringLiteral("Average flying lap in seconds (default 100)."),
                                     QStringLiteral("SECONDS"));
    const QCommandLineOption trackLength(QStringLiteral("track-length"),
                                         QStringLiteral("Track length in metres (default 4309)."),
                                         QStringLiteral("M"));
    const QCommandLineOption trackDisplayName(
        QStringLiteral("track-display-name"),
        QStringLiteral("Track display name, written as Latin-1."), QStringLiteral("NAME"));
    const QCommandLineOption trackCity(QStringLiteral("track-city"),
                                       QStringLiteral("Track city, written as Latin-1."),
                                       QStringLiteral("NAME"));
    const QCommandLineOption cars(QStringLiteral("cars"),
                                  QStringLiteral("Other cars besides the player (default 3)."),
                                  QStringLiteral("N"));
    const QCommandLineOption playerCarIdx(QStringLiteral("player-car-idx"),
                                          QStringLiteral("The player's car index (default 0)."),
                                          QStringLiteral("N"));
    const QCommandLineOption duration(
        QStringLiteral("duration"),
        QStringLiteral("Seconds of records; fits as many laps as possible."),
        QStringLiteral("SECONDS"));
    const QCommandLineOption startLap(QStringLiteral("start-lap"),
                                      QStringLiteral("The lap counter in the first record."),
                                      QStringLiteral("N"));
    const QCommandLineOption paradeLaps(
        QStringLiteral("parade-laps"),
        QStringLiteral("Race: laps before the green flag (default 1)."), QStringLiteral("N"));
    const QCommandLineOption version1(QStringLiteral("version1"),
                                      QStringLiteral("Format version 1: no SessionTick variable."));
    const QCommandLineOption noIsOnTrack(QStringLiteral("no-isontrack"),
                                         QStringLiteral("Leave out the IsOnTrack variable."));
    const QCommandLineOption noPlayer(QStringLiteral("no-player"),
                                      QStringLiteral("No DriverCarIdx in the session text."));
    const QCommandLineOption noCarArrays(QStringLiteral("no-car-arrays"),
                                         QStringLiteral("Leave out the CarIdx* arrays."));
    const QCommandLineOption lastLapTime(
        QStringLiteral("last-lap-time-variable"),
        QStringLiteral("Add a scalar LastLapTime variable beside LapLastLapTime."));
    const QCommandLineOption staleFirstRecord(
        QStringLiteral("stale-first-record"),
        QStringLiteral("First record with Lap 0 at rest, as the simulator sometimes writes."));
    const QCommandLineOption padVariables(QStringLiteral("pad-variables"),
                                          QStringLiteral("Pad the file up to N variables."),
                                          QStringLiteral("N"));
    const QCommandLineOption omit(QStringLiteral("omit"),
                                  QStringLiteral("Leave out a variable by name (repeatable)."),
                                  QStringLiteral("NAME"));
    const QCommandLineOption setup(
        QStringLiteral("setup"),
        QStringLiteral("Car set-up section: none, gt or prototype (default gt)."),
        QStringLiteral("STYLE"));
    const QCommandLineOption fuelKg(QStringLiteral("setup-fuel-kg"),
                                    QStringLiteral("Set-up fuel level in kg instead of litres."));
    const QCommandLineOption truncate(QStringLiteral("truncate"),
                                      QStringLiteral("Cut the file after this many bytes."),
                                      QStringLiteral("BYTES"));
    const QCommandLineOption shortLast(
        QStringLiteral("short-last-record"),
        QStringLiteral("Append a last record of only this many bytes."), QStringLiteral("BYTES"));
    const QCommandLineOption unknownType(QStringLiteral("unknown-type"),
                                         QStringLiteral("Add a descriptor with type code 9."));
    const QCommandLineOption outside(
        QStringLiteral("outside-record"),
        QStringLiteral("Add descriptors whose offset or count reach past the record."));
    const QCommandLineOption setHeader(
        QStringLiteral("set-header"),
        QStringLiteral("Force a header or sub-header field, e.g. sessionInfoLen=999999 "
                       "(repeatable)."),
        QStringLiteral("FIELD=VALUE"));
    const QCommandLineOption quiet(QStringLiteral("quiet"),
                                   QStringLiteral("Print nothing on success."));
    parser.addOptions(
        {scenario,    laps,         lapTime,     trackLength, trackDisplayName, trackCity,
         cars,        playerCarIdx, duration,    startLap,    paradeLaps,       version1,
         noIsOnTrack, noPlayer,     noCarArrays, lastLapTime, staleFirstRecord, padVariables,
         omit,        setup,        fuelKg,      truncate,    shortLast,        unknownType,
         outside,     setHeader,    quiet});

    // Usage errors end with status 2, as command-line tools commonly do.
    QTextStream err(stderr);
    if (!parser.parse(QCoreApplication::arguments())) {
        err << "ibt-write: " << parser.errorText() << "\n"
            << "Try 'ibt-write --help'.\n";
        return UsageError;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();

    SessionGenerator::Options options;
    QString output;
    try {
        const QStringList positional = parser.positionalArguments();
        if (positional.size() != 1) {
            throw UsageFailure {
                positional.isEmpty()
                    ? QStringLiteral("missing OUTPUT.ibt")
                    : QStringLiteral("only one OUTPUT.ibt, not %1").arg(positional.size())};
        }
        output = positional.front();

        const QMap<QString, SessionGenerator::Scenario> scenarios = {
            {QStringLiteral("practice"), SessionGenerator::Scenario::Practice},
            {QStringLiteral("race"), SessionGenerator::Scenario::Race},
            {QStringLiteral("replay"), SessionGenerator::Scenario::Replay},
            {QStringLiteral("session-change"), SessionGenerator::Scenario::SessionChange},
        };
        const QString kind = parser.value(scenario);
        if (!scenarios.contains(kind)) {
            throw UsageFailure {
                QStringLiteral("unknown scenario \"%1\"; use practice, race, replay "
                               "or session-change")
                    .arg(kind)};
        }
        options.scenario = scenarios.value(kind);
        if (parser.isSet(laps))
            options.laps = parseInt(parser.value(laps), laps.names().front(), 0);
        if (parser.isSet(lapTime))
            options.lapTime = parseDouble(parser.value(lapTime), lapTime.names().front(), 10.0);
        if (parser.isSet(trackLength))
            options.trackLength
                = parseDouble(parser.value(trackLength), trackLength.names().front(), 100.0);
        if (parser.isSet(trackDisplayName))
            options.trackDisplayName = parser.value(trackDisplayName);
        if (parser.isSet(trackCity))
            options.trackCity = parser.value(trackCity);
        if (parser.isSet(cars))
            options.otherCars = parseInt(parser.value(cars), cars.names().front(), 0);
        if (options.otherCars > 63)
            throw UsageFailure {QStringLiteral("--cars allows at most 63 other cars")};
        if (parser.isSet(playerCarIdx))
            options.playerCarIdx
                = parseInt(parser.value(playerCarIdx), playerCarIdx.names().front(), 0);
        if (options.playerCarIdx > 63)
            throw UsageFailure {QStringLiteral("--player-car-idx must be below 64")};
        if (parser.isSet(duration))
            options.duration = parseDouble(parser.value(duration), duration.names().front(), 1.0);
        if (parser.isSet(startLap))
            options.startLap = parseInt(parser.value(startLap), startLap.names().front(), 0);
        if (parser.isSet(paradeLaps))
            options.paradeLaps = parseInt(parser.value(paradeLaps), paradeLaps.names().front(), 0);
        if (parser.isSet(version1))
            options.version = 1;
        options.isOnTrackVariable = !parser.isSet(noIsOnTrack);
        options.player = !parser.isSet(noPlayer);
        options.carArrays = !parser.isSet(noCarArrays);
        options.lastLapTimeVariable = parser.isSet(lastLapTime);
        options.firstRecordLapZero = parser.isSet(staleFirstRecord);
        if (parser.isSet(padVariables))
            options.totalVariables
                = parseInt(parser.value(padVariables), padVariables.names().front(), 0);
        options.omitVariables = parser.values(omit);
        if (parser.isSet(setup)) {
            const QString style = parser.value(setup);
            if (style == QLatin1String("none"))
                options.carSetup = SessionGenerator::CarSetupStyle::None;
            else if (style == QLatin1String("gt"))
                options.carSetup = SessionGenerator::CarSetupStyle::Gt;
            else if (style == QLatin1String("prototype"))
                options.carSetup = SessionGenerator::CarSetupStyle::Prototype;
            else
                throw UsageFailure {
                    QStringLiteral("unknown set-up style \"%1\"; use none, gt or prototype")
                        .arg(style)};
        }
        options.setupFuelInKg = parser.isSet(fuelKg);
        if (parser.isSet(truncate))
            options.truncateAt = parseInt64(parser.value(truncate), truncate.names().front(), 0);
        if (parser.isSet(shortLast))
            options.shortLastRecordBytes
                = parseInt(parser.value(shortLast), shortLast.names().front(), 0);
        options.unknownTypeVariable = parser.isSet(unknownType);
        options.variablesOutsideRecord = parser.isSet(outside);
        for (const QString &assignment : parser.values(setHeader))
            applyHeaderField(options.overrides, assignment);
    } catch (const UsageFailure &failure) {
        err << "ibt-write: " << failure.message << "\n"
            << "Try 'ibt-write --help'.\n";
        return UsageError;
    }

    const SessionGenerator generator(options);
    QString error;
    if (!generator.write(output, &error)) {
        err << "ibt-write: " << error << "\n";
        return WriteError;
    }
    if (!parser.isSet(quiet)) {
        const SessionGenerator::Summary &s = generator.summary();
        QTextStream out(stdout);
        out << output << ": " << SessionGenerator::scenarioName(options.scenario) << ", "
            << s.recordCount << " records of " << s.recordLength << " bytes, " << s.variableCount
            << " variables, session time " << s.firstSessionTime << " to " << s.lastSessionTime
            << " s\n";
        for (const SessionGenerator::Lap &lap : s.laps) {
            out << "  lap " << lap.lap << " (" << SessionGenerator::lapKindName(lap.kind)
                << ", session " << lap.sessionNum << "): " << lap.startTime << " to " << lap.endTime
                << " s";
            if (lap.lapTime >= 0.0)
                out << ", lap time " << QString::number(lap.lapTime, 'f', 3) << " s";
            out << "\n";
        }
    }
    return 0;
}
