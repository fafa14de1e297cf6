// ibt-library run as a user runs it, on files the session generator writes, against what the
// plug-in itself gives for the same files: every listing, its JSON, CSV and table, the
// filters, the sector times and traces, progress and compare.

#include "databaseaddress.h"
#include "laptrace.h"
#include "library.h"
#include "libraryfixture.h"
#include "picturepixels.h"
#include "plotstyle.h"

#include <QImage>
#include <QSqlQuery>

#include <algorithm>
#include <cmath>
#include <map>

using namespace TestLibrary;

class TestLibraryCommands : public Fixture
{
    Q_OBJECT

private slots:
    void initTestCase();
    void addReportsAndSkips();
    void lapsAsJson();
    void sessionsAsJson();
    void bestPerTrackCarAndDriver();
    void filters_data();
    void filters();
    void lapsByTime();
    void csvAndTable();
    void sectorsAndTraces();
    void progressPerSession();
    void progressPicture();
    void compareFromStoredData();
};

void TestLibraryCommands::initTestCase()
{
    prepareSessions();
}

void TestLibraryCommands::addReportsAndSkips()
{
    TestLibrary::Fresh library;
    TestLibrary::Run first;
    QVERIFY(addFolder(library, &first));
    const QString err = QString::fromUtf8(first.err);
    QVERIFY2(err.contains(QStringLiteral("4 of 5 files imported (%1 laps), 0 unchanged, 1 failed")
                              .arg(m_laps.size())),
             qPrintable(err));
    QVERIFY2(err.contains(QStringLiteral("error: ") + QDir::toNativeSeparators(m_broken) + u':'),
             qPrintable(err));
    for (const QString &file : m_files)
        QVERIFY2(err.contains(QStringLiteral("added %1: ").arg(file)), qPrintable(err));

    // Nothing changed: nothing is read again, and the broken file is still reported.
    const TestLibrary::Run second
        = run({QStringLiteral("--db"), library.address(), QStringLiteral("add"), folder()});
    QCOMPARE(second.exitCode, 1);
    QVERIFY2(second.err.contains("0 of 5 files imported (0 laps), 5 unchanged, 1 failed"),
             second.err.constData());
    QVERIFY(second.err.contains("unchanged since it failed"));
}

void TestLibraryCommands::lapsAsJson()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const QJsonArray rows = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--json"),
                                          QStringLiteral("--db"), library.address()}));
    QCOMPARE(rows.size(), m_laps.size());
    QSet<qint64> ids;
    for (const ExpectedLap &lap : std::as_const(m_laps)) {
        const auto row = std::find_if(rows.begin(), rows.end(), [&lap](const QJsonValue &value) {
            const QJsonObject object = value.toObject();
            return object[u"file"].toString() == lap.file
                && object[u"lapNumber"].toInt() == lap.lapNumber
                && object[u"stint"].toInt() == lap.stint
                && object[u"lapInStint"].toInt() == lap.lapInStint;
        });
        QVERIFY2(row != rows.end(), qPrintable(lap.file));
        const QJsonObject object = row->toObject();
        if (lap.lapTime)
            QCOMPARE(object[u"lapTimeSeconds"].toDouble(), *lap.lapTime);
        else
            QVERIFY(object[u"lapTimeSeconds"].isNull());
        QCOMPARE(object[u"completed"].toBool(), lap.completed);
        QCOMPARE(object[u"timed"].toBool(), lap.timed);
        QCOMPARE(object[u"trackName"].toString(), lap.trackName);
        QCOMPARE(object[u"trackConfigName"].toString(), lap.trackConfigName);
        QCOMPARE(object[u"carName"].toString(), lap.carName);
        QCOMPARE(object[u"driverName"].toString(), lap.driverName);
        QCOMPARE(object[u"recordingStart"].toString(), lap.recordingStart);
        ids.insert(object[u"id"].toInteger());
    }
    QCOMPARE(ids.size(), m_laps.size());
}

