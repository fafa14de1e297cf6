#include "ibtwriter.h"
#include "recordinginfo.h"
#include "samplefiles.h"
#include "sessiongenerator.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

// A session text whose split-time section holds these lines.
QByteArray sessionWithSectors(const QByteArray &sectorLines)
{
    return "---\nWeekendInfo:\n TrackName: x\n TrackLength: 1.00 km\n\nSplitTimeInfo:\n Sectors:\n"
        + sectorLines + "\n...\n";
}

QByteArray sector(int number, const QByteArray &start)
{
    return " - SectorNum: " + QByteArray::number(number) + "\n   SectorStartPct: " + start + "\n";
}

} // namespace

class tst_RecordingInfo : public QObject
{
    Q_OBJECT

private slots:
    void sectorStartsOfTheSessionText_data();
    void sectorStartsOfTheSessionText();
    void generatedSessionKeepsItsText();
    void headerOfAnotherVersion();
    void noPlayerNoCar();
    void recordedSectors_data();
    void recordedSectors();

private:
    QTemporaryDir m_dir;
};

void tst_RecordingInfo::sectorStartsOfTheSessionText_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QList<double>>("starts");
    QTest::newRow("three sectors")
        << sessionWithSectors(sector(0, "0.000000") + sector(1, "0.331877") + sector(2, "0.687195"))
        << QList<double> {0.0, 0.331877, 0.687195};
    QTest::newRow("one sector, the whole lap")
        << sessionWithSectors(sector(0, "0.000000")) << QList<double> {0.0};
    QTest::newRow("listed out of order, sorted by start")
        << sessionWithSectors(sector(1, "0.5") + sector(0, "0.0") + sector(2, "0.75"))
        << QList<double> {0.0, 0.5, 0.75};
    QTest::newRow("no split-time section")
        << QByteArray("---\nWeekendInfo:\n TrackName: x\n...\n") << QList<double> {};
    QTest::newRow("first sector not at the line")
        << sessionWithSectors(sector(0, "0.1") + sector(1, "0.5")) << QList<double> {};
    QTest::newRow("a start at a whole lap")
        << sessionWithSectors(sector(0, "0.0") + sector(1, "1.0")) << QList<double> {};
    QTest::newRow("a negative start")
        << sessionWithSectors(sector(0, "0.0") + sector(1, "-0.2")) << QList<double> {};
    QTest::newRow("a start that is no number")
        << sessionWithSectors(sector(0, "0.0") + sector(1, "half")) << QList<double> {};
    QTest::newRow("the same start twice")
        << sessionWithSectors(sector(0, "0.0") + sector(1, "0.5") + sector(2, "0.5"))
        << QList<double> {};
}

void tst_RecordingInfo::sectorStartsOfTheSessionText()
{
    QFETCH(QByteArray, session);
    QFETCH(QList<double>, starts);
    const QString path = m_dir.filePath(QStringLiteral("sectors.ibt"));
    IbtWriter writer;
    writer.setSessionInfo(session);
    QVERIFY2(writer.open(path), qPrintable(writer.errorString()));
    QVERIFY(writer.finish());

    const RecordingInfo info = RecordingInfo::read(path);
    QCOMPARE(info.problem(), QString());
    QCOMPARE(info.sectorStarts(), starts);
}

void tst_RecordingInfo::generatedSessionKeepsItsText()
{
    const QString path = m_dir.filePath(QStringLiteral("practice.ibt"));
    SessionGenerator::Options options;
    options.laps = 1;
    const SessionGenerator generator(options);
    QVERIFY(generator.write(path));

    const RecordingInfo info = RecordingInfo::read(path);
    QCOMPARE(info.problem(), QString());
    // The import hands on the text without its last stored byte, the terminator.
    QVERIFY(generator.sessionInfo().startsWith(info.sessionText()));
    QVERIFY(info.sessionText().contains("SplitTimeInfo:"));
    QCOMPARE(info.sectorStarts(), (QList<double> {0.0, 0.331877, 0.687195}));
    // What the text names, for the summary of a file without laps.
    QCOMPARE(info.trackName(), options.trackDisplayName);
    QCOMPARE(info.trackConfigName(), options.trackConfigName);
    QCOMPARE(info.carName(), QStringLiteral("Mercedes AMG GT4"));
    QCOMPARE(info.driverName(), options.playerName);
    QCOMPARE(info.sessionTypes(), QStringLiteral("Practice"));
    QCOMPARE(info.version(), 2);
    QCOMPARE(info.headerProblem(), QString());
}

void tst_RecordingInfo::headerOfAnotherVersion()
{
    const QString path = m_dir.filePath(QStringLiteral("version-3.ibt"));
    SessionGenerator::Options options;
    options.laps = 1;
    options.overrides.ver = 3;
    QVERIFY(SessionGenerator(options).write(path));
    const RecordingInfo info = RecordingInfo::read(path);
    QCOMPARE(info.version(), 3);
    QCOMPARE(info.headerProblem(),
             QStringLiteral("its header's version is 3, which the simulator never writes (it "
                            "writes 1 and 2): not a telemetry recording"));
}

void tst_RecordingInfo::noPlayerNoCar()
{
    const QString path = m_dir.filePath(QStringLiteral("no-player.ibt"));
    SessionGenerator::Options options;
    options.laps = 1;
    options.player = false;
    QVERIFY(SessionGenerator(options).write(path));
    const RecordingInfo info = RecordingInfo::read(path);
    // The track is the session's; the car and driver are the player's, and there is none.
    QCOMPARE(info.trackName(), options.trackDisplayName);
    QCOMPARE(info.carName(), QString());
    QCOMPARE(info.driverName(), QString());
}

void tst_RecordingInfo::recordedSectors_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QList<double>>("starts");
    // As the files' session texts list them.
    QTest::newRow("gm_amg.ibt") << QStringLiteral("gm_amg.ibt")
                                << QList<double> {0.0, 0.271918, 0.668198};
}

void tst_RecordingInfo::recordedSectors()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(QList<double>, starts);
    const RecordingInfo info = RecordingInfo::read(SampleFiles::path(file));
    QCOMPARE(info.problem(), QString());
    QCOMPARE(info.sectorStarts(), starts);
}

QTEST_GUILESS_MAIN(tst_RecordingInfo)
#include "tst_recordinginfo.moc"
