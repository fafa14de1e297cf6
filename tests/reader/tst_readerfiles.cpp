#include "ibtfile.h"
#include "irtelemetryreader.h"
#include "samplefiles.h"

#include <QTest>

using ZUM::SDK::Lap;
using ZUM::SDK::Session;

// The reader over the simulator's own recordings, record by record as the import runs it.
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
        return lapTimeOf(3599.0f);
    return lapTimeOf(lastLapTime);
}

} // namespace

void tst_ReaderFiles::laps_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("lapTimes"); // m:ss.zzz, "-" for no time, in order

    QTest::newRow("no recorded files") << QString() << QStringList();
    // Checked against the lap clock and last-lap time of each file; "-" is a lap without a
    // trusted time (an out lap, a lap cut by the end of the file).
    QTest::newRow("fg_test.ibt") << "fg_test.ibt" << QStringList {"-"};
    QTest::newRow("gm_amg.ibt") << "gm_amg.ibt" << QStringList {"-"};
    QTest::newRow("js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt")
        << "js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt"
        << QStringList {"-", "0:15.225", "0:15.066", "-"};
    QTest::newRow("rr_sk.ibt") << "rr_sk.ibt" << QStringList {};
    QTest::newRow("rr_sk2.ibt") << "rr_sk2.ibt" << QStringList {};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-45-12.ibt")
        << "rr_skmodified_langley_2015-05-28_14-45-12.ibt" << QStringList {"-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-45-28.ibt")
        << "rr_skmodified_langley_2015-05-28_14-45-28.ibt" << QStringList {"-", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-46-23.ibt")
        << "rr_skmodified_langley_2015-05-28_14-46-23.ibt"
        << QStringList {"-", "0:15.187", "0:15.098", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-47-39.ibt")
        << "rr_skmodified_langley_2015-05-28_14-47-39.ibt" << QStringList {"-", "0:15.070", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-48-39.ibt")
        << "rr_skmodified_langley_2015-05-28_14-48-39.ibt"
        << QStringList {"-", "0:15.175", "0:15.203", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-49-50.ibt")
        << "rr_skmodified_langley_2015-05-28_14-49-50.ibt" << QStringList {"-", "0:15.167", "-"};
    QTest::newRow("rr_skmodified_langley_2015-08-24_20-48-50.ibt")
        << "rr_skmodified_langley_2015-08-24_20-48-50.ibt" << QStringList {"-", "0:15.239", "-"};
    QTest::newRow("rr_skmodified_martinsville_2016-02-07_21-01-44.ibt")
        << "rr_skmodified_martinsville_2016-02-07_21-01-44.ibt" << QStringList {"-"};
    QTest::newRow("rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt")
        << "rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt"
        << QStringList {"-", "0:19.301", "0:19.545", "-"};
    QTest::newRow("ss_session.ibt") << "ss_session.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-07_21-39-18.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-07_21-39-18.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-07_22-00-50.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-07_22-00-50.ibt" << QStringList {"-"};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt" << QStringList {"-"};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt" << QStringList {};
    QTest::newRow("tfio_ferrari499p_sebring_international_2026-03-06_17-52-30.ibt")
        << "tfio_ferrari499p_sebring_international_2026-03-06_17-52-30.ibt" << QStringList {};
    QTest::newRow("tj_invalid_test_file.ibt") << "tj_invalid_test_file.ibt" << QStringList {};
    QTest::newRow("tj_live_test_file.ibt") << "tj_live_test_file.ibt" << QStringList {};
    QTest::newRow("tj_valid_test_file.ibt") << "tj_valid_test_file.ibt" << QStringList {};
}

void tst_ReaderFiles::laps()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(QStringList, lapTimes);
    if (file.isEmpty())
        return;

    const IbtFile ibt = IbtFile::load(SampleFiles::path(file));
    QByteArray text = ibt.sessionText();
    if (!text.isEmpty())
        text[text.size() - 1] = '\0';
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml(text.constData());
    reader.updateCarList();
    const QString lastLapTimeName
        = reader.simMode() == 1 ? QStringLiteral("lastlaptime") : QStringLiteral("laplastlaptime");

    QList<QSharedPointer<Lap>> laps;
    for (qsizetype r = 0; r < ibt.recordCount(); ++r) {
        QList<ZUM::SDK::Sample> tick
            = reader.getRawData(&ibt.header(), ibt.varHeaders(), ibt.record(r));
        const float lastLapTime = tick[0].dynamicData.value(lastLapTimeName).toFloat();
        reader.prepareTick();
        reader.processData(std::move(tick));
        if (!reader.isMyLapReady() || reader.myLap()->isEmpty())
            continue;
        const QSharedPointer<Lap> lap = reader.myLap();
        laps.append(lap);
        if (lap->header().completed)
            QCOMPARE(lap->header().lapTime, expectedTime(lastLapTime, lap->header()));
        else
            QCOMPARE(lap->header().lapTime, lapTimeOf(3599.0f));
    }
    if (!reader.isMyLapReady()) {
        reader.processMyLap(false);
        if (reader.myLap() && !reader.myLap()->isEmpty())
            laps.append(reader.myLap());
    }

    QStringList actual;
    for (const QSharedPointer<Lap> &lap : laps) {
        const ZUM::SDK::LapHeader &header = lap->header();
        QVERIFY(header.lapTime.isValid());
        QVERIFY(QTime(0, 0, 0, 0).msecsTo(header.lapTime) > 0);
        for (const QString &name : lap->getAvailableRecordedChannels())
            QVERIFY2(lap->channel(name)->size() == lap->size(), qPrintable(name));
        actual.append(header.lapTime == lapTimeOf(3599.0f)
                          ? QStringLiteral("-")
                          : header.lapTime.toString(QStringLiteral("m:ss.zzz")));
    }
    QCOMPARE(actual, lapTimes);
}

QTEST_APPLESS_MAIN(tst_ReaderFiles)
#include "tst_readerfiles.moc"
