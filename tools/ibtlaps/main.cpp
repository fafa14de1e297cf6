// ibt-laps: imports iRacing .ibt files through the import plug-in, as the desktop
// application does, and shows, exports and draws the laps it hands over.

#include "argumentlist.h"
#include "commandline.h"
#include "importrun.h"
#include "pluginhost.h"
#include "reporter.h"

#include <QGuiApplication>

namespace {

// The tool's output is its own: the Qt runtime's remarks ("XDG_RUNTIME_DIR not set" on
// every run without a desktop session) and the plug-in's debug lines are no part of it.
void dropQtMessages(QtMsgType, const QMessageLogContext &, const QString &) { }

int printVersion(Reporter &reporter, PluginHost &host)
{
    QTextStream &out = reporter.out();
    out << "ibt-laps " << QCoreApplication::applicationVersion() << '\n';
    const bool loaded = host.load();
    if (loaded)
        out << "plug-in: " << host.pluginName() << ' ' << host.pluginVersion() << '\n';
    out << "Qt " << qVersion() << Qt::endl;
    if (!loaded) {
        reporter.error(host.errorString());
        return ImportRun::Failure;
    }
    return ImportRun::Success;
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(dropQtMessages);
    // Pictures are drawn off screen; no display is ever needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ArgumentList arguments(argc, argv);
    QGuiApplication app(arguments.count(), arguments.vector());
    QCoreApplication::setApplicationName(QStringLiteral("ibt-laps"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUM_VERSION));

    CommandLine commandLine;
    const CommandLine::Request request
        = commandLine.parse(QCoreApplication::arguments(), arguments.pluginValueMissing());
    const Options &options = commandLine.options();
    Reporter reporter(options.quiet);
    PluginHost host(options.pluginPath.isEmpty() ? PluginHost::defaultPluginPath()
                                                 : options.pluginPath);
    switch (request) {
    case CommandLine::Request::UsageError:
        reporter.usageError(commandLine.errorText());
        return ImportRun::UsageError;
    case CommandLine::Request::Help:
        reporter.out() << commandLine.helpText() << Qt::flush;
        return ImportRun::Success;
    case CommandLine::Request::Version:
        return printVersion(reporter, host);
    case CommandLine::Request::Run:
        break;
    }
    return ImportRun(options, reporter, host).exec();
}
