#pragma once

// A lap library for the viewer's tests to browse: generated sessions on two tracks, in two
// cars, by two drivers, on three days, added by the real ibt-library; and what the plug-in
// gives of each of their laps, to compare the browser's answers with.

#include "laptime.h"
#include "recordinginfo.h"
#include "sessiongenerator.h"
#include "toolprocess.h"
#include "viewertest.h"
#include "viewmodel.h"

#include <QDir>
#include <QFileInfo>

#include <functional>
#include <optional>

namespace LibraryTest {

// One lap as the plug-in gives it, in the terms the library lists it.
struct Lap
{
    QString file; // absolute
    int lapNumber = 0;
    int stint = 0;
    int lapInStint = 0;
    std::optional<double> time; // seconds
    bool completed = false;
    bool timed = false;
    QString track;
    QString config;
    QString car;
    QString driver;
    QDateTime recorded; // UTC
};

inline ToolProcess::Run ibtLibrary(const QStringList &arguments,
                                   const QProcessEnvironment &environment
                                   = QProcessEnvironment::systemEnvironment())
{
    return ToolProcess::run(QStringLiteral(IBT_LIBRARY_PATH), arguments, environment);
}

// Adds the files or folders to the library file as a driver does; false with a warning
// when the tool fails.
inline bool add(const QString &library, const QStringList &paths)
{
    const ToolProcess::Run run
        = ibtLibrary(QStringList {QStringLiteral("add"), QStringLiteral("--db"), library} + paths);
    if (run.exitCode != 0)
        qWarning() << "ibt-library add:" << run.exitCode << run.err;
    return run.exitCode == 0;
}

inline QList<Lap> lapsOf(const QString &path)
{
    const ImportResult result = ViewerTest::host().importFile(path);
    const QDateTime recorded = RecordingInfo::read(path).start().toUTC();
    QList<Lap> laps;
    for (const auto &lap : result.laps) {
        const ZUM::SDK::LapHeader &header = lap->header();
        Lap expected;
        expected.file = QFileInfo(path).absoluteFilePath();
        expected.lapNumber = header.lapNumber;
        expected.stint = header.stint;
        expected.lapInStint = header.lapInStint;
        if (LapTime::isTimed(header.lapTime))
            expected.time = LapTime::seconds(header.lapTime);
        expected.completed = header.completed;
        expected.timed = LapTime::isTimedLap(header);
        expected.track = header.trackName;
        expected.config = header.trackConfigName;
        expected.car = header.carInfo.carName;
        expected.driver = header.carInfo.driverName;
        expected.recorded = recorded;
        laps.append(expected);
    }
    return laps;
}

// The key of the lap of an open file that the plug-in numbered so.
inline ViewModel::LapKey keyOf(const ViewModel &model, const Lap &lap)
{
    for (const ViewModel::LapKey &key : model.laps()) {
        const ZUM::SDK::LapHeader &header = model.lap(key).header();
        if (QFileInfo(model.files()[key.file].result.file).absoluteFilePath() == lap.file
            && header.lapNumber == lap.lapNumber && header.stint == lap.stint
            && header.lapInStint == lap.lapInStint)
            return key;
    }
    return {};
}

class Sessions
{
public:
    // Writes the sessions into the folder and adds them to the library file beside them.
    bool write(const QString &folder)
    {
        SessionGenerator::Options gt4;
        gt4.trackLength = 1500.0;
        gt4.lapTime = 40.0;
        gt4.laps = 2;
        gt4.otherCars = 1;
        SessionGenerator::Options gt3 = gt4;
        gt3.carScreenName = QStringLiteral("Porsche 911 GT3 R");
        gt3.lapTime = 38.0;
        gt3.startDate += 10 * 86400;
        SessionGenerator::Options oulton = gt4;
        oulton.trackName = QStringLiteral("oulton");
        oulton.trackDisplayName = QStringLiteral("Oulton Park Circuit");
        oulton.trackDisplayShortName = QStringLiteral("Oulton Park");
        oulton.trackConfigName = QStringLiteral("International");
        oulton.trackLength = 1800.0;
        oulton.lapTime = 45.0;
        oulton.playerName = QStringLiteral("Second Driver");
        oulton.startDate -= 20 * 86400;
        const std::pair<QString, SessionGenerator::Options> sessions[]
            = {{QStringLiteral("gt4 interlagos.ibt"), gt4},
               {QStringLiteral("gt3 interlagos.ibt"), gt3},
               {QStringLiteral("gt4 oulton.ibt"), oulton}};
        QDir().mkpath(folder);
        for (const auto &[name, options] : sessions) {
            const QString path = QDir(folder).absoluteFilePath(name);
            if (!SessionGenerator(options).write(path))
                return false;
            files.append(path);
            laps += lapsOf(path);
        }
        library = QDir(folder).absoluteFilePath(QStringLiteral("library.sqlite"));
        return add(library, files);
    }

    // The timed laps of a file, slowest first.
    QList<Lap> timedLaps(const QString &file) const
    {
        QList<Lap> found = where([&](const Lap &lap) { return lap.file == file && lap.timed; });
        std::sort(found.begin(), found.end(),
                  [](const Lap &a, const Lap &b) { return a.time > b.time; });
        return found;
    }

    QList<Lap> where(const std::function<bool(const Lap &)> &matches) const
    {
        QList<Lap> found;
        for (const Lap &lap : laps) {
            if (matches(lap))
                found.append(lap);
        }
        return found;
    }

    QString library;
    QStringList files; // absolute
    QList<Lap> laps; // every lap of every file
};

} // namespace LibraryTest