void TestLibraryCommands::sessionsAsJson()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const QJsonArray rows = jsonRows(run({QStringLiteral("sessions"), QStringLiteral("--json"),
                                          QStringLiteral("--db"), library.address()}));
    // The broken file is no session.
    QCOMPARE(rows.size(), m_files.size());
    for (const QJsonValue &value : rows) {
        const QJsonObject row = value.toObject();
        int laps = 0;
        int timed = 0;
        std::optional<double> best;
        for (const ExpectedLap &lap : std::as_const(m_laps)) {
            if (lap.file != row[u"file"].toString())
                continue;
            ++laps;
            if (lap.timed) {
                ++timed;
                best = std::min(best.value_or(*lap.lapTime), *lap.lapTime);
            }
        }
        QVERIFY2(laps > 0, qPrintable(row[u"file"].toString()));
        QCOMPARE(row[u"laps"].toInt(), laps);
        QCOMPARE(row[u"timedLaps"].toInt(), timed);
        QVERIFY(best);
        QCOMPARE(row[u"bestLapTimeSeconds"].toDouble(), *best);
    }
    // In the order they were recorded.
    for (qsizetype i = 1; i < rows.size(); ++i)
        QVERIFY(rows[i - 1].toObject()[u"recordingStart"].toString()
                <= rows[i].toObject()[u"recordingStart"].toString());
}

void TestLibraryCommands::bestPerTrackCarAndDriver()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    std::map<QStringList, double> best;
    for (const ExpectedLap &lap : std::as_const(m_laps)) {
        if (!lap.timed)
            continue;
        const QStringList key {lap.trackName, lap.trackConfigName, lap.carName, lap.driverName};
        const auto found = best.find(key);
        if (found == best.end() || *lap.lapTime < found->second)
            best[key] = *lap.lapTime;
    }
    QCOMPARE(best.size(), size_t(3)); // two tracks, and a second driver on the first
    const QJsonArray rows = jsonRows(run({QStringLiteral("best"), QStringLiteral("--json"),
                                          QStringLiteral("--db"), library.address()}));
    QCOMPARE(size_t(rows.size()), best.size());
    for (const QJsonValue &value : rows) {
        const QJsonObject row = value.toObject();
        const QStringList key {row[u"trackName"].toString(), row[u"trackConfigName"].toString(),
                               row[u"carName"].toString(), row[u"driverName"].toString()};
        QVERIFY2(best.count(key), qPrintable(key.join(u'/')));
        QCOMPARE(row[u"lapTimeSeconds"].toDouble(), best[key]);
    }
}

void TestLibraryCommands::filters_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("contains"); // every lap listed has this in `field`, and no other

    QTest::newRow("track") << QStringList {QStringLiteral("--track"), QStringLiteral("ünïcode")}
                           << QStringLiteral("trackName") << QStringLiteral("Ünïcode");
    QTest::newRow("driver, either case")
        << QStringList {QStringLiteral("--driver"), QStringLiteral("second DRIVER")}
        << QStringLiteral("driverName") << QStringLiteral("Second Driver");
    QTest::newRow("kind") << QStringList {QStringLiteral("--kind"), QStringLiteral("race")}
                          << QStringLiteral("sessionName") << QStringLiteral("Race");
    QTest::newRow("wildcards taken literally")
        << QStringList {QStringLiteral("--car"), QStringLiteral("%")} << QStringLiteral("carName")
        << QStringLiteral("%");
}

void TestLibraryCommands::filters()
{
    QFETCH(QStringList, options);
    QFETCH(QString, field);
    QFETCH(QString, contains);
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const QJsonArray all = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--json"),
                                         QStringLiteral("--db"), library.address()}));
    const QJsonArray rows
        = jsonRows(run(QStringList {QStringLiteral("laps"), QStringLiteral("--json"),
                                    QStringLiteral("--db"), library.address()}
                       + options));
    qsizetype expected = 0;
    for (const QJsonValue &value : all)
        expected += value.toObject()[field].toString().contains(contains, Qt::CaseInsensitive);
    QCOMPARE(rows.size(), expected);
    for (const QJsonValue &value : rows)
        QVERIFY(value.toObject()[field].toString().contains(contains, Qt::CaseInsensitive));
    if (contains != u"%")
        QVERIFY(expected > 0);
}

