#include "ibtimage.h"
#include "irtelemetryreader.h"
#include "readerreplay.h"
#include "recordedlaps.h"
#include "samplefiles.h"

#include <QTest>

using ZUM::SDK::Lap;
using ZUM::SDK::Session;

// The reader over the simulator's own recordings, run as the import runs it.
class tst_ReaderFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void laps_data();
    void laps();
};

namespace {

QTime lapTimeOf(float seconds)
{
    return QTime(0, 0, 0, 0).addMSecs(int(seconds * 1000.0f));
}

// What a completed lap's time must be: the last-lap time the player's car showed at the tick
// that completed it, unless the rules distrust it.
QTime expectedTime(float lastLapTime, const ZUM::SDK::LapHeader &header)
{
    if (lastLapTime < 0 || std::abs(double(lastLapTime)) <= 0.00001
        || (header.flyingLap == 0 && header.session != Session::Race))
        return ZUM::SDK::UntimedLapTime;
    return lapTimeOf(lastLapTime);
}

} // namespace

void tst_ReaderFiles::laps_data()
{
    RecordedLaps::addRows();
}

void tst_ReaderFiles::laps()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(QStringList, lapTimes);

    const IbtImage ibt = IbtImage::load(SampleFiles::path(file));
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    // Each lap a tick handed over, with the last-lap time the player's car showed at that tick.
    QList<std::pair<QSharedPointer<Lap>, float>> handedOver;
    float lastLapTime = 0.0f;
    FileReplay::Hooks hooks;
    hooks.decoded = [&](qint64, const QList<ZUM::SDK::Sample> &samples) {
        const QString name = reader.simMode() == iRTelemetryReader::SimMode::Replay
            ? QStringLiteral("lastlaptime")
            : QStringLiteral("laplastlaptime");
        lastLapTime = samples[0].dynamicData.value(name).toFloat();
    };
    hooks.ran = [&](qint64, const QSharedPointer<Lap> &lap) {
        if (lap)
            handedOver.append({lap, lastLapTime});
    };
    const FileReplay::Result replayed = ReaderReplay::run(reader, ibt, hooks);
    QCOMPARE(replayed.ticks, ibt.recordCount());
    QVERIFY(!replayed.overBudget);

    for (const auto &[lap, shown] : std::as_const(handedOver)) {
        if (lap->header().completed)
            QCOMPARE(lap->header().lapTime, expectedTime(shown, lap->header()));
        else
            QCOMPARE(lap->header().lapTime, ZUM::SDK::UntimedLapTime);
    }
    // Every lap a tick handed over, in order, then the lap under way at the end.
    const QList<QSharedPointer<Lap>> &laps = replayed.laps;
    QVERIFY(laps.size() - handedOver.size() <= 1);
    for (qsizetype i = 0; i < handedOver.size(); ++i)
        QCOMPARE(laps[i], handedOver[i].first);

    QStringList actual;
    for (const QSharedPointer<Lap> &lap : laps) {
        const ZUM::SDK::LapHeader &header = lap->header();
        QVERIFY(header.lapTime.isValid());
        QVERIFY(QTime(0, 0, 0, 0).msecsTo(header.lapTime) > 0);
        for (const QString &name : lap->getAvailableRecordedChannels())
            QVERIFY2(lap->channel(name)->size() == lap->size(), qPrintable(name));
        actual.append(RecordedLaps::text(header.lapTime));
    }
    QCOMPARE(actual, lapTimes);
}

QTEST_APPLESS_MAIN(tst_ReaderFiles)
#include "tst_readerfiles.moc"
