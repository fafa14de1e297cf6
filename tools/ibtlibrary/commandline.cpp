#include "commandline.h"

#include "databaseaddress.h"
#include "picturefile.h"

#include <QCommandLineParser>
#include <QDir>
#include <QTextStream>

#include <cstdio>
#include <utility>

namespace {

const QStringList commands {QStringLiteral("add"),      QStringLiteral("sessions"),
                            QStringLiteral("laps"),     QStringLiteral("best"),
                            QStringLiteral("progress"), QStringLiteral("check"),
                            QStringLiteral("remove"),   QStringLiteral("compare")};

QString overview()
{
    return QStringLiteral(
               "Keeps the laps of iRacing telemetry files (.ibt) in a library: a SQLite file, or a "
               "team's PostgreSQL server.\n\n"
               "Commands:\n"
               "  add PATH...  import the .ibt files and folders given (new or changed files "
               "only)\n"
               "  sessions     one row per file\n"
               "  laps         one row per lap\n"
               "  best         the best lap per track, configuration, car and driver\n"
               "  progress     per session at a track in a car: best, average and ideal lap\n"
               "  compare LAP LAP...  laps of one track side by side: times, sector times and a "
               "picture\n"
               "  check        files that changed or vanished since they were added\n"
               "  remove PATH...  take files, or the files under folders, out of the library\n\n"
               "Run ibt-library COMMAND --help for a command's options.\n\n"
               "The library is the file or server given with --db FILE or --db "
               "postgresql://user@host:port/dbname, else the one in IBT_LIBRARY, else %1. A "
               "server's "
               "password comes from PGPASSWORD, ~/.pgpass or a service file, never the URL.")
        .arg(QDir::toNativeSeparators(DatabaseAddress::defaultFile()));
}

// A date "2024-06-01" or date and time "2024-06-01T14:00", UTC, into the filter's lower or
// upper bound; a date alone takes in its whole day.
bool setDateOption(LapFilter &filter, bool until, const QString &text)
{
    const QDate date = QDate::fromString(text, Qt::ISODate);
    if (date.isValid()) {
        if (until)
            filter.setUntilDay(date);
        else
            filter.setSinceDay(date);
        return true;
    }
    QDateTime dateTime = QDateTime::fromString(text, Qt::ISODate);
    if (dateTime.timeSpec() == Qt::LocalTime)
        dateTime.setTimeSpec(Qt::UTC);
    (until ? filter.until : filter.since) = dateTime;
    return dateTime.isValid();
}
// Writes the message of a wrong command line.
CommandLine::Parse usageError(const QString &text, int *status)
{
    QTextStream(stderr) << "ibt-library: " << text
                        << "\nRun ibt-library --help for how to use it.\n";
    *status = 2;
    return CommandLine::Parse::Exit;
}

} // namespace

struct CommandLine::Options
{
    const QCommandLineOption track {
        QStringLiteral("track"), QStringLiteral("Tracks or configurations whose name contains T."),
        QStringLiteral("T")};
    const QCommandLineOption car {
        QStringLiteral("car"), QStringLiteral("Cars whose name contains C."), QStringLiteral("C")};
    const QCommandLineOption driver {QStringLiteral("driver"),
                                     QStringLiteral("Drivers whose name contains D."),
                                     QStringLiteral("D")};
    const QCommandLineOption kind {
        QStringLiteral("kind"),
        QStringLiteral("Sessions whose kind (Practice, Qualify, Race, ...) or name contains K."),
        QStringLiteral("K")};
    const QCommandLineOption since {
        QStringLiteral("since"),
        QStringLiteral("Recorded on or after DATE (UTC, 2024-06-01 or 2024-06-01T14:00)."),
        QStringLiteral("DATE")};
    const QCommandLineOption until {QStringLiteral("until"),
                                    QStringLiteral("Recorded before DATE, or on that day (UTC)."),
                                    QStringLiteral("DATE")};
    const QCommandLineOption timed {QStringLiteral("timed"),
                                    QStringLiteral("Only laps with a time.")};
    const QCommandLineOption sort {QStringLiteral("sort"),
                                   QStringLiteral("Order of the laps: date (the default) or time."),
                                   QStringLiteral("ORDER")};
    const QCommandLineOption json {QStringLiteral("json"),
                                   QStringLiteral("JSON on standard output instead of the table.")};
    const QCommandLineOption csv {QStringLiteral("csv"),
                                  QStringLiteral("CSV on standard output instead of the table.")};
    const QCommandLineOption plot {
        QStringLiteral("plot"), QStringLiteral("Draw it into FILE: PNG, SVG or PDF by its suffix."),
        QStringLiteral("FILE")};
    const QCommandLineOption jobs {
        QStringLiteral("jobs"), QStringLiteral("Import N files at a time (default: one per core)."),
        QStringLiteral("N")};
    const QCommandLineOption plugin {
        QStringLiteral("plugin"),
        QStringLiteral(
            "Load the import plug-in from PATH instead of the one installed with the tool."),
        QStringLiteral("PATH")};

