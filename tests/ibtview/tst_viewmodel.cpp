#include "laptime.h"
#include "viewertest.h"
#include "viewmodel.h"

#include <QSignalSpy>
#include <QTest>

#include <cmath>

using Key = ViewModel::LapKey;

namespace {

// The fastest timed lap of the files by their headers; of one file only, when given.
Key fastestByHeaders(const ViewModel &model, qsizetype file = -1)
{
    Key fastest;
    double time = INFINITY;
    for (const Key &key : model.laps()) {
        if (file >= 0 && key.file != file)
            continue;
        const ZUM::SDK::LapHeader &header = model.lap(key).header();
        if (header.completed && LapTime::isTimed(header.lapTime)
            && LapTime::seconds(header.lapTime) < time) {
            time = LapTime::seconds(header.lapTime);
            fastest = key;
        }
    }
    return fastest;
}

} // namespace

class tst_ViewModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void referenceIsTheFastestLapOfAllFiles_data();
    void referenceIsTheFastestLapOfAllFiles();
    void chosenReferenceStays();
    void overlay();
    void overlaidLapsOfOneFile();
    void sectorsAreTheTracksOwn();
    void visibleRange_data();
    void visibleRange();
    void cursor_data();
    void cursor();
    void units();

private:
    ViewModel *practiceModel();

    QTemporaryDir m_dir;
    ViewerTest::Sessions m_sessions;
    ImportResult m_practice;
    ImportResult m_short;
};

void tst_ViewModel::initTestCase()
{
    QVERIFY(m_sessions.write(m_dir));
    QVERIFY2(ViewerTest::host().load(), qPrintable(ViewerTest::host().errorString()));
    m_practice = ViewerTest::host().importFile(m_sessions.practice);
    m_practice.recording = RecordingInfo::read(m_sessions.practice);
    m_short = ViewerTest::host().importFile(m_sessions.shortOne);
    m_short.recording = RecordingInfo::read(m_sessions.shortOne);
    QCOMPARE(m_practice.laps.size(), m_sessions.practiceOptions.laps + 2); // out and in lap
    QCOMPARE(m_short.laps.size(), m_sessions.shortOptions.laps + 2);
}

ViewModel *tst_ViewModel::practiceModel()
{
    auto *model = new ViewModel(this);
    model->addFile(m_practice);
    return model;
}

void tst_ViewModel::referenceIsTheFastestLapOfAllFiles_data()
{
    QTest::addColumn<bool>("withShort");
    QTest::addColumn<bool>("shortFirst");
    QTest::newRow("one file") << false << false;
    QTest::newRow("two files") << true << false;
    QTest::newRow("two files, the quicker first") << true << true;
}

void tst_ViewModel::referenceIsTheFastestLapOfAllFiles()
{
    QFETCH(bool, withShort);
    QFETCH(bool, shortFirst);
    ViewModel model;
    QSignalSpy references(&model, &ViewModel::referenceChanged);
    if (withShort && shortFirst)
        model.addFile(m_short);
    model.addFile(m_practice);
    if (withShort && !shortFirst)
        model.addFile(m_short);

    const Key fastest = fastestByHeaders(model);
    QVERIFY(fastest.isValid());
    QCOMPARE(model.best(), fastest);
    QCOMPARE(model.reference(), fastest);
    // Each file's best lap is overlaid.
    QList<Key> bests {fastestByHeaders(model, 0)};
    if (withShort)
        bests.append(fastestByHeaders(model, 1));
    QCOMPARE(model.overlaid(), bests);
    QVERIFY(references.size() >= 1);
    // The short track's laps are the quicker ones.
    QCOMPARE(model.files()[fastest.file].result.file,
             withShort ? m_sessions.shortOne : m_sessions.practice);
    // The axis runs over the reference's track.
    QVERIFY(
        std::abs(model.fullHigh()
                 - (withShort ? m_sessions.shortOptions : m_sessions.practiceOptions).trackLength)
        < 0.5);
}

void tst_ViewModel::chosenReferenceStays()
{
    std::unique_ptr<ViewModel> model(practiceModel());
    const Key outLap {0, 0};
    model->setReference(outLap);
    QCOMPARE(model->reference(), outLap);
    QVERIFY(model->isOverlaid(outLap));
    // A quicker file opened later does not take the reference the driver chose.
    model->addFile(m_short);
    QCOMPARE(model->reference(), outLap);
    const Key otherFile {1, 0};
    model->setReference(otherFile);
    QCOMPARE(model->reference(), otherFile);
    // Both files' best laps, and the two out laps chosen.
    QCOMPARE(model->overlaid().size(), 4);
}