void TestLibraryCommands::lapsByTime()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    QList<double> times;
    for (const ExpectedLap &lap : std::as_const(m_laps)) {
        if (lap.timed)
            times.append(*lap.lapTime);
    }
    std::sort(times.begin(), times.end());
    const QJsonArray rows
        = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--timed"), QStringLiteral("--sort"),
                        QStringLiteral("time"), QStringLiteral("--json"), QStringLiteral("--db"),
                        library.address()}));
    QCOMPARE(rows.size(), times.size());
    for (qsizetype i = 0; i < rows.size(); ++i)
        QCOMPARE(rows[i].toObject()[u"lapTimeSeconds"].toDouble(), times[i]);

    // Dates bound the recordings: the second driver's session is a month before the others.
    const QJsonArray before = jsonRows(
        run({QStringLiteral("laps"), QStringLiteral("--until"), QStringLiteral("2024-05-20"),
             QStringLiteral("--json"), QStringLiteral("--db"), library.address()}));
    const QJsonArray since = jsonRows(
        run({QStringLiteral("laps"), QStringLiteral("--since"), QStringLiteral("2024-05-20"),
             QStringLiteral("--json"), QStringLiteral("--db"), library.address()}));
    const auto count = [this](const QString &driver) {
        return std::count_if(m_laps.begin(), m_laps.end(), [&driver](const ExpectedLap &lap) {
            return lap.driverName == driver;
        });
    };
    QCOMPARE(before.size(), count(QStringLiteral("Second Driver")));
    QCOMPARE(since.size(), m_laps.size() - before.size());
}

void TestLibraryCommands::csvAndTable()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const QList<QStringList> csv = csvRows(run({QStringLiteral("laps"), QStringLiteral("--csv"),
                                                QStringLiteral("--db"), library.address()})
                                               .out);
    QCOMPARE(csv.size(), m_laps.size() + 1);
    const qsizetype fileColumn = csv.first().indexOf(QStringLiteral("file"));
    const qsizetype timeColumn = csv.first().indexOf(QStringLiteral("lapTimeSeconds"));
    QVERIFY(fileColumn >= 0 && timeColumn >= 0);
    QSet<QString> files;
    for (qsizetype i = 1; i < csv.size(); ++i) {
        QCOMPARE(csv[i].size(), csv.first().size());
        files.insert(csv[i][fileColumn]);
    }
    for (const QString &file : m_files)
        QVERIFY2(files.contains(QFileInfo(file).absoluteFilePath()), qPrintable(file));

    const TestLibrary::Run table
        = run({QStringLiteral("sessions"), QStringLiteral("--db"), library.address()});
    QCOMPARE(table.exitCode, 0);
    const QStringList lines = QString::fromUtf8(table.out).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), m_files.size() + 2);
    for (const QString &file : m_files)
        QVERIFY(QString::fromUtf8(table.out).contains(QFileInfo(file).absoluteFilePath()));
}

void TestLibraryCommands::sectorsAndTraces()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    QString error;
    Library opened(*DatabaseAddress::parse(library.address(), &error));
    QVERIFY2(opened.open(Library::Access::Read), qPrintable(opened.errorString()));
    QSqlQuery query(opened.database());
    for (const ExpectedLap &lap : std::as_const(m_laps)) {
        QVERIFY(opened.run(
            query,
            QStringLiteral("SELECT s.seconds FROM sectors s JOIN laps l ON l.id = s.lap_id JOIN "
                           "files f ON f.id = l.file_id WHERE f.path = ? AND l.lap_number = ? AND "
                           "l.stint = ? AND l.lap_in_stint = ? ORDER BY s.sector"),
            {lap.file, lap.lapNumber, lap.stint, lap.lapInStint}));
        QList<double> sectors;
        while (query.next())
            sectors.append(query.value(0).toDouble());
        QCOMPARE(sectors, lap.sectorTimes);
        if (lap.timed && !sectors.isEmpty()) {
            double sum = 0.0;
            for (const double time : sectors)
                sum += time;
            QVERIFY(std::abs(sum - *lap.lapTime) < 1e-6);
        }
    }
    // Every timed lap has its trace: a point every step from the line to the track's length,
    // the time at the last one close to the lap's time.
    QVERIFY(opened.run(
        query,
        QStringLiteral("SELECT t.data, l.lap_time, f.track_length FROM traces t JOIN laps l ON "
                       "l.id = t.lap_id JOIN files f ON f.id = l.file_id WHERE l.timed = 1")));
    int traces = 0;
    while (query.next()) {
        const std::optional<LapTrace> trace = LapTrace::unpack(query.value(0).toByteArray());
        QVERIFY(trace);
        const double trackLength = query.value(2).toDouble();
        QCOMPARE(trace->size(), qsizetype(std::floor(trackLength / LapTrace::Step)) + 1);
        const double end = trace->value(LapTrace::Elapsed, trace->size() - 1);
        QVERIFY2(std::abs(end - query.value(1).toDouble()) < 0.2, qPrintable(QString::number(end)));
        ++traces;
    }
    QCOMPARE(traces, std::count_if(m_laps.begin(), m_laps.end(), [](const ExpectedLap &lap) {
                 return lap.timed;
             }));
}