    // The options and arguments that the command takes.
    void declare(QCommandLineParser &parser, const QString &command) const
    {
        parser.setApplicationDescription(overview());
        parser.addHelpOption();
        parser.addOption(
            {QStringLiteral("db"), QStringLiteral("The library."), QStringLiteral("LIBRARY")});
        if (command == u"add") {
            parser.addOptions({jobs, plugin});
            parser.addPositionalArgument(
                QStringLiteral("PATH"),
                QStringLiteral(".ibt files and folders, searched recursively."),
                QStringLiteral("PATH..."));
        } else if (command == u"remove") {
            parser.addPositionalArgument(QStringLiteral("PATH"),
                                         QStringLiteral("Stored files, or folders of them."),
                                         QStringLiteral("PATH..."));
        } else if (command == u"check") {
            parser.addOptions({json, csv});
        } else if (command == u"compare") {
            parser.addOptions({json, csv, plot});
            parser.addPositionalArgument(
                QStringLiteral("LAP"),
                QStringLiteral("Laps by their id in the library (laps lists them)."),
                QStringLiteral("LAP LAP..."));
        } else {
            parser.addOptions({track, car, driver, kind, since, until, json, csv});
            if (command == u"laps")
                parser.addOptions({timed, sort});
            if (command == u"progress")
                parser.addOption(plot);
        }
    }
};

CommandLine::Parse CommandLine::parse(const QStringList &arguments, int *status)
{
    QStringList rest;
    if (takeCommand(arguments, &rest, status) == Parse::Exit)
        return Parse::Exit;
    const Options options;
    QCommandLineParser parser;
    options.declare(parser, command);
    rest.insert(1, command);
    if (!parser.parse(rest))
        return usageError(parser.errorText(), status);
    if (parser.isSet(QStringLiteral("help"))) {
        QTextStream(stdout) << parser.helpText().replace(QStringLiteral("[options]"),
                                                         command + QStringLiteral(" [options]"));
        *status = 0;
        return Parse::Exit;
    }
    return readValues(parser, options, status);
}

CommandLine::Parse CommandLine::takeCommand(const QStringList &arguments, QStringList *rest,
                                            int *status)
{
    // The command is the first argument that is neither an option nor the value of --db.
    *rest = {arguments.value(0)};
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == u"--db") {
            if (i + 1 == arguments.size())
                return usageError(QStringLiteral("--db needs a file or a postgresql:// URL"),
                                  status);
            database = arguments[++i];
        } else if (argument.startsWith(u"--db=")) {
            database = argument.mid(5);
        } else if (command.isEmpty() && !argument.startsWith(u'-')) {
            command = argument;
        } else {
            rest->append(argument);
        }
    }
    if (command.isEmpty()) {
        QTextStream out(stdout);
        if (rest->contains(QStringLiteral("--help")) || rest->contains(QStringLiteral("-h"))) {
            out << "Usage: ibt-library [--db LIBRARY] COMMAND [options]\n\n" << overview() << '\n';
            *status = 0;
            return Parse::Exit;
        }
        if (rest->contains(QStringLiteral("--version"))) {
            out << "ibt-library " << ZUM_VERSION << '\n';
            *status = 0;
            return Parse::Exit;
        }
        return usageError(QStringLiteral("no command given"), status);
    }
    if (!commands.contains(command))
        return usageError(QStringLiteral("unknown command \"%1\"").arg(command), status);
    return Parse::Run;
}

