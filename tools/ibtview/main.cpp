#include "importqueue.h"
#include "lapselection.h"
#include "mainwindow.h"
#include "pluginhost.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

namespace {

// What the command line asks for once the files are open: laps overlaid, the cursor, and a
// picture of the window after which the program quits.
struct Start
{
    std::optional<LapSelection> laps;
    std::optional<double> cursor;
    QString screenshot;
};

void whenOpen(MainWindow &window, const Start &start)
{
    const auto apply = [&window, start] {
        ViewModel &model = window.model();
        if (start.laps) {
            for (qsizetype f = 0; f < model.files().size(); ++f) {
                for (const qsizetype lap : start.laps->select(model.files()[f].result.laps))
                    model.setOverlaid({f, lap}, true);
            }
        }
        if (start.cursor)
            model.setCursor(*start.cursor);
        if (start.screenshot.isEmpty())
            return;
        // Once the window is drawn.
        QTimer::singleShot(0, &window, [&window, path = start.screenshot] {
            const bool saved = window.grab().save(path, "PNG");
            if (!saved)
                std::fprintf(stderr, "ibt-view: cannot write %s\n", qPrintable(path));
            QCoreApplication::exit(saved ? 0 : 1);
        });
    };
    if (window.imports().isBusy())
        QObject::connect(&window.imports(), &ImportQueue::idle, &window, apply,
                         Qt::SingleShotConnection);
    else
        apply();
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
    const QCommandLineOption laps(QStringLiteral("laps"),
                                  QStringLiteral("Overlay these laps of every file, e.g. 1,3-4, "
                                                 "beside each file's best lap."),
                                  QStringLiteral("numbers"));
    const QCommandLineOption cursor(QStringLiteral("cursor"),
                                    QStringLiteral("Put the cursor at this lap distance."),
                                    QStringLiteral("metres"));
    const QCommandLineOption library(
        QStringLiteral("db"),
        QStringLiteral("The lap library to pick laps from (File > Open from Library): a file or "
                       "postgresql://user@host:port/dbname. Default: IBT_LIBRARY, else "
                       "ibt-library's own library file."),
        QStringLiteral("library"));
    parser.addOptions({units, laps, cursor, library, screenshot});
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

    Start start;
    if (parser.isSet(laps)) {
        QString error;
        start.laps.emplace();
        if (!start.laps->setNumbers(parser.value(laps), &error)) {
            std::fprintf(stderr, "ibt-view: --laps: %s\n", qPrintable(error));
            return 2;
        }
    }
    if (parser.isSet(cursor)) {
        bool ok = false;
        start.cursor = parser.value(cursor).toDouble(&ok);
        if (!ok) {
            std::fprintf(stderr, "ibt-view: --cursor: not a distance in metres: %s\n",
                         qPrintable(parser.value(cursor)));
            return 2;
        }
    }
    start.screenshot = parser.value(screenshot);

    MainWindow window(PluginHost::defaultPluginPath());
    window.model().setUnits(*system);
    window.setLibrary(parser.value(library));
    window.openFiles(parser.positionalArguments());
    window.show();
    whenOpen(window, start);
    return application.exec();
}