void TestLibraryCommands::progressPerSession()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const ExpectedLap &first = m_laps.first();
    const QJsonArray rows
        = jsonRows(run({QStringLiteral("progress"), QStringLiteral("--track"), first.trackName,
                        QStringLiteral("--car"), first.carName, QStringLiteral("--json"),
                        QStringLiteral("--db"), library.address()}));
    QStringList files;
    for (const ExpectedLap &lap : std::as_const(m_laps)) {
        if (lap.trackName == first.trackName && lap.timed && !files.contains(lap.file))
            files.append(lap.file);
    }
    QCOMPARE(rows.size(), files.size());
    QString previous;
    for (const QJsonValue &value : rows) {
        const QJsonObject row = value.toObject();
        const QString file = row[u"file"].toString();
        QVERIFY(previous <= row[u"recordingStart"].toString());
        previous = row[u"recordingStart"].toString();
        QList<double> times;
        for (const ExpectedLap &lap : std::as_const(m_laps)) {
            if (lap.file == file && lap.timed)
                times.append(*lap.lapTime);
        }
        QVERIFY2(!times.isEmpty(), qPrintable(file));
        double sum = 0.0;
        for (const double time : times)
            sum += time;
        QCOMPARE(row[u"timedLaps"].toInt(), times.size());
        QCOMPARE(row[u"bestLapTimeSeconds"].toDouble(),
                 *std::min_element(times.begin(), times.end()));
        QVERIFY(std::abs(row[u"averageLapTimeSeconds"].toDouble() - sum / double(times.size()))
                < 1e-9);
        const std::optional<double> ideal = m_idealLaps.value(file);
        QVERIFY2(ideal, qPrintable(file));
        QVERIFY(std::abs(row[u"idealLapTimeSeconds"].toDouble() - *ideal) < 1e-9);
    }

    const TestLibrary::Run withoutCar
        = run({QStringLiteral("progress"), QStringLiteral("--track"), first.trackName,
               QStringLiteral("--db"), library.address()});
    QCOMPARE(withoutCar.exitCode, 2);
    QVERIFY(withoutCar.err.contains("progress needs --track and --car"));
}

// Mean height of the pixels of exactly that colour in the area; NaN without any.
static double meanHeight(const QImage &image, const QRect &area, const QColor &colour)
{
    double sum = 0.0;
    int found = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixelColor(x, y) == colour) {
                sum += y;
                ++found;
            }
        }
    }
    return found > 0 ? sum / found : std::nan("");
}

