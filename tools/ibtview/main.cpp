#include "importqueue.h"
#include "mainwindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QTimer>

#include <cstdio>

namespace {

QString pluginPath()
{
    // Laid out as in the build folder: the viewer in bin/, the plug-in in plugins/.
    return QDir(QCoreApplication::applicationDirPath())
        .absoluteFilePath(QStringLiteral("../plugins/") + QStringLiteral(ZUM_PLUGIN_FILE_NAME));
}

// Once every file is imported and the window drawn, saves a picture of it and quits.
void screenshotWhenReady(MainWindow &window, const QString &path)
{
    const auto grab = [&window, path] {
        QTimer::singleShot(0, &window, [&window, path] {
            const bool saved = window.grab().save(path, "PNG");
            if (!saved)
                std::fprintf(stderr, "ibt-view: cannot write %s\n", qPrintable(path));
            QCoreApplication::exit(saved ? 0 : 1);
        });
    };
    if (window.imports().isBusy())
        QObject::connect(&window.imports(), &ImportQueue::idle, &window, grab);
    else
        grab();
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("zum"));
    QCoreApplication::setApplicationName(QStringLiteral("ibt-view"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUM_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the laps of iRacing telemetry files (.ibt): the lap list, the "
                       "channels over lap distance and the track map."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption units(QStringLiteral("units"),
                                   QStringLiteral("Speeds and temperatures in metric (default) "
                                                  "or imperial units."),
                                   QStringLiteral("system"), QStringLiteral("metric"));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Open the files, save a picture of the window as PNG, and quit."),
        QStringLiteral("file"));
    parser.addOption(units);
    parser.addOption(screenshot);
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("The .ibt files to open."),
                                 QStringLiteral("[FILE.ibt...]"));
    parser.process(application);

    const std::optional<Units> system = UnitSystem::fromName(parser.value(units));
    if (!system) {
        std::fprintf(stderr, "ibt-view: unknown units \"%s\": %s\n",
                     qPrintable(parser.value(units)),
                     qPrintable(UnitSystem::names().join(QStringLiteral(", "))));
        return 2;
    }

    MainWindow window(pluginPath());
    window.model().setUnits(*system);
    window.openFiles(parser.positionalArguments());
    window.show();
    if (parser.isSet(screenshot))
        screenshotWhenReady(window, parser.value(screenshot));
    return application.exec();
}