void tst_ViewModel::overlay()
{
    std::unique_ptr<ViewModel> model(practiceModel());
    QSignalSpy changes(model.get(), &ViewModel::overlayChanged);
    const Key best = model->best();
    model->setOverlaid({0, 4}, true);
    model->setOverlaid({0, 0}, true);
    model->setOverlaid({0, 0}, true); // no change
    QCOMPARE(changes.size(), 2);
    // In list order, whatever order they were ticked in.
    QList<Key> expected {{0, 0}, best, {0, 4}};
    std::sort(expected.begin(), expected.end(),
              [](const Key &a, const Key &b) { return a.lap < b.lap; });
    QCOMPARE(model->overlaid(), expected);
    model->setOverlaid({0, 4}, false);
    QVERIFY(!model->isOverlaid({0, 4}));
    QCOMPARE(changes.size(), 3);
}

void tst_ViewModel::overlaidLapsOfOneFile()
{
    ViewModel model;
    model.addFile(m_practice);
    model.addFile(m_short);
    const Key otherBest {1, model.files()[1].best};
    QVERIFY(otherBest.isValid() && model.isOverlaid(otherBest));
    QSignalSpy changes(&model, &ViewModel::overlayChanged);
    // The practice's best gives way to the laps asked for; the other file keeps its own.
    model.setOverlaidLaps(0, {3, 1});
    QCOMPARE(model.overlaid(), QList<Key>({{0, 1}, {0, 3}, otherBest}));
    QCOMPARE(changes.size(), 1);
    model.setOverlaidLaps(0, {1, 3}); // no change
    QCOMPARE(changes.size(), 1);
    model.setOverlaidLaps(0, {});
    QCOMPARE(model.overlaid(), QList<Key> {otherBest});
}

void tst_ViewModel::sectorsAreTheTracksOwn()
{
    std::unique_ptr<ViewModel> model(practiceModel());
    const ViewModel::OpenFile &file = model->files().first();
    // The generator's track has three sectors, starting at these shares of a lap.
    const QList<double> shares {0.0, 0.331877, 0.687195};
    QCOMPARE(file.sectorStarts.size(), shares.size());
    for (qsizetype s = 0; s < shares.size(); ++s)
        QVERIFY(std::abs(file.sectorStarts[s] - shares[s] * *file.trackLength) < 1e-6);

    int timed = 0;
    for (qsizetype lap = 0; lap < file.result.laps.size(); ++lap) {
        const ZUM::SDK::LapHeader &header = file.result.laps[lap]->header();
        if (!LapTime::isTimedLap(header))
            continue;
        ++timed;
        QVERIFY(file.sectorTimes[lap].has_value());
        const QList<double> &times = file.sectorTimes[lap]->times();
        QCOMPARE(times.size(), shares.size());
        double sum = 0.0;
        for (const double time : times)
            sum += time;
        QVERIFY(std::abs(sum - LapTime::seconds(header.lapTime)) < 0.001);
    }
    QCOMPARE(timed, m_sessions.practiceOptions.laps);
    // The best of each sector is no slower than any lap's time through it.
    for (qsizetype s = 0; s < shares.size(); ++s) {
        const qsizetype best = file.bestSectors[s];
        QVERIFY(best >= 0);
        for (const std::optional<SectorTimes> &times : file.sectorTimes) {
            if (times)
                QVERIFY(file.sectorTimes[best]->times()[s] <= times->times()[s]);
        }
    }
}

