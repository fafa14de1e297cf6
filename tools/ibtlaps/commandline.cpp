#include "commandline.h"

#include "picturefile.h"

#include <QCommandLineOption>

namespace {

QCommandLineOption option(const char *name, const char *description,
                          const char *valueName = nullptr)
{
    return QCommandLineOption(QLatin1String(name), QLatin1String(description),
                              valueName ? QLatin1String(valueName) : QString());
}

} // namespace

CommandLine::CommandLine()
{
    m_parser.setApplicationDescription(QStringLiteral(
        "Imports iRacing telemetry files (.ibt) through the import plug-in, as the desktop\n"
        "application does, and shows the laps it hands over: per file a summary, the lap\n"
        "table and the session's numbers (best, average, ideal lap, top speed, fuel) on\n"
        "standard output; the plug-in's log lines and the tool's notes on standard error.\n"
        "The laps can also be written as JSON, as CSV files and as a picture.\n"
        "\n"
        "Exit status: 0 on success, 1 when an import or an output failed, 2 on a usage\n"
        "error."));
    m_parser.addHelpOption();
    m_parser.addVersionOption();
    m_parser.addOptions({
        option("plugin", "Load the import plug-in from <path> instead of the build folder.",
               "path"),
        option("json",
               "Write everything the plug-in gave (log lines, lap headers, channels) as JSON "
               "to <file>, or to standard output for \"-\" (the table is then left out). "
               "Several input files give an array.",
               "file"),
        option("no-channels",
               "Leave the channels' values out of the JSON (names and units "
               "stay)."),
        option("csv",
               "Write one CSV file per lap into <dir> (created when missing), named "
               "<input>_stint<S>_lap<N>.csv; a name already taken gets a counter.",
               "dir"),
        option("force", "Overwrite CSV files of the same name instead of counting on."),
        option("plot",
               "Draw the laps as a picture <file> (1600 pixels wide): speed, delta to the best "
               "lap, throttle and brake, gear, track map and summary. The format follows the "
               "suffix (PNG when there is none; .svg and .pdf are vectors); with several input "
               "files, one picture per file named <file>_<input name>.<suffix>.",
               "file"),
        option("compare",
               "Draw lap <lap> (a number, or stint/lap such as 2/3) in every panel of the "
               "picture and set it against the best lap (or the --reference lap) in the "
               "throttle, brake and gear (default: the second fastest lap, or the best with "
               "--reference).",
               "lap"),
        option("reference",
               "Draw the picture's delta and inputs against lap <lap> of another <file> of the "
               "same track (its best lap when :<lap> is left out) instead of the best lap.",
               "file[:lap]"),
        option("laps",
               "Only the laps of these numbers, such as 3,5-7, or of a stint, such as 2/3 or "
               "2/3-5, as the table's Stint/lap column shows them.",
               "list"),
        option("timed", "Only the laps completed with a time."),
        option("best", "Only the fastest timed lap."),
        option("channels",
               "Only these channels, such as speed,throttle,brake, in the CSV and the JSON; "
               "names match in any case.",
               "names"),
        option("list-channels", "List every channel of the laps with its unit."),
        option("sectors",
               "Add to the table each lap's time through each of the track's own sectors "
               "(S1, S2...; the best of each marked *), and the ideal lap of those sectors."),
        option("setup",
               "Print the car's set-up that the file's session text carries (tyres, chassis, "
               "dampers...) after its table. The JSON always holds it."),
        option("setup-diff",
               "With several files, print after each file only what its set-up changes from "
               "the first file's. A file carries one set-up."),
        option("units",
               "Show quantities in metric or imperial units (<system>): speeds in km/h or mph, "
               "temperatures in C or F, fuel in l or gal, pressures in kPa or psi, masses in kg "
               "or lb, the picture's lap distance in m or ft, the track's length in km or mi. "
               "Applies to the "
               "table, the CSV and the picture; the JSON stays as the plug-in gave it. Without "
               "it the table and the picture are metric and the CSV is as recorded.",
               "system"),
        option("quiet",
               "Leave out the plug-in's and the tool's information lines; notes and "
               "errors stay."),
    });
    m_parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral(".ibt files to import."),
                                   QStringLiteral("file.ibt..."));
}

