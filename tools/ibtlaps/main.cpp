// ibt-laps: imports iRacing .ibt files through the import plug-in, as the desktop
// application does, and shows or exports the laps it hands over.

#include "argumentlist.h"
#include "importresult.h"
#include "jsonoutput.h"
#include "jsonwriter.h"
#include "lapcsv.h"
#include "lapjson.h"
#include "lapplot.h"
#include "laptable.h"
#include "pluginhost.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTextStream>

namespace {

constexpr int Success = 0;
constexpr int Failure = 1;
constexpr int UsageError = 2;

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

void report(int level, const QString &text)
{
    const QString tag = level == ImportResult::Information ? QStringLiteral("info")
        : level == ImportResult::Error                     ? QStringLiteral("error")
                                                           : QStringLiteral("level %1").arg(level);
    err() << tag << ": " << text << Qt::endl;
}

void reportError(const QString &text)
{
    report(ImportResult::Error, text);
}

QString defaultPluginPath()
{
    // Laid out as in the build folder: the tool in bin/, the plug-in in plugins/.
    return QDir(QCoreApplication::applicationDirPath())
        .absoluteFilePath(QStringLiteral("../plugins/") + QStringLiteral(ZUM_PLUGIN_FILE_NAME));
}

// "laps.png" for input "practice.ibt" becomes "laps_practice.png" when several files share
// one --plot argument.
QString plotPathFor(const QString &plotPath, const QString &input, bool several)
{
    if (!several)
        return plotPath;
    const QFileInfo plot(plotPath);
    const QString suffix = plot.suffix().isEmpty() ? QStringLiteral("png") : plot.suffix();
    return plot.dir().filePath(
        QStringLiteral("%1_%2.%3")
            .arg(plot.completeBaseName(), QFileInfo(input).completeBaseName(), suffix));
}

} // namespace

int main(int argc, char *argv[])
{
    // Plots are drawn off screen; no display is ever needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ArgumentList arguments(argc, argv);
    QGuiApplication app(arguments.count(), arguments.vector());
    QCoreApplication::setApplicationName(QStringLiteral("ibt-laps"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUM_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Imports iRacing telemetry files (.ibt) through the import plug-in, as the desktop\n"
        "application does, and lists the laps it hands over: a summary and a table per file\n"
        "on standard output, the plug-in's log lines on standard error. The laps can also be\n"
        "written as JSON, as CSV files or as a speed plot.\n"
        "\n"
        "Exit status: 0 on success, 1 when an import or an output failed, 2 on a usage\n"
        "error."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption versionOption = parser.addVersionOption();
    const QCommandLineOption pluginOption(
        QStringLiteral("plugin"),
        QStringLiteral("Load the import plug-in from <path> instead of the build folder."),
        QStringLiteral("path"));
    const QCommandLineOption jsonOption(
        QStringLiteral("json"),
        QStringLiteral("Write everything the plug-in gave (log lines, lap headers, channels) "
                       "as JSON to <file>, or to standard output for \"-\" (the table is then "
                       "left out). Several input files give an array."),
        QStringLiteral("file"));
    const QCommandLineOption noChannelsOption(
        QStringLiteral("no-channels"),
        QStringLiteral("Leave the channels' values out of the JSON (names and units stay)."));
    const QCommandLineOption csvOption(
        QStringLiteral("csv"),
        QStringLiteral("Write one CSV file per lap into <dir> (created when missing; existing "
                       "files are kept, new names get a counter)."),
        QStringLiteral("dir"));
    const QCommandLineOption plotOption(
        QStringLiteral("plot"),
        QStringLiteral("Draw speed over lap distance of the completed laps as a PNG picture "
                       "<file>; with several input files, one picture per file named "
                       "<file>_<input name>.png."),
        QStringLiteral("file"));
    parser.addOptions({pluginOption, jsonOption, noChannelsOption, csvOption, plotOption});
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral(".ibt files to import."),
                                 QStringLiteral("file.ibt..."));

    if (!parser.parse(QCoreApplication::arguments()) || arguments.pluginValueMissing()) {
        const QString error = arguments.pluginValueMissing()
            ? QStringLiteral("Missing value after '--plugin'.")
            : parser.errorText();
        err() << "ibt-laps: " << error << "\nTry 'ibt-laps --help'." << Qt::endl;
        return UsageError;
    }
    // Qt's own options are listed by the parser itself, which ends the program.
    if (parser.isSet(QStringLiteral("help-all")))
        parser.process(QCoreApplication::arguments());
    if (parser.isSet(helpOption)) {
        out() << parser.helpText() << Qt::flush;
        return Success;
    }
    if (parser.isSet(versionOption)) {
        out() << "ibt-laps " << QCoreApplication::applicationVersion() << Qt::endl;
        return Success;
    }
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        err() << "ibt-laps: no input file\nTry 'ibt-laps --help'." << Qt::endl;
        return UsageError;
    }

    // Outputs are prepared before the imports, so that a wrong target fails early.
    JsonOutput json;
    const bool jsonToStandardOutput = parser.value(jsonOption) == QLatin1String("-");
    if (parser.isSet(jsonOption) && !json.open(parser.value(jsonOption))) {
        reportError(QStringLiteral("cannot write JSON to %1").arg(parser.value(jsonOption)));
        return Failure;
    }
    const QDir csvDir(parser.value(csvOption));
    if (parser.isSet(csvOption) && !QDir().mkpath(csvDir.path())) {
        reportError(QStringLiteral("cannot create the CSV folder %1").arg(csvDir.path()));
        return Failure;
    }

    PluginHost host(parser.isSet(pluginOption) ? parser.value(pluginOption) : defaultPluginPath());
    if (!host.load()) {
        reportError(host.errorString());
        return Failure;
    }
    host.setMessageHandler(
        [](const ImportResult::Message &message) { report(message.level, message.text); });

    const bool several = files.size() > 1;
    if (json.isOpen() && several)
        json.writer().beginArray();

    bool failed = false;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const ImportResult result = host.importFile(files[i]);
        failed = failed || result.failed;

        if (!jsonToStandardOutput) {
            if (i > 0)
                out() << '\n';
            out() << LapTable::text(result) << Qt::flush;
        }
        if (json.isOpen())
            LapJson::write(json.writer(), result, !parser.isSet(noChannelsOption));
        if (parser.isSet(csvOption)) {
            QStringList written;
            QString error;
            if (!LapCsv::write(result, csvDir, &written, &error)) {
                reportError(error);
                failed = true;
            }
            if (!written.isEmpty())
                report(ImportResult::Information,
                       QStringLiteral("wrote %1 CSV files to %2")
                           .arg(written.size())
                           .arg(QDir::toNativeSeparators(csvDir.absolutePath())));
        }
        if (parser.isSet(plotOption)) {
            const QString path = plotPathFor(parser.value(plotOption), files[i], several);
            if (LapPlot::render(result).save(path, "PNG")) {
                report(ImportResult::Information, QStringLiteral("wrote the plot %1").arg(path));
            } else {
                reportError(QStringLiteral("cannot write the plot %1").arg(path));
                failed = true;
            }
        }
    }

    if (json.isOpen()) {
        if (several)
            json.writer().endArray();
        if (!json.close()) {
            reportError(QStringLiteral("cannot write JSON to %1").arg(parser.value(jsonOption)));
            failed = true;
        }
    }
    return failed ? Failure : Success;
}
