// Timing of the viewer, built with the project and run by hand: build/bin/bench_ibtview.
// How long the lap list of a synthetic hour takes beyond the import itself, and how long one
// repaint of the whole window takes with eight laps of it overlaid, offscreen.

#include "chartsview.h"
#include "importqueue.h"
#include "laplist.h"
#include "laptime.h"
#include "mainwindow.h"
#include "sessiongenerator.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPainter>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

double milliseconds(const QElapsedTimer &timer)
{
    return timer.nsecsElapsed() / 1e6;
}

// The median and the worst of the times, in ms.
void reportFrames(const char *what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("%-44s median %6.2f ms, worst %6.2f ms over %zu frames\n", what,
                times[times.size() / 2], times.back(), times.size());
}

} // namespace

int main(int argc, char *argv[])
{
    // Drawing without a display, as the tests do.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("zum-bench"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Times the viewer on a synthetic session."));
    parser.addHelpOption();
    const QCommandLineOption minutesOption(QStringLiteral("minutes"),
                                           QStringLiteral("Length of the synthetic session."),
                                           QStringLiteral("minutes"), QStringLiteral("60"));
    const QCommandLineOption framesOption(QStringLiteral("frames"),
                                          QStringLiteral("Repaints to time."),
                                          QStringLiteral("count"), QStringLiteral("200"));
    parser.addOptions({minutesOption, framesOption});
    parser.process(app);
    const int frames = std::max(1, parser.value(framesOption).toInt());

    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    SessionGenerator::Options options;
    options.duration = parser.value(minutesOption).toDouble() * 60.0;
    options.totalVariables = 280;
    options.carArrays = false; // disk files carry no per-car arrays
    const QString hour = dir.filePath(QStringLiteral("hour.ibt"));
    QString error;
    if (!SessionGenerator(options).write(hour, &error)) {
        std::fprintf(stderr, "bench_ibtview: cannot write the session: %s\n", qPrintable(error));
        return 1;
    }

    // The window opens the file: from the request to the lap list filled, and the window's
    // own part of it, from the import's end to the list.
    MainWindow window(QStringLiteral(ZUM_PLUGIN_PATH));
    window.resize(1600, 950);
    window.show();
    QCoreApplication::processEvents();
    QEventLoop loop;
    QElapsedTimer total, windowPart;
    QObject::connect(&window.imports(), &ImportQueue::progress,
                     [&windowPart](int done, int count, const QString &) {
                         // The queue reports the import's end before it hands on the laps.
                         if (done == count)
                             windowPart.start();
                     });
    QObject::connect(&window.imports(), &ImportQueue::idle, &loop, &QEventLoop::quit);
    total.start();
    window.openFiles({hour});
    loop.exec();
    const double windowOpen = milliseconds(total);
    const double windowOwn = milliseconds(windowPart);
    const qsizetype laps = window.lapList()->rowCount();
    if (laps == 0) {
        std::fprintf(stderr, "bench_ibtview: the session did not open\n");
        return 1;
    }
    std::printf("synthetic session, %s min, 280 variables: %lld laps\n",
                qPrintable(parser.value(minutesOption)), static_cast<long long>(laps));
    std::printf("%-44s %8.1f ms\n", "lap list shown, from the request", windowOpen);
    std::printf("%-44s %8.1f ms\n", "of which the window's, after the import", windowOwn);

    // Eight timed laps overlaid, five charts.
    ViewModel &model = window.model();
    int overlaid = int(model.overlaid().size());
    for (const ViewModel::LapKey &key : model.laps()) {
        if (overlaid >= 8)
            break;
        if (!model.isOverlaid(key) && LapTime::isTimedLap(model.lap(key).header())) {
            model.setOverlaid(key, true);
            ++overlaid;
        }
    }
    const qsizetype samples = model.lap(model.reference()).size();
    std::printf("%d laps overlaid of about %lld samples each, %lld charts, window %dx%d\n",
                overlaid, static_cast<long long>(samples),
                static_cast<long long>(window.charts()->charts().size()), window.width(),
                window.height());
    window.repaint(); // reads the traces once

    // Cursor moves and zoom steps in turn, as a driver works through a corner.
    QElapsedTimer timer;
    std::vector<double> whole, charts;
    QImage canvas(window.charts()->size(), QImage::Format_RGB32);
    for (int frame = 0; frame < frames; ++frame) {
        if (frame % 2 == 0)
            model.stepCursor(3);
        else
            model.zoom(model.cursor(), frame % 4 == 1 ? 0.9 : 1.0 / 0.9);
        timer.restart();
        window.repaint();
        whole.push_back(milliseconds(timer));
        QPainter painter(&canvas);
        timer.restart();
        window.charts()->paint(painter, canvas.size());
        charts.push_back(milliseconds(timer));
    }
    reportFrames("repaint of the whole window", whole);
    reportFrames("of which the charts alone", charts);
    return 0;
}
