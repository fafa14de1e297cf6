// ibt-write: writes a synthetic telemetry session as an .ibt file, optionally damaged.

#include "ibtwriter.h"
#include "sessiongenerator.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include <QCoreApplication>
#include <QList>
#include <QMap>
#include <QTextStream>

#include <cstdio>
#include <limits>
#include <optional>
#include <type_traits>

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

// "a, b or c".
QString alternatives(QStringList names)
{
    const QString last = names.takeLast();
    return names.isEmpty() ? last
                           : names.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
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

// The command line's options: name, value name (empty for a switch) and help text.
struct OptionText
{
    QString name;
    QString valueName;
    QString description;
};

QList<OptionText> optionTexts()
{
    const SessionGenerator::Options defaults;
    const auto dflt = [](const QString &text, const auto &value) {
        return QStringLiteral("%1 (default %2).").arg(text).arg(value);
    };
    return {
        {"scenario", "kind",
         dflt(alternatives(SessionGenerator::scenarioNames()),
              SessionGenerator::scenarioName(defaults.scenario))},
        {"laps", "N", dflt("Flying or race laps", defaults.laps)},
        {"lap-time", "SECONDS", dflt("Average flying lap in seconds", defaults.lapTime)},
        {"track-length", "M", dflt("Track length in metres", defaults.trackLength)},
        {"track-display-name", "NAME", "Track display name, written as Latin-1."},
        {"track-city", "NAME", "Track city, written as Latin-1."},
        {"cars", "N", dflt("Other cars besides the player", defaults.otherCars)},
        {"player-car-idx", "N", dflt("The player's car index", defaults.playerCarIdx)},
        {"duration", "SECONDS", "Seconds of records; fits as many laps as possible."},
        {"start-lap", "N", "The lap counter in the first record."},
        {"start-date", "SECONDS",
         dflt("When the recording started, in seconds since the Unix epoch", defaults.startDate)},
        {"driver", "NAME", dflt("The player's name", defaults.playerName)},
        {"parade-laps", "N", dflt("Race: laps before the green flag", defaults.paradeLaps)},
        {"version1", "", "Format version 1: no SessionTick variable."},
        {"no-isontrack", "", "Leave out the IsOnTrack variable."},
        {"no-player", "", "No DriverCarIdx in the session text."},
        {"no-car-arrays", "", "Leave out the CarIdx* arrays."},
        {"last-lap-time-variable", "", "Add a scalar LastLapTime variable beside LapLastLapTime."},
        {"stale-first-record", "",
         "First record with Lap 0 at rest, as the simulator sometimes writes."},
        {"pad-variables", "N", "Pad the file up to N variables."},
        {"omit", "NAME", "Leave out a variable by name (repeatable)."},
        {"setup", "STYLE", "Car set-up section: none, gt or prototype (default gt)."},
        {"setup-fuel-kg", "", "Set-up fuel level in kg instead of litres."},
        {"truncate", "BYTES", "Cut the file after this many bytes."},
        {"short-last-record", "BYTES", "Append a last record of only this many bytes."},
        {"unknown-type", "", "Add a descriptor with type code 9."},
        {"outside-record", "", "Add descriptors whose offset or count reach past the record."},
        {"set-header", "FIELD=VALUE",
         "Force a header or sub-header field, e.g. sessionInfoLen=999999 (repeatable)."},
        {"quiet", "", "Print nothing on success."},
    };
}

SessionGenerator::Scenario scenarioNamed(const QString &name)
{
    const std::optional<SessionGenerator::Scenario> scenario
        = SessionGenerator::scenarioNamed(name);
    if (!scenario) {
        throw UsageFailure {QStringLiteral("unknown scenario \"%1\"; use %2")
                                .arg(name, alternatives(SessionGenerator::scenarioNames()))};
    }
    return *scenario;
}

SessionGenerator::CarSetupStyle setupStyleNamed(const QString &style)
{
    if (style == QLatin1String("none"))
        return SessionGenerator::CarSetupStyle::None;
    if (style == QLatin1String("gt"))
        return SessionGenerator::CarSetupStyle::Gt;
    if (style == QLatin1String("prototype"))
        return SessionGenerator::CarSetupStyle::Prototype;
    throw UsageFailure {
        QStringLiteral("unknown set-up style \"%1\"; use none, gt or prototype").arg(style)};
}

// The generator's options from the command line; the limits are the generator's.
SessionGenerator::Options readOptions(const QCommandLineParser &parser)
{
    SessionGenerator::Options o;
    const auto has = [&](const char *name) {
        return parser.isSet(QLatin1String(name));
    };
    const auto text = [&](const char *name) {
        return parser.value(QLatin1String(name));
    };
    const auto whole = [&](const char *name, auto &target, qint64 maximum) {
        if (has(name))
            target = std::remove_reference_t<decltype(target)>(
                parseInt64(text(name), QLatin1String(name), 0, maximum));
    };
    const auto real = [&](const char *name, double &target, double minimum) {
        if (has(name))
            target = parseDouble(text(name), QLatin1String(name), minimum);
    };
    constexpr qint64 IntMax = std::numeric_limits<int>::max();
    if (has("scenario"))
        o.scenario = scenarioNamed(text("scenario"));
    whole("laps", o.laps, IntMax);
    real("lap-time", o.lapTime, SessionGenerator::MinLapTime);
    real("track-length", o.trackLength, SessionGenerator::MinTrackLength);
    if (has("track-display-name"))
        o.trackDisplayName = text("track-display-name");
    if (has("track-city"))
        o.trackCity = text("track-city");
    whole("cars", o.otherCars, IntMax);
    if (o.otherCars > SessionGenerator::CarSlots - 1) {
        throw UsageFailure {QStringLiteral("--cars allows at most %1 other cars")
                                .arg(SessionGenerator::CarSlots - 1)};
    }
    whole("player-car-idx", o.playerCarIdx, IntMax);
    if (o.playerCarIdx >= SessionGenerator::CarSlots) {
        throw UsageFailure {
            QStringLiteral("--player-car-idx must be below %1").arg(SessionGenerator::CarSlots)};
    }
    real("duration", o.duration, 1.0);
    whole("start-lap", o.startLap, IntMax);
    whole("start-date", o.startDate, std::numeric_limits<qint64>::max());
    if (has("driver"))
        o.playerName = text("driver");
    whole("parade-laps", o.paradeLaps, IntMax);
    if (has("version1"))
        o.version = 1;
    o.isOnTrackVariable = !has("no-isontrack");
    o.player = !has("no-player");
    o.carArrays = !has("no-car-arrays");
    o.lastLapTimeVariable = has("last-lap-time-variable");
    o.firstRecordLapZero = has("stale-first-record");
    whole("pad-variables", o.totalVariables, IntMax);
    o.omitVariables = parser.values(QStringLiteral("omit"));
    if (has("setup"))
        o.carSetup = setupStyleNamed(text("setup"));
    o.setupFuelInKg = has("setup-fuel-kg");
    whole("truncate", o.truncateAt, std::numeric_limits<qint64>::max());
    whole("short-last-record", o.shortLastRecordBytes, IntMax);
    o.unknownTypeVariable = has("unknown-type");
    o.variablesOutsideRecord = has("outside-record");
    for (const QString &assignment : parser.values(QStringLiteral("set-header")))
        applyHeaderField(o.overrides, assignment);
    return o;
}

void printSummary(const QString &output, const SessionGenerator &generator)
{
    const SessionGenerator::Summary &s = generator.summary();
    QTextStream out(stdout);
    out << output << ": " << SessionGenerator::scenarioName(generator.options().scenario) << ", "
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
    for (const OptionText &option : optionTexts())
        parser.addOption(QCommandLineOption(option.name, option.description, option.valueName));

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
        options = readOptions(parser);
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
    if (!parser.isSet(QStringLiteral("quiet")))
        printSummary(output, generator);
    return 0;
}