void TestLibraryCommands::progressPicture()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const ExpectedLap &first = m_laps.first();
    const QStringList filter {QStringLiteral("progress"),
                              QStringLiteral("--track"),
                              first.trackName,
                              QStringLiteral("--car"),
                              first.carName,
                              QStringLiteral("--db"),
                              library.address()};
    const QJsonArray rows = jsonRows(run(filter + QStringList {QStringLiteral("--json")}));
    QVERIFY(rows.size() >= 2);
    // Every session has laps of different times, so that its average is slower than its best.
    for (const QJsonValue &row : rows)
        QVERIFY(row[u"averageLapTimeSeconds"].toDouble() > row[u"bestLapTimeSeconds"].toDouble());

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("progress.png"));
    const TestLibrary::Run drawn = run(filter + QStringList {QStringLiteral("--plot"), path});
    QCOMPARE(drawn.exitCode, 0);
    const QImage image(path);
    QCOMPARE(image.size(), QSize(1000, 560));
    // The panel below the title and the legend: each line drawn with a dot per session, the
    // best lap below the average, as a shorter time is lower on the axis.
    const QRect panel(90, 70, 880, 420);
    using PicturePixels::count;
    QVERIFY(count(image, panel, PlotStyle::bestColour()) > 0);
    QVERIFY(count(image, panel, PlotStyle::otherColour(0)) > 0);
    QVERIFY(count(image, panel, PlotStyle::otherColour(1)) > 0);
    QVERIFY(meanHeight(image, panel, PlotStyle::bestColour())
            > meanHeight(image, panel, PlotStyle::otherColour(0)));
}

void TestLibraryCommands::compareFromStoredData()
{
    TestLibrary::Fresh library;
    QVERIFY(addFolder(library));
    const QJsonArray laps
        = jsonRows(run({QStringLiteral("laps"), QStringLiteral("--timed"), QStringLiteral("--json"),
                        QStringLiteral("--db"), library.address()}));
    // A timed lap of each file, and of the other track.
    QMap<QString, QJsonObject> byFile;
    for (const QJsonValue &value : laps)
        byFile.insert(value.toObject()[u"file"].toString(), value.toObject());
    const QJsonObject first = byFile.value(QFileInfo(m_files[0]).absoluteFilePath());
    const QJsonObject second = byFile.value(QFileInfo(m_files[2]).absoluteFilePath());
    const QJsonObject otherTrack = byFile.value(QFileInfo(m_files[3]).absoluteFilePath());
    QVERIFY(!first.isEmpty() && !second.isEmpty() && !otherTrack.isEmpty());

    const auto id = [](const QJsonObject &lap) {
        return QString::number(lap[u"id"].toInteger());
    };
    const QJsonArray rows
        = jsonRows(run({QStringLiteral("compare"), id(first), id(second), QStringLiteral("--json"),
                        QStringLiteral("--db"), library.address()}));
    QCOMPARE(rows.size(), 2);
    for (int i = 0; i < 2; ++i) {
        const QJsonObject row = rows[i].toObject();
        const QJsonObject lap = i == 0 ? first : second;
        const auto expected
            = std::find_if(m_laps.begin(), m_laps.end(), [&lap](const ExpectedLap &e) {
                  return e.file == lap[u"file"].toString()
                      && e.lapNumber == lap[u"lapNumber"].toInt()
                      && e.stint == lap[u"stint"].toInt()
                      && e.lapInStint == lap[u"lapInStint"].toInt();
              });
        QVERIFY(expected != m_laps.end());
        QCOMPARE(row[u"lapTimeSeconds"].toDouble(), *expected->lapTime);
        QVERIFY(std::abs(row[u"deltaSeconds"].toDouble()
                         - (*expected->lapTime - first[u"lapTimeSeconds"].toDouble()))
                < 1e-9);
        QVERIFY(!expected->sectorTimes.isEmpty());
        for (qsizetype s = 0; s < expected->sectorTimes.size(); ++s)
            QCOMPARE(row[QStringLiteral("sector%1Seconds").arg(s + 1)].toDouble(),
                     expected->sectorTimes[s]);
    }

    const TestLibrary::Run tracks = run({QStringLiteral("compare"), id(first), id(otherTrack),
                                         QStringLiteral("--db"), library.address()});
    QCOMPARE(tracks.exitCode, 1);
    QVERIFY2(tracks.err.contains("only laps of one track compare"), tracks.err.constData());
    const TestLibrary::Run unknown
        = run({QStringLiteral("compare"), id(first), QStringLiteral("999999"),
               QStringLiteral("--db"), library.address()});
    QCOMPARE(unknown.exitCode, 1);
    QVERIFY(unknown.err.contains("the library holds no lap 999999"));
}

QTEST_GUILESS_MAIN(TestLibraryCommands)
#include "tst_librarycommands.moc"
