#include "ibtimage.h"
#include "irtelemetryreader.h"
#include "readerreplay.h"
#include "samplefiles.h"

#include <QSet>
#include <QTest>

// Every record of the simulator's own recordings decodes into the player's sample, on the
// import's own path.
class tst_RawFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRecordDecodes_data();
    void everyRecordDecodes();
};

void tst_RawFiles::everyRecordDecodes_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("records");
    QTest::addColumn<double>("firstSessionTime");

    const auto row = [](const char *file, int records, double firstSessionTime) {
        QTest::newRow(file) << file << records << firstSessionTime;
    };
    // Record counts and first session times as the files hold them.
    row("fg_test.ibt", 23, 451.86666641227123);
    row("gm_amg.ibt", 3371, 54.049999745686165);
    row("js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt", 3446, 6097.0333348546465);
    row("rr_sk.ibt", 201, 5439.349999877838);
    row("rr_sk2.ibt", 153, 6871.016666523671);
    row("rr_skmodified_langley_2015-05-28_14-45-12.ibt", 418, 4127.166666945046);
    row("rr_skmodified_langley_2015-05-28_14-45-28.ibt", 2709, 4143.733333611474);
    row("rr_skmodified_langley_2015-05-28_14-46-23.ibt", 3578, 4198.283333610681);
    row("rr_skmodified_langley_2015-05-28_14-47-39.ibt", 2718, 4274.500000276241);
    row("rr_skmodified_langley_2015-05-28_14-48-39.ibt", 3244, 4334.483333608704);
    row("rr_skmodified_langley_2015-05-28_14-49-50.ibt", 2787, 4405.116666941011);
    row("rr_skmodified_langley_2015-08-24_20-48-50.ibt", 4020, 2880.6998535199655);
    row("rr_skmodified_martinsville_2016-02-07_21-01-44.ibt", 1238, 2041.0166667922958);
    row("rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt", 4954, 4070.233398449756);
    row("ss_session.ibt", 10, 2441.2166503910325);
    row("tfio_bmwlmdh_sebring_international_2026-03-07_21-39-18.ibt", 210, 833.3333323156515);
    row("tfio_bmwlmdh_sebring_international_2026-03-07_22-00-50.ibt", 2308, 2125.3333323155316);
    row("tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt", 2398, 185.19999910994343);
    row("tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt", 279, 65.5499998728409);
    row("tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt", 899, 1146.6666657758567);
    row("tfio_ferrari499p_sebring_international_2026-03-06_17-52-30.ibt", 269, 37.350000127155596);
    row("tj_invalid_test_file.ibt", 0, 0.0);
    row("tj_live_test_file.ibt", 9, 53.13333257039201);
    row("tj_valid_test_file.ibt", 390, 932.000000635264);
}

void tst_RawFiles::everyRecordDecodes()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(int, records);
    QFETCH(double, firstSessionTime);

    const IbtImage ibt = IbtImage::load(SampleFiles::path(file));
    QCOMPARE(ibt.recordCount(), records);

    QSet<QString> distinctNames;
    for (int v = 0; v < ibt.header().numVars; ++v)
        distinctNames.insert(QString::fromUtf8(ibt.varHeaders()[v].name).toLower());

    // As the import decodes them: on its worker thread, into samples that come back from the
    // ticks to be refilled.
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    FileReplay::Hooks hooks;
    hooks.decoded = [&](qint64 record, const QList<ZUM::SDK::Sample> &samples) {
        QCOMPARE(samples.size(), 1);
        QCOMPARE(samples[0].dynamicData.size(), distinctNames.size());
        if (record == 0) {
            const ZUM::SDK::Value time
                = samples[0].dynamicData.value(QStringLiteral("sessiontime"));
            QCOMPARE(time.metaType(), QMetaType::fromType<double>());
            QVERIFY(time.toDouble() == firstSessionTime);
            QCOMPARE(time.unit(), QStringLiteral("s"));
            QCOMPARE(samples[0].dynamicData.value(QStringLiteral("speed")).unit(),
                     QStringLiteral("m/s"));
        }
    };
    const FileReplay::Result replayed = ReaderReplay::run(reader, ibt, hooks);
    QCOMPARE(replayed.ticks, qint64(records));
    QCOMPARE(reader.variableNames().size(), qMax(ibt.header().numVars, 0));
}

QTEST_APPLESS_MAIN(tst_RawFiles)
#include "tst_rawfiles.moc"