CommandLine::Parse CommandLine::readValues(const QCommandLineParser &parser, const Options &options,
                                           int *status)
{
    paths = parser.positionalArguments().mid(1);
    if (command == u"add") {
        if (paths.isEmpty())
            return usageError(QStringLiteral("add needs the files or folders to add"), status);
        pluginPath = parser.value(options.plugin);
        if (parser.isSet(options.jobs)) {
            bool ok = false;
            jobs = parser.value(options.jobs).toInt(&ok);
            if (!ok || jobs < 1)
                return usageError(
                    QStringLiteral("--jobs: \"%1\" is not a number of files from 1 on")
                        .arg(parser.value(options.jobs)),
                    status);
        }
        return Parse::Run;
    }
    if (command == u"remove") {
        if (paths.isEmpty())
            return usageError(QStringLiteral("remove needs the files or folders to remove"),
                              status);
        return Parse::Run;
    }
    if (command == u"compare") {
        for (const QString &path : std::as_const(paths)) {
            bool ok = false;
            laps.append(path.toLongLong(&ok));
            if (!ok)
                return usageError(QStringLiteral("compare: \"%1\" is not a lap's id").arg(path),
                                  status);
        }
        if (laps.size() < 2)
            return usageError(QStringLiteral("compare needs two laps or more"), status);
        paths.clear();
    }
    if (paths.size() > 0)
        return usageError(QStringLiteral("%1 takes no arguments, only options: %2")
                              .arg(command, paths.join(u' ')),
                          status);
    if (command == u"progress" && (!parser.isSet(options.track) || !parser.isSet(options.car)))
        return usageError(QStringLiteral("progress needs --track and --car"), status);
    if (command == u"progress" || command == u"compare") {
        plot = parser.value(options.plot);
        if (const QString problem = PictureFile::formatProblem(plot);
            !plot.isEmpty() && !problem.isEmpty())
            return usageError(QStringLiteral("--plot: ") + problem, status);
    }
    if (parser.isSet(options.json) && parser.isSet(options.csv))
        return usageError(QStringLiteral("--json and --csv cannot be given together"), status);
    format = parser.isSet(options.json) ? RowOutput::Format::Json
        : parser.isSet(options.csv)     ? RowOutput::Format::Csv
                                        : RowOutput::Format::Table;
    if (command == u"check" || command == u"compare")
        return Parse::Run;
    filter.track = parser.value(options.track);
    filter.car = parser.value(options.car);
    filter.driver = parser.value(options.driver);
    filter.kind = parser.value(options.kind);
    for (const auto &[option, until] :
         {std::pair {&options.since, false}, {&options.until, true}}) {
        if (parser.isSet(*option) && !setDateOption(filter, until, parser.value(*option)))
            return usageError(QStringLiteral("--%1: \"%2\" is not a date")
                                  .arg(option->names().first(), parser.value(*option)),
                              status);
    }
    filter.timedOnly = command == u"laps" && parser.isSet(options.timed);
    if (command == u"laps" && parser.isSet(options.sort)) {
        const QString order = parser.value(options.sort);
        if (order != u"time" && order != u"date")
            return usageError(QStringLiteral("--sort: \"%1\" is neither time nor date").arg(order),
                              status);
        sortByTime = order == u"time";
    }
    return Parse::Run;
}