CommandLine::Request CommandLine::parse(const QStringList &arguments, bool pluginValueMissing)
{
    if (pluginValueMissing)
        return usageError(QStringLiteral("Missing value after '--plugin'."));
    if (!m_parser.parse(arguments))
        return usageError(m_parser.errorText());
    // Qt's own options are listed by the parser itself, which ends the program.
    if (m_parser.isSet(QStringLiteral("help-all")))
        m_parser.process(arguments);
    if (m_parser.isSet(QStringLiteral("help")))
        return Request::Help;
    if (m_parser.isSet(QStringLiteral("version")))
        return Request::Version;
    if (!readValues())
        return Request::UsageError;
    if (m_options.files.isEmpty())
        return usageError(QStringLiteral("no input file"));
    if (m_options.setupDiff && m_options.files.size() < 2)
        m_options.ignored.append(QStringLiteral("--setup-diff compares the set-ups of several "
                                                "files, and a file carries one; with one file it "
                                                "is ignored"));
    return Request::Run;
}

void CommandLine::noteIgnored()
{
    const std::pair<const char *, const char *> dependent[] = {
        {"force", "csv"},
        {"compare", "plot"},
        {"reference", "plot"},
        {"no-channels", "json"},
    };
    for (const auto &[option, output] : dependent) {
        if (m_parser.isSet(QLatin1String(option)) && !m_parser.isSet(QLatin1String(output)))
            m_options.ignored.append(
                QStringLiteral("--%1 applies to --%2, which is not given; it is ignored")
                    .arg(QLatin1String(option), QLatin1String(output)));
    }
}

CommandLine::Request CommandLine::usageError(const QString &text)
{
    m_errorText = text;
    return Request::UsageError;
}

bool CommandLine::readValues()
{
    const auto value = [this](const char *name) {
        return m_parser.value(QLatin1String(name));
    };
    const auto isSet = [this](const char *name) {
        return m_parser.isSet(QLatin1String(name));
    };
    Options &o = m_options;
    o.files = m_parser.positionalArguments();
    o.pluginPath = value("plugin");
    o.json = value("json");
    o.jsonChannelValues = !isSet("no-channels");
    o.csvDirectory = value("csv");
    o.force = isSet("force");
    o.plot = value("plot");
    o.listChannels = isSet("list-channels");
    o.sectors = isSet("sectors");
    o.setup = isSet("setup");
    o.setupDiff = isSet("setup-diff");
    o.quiet = isSet("quiet");
    o.selection.setTimedOnly(isSet("timed"));
    o.selection.setBestOnly(isSet("best"));

    QString error;
    if (isSet("laps") && !o.selection.setNumbers(value("laps"), &error)) {
        usageError(QStringLiteral("--laps: %1").arg(error));
        return false;
    }
    if (isSet("compare")) {
        o.compareLap = LapSelection::lapName(value("compare"));
        if (!o.compareLap) {
            usageError(QStringLiteral("--compare: '%1' is not a lap number").arg(value("compare")));
            return false;
        }
    }
    if (isSet("reference")) {
        // A file name may hold a colon itself (C:\\laps.ibt): only a lap after the last one
        // splits it.
        const QString text = value("reference");
        const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
        o.referenceLap = colon > 0 ? LapSelection::lapName(text.mid(colon + 1)) : std::nullopt;
        o.referenceFile = o.referenceLap ? text.left(colon) : text;
        if (o.referenceFile.isEmpty()) {
            usageError(QStringLiteral("--reference: no file"));
            return false;
        }
    }
    if (isSet("units")) {
        o.units = UnitSystem::fromName(value("units"));
        if (!o.units) {
            usageError(QStringLiteral("--units: '%1' is not %2")
                           .arg(value("units"), UnitSystem::names().join(QStringLiteral(" or "))));
            return false;
        }
    }
    if (isSet("channels")) {
        for (const QString &name : value("channels").split(QLatin1Char(','), Qt::SkipEmptyParts))
            o.channels.append(name.trimmed());
        if (o.channels.isEmpty()) {
            usageError(QStringLiteral("--channels: no channel name"));
            return false;
        }
    }
    if (o.plot == QLatin1String("-")) {
        // Standard output carries the table; a picture there would be mixed into it.
        usageError(QStringLiteral("--plot: '-' is no file name; the picture goes to a file"));
        return false;
    }
    noteIgnored();
    if (const QString problem = PictureFile::formatProblem(o.plot);
        !o.plot.isEmpty() && !problem.isEmpty()) {
        usageError(QStringLiteral("--plot: ") + problem);
        return false;
    }
    return true;
}