void tst_ViewModel::visibleRange_data()
{
    // Every distance is a share of the track, the action's arguments and the range expected.
    QTest::addColumn<QString>("action");
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::newRow("zoom in on the middle") << "zoom" << 0.5 << 0.5 << 0.25 << 0.75;
    QTest::newRow("zoom in at the line") << "zoom" << 0.0 << 0.5 << 0.0 << 0.5;
    QTest::newRow("zoom in near the end") << "zoom" << 0.9 << 0.1 << 0.81 << 0.91;
    QTest::newRow("zoom out beyond the lap") << "zoom" << 0.3 << 3.0 << 0.0 << 1.0;
    QTest::newRow("a dragged range") << "range" << 0.2 << 0.4 << 0.2 << 0.4;
    QTest::newRow("a range dragged backwards") << "range" << 0.4 << 0.2 << 0.2 << 0.4;
    QTest::newRow("a range beyond the line") << "range" << -0.1 << 0.2 << 0.0 << 0.3;
    QTest::newRow("a range beyond the end") << "range" << 0.9 << 1.2 << 0.7 << 1.0;
}

void tst_ViewModel::visibleRange()
{
    QFETCH(QString, action);
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(double, low);
    QFETCH(double, high);
    std::unique_ptr<ViewModel> model(practiceModel());
    const double length = model->fullHigh();
    QCOMPARE(model->visibleLow(), 0.0);
    QCOMPARE(model->visibleHigh(), length);
    QVERIFY(!model->isZoomed());
    QSignalSpy changes(model.get(), &ViewModel::rangeChanged);
    if (action == QLatin1String("zoom"))
        model->zoom(a * length, b);
    else
        model->setVisibleRange(a * length, b * length);
    QVERIFY(std::abs(model->visibleLow() - low * length) < 1e-6);
    QVERIFY(std::abs(model->visibleHigh() - high * length) < 1e-6);
    QCOMPARE(changes.size(), low == 0.0 && high == 1.0 ? 0 : 1);
    model->resetZoom();
    QCOMPARE(model->visibleLow(), 0.0);
    QCOMPARE(model->visibleHigh(), length);
}

void tst_ViewModel::cursor_data()
{
    // The visible range and the cursor as shares of the track; the steps of the arrow keys;
    // where the cursor and the visible range end up.
    QTest::addColumn<double>("rangeLow");
    QTest::addColumn<double>("rangeHigh");
    QTest::addColumn<double>("cursor");
    QTest::addColumn<int>("steps");
    QTest::addColumn<double>("expected");
    QTest::addColumn<double>("expectedLow");
    QTest::newRow("inside") << 0.0 << 1.0 << 0.3 << 0 << 0.3 << 0.0;
    QTest::newRow("beyond the end") << 0.0 << 1.0 << 1.4 << 0 << 1.0 << 0.0;
    QTest::newRow("before the line") << 0.0 << 1.0 << -0.2 << 0 << 0.0 << 0.0;
    QTest::newRow("ten steps right") << 0.0 << 1.0 << 0.5 << 10 << 0.55 << 0.0;
    QTest::newRow("ten steps left, zoomed") << 0.4 << 0.6 << 0.5 << -10 << 0.49 << 0.4;
    QTest::newRow("out of the zoom, the range follows") << 0.4 << 0.6 << 0.7 << 0 << 0.7 << 0.5;
    QTest::newRow("stepping out of the zoom") << 0.4 << 0.6 << 0.4 << -20 << 0.38 << 0.38;
}

void tst_ViewModel::cursor()
{
    QFETCH(double, rangeLow);
    QFETCH(double, rangeHigh);
    QFETCH(double, cursor);
    QFETCH(int, steps);
    QFETCH(double, expected);
    QFETCH(double, expectedLow);
    std::unique_ptr<ViewModel> model(practiceModel());
    const double length = model->fullHigh();
    model->setVisibleRange(rangeLow * length, rangeHigh * length);
    model->setCursor(cursor * length);
    model->stepCursor(steps);
    QVERIFY(std::abs(model->cursor() - expected * length) < 1e-6);
    QVERIFY(std::abs(model->visibleLow() - expectedLow * length) < 1e-6);
    QVERIFY(std::abs(model->visibleHigh() - model->visibleLow() - (rangeHigh - rangeLow) * length)
            < 1e-6);
}

void tst_ViewModel::units()
{
    ViewModel model;
    QCOMPARE(model.units(), Units::Metric);
    QSignalSpy changes(&model, &ViewModel::unitsChanged);
    model.setUnits(Units::Imperial);
    model.setUnits(Units::Imperial);
    QCOMPARE(model.units(), Units::Imperial);
    QCOMPARE(changes.size(), 1);
}

QTEST_GUILESS_MAIN(tst_ViewModel)
#include "tst_viewmodel.moc"
