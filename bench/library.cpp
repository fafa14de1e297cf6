// Timing of ibt-library, built with the project and run by hand: build/bin/bench_library.
// Prints how long `add` takes against importing the same files one after another, a second
// add of 1,000 unchanged files, the listings over a library of 100,000 laps, and the size of
// an hour of driving in the library against its file.

#include "library.h"
#include "databaseaddress.h"
#include "lapfilter.h"
#include "libraryqueries.h"
#include "pluginhost.h"
#include "sessiongenerator.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

QTextStream out(stdout);

double seconds(const QElapsedTimer &clock)
{
    return double(clock.nsecsElapsed()) / 1e9;
}

// ibt-library run as a user runs it; its wall time in seconds, or -1 when it failed.
double runTool(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer clock;
    clock.start();
    process.start(QStringLiteral(IBT_LIBRARY_PATH), arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() > 1)
        return -1.0;
    return seconds(clock);
}

QStringList ibtFiles(const QStringList &folders)
{
    QStringList files;
    for (const QString &folder : folders) {
        QDirIterator it(folder, {QStringLiteral("*.ibt")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            files.append(it.next());
    }
    return files;
}

// The recorded files and 20 generated sessions, one of them an hour long.
void addFolder(const QTemporaryDir &dir)
{
    const QString generated = dir.filePath(QStringLiteral("generated"));
    QDir().mkpath(generated);
    for (int i = 0; i < 20; ++i) {
        SessionGenerator::Options options;
        options.startDate += i * 86400;
        options.laps = 5 + i % 4;
        if (i == 0)
            options.duration = 3600.0;
        SessionGenerator(options).write(generated + QStringLiteral("/session-%1.ibt").arg(i));
    }
    QStringList folders {generated};
    const QString samples
        = qEnvironmentVariable("ZUM_IBT_SAMPLES", QStringLiteral(ZUM_DEFAULT_IBT_SAMPLES));
    if (QFileInfo(samples).isDir())
        folders.prepend(samples);
    const QStringList files = ibtFiles(folders);

    PluginHost host(QStringLiteral(ZUM_PLUGIN_PATH));
    if (!host.load()) {
        out << host.errorString() << Qt::endl;
        return;
    }
    QElapsedTimer clock;
    clock.start();
    qsizetype laps = 0;
    for (const QString &file : files)
        laps += host.importFile(file).laps.size();
    const double sequential = seconds(clock);
    const QString library = dir.filePath(QStringLiteral("folder.sqlite"));
    const double added
        = runTool(QStringList {QStringLiteral("add"), QStringLiteral("--db"), library} + folders);
    out << QStringLiteral(
               "add of %1 files (%2 laps): %3 s; the same imports one after another: %4 s; "
               "ratio %5\n")
               .arg(files.size())
               .arg(laps)
               .arg(added, 0, 'f', 2)
               .arg(sequential, 0, 'f', 2)
               .arg(added / sequential, 0, 'f', 2);
    const double again
        = runTool({QStringLiteral("add"), QStringLiteral("--db"), library, folders.last()});
    out << QStringLiteral("second add of the 20 generated files, unchanged: %1 s\n")
               .arg(again, 0, 'f', 3);

    const QString hour = generated + QStringLiteral("/session-0.ibt");
    const QString hourLibrary = dir.filePath(QStringLiteral("hour.sqlite"));
    runTool({QStringLiteral("add"), QStringLiteral("--db"), hourLibrary, hour});
    const double share = double(QFileInfo(hourLibrary).size()) / double(QFileInfo(hour).size());
    out << QStringLiteral("an hour of driving: %1 MB of .ibt, %2 MB in the library (%3%)\n")
               .arg(QFileInfo(hour).size() / 1e6, 0, 'f', 1)
               .arg(QFileInfo(hourLibrary).size() / 1e6, 0, 'f', 2)
               .arg(100.0 * share, 0, 'f', 2)
        << Qt::flush;
}

void unchangedFiles(const QTemporaryDir &dir)
{
    const QString folder = dir.filePath(QStringLiteral("thousand"));
    QDir().mkpath(folder);
    for (int i = 0; i < 1000; ++i) {
        SessionGenerator::Options options;
        options.trackLength = 300.0;
        options.lapTime = 12.0;
        options.laps = 1;
        options.otherCars = 0;
        options.carArrays = false;
        options.startDate += i * 3600;
        SessionGenerator(options).write(folder + QStringLiteral("/%1.ibt").arg(i));
    }
    const QString library = dir.filePath(QStringLiteral("thousand.sqlite"));
    const double first = runTool({QStringLiteral("add"), QStringLiteral("--db"), library, folder});
    const double second = runTool({QStringLiteral("add"), QStringLiteral("--db"), library, folder});
    out << QStringLiteral("add of 1,000 small files: %1 s; again, unchanged: %2 s\n")
               .arg(first, 0, 'f', 2)
               .arg(second, 0, 'f', 3)
        << Qt::flush;
}

// 100,000 laps of 2,000 sessions at 20 tracks in 10 cars by 5 drivers, stored directly.
void listings(const QTemporaryDir &dir)
{
    QString error;
    Library library(*DatabaseAddress::parse(dir.filePath(QStringLiteral("large.sqlite")), &error));
    if (!library.open(Library::Access::Write)) {
        out << library.errorString() << Qt::endl;
        return;
    }
    for (int f = 0; f < 2000; ++f) {
        StoredFile file;
        file.path = QStringLiteral("/laps/%1.ibt").arg(f);
        file.size = 1000 + f;
        file.modified = QDateTime::fromSecsSinceEpoch(1717245296 + f * 3600, Qt::UTC);
        file.hash = QString::number(f);
        file.recordingStart = file.modified;
        file.sessionKind = QStringLiteral("Practice");
        file.trackName = QStringLiteral("Track %1").arg(f % 20);
        file.trackConfigName = QStringLiteral("Grand Prix");
        file.carName = QStringLiteral("Car %1").arg(f % 10);
        file.driverName = QStringLiteral("Driver %1").arg(f % 5);
        for (int l = 0; l < 50; ++l) {
            StoredLap lap;
            lap.lapNumber = l;
            lap.stint = 1;
            lap.lapInStint = l;
            lap.completed = true;
            lap.timed = l > 0;
            if (lap.timed)
                lap.lapTime = 90.0 + (f * 50 + l) % 997 / 100.0;
            lap.sectorTimes = {30.0, 30.0, 30.0};
            file.laps.append(lap);
        }
        if (!library.store(file)) {
            out << library.errorString() << Qt::endl;
            return;
        }
    }
    LibraryQueries queries(library);
    LapFilter trackAndCar;
    trackAndCar.track = QStringLiteral("track 7");
    trackAndCar.car = QStringLiteral("car 7");
    const auto time = [&](const QString &name, const std::function<qsizetype()> &query) {
        query(); // warm
        QElapsedTimer clock;
        clock.start();
        const qsizetype rows = query();
        out << QStringLiteral("%1 over 100,000 laps: %2 ms (%3 rows)\n")
                   .arg(name)
                   .arg(seconds(clock) * 1000.0, 0, 'f', 1)
                   .arg(rows)
            << Qt::flush;
    };
    time(QStringLiteral("best"), [&] { return queries.best({})->rowCount(); });
    time(QStringLiteral("laps --track --car"),
         [&] { return queries.laps(trackAndCar, LibraryQueries::LapOrder::Date)->rowCount(); });
    time(QStringLiteral("laps --track --car --sort time"),
         [&] { return queries.laps(trackAndCar, LibraryQueries::LapOrder::Time)->rowCount(); });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QStringList arguments = QCoreApplication::arguments();
    const bool all = arguments.size() == 1;
    if (all || arguments.contains(QStringLiteral("folder")))
        addFolder(dir);
    if (all || arguments.contains(QStringLiteral("unchanged")))
        unchangedFiles(dir);
    if (all || arguments.contains(QStringLiteral("listings")))
        listings(dir);
    return 0;
}
