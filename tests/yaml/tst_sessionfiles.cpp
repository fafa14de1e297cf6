#include "ibtimage.h"
#include "samplefiles.h"
#include "tyamltree.h"

#include <QTest>

// The session texts of the simulator's own recordings parse, and the paths the reader relies
// on read back what the text holds.
class tst_SessionFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFileParses_data();
    void everyFileParses();
    void knownValues_data();
    void knownValues();
};

void tst_SessionFiles::everyFileParses_data()
{
    QTest::addColumn<QString>("path");
    if (SampleFiles::all().isEmpty())
        QTest::newRow("no recorded files") << QString();
    for (const QString &path : SampleFiles::all())
        QTest::newRow(qPrintable(QFileInfo(path).fileName())) << path;
}

void tst_SessionFiles::everyFileParses()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, path);

    const QByteArray text = IbtImage::load(path).terminatedSessionText();
    TYamlTree tree;
    tree.setYaml(text.constData());
    if (text.isEmpty() || text.startsWith('\0')) {
        QVERIFY(tree.subTreesKeys().isEmpty());
        return;
    }
    QVERIFY(tree.sub("WeekendInfo"));
    QVERIFY(tree.pathSub("DriverInfo/Drivers"));
    QVERIFY(tree.pathSub("SessionInfo/Sessions/0"));
    QVERIFY(!tree.pathValue("WeekendInfo/TrackName").isEmpty());
}

void tst_SessionFiles::knownValues_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("carIdx");
    QTest::addColumn<QString>("track");
    QTest::addColumn<QString>("userName");
    QTest::addColumn<QString>("sessionType");

    const auto row = [](const char *file, const char *carIdx, const char *track,
                        const char *userName, const char *sessionType) {
        QTest::newRow(file) << file << carIdx << track << userName << sessionType;
    };
    row("fg_test.ibt", "0", "Indianapolis Motor Speedway", "Floren De Gier", "Offline Testing");
    row("gm_amg.ibt", "0", "Red Bull Ring", "Georgi Martsenkov", "Offline Testing");
    row("rr_sk.ibt", "0", "New Smyrna Speedway", "Loren Roberts2", "Offline Testing");
    row("rr_skmodified_langley_2015-08-24_20-48-50.ibt", "11", "Langley Speedway", "Loren Roberts2",
        "Practice");
    row("rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt", "6", "Martinsville Speedway",
        "Loren Roberts2", "Practice");
    row("ss_session.ibt", "63", "Long Beach", "Christopher Scott4", "Practice");
    row("tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt", "0",
        "Sebring International Raceway", "Ryan D O Connor", "Offline Testing");
    row("tj_live_test_file.ibt", "0", "Autodromo Nazionale Monza", "George v Rensburg",
        "Offline Testing");
    row("js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt", "0", "Bristol Motor Speedway",
        "Jackson Grimm", "Offline Testing");
}

void tst_SessionFiles::knownValues()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(QString, carIdx);
    QFETCH(QString, track);
    QFETCH(QString, userName);
    QFETCH(QString, sessionType);

    const QByteArray text = IbtImage::load(SampleFiles::path(file)).terminatedSessionText();
    TYamlTree tree;
    tree.setYaml(text.constData());
    QCOMPARE(tree.pathValue("DriverInfo/DriverCarIdx"), carIdx);
    QCOMPARE(tree.pathValue("WeekendInfo/TrackDisplayName"), track);
    const std::string driver = "DriverInfo/Drivers/" + carIdx.toStdString() + "/UserName";
    QCOMPARE(tree.pathValue(driver), userName);
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/SessionType"), sessionType);
}

QTEST_APPLESS_MAIN(tst_SessionFiles)
#include "tst_sessionfiles.moc"
