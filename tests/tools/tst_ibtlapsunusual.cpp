#include "ibtlapsrun.h"
#include "lappicture.h"
#include "picturepixels.h"
#include "plotstyle.h"
#include "samplefiles.h"

#include <QFile>
#include <QImage>
#include <QJsonObject>
#include <QPainter>
#include <QSvgRenderer>
#include <QTest>

#include <cmath>

using namespace IbtLapsRun;
using namespace PicturePixels;

namespace {

// "0-2, 4": the laps' numbers, those one after the other as a range, as the tool names a
// file's laps when no number repeats.
QString lapRange(const Laps &laps)
{
    QStringList runs;
    for (qsizetype i = 0; i < laps.size();) {
        qsizetype end = i + 1;
        while (end < laps.size()
               && laps[end]->header().lapNumber == laps[end - 1]->header().lapNumber + 1)
            ++end;
        const qint32 first = laps[i]->header().lapNumber;
        const qint32 last = laps[end - 1]->header().lapNumber;
        runs.append(first == last ? QString::number(first)
                                  : QStringLiteral("%1-%2").arg(first).arg(last));
        i = end;
    }
    return runs.join(QStringLiteral(", "));
}

QColor colourOfPlace(qsizetype index)
{
    return PlotStyle::otherColour(int(index % PlotStyle::OtherColours));
}

qsizetype indexOfLap(const Laps &laps, qint32 number)
{
    for (qsizetype i = 0; i < laps.size(); ++i) {
        if (laps[i]->header().lapNumber == number)
            return i;
    }
    return -1;
}

double seconds(const QTime &time)
{
    return QTime(0, 0).msecsTo(time) / 1000.0;
}

} // namespace

// ibt-laps on the files and choices a driver meets beside the usual session: files without
// laps and why, headers the simulator never writes, lap numbers that repeat across stints,
// choices that match nothing, options without their output, sectors and vector pictures.
class tst_IbtLapsUnusual : public IbtLapsTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void noLapsSayWhy_data();
    void noLapsSayWhy();
    void pictureWithoutLaps();
    void headerOfAnotherVersion();
    void bestLapPerTrackAndCar();
    void lapsOfAStint_data();
    void lapsOfAStint();
    void comparedLapThatRepeats();
    void choicesThatMatchNothing_data();
    void choicesThatMatchNothing();
    void comparedLapInEveryPanel();
    void onlyShortLapsDrawTheLongest();
    void startFinishOnlyWhereTheLapPassesIt_data();
    void startFinishOnlyWhereTheLapPassesIt();
    void lapKeepsItsColour();
    void channelNamesInAnyCase();
    void usageErrorLeavesNoFolder();
    void pictureToStandardOutputRefused();
    void jsonPathSaysWhy();
    void optionsWithoutTheirOutput_data();
    void optionsWithoutTheirOutput();
    void imperialUnits();
    void sectorTimes();
    void recordedSectorTimes();
    void vectorPictures();
    void carSetup();
    void referenceLapOfAnotherFile_data();
    void referenceLapOfAnotherFile();
    void referenceOfAnotherTrack();
    void setupDifferences();

private:
    QString write(const QString &name, const SessionGenerator::Options &options)
    {
        const QString file = path(name);
        return SessionGenerator(options).write(file) ? file : QString();
    }

    QString m_stall; // the car never leaves the pit stall
    qsizetype m_stallRecords = 0;
    QString m_shortRun; // the car drives off but never reaches the line
    QString m_noRecords; // a session cut where its records begin
    QString m_race; // lap 0 on the grid, in the parade and at the start: three laps numbered 0
    QString m_cut; // a session that ends a few seconds into its second lap
};

void tst_IbtLapsUnusual::initTestCase()
{
    QVERIFY(prepare());
    SessionGenerator::Options stall;
    stall.duration = 4.0; // the car waits stallWait seconds before driving off
    const SessionGenerator stallGenerator(stall);
    m_stall = path(QStringLiteral("stall.ibt"));
    QVERIFY(stallGenerator.write(m_stall));
    m_stallRecords = stallGenerator.summary().recordCount;

    SessionGenerator::Options shortRun;
    shortRun.duration = 20.0;
    m_shortRun = write(QStringLiteral("short-run.ibt"), shortRun);

    // The records start at the first buffer's offset, which the header gives.
    m_noRecords = path(QStringLiteral("no-records.ibt"));
    QVERIFY(QFile::copy(m_short, m_noRecords));
    QFile noRecords(m_noRecords);
    QVERIFY(noRecords.open(QIODevice::ReadWrite));
    irsdk_header header {};
    QCOMPARE(noRecords.read(reinterpret_cast<char *>(&header), sizeof header),
             qint64(sizeof header));
    QVERIFY(noRecords.resize(header.varBuf[0].bufOffset));

    SessionGenerator::Options race;
    race.scenario = SessionGenerator::Scenario::Race;
    race.laps = 2;
    race.lapTime = 30.0;
    race.trackLength = 1000.0;
    m_race = write(QStringLiteral("race.ibt"), race);

    SessionGenerator::Options cut;
    cut.laps = 2;
    cut.lapTime = 30.0;
    cut.trackLength = 1000.0;
    cut.duration = 55.0;
    m_cut = write(QStringLiteral("cut.ibt"), cut);
    QVERIFY(!m_shortRun.isEmpty() && !m_race.isEmpty() && !m_cut.isEmpty());
}

void tst_IbtLapsUnusual::noLapsSayWhy_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("reason"); // a pattern of the Laps line
    QTest::addColumn<bool>("generated"); // the session text is the generator's

    QTest::newRow("the car stays in the pit stall")
        << m_stall
        << QRegularExpression::escape(
               QStringLiteral("no laps: the car stayed in the pit stall for all %1 records")
                   .arg(m_stallRecords))
        << true;
    QTest::newRow("the car never reaches the line")
        << m_shortRun
        << QStringLiteral("no laps: the car covered ([0-9]+)% of a lap and never crossed the line")
        << true;
    QTest::newRow("no records") << m_noRecords
                                << QStringLiteral("no laps: the file holds no records") << true;
    QTest::newRow("no car of the player")
        << m_noPlayer
        << QRegularExpression::escape(QStringLiteral(
               "no laps: the session text names no car of the player (DriverInfo/DriverCarIdx)"))
        << false;
    const QString samples = qEnvironmentVariable("ZUM_IBT_SAMPLES");
    if (samples.isEmpty())
        return;
    // The recorded files, as their README lists them.
    QTest::newRow("recorded: a run that stays in the pit stall")
        << QDir(samples).filePath(
               QStringLiteral("tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt"))
        << QStringLiteral("no laps: the car stayed in the pit stall for [0-9]+ of 899 records and "
                          "did not move in the others")
        << false;
    QTest::newRow("recorded: a dump of the simulator's memory")
        << QDir(samples).filePath(QStringLiteral("tj_live_test_file.ibt"))
        << QRegularExpression::escape(QStringLiteral(
               "no laps: the file is a dump of the simulator's memory (3 record buffers), not a "
               "recording"))
        << false;
}

void tst_IbtLapsUnusual::noLapsSayWhy()
{
    QFETCH(QString, file);
    QFETCH(QString, reason);
    QFETCH(bool, generated);
    if (!QFile::exists(file))
        QSKIP("the recorded files are not here");
    const Run result = run({file});
    QCOMPARE(result.exitCode, 0);
    const QString laps = summaryValue(result.out, QStringLiteral("Laps"));
    const QRegularExpressionMatch match
        = QRegularExpression(QStringLiteral("^%1$").arg(reason)).match(laps);
    QVERIFY2(match.hasMatch(), qPrintable(laps));
    if (match.hasCaptured(1)) {
        // Driven from the stall past the line's side of the pit lane, never round the lap.
        const int percent = match.captured(1).toInt();
        QVERIFY2(percent > 0 && percent < 25, qPrintable(laps));
    }
    if (!generated)
        return;
    // The summary from the file's own session text.
    const SessionGenerator::Options options;
    QCOMPARE(summaryValue(result.out, QStringLiteral("Track")),
             options.trackDisplayName + QStringLiteral(", ") + options.trackConfigName);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Car")), QStringLiteral("Mercedes AMG GT4"));
    QCOMPARE(summaryValue(result.out, QStringLiteral("Driver")), options.playerName);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Session")), QStringLiteral("Practice"));
}

void tst_IbtLapsUnusual::pictureWithoutLaps()
{
    const QString plot = path(QStringLiteral("stall.png"));
    const Run result = run({m_stall, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);
    const QImage image(plot);
    // The title and one panel with the reason; no charts.
    QCOMPARE(image.size(), QSize(LapPicture::Width, LapPicture::NoLapsHeight));
    QVERIFY(inked(image, QRect(LapPicture::noLapsPanel().left(), 10, 800, 50)) > 200);
    QVERIFY(inked(image, LapPicture::noLapsPanel().adjusted(4, 4, -4, -4)) > 100);
    QCOMPARE(colourful(image, image.rect()), 0);
}

void tst_IbtLapsUnusual::headerOfAnotherVersion()
{
    SessionGenerator::Options options;
    options.laps = 1;
    options.lapTime = 30.0;
    options.trackLength = 1000.0;
    options.overrides.ver = 7;
    const QString file = write(QStringLiteral("version-7.ibt"), options);
    // The import reads the file whatever its version says: a note, and the laps.
    Run result = run({file});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.err.contains(
                 (QStringLiteral("note: %1: its header's version is 7, which the simulator never "
                                 "writes (it writes 1 and 2): not a telemetry recording\n")
                      .arg(file))
                     .toUtf8()),
             result.err.constData());
    QVERIFY(!tableRows(result.out).isEmpty());

    const QString invalid = QDir(qEnvironmentVariable("ZUM_IBT_SAMPLES"))
                                .filePath(QStringLiteral("tj_invalid_test_file.ibt"));
    if (qEnvironmentVariableIsEmpty("ZUM_IBT_SAMPLES") || !QFile::exists(invalid))
        QSKIP("the recorded files are not here");
    result = run({invalid});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.err.contains("its header's version is 1635021600, which the simulator never "
                                "writes (it writes 1 and 2): not a telemetry recording\n"));
    QVERIFY(!result.err.contains("no records"));
    QCOMPARE(summaryValue(result.out, QStringLiteral("Laps")),
             QStringLiteral("no laps: the header is no telemetry recording's (version "
                            "1635021600)"));
}

void tst_IbtLapsUnusual::bestLapPerTrackAndCar()
{
    SessionGenerator::Options other;
    other.trackLength = 1500.0;
    other.lapTime = 35.0; // faster than the short session's laps, on another track
    other.laps = 2;
    other.trackDisplayName = QStringLiteral("Other Ring");
    const QString otherTrack = write(QStringLiteral("other-track.ibt"), other);
    const Run result = run({m_short, otherTrack});
    QCOMPARE(result.exitCode, 0);
    const QString out = QString::fromUtf8(result.out);
    const auto bestOf = [](const QString &file) {
        QTime best;
        qint32 number = -1;
        for (const QSharedPointer<ZUM::SDK::Lap> &lap : importDirectly(file)) {
            const ZUM::SDK::LapHeader &header = lap->header();
            if (header.completed && header.lapTime != QTime(0, 59, 59)
                && (!best.isValid() || header.lapTime < best)) {
                best = header.lapTime;
                number = header.lapNumber;
            }
        }
        return std::make_pair(best, number);
    };
    for (const auto &[file, track] :
         {std::make_pair(m_short, QStringLiteral("Autodromo Jose Carlos Pace")),
          std::make_pair(otherTrack, QStringLiteral("Other Ring"))}) {
        const auto [best, number] = bestOf(file);
        const QString line = QStringLiteral("Best lap, %1, Grand Prix, Mercedes AMG GT4: %2 on lap "
                                            "%3 of %4\n")
                                 .arg(track, lapTimeText(seconds(best)))
                                 .arg(number)
                                 .arg(file);
        QVERIFY2(out.contains(line), qPrintable(out));
    }
    QVERIFY(!out.contains(QStringLiteral("Best lap overall")));
}

void tst_IbtLapsUnusual::lapsOfAStint_data()
{
    QTest::addColumn<QString>("laps");
    QTest::addColumn<QStringList>("stintLaps"); // the Stint/lap cells of the rows
    // The race: on the grid (stint 1, lap 0), then the parade and the start, both lap 0 of
    // stint 2, as the lap counter stays at 0 until the green flag.
    QTest::newRow("a number that names three laps takes them all")
        << QStringLiteral("0") << QStringList {"1/0", "2/0", "2/1"};
    QTest::newRow("a lap of a stint") << QStringLiteral("2/1") << QStringList {"2/1"};
    QTest::newRow("a range within a stint")
        << QStringLiteral("2/1-2") << QStringList {"2/1", "2/2"};
}

void tst_IbtLapsUnusual::lapsOfAStint()
{
    QFETCH(QString, laps);
    QFETCH(QStringList, stintLaps);
    const Laps imported = importDirectly(m_race);
    QVERIFY(imported.size() >= 4);
    // What the rows are checked against: the race's first laps as the import gives them.
    QCOMPARE(imported[1]->header().lapNumber, 0);
    QCOMPARE(imported[2]->header().lapNumber, 0);
    const Run result = run({m_race, QStringLiteral("--laps"), laps});
    QCOMPARE(result.exitCode, 0);
    QStringList cells;
    for (const QStringList &row : tableRows(result.out))
        cells.append(row[1]);
    QCOMPARE(cells, stintLaps);
}

void tst_IbtLapsUnusual::comparedLapThatRepeats()
{
    const QString plot = path(QStringLiteral("race.png"));
    Run result = run(
        {m_race, QStringLiteral("--plot"), plot, QStringLiteral("--compare"), QStringLiteral("0")});
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains(QStringLiteral("ibt-laps: --compare: lap 0 of %1 names 3 laps, "
                                                "1/0, 2/0 and 2/1; say which as stint/lap\n")
                                     .arg(m_race)
                                     .toUtf8()),
             result.err.constData());
    QVERIFY(!QFile::exists(plot));

    // The parade lap, lap 0 of stint 2.
    result = run({m_race, QStringLiteral("--plot"), plot, QStringLiteral("--compare"),
                  QStringLiteral("2/0")});
    QCOMPARE(result.exitCode, 0);
    // The compared lap in the panels, in the colour of its place (the second lap).
    const QImage image(plot);
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::inputsPanel()})
        QVERIFY(count(image, panel, colourOfPlace(1)) > 20);
}

void tst_IbtLapsUnusual::choicesThatMatchNothing_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");

    const Laps shortLaps = importDirectly(m_short);
    QTest::newRow("a lap number that is not there")
        << m_short << QStringList {"--laps", "999"} << 0
        << QStringLiteral("note: %1: no lap matches --laps 999; the laps are %2\n")
               .arg(m_short, lapRange(shortLaps));
    QTest::newRow("the best of untimed laps")
        << m_cut << QStringList {"--best"} << 0
        << QStringLiteral("note: %1: no lap is timed, so --best chooses none\n").arg(m_cut);
    QTest::newRow("the best of an untimed lap")
        << m_short << QStringList {"--best", "--laps", "0"} << 0
        << QStringLiteral("note: %1: no lap is timed among --laps 0, so --best chooses none\n")
               .arg(m_short);
    QTest::newRow("comparing a lap that is not there")
        << m_short << QStringList {"--compare", "999", "--plot", path(QStringLiteral("x.png"))} << 2
        << QStringLiteral("ibt-laps: --compare: %1 has no lap 999; its laps are %2\n")
               .arg(m_short, lapRange(shortLaps));
}

void tst_IbtLapsUnusual::choicesThatMatchNothing()
{
    QFETCH(QString, file);
    QFETCH(QStringList, options);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    const Run result = run(QStringList {file} + options);
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
}

void tst_IbtLapsUnusual::comparedLapInEveryPanel()
{
    // Only the best lap chosen; the compared lap is drawn beside it all the same.
    const qsizetype compared = indexOfLap(m_practiceLaps, 3);
    const QString plot = path(QStringLiteral("best-and-3.png"));
    const Run result = run({m_practice, QStringLiteral("--best"), QStringLiteral("--compare"),
                            QStringLiteral("3"), QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);
    const QImage image(plot);
    // (Its gears are the best lap's, under them.)
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::inputsPanel(),
                               LapPicture::legendBox()})
        QVERIFY2(count(image, panel, colourOfPlace(compared)) > 20,
                 qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
}

void tst_IbtLapsUnusual::onlyShortLapsDrawTheLongest()
{
    // The second lap of the cut session: a few seconds past the line, under a quarter of it.
    const Laps laps = importDirectly(m_cut);
    QCOMPARE(laps.size(), 2);
    const QString plot = path(QStringLiteral("short-lap.png"));
    const Run result = run(
        {m_cut, QStringLiteral("--laps"), QStringLiteral("1"), QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);
    const QImage image(plot);
    QVERIFY(count(image, LapPicture::speedPanel(), colourOfPlace(1)) > 20);
    // Under its legend entry, the word that it is short.
    const QRect legend = LapPicture::legendBox();
    QVERIFY(inked(image, QRect(legend.left(), legend.top() + 80, legend.width(), 80)) > 100);
}

void tst_IbtLapsUnusual::startFinishOnlyWhereTheLapPassesIt_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("marked");
    QTest::newRow("laps from line to line") << m_short << true;
    // Its one lap is an out lap from 282 m to 1430 m of a 4.3 km track.
    QTest::newRow("recorded: an out lap cut short")
        << QDir(qEnvironmentVariable("ZUM_IBT_SAMPLES")).filePath(QStringLiteral("gm_amg.ibt"))
        << false;
}

void tst_IbtLapsUnusual::startFinishOnlyWhereTheLapPassesIt()
{
    QFETCH(QString, file);
    QFETCH(bool, marked);
    if (!QFile::exists(file))
        QSKIP("the recorded files are not here");
    const QString plot = path(QStringLiteral("map-%1.png").arg(marked));
    QCOMPARE(run({file, QStringLiteral("--plot"), plot}).exitCode, 0);
    const QImage image(plot);
    // The ring and its label are the only things in the text's colour inside the map's frame.
    const QRect inside = LapPicture::trackMapPanel().adjusted(3, 3, -3, -3);
    const int mark = count(image, inside, PlotStyle::textColour());
    if (marked)
        QVERIFY2(mark > 50, qPrintable(QString::number(mark)));
    else
        QCOMPARE(mark, 0);
    QVERIFY(colourful(image, inside) > 500);
}

void tst_IbtLapsUnusual::lapKeepsItsColour()
{
    // Lap 3 of the practice session is not its best: the same colour alone and among all.
    const qsizetype third = indexOfLap(m_practiceLaps, 3);
    for (const QStringList &choice :
         {QStringList {}, QStringList {"--laps", "3"}, QStringList {"--laps", "1-3", "--timed"}}) {
        const QString plot = path(QStringLiteral("colour-%1.png").arg(choice.join(u'_')));
        QCOMPARE(run(QStringList {m_practice, QStringLiteral("--plot"), plot} + choice).exitCode,
                 0);
        const QImage image(plot);
        QVERIFY2(count(image, LapPicture::legendBox(), colourOfPlace(third)) > 20,
                 qPrintable(choice.join(u' ')));
    }
}

void tst_IbtLapsUnusual::channelNamesInAnyCase()
{
    const QString dir = path(QStringLiteral("csv-mixed-case"));
    const Run result = run({m_short, QStringLiteral("--csv"), dir, QStringLiteral("--channels"),
                            QStringLiteral("Speed,FuelLevel")});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    const QList<QByteArray> lines = csvLines(QDir(dir).filePath(csvFiles(dir).first()));
    QVERIFY2(lines.first().contains("fuellevel [") && lines.first().contains("speed ["),
             lines.first().constData());
    QVERIFY(!lines.first().contains("throttle"));
}

void tst_IbtLapsUnusual::usageErrorLeavesNoFolder()
{
    const QString dir = path(QStringLiteral("new/csv"));
    const Run result = run({m_short, QStringLiteral("--csv"), dir, QStringLiteral("--channels"),
                            QStringLiteral("nosuchchannel")});
    QCOMPARE(result.exitCode, 2);
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("new"))));
}

void tst_IbtLapsUnusual::pictureToStandardOutputRefused()
{
    const Run result = run({m_short, QStringLiteral("--plot"), QStringLiteral("-")});
    QCOMPARE(result.exitCode, 2);
    QVERIFY(result.err.startsWith(
        "ibt-laps: --plot: '-' is no file name; the picture goes to a file\n"));
    QVERIFY(result.out.isEmpty());
    QVERIFY(!QFile::exists(QStringLiteral("-")));
}

void tst_IbtLapsUnusual::jsonPathSaysWhy()
{
    const QString json = path(QStringLiteral("nodir/x.json"));
    const Run result = run({m_short, QStringLiteral("--json"), json});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains(QStringLiteral("error: cannot write JSON to %1: the folder %2 "
                                                "does not exist\n")
                                     .arg(json, path(QStringLiteral("nodir")))
                                     .toUtf8()),
             result.err.constData());
}

void tst_IbtLapsUnusual::optionsWithoutTheirOutput_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("output");
    QTest::newRow("--force without --csv") << QStringLiteral("--force") << QStringLiteral("csv");
    QTest::newRow("--compare without --plot")
        << QStringLiteral("--compare=1") << QStringLiteral("plot");
    QTest::newRow("--no-channels without --json")
        << QStringLiteral("--no-channels") << QStringLiteral("json");
}

void tst_IbtLapsUnusual::optionsWithoutTheirOutput()
{
    QFETCH(QString, option);
    QFETCH(QString, output);
    const Run result = run({m_short, option});
    QCOMPARE(result.exitCode, 0);
    const QString name = option.section(QLatin1Char('='), 0, 0);
    QVERIFY2(result.err.contains(
                 QStringLiteral("note: %1 applies to --%2, which is not given; it is ignored\n")
                     .arg(name, output)
                     .toUtf8()),
             result.err.constData());
}

void tst_IbtLapsUnusual::imperialUnits()
{
    // The short session's track is 1500 m long.
    const Run result = run({m_short, QStringLiteral("--units"), QStringLiteral("imperial")});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(summaryValue(result.out, QStringLiteral("Track"))
                 .endsWith(QStringLiteral("(%1 mi)").arg(1.5 / 1.609344, 0, 'f', 2)),
             result.out.constData());
    QVERIFY(
        summaryValue(result.out, QStringLiteral("Fuel per lap")).contains(QStringLiteral(" gal,")));
}

void tst_IbtLapsUnusual::sectorTimes()
{
    const Run result = run({m_practice, QStringLiteral("--sectors")});
    QCOMPARE(result.exitCode, 0);
    const QList<QStringList> rows = tableRows(result.out);
    QCOMPARE(rows.size(), m_practiceLaps.size());
    // The generator's track has three sectors: S1 to S3 after the lap's own columns.
    QList<double> best(3, INFINITY);
    QList<QList<double>> times;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QStringList &row = rows[i];
        QCOMPARE(row.size(), 11);
        const ZUM::SDK::LapHeader &header = m_practiceLaps[i]->header();
        const bool timed = header.completed && header.lapTime != QTime(0, 59, 59);
        if (!timed) {
            // An out or in lap does not cover the track from line to line.
            QCOMPARE(row.mid(8), (QStringList {"-", "-", "-"}));
            continue;
        }
        QList<double> lap;
        for (int s = 0; s < 3; ++s) {
            QString cell = row[8 + s];
            cell.remove(QLatin1Char('*'));
            lap.append(cell.toDouble());
            best[s] = std::min(best[s], lap.last());
        }
        // A lap's sectors add up to its lap time.
        QVERIFY(std::abs(lap[0] + lap[1] + lap[2] - seconds(header.lapTime)) <= 0.0015);
        times.append(lap);
    }
    QCOMPARE(times.size(), 3);
    // The best of each sector is marked.
    for (qsizetype i = 0, t = 0; i < rows.size(); ++i) {
        if (rows[i][8] == QLatin1String("-"))
            continue;
        for (int s = 0; s < 3; ++s)
            QCOMPARE(rows[i][8 + s].endsWith(QLatin1Char('*')), times[t][s] == best[s]);
        ++t;
    }
    const QString ideal = summaryValue(result.out, QStringLiteral("Sector ideal"));
    QVERIFY2(ideal.endsWith(QStringLiteral(", the best of each of the track's 3 sectors over "
                                           "%1 timed laps")
                                .arg(times.size())),
             qPrintable(ideal));
    const QTime idealTime
        = QTime::fromString(ideal.section(QLatin1Char(','), 0, 0), QStringLiteral("m:ss.zzz"));
    QVERIFY(std::abs(seconds(idealTime) - (best[0] + best[1] + best[2])) <= 0.0015);
    // The mini-sectors' ideal lap stays beside it.
    QVERIFY(!summaryValue(result.out, QStringLiteral("Ideal lap")).isEmpty());
}

void tst_IbtLapsUnusual::recordedSectorTimes()
{
    const QString file
        = QDir(qEnvironmentVariable("ZUM_IBT_SAMPLES"))
              .filePath(QStringLiteral("rr_skmodified_langley_2015-05-28_14-46-23.ibt"));
    if (qEnvironmentVariableIsEmpty("ZUM_IBT_SAMPLES") || !QFile::exists(file))
        QSKIP("the recorded files are not here");
    const Run result = run({file, QStringLiteral("--sectors")});
    QCOMPARE(result.exitCode, 0);
    const QString out = QString::fromUtf8(result.out);
    QVERIFY2(out.contains(QRegularExpression(QStringLiteral("Start +S1 +S2"))),
             result.out.constData());
    QVERIFY(!summaryValue(result.out, QStringLiteral("Sector ideal")).isEmpty());
}

void tst_IbtLapsUnusual::vectorPictures()
{
    const QString svg = path(QStringLiteral("laps.svg"));
    const QString pdf = path(QStringLiteral("laps.pdf"));
    for (const QString &plot : {svg, pdf}) {
        const Run result = run({m_short, QStringLiteral("--plot"), plot});
        QVERIFY2(result.exitCode == 0, result.err.constData());
        QVERIFY(result.err.contains(("info: wrote the picture " + plot).toUtf8()));
    }
    QFile pdfFile(pdf);
    QVERIFY(pdfFile.open(QIODevice::ReadOnly));
    QVERIFY(pdfFile.read(5) == "%PDF-");

    // The SVG drawn again into pixels: the same picture as the PNG, panel for panel.
    QSvgRenderer renderer(svg);
    QVERIFY(renderer.isValid());
    QCOMPARE(renderer.viewBox(), QRect(0, 0, LapPicture::Width, LapPicture::Height));
    QImage image(renderer.viewBox().size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::inputsPanel(),
                               LapPicture::gearPanel()})
        QVERIFY(count(image, panel, PlotStyle::bestColour()) > 50);
    QVERIFY(colourful(image, LapPicture::trackMapPanel()) > 500);
}

// The session text of a file, read from where its header says it is.
QByteArray sessionTextOf(const QString &path)
{
    QFile file(path);
    irsdk_header header {};
    if (!file.open(QIODevice::ReadOnly)
        || file.read(reinterpret_cast<char *>(&header), sizeof header) != sizeof header
        || !file.seek(header.sessionInfoOffset))
        return {};
    return file.read(header.sessionInfoLen);
}

// The value of the first "name: value" line after `after` in a session text.
QString settingAfter(const QByteArray &text, const QByteArray &after, const QByteArray &name)
{
    const qsizetype at = text.indexOf(name + ": ", text.indexOf(after));
    const qsizetype end = text.indexOf('\n', at);
    return QString::fromLatin1(text.mid(at + name.size() + 2, end - at - name.size() - 2))
        .trimmed();
}

void tst_IbtLapsUnusual::carSetup()
{
    const QByteArray session = sessionTextOf(m_short);
    const QString pressure = settingAfter(session, "CarSetup:", "StartingPressure");
    const QString fuel = settingAfter(session, "CarSetup:", "FuelLevel");
    QVERIFY(!pressure.isEmpty() && !fuel.isEmpty());

    const QString json = path(QStringLiteral("setup.json"));
    const Run result = run({m_short, QStringLiteral("--setup"), QStringLiteral("--json"), json});
    QCOMPARE(result.exitCode, 0);
    const QString out = QString::fromUtf8(result.out);
    // A tree in the simulator's order: tyres first, the left front first of them.
    QVERIFY2(out.contains(QStringLiteral("\nSet-up\n\nTires\n  LeftFront\n    StartingPressure: "
                                         "%1\n")
                              .arg(pressure)),
             result.out.constData());
    QVERIFY(out.contains(QStringLiteral("\nChassis\n")));
    QVERIFY(out.contains(QStringLiteral("\n  Rear\n    FuelLevel: %1\n").arg(fuel)));
    QVERIFY(out.indexOf(QStringLiteral("\nTires\n")) < out.indexOf(QStringLiteral("\nChassis\n")));

    // The JSON holds it as an object.
    const QJsonObject setup = readJson(json)[QStringLiteral("setup")].toObject();
    QCOMPARE(setup[QStringLiteral("Tires")][QStringLiteral("LeftFront")]
                  [QStringLiteral("StartingPressure")]
                      .toString(),
             pressure);
    QCOMPARE(setup[QStringLiteral("Chassis")][QStringLiteral("Rear")][QStringLiteral("FuelLevel")]
                 .toString(),
             fuel);
}

void tst_IbtLapsUnusual::setupDifferences()
{
    // The same car with its fuel set in kilograms: the one setting that differs.
    SessionGenerator::Options options;
    options.trackLength = 1500.0;
    options.lapTime = 40.0;
    options.laps = 2;
    options.otherCars = 1;
    options.setupFuelInKg = true;
    const QString kilograms = write(QStringLiteral("fuel-in-kg.ibt"), options);
    const QString before = settingAfter(sessionTextOf(m_short), "CarSetup:", "FuelLevel");
    const QString after = settingAfter(sessionTextOf(kilograms), "CarSetup:", "FuelLevel");
    QVERIFY(before != after);

    Run result = run({m_short, kilograms, QStringLiteral("--setup-diff")});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(QString::fromUtf8(result.out)
                 .contains(QStringLiteral("\nSet-up changes from %1\n\nChassis/Rear/FuelLevel: %2 "
                                          "-> %3\n\n")
                               .arg(m_short, before, after)),
             result.out.constData());

    result = run({m_short, m_shortSecond, QStringLiteral("--setup-diff")});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.contains(
        QStringLiteral("\nSet-up:       the same as in %1\n").arg(m_short).toUtf8()));

    result = run({m_short, QStringLiteral("--setup-diff")});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.err.contains("note: --setup-diff compares the set-ups of several files"));
}

void tst_IbtLapsUnusual::referenceLapOfAnotherFile_data()
{
    QTest::addColumn<QString>("lap"); // after the file's name; empty: its best lap
    QTest::newRow("the best lap of the file") << QString();
    QTest::newRow("a lap by its number") << QStringLiteral(":1");
    QTest::newRow("a lap by stint and lap") << QStringLiteral(":1/1");
}

void tst_IbtLapsUnusual::referenceLapOfAnotherFile()
{
    QFETCH(QString, lap);
    // Another day on the same track, faster: its laps are the reference.
    SessionGenerator::Options faster = m_practiceOptions;
    faster.laps = 2;
    faster.lapTime -= 1.0;
    const QString other = write(QStringLiteral("faster.ibt"), faster);
    const QString plot = path(QStringLiteral("reference%1.png").arg(lap.size()));
    const Run result = run(
        {m_practice, QStringLiteral("--reference"), other + lap, QStringLiteral("--plot"), plot});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    const QImage image(plot);
    // The reference in the best lap's colour in every panel; the file's best lap, set against
    // it, in the colour of its place, and every timed lap of the file behind it in the delta.
    const qsizetype best = indexOfLap(m_practiceLaps, 2); // 1:39.700, the fastest
    QVERIFY(m_practiceLaps[best]->header().lapTime == QTime(0, 1, 39, 700));
    for (const QRect &panel : {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::inputsPanel(),
                               LapPicture::gearPanel(), LapPicture::legendBox()})
        QVERIFY2(count(image, panel, PlotStyle::bestColour()) > 50,
                 qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
    for (const QRect &panel :
         {LapPicture::speedPanel(), LapPicture::deltaPanel(), LapPicture::inputsPanel()})
        QVERIFY2(count(image, panel, colourOfPlace(best)) > 20,
                 qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
    // Every lap of the file is slower than the reference: from the line on, its delta grows
    // above zero, where the panel's floor lies, and is far from it by half a lap.
    const QRect delta = LapPicture::deltaPanel();
    const QRect belowZero(delta.center().x(), delta.bottom() - 6, delta.width() / 2 - 2, 5);
    QCOMPARE(count(image, belowZero, colourOfPlace(best)), 0);
}

void tst_IbtLapsUnusual::referenceOfAnotherTrack()
{
    SessionGenerator::Options other = m_practiceOptions;
    other.laps = 1;
    other.trackDisplayName = QStringLiteral("Other Ring");
    const QString otherTrack = write(QStringLiteral("other-ring.ibt"), other);
    const QString plot = path(QStringLiteral("other-ring.png"));
    const Run result = run(
        {m_practice, QStringLiteral("--reference"), otherTrack, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains(QStringLiteral("ibt-laps: --reference: %1 is of Autodromo Jose "
                                                "Carlos Pace, Grand Prix, but %2 of Other Ring, "
                                                "Grand Prix; a reference lap must be of the same "
                                                "track\n")
                                     .arg(m_practice, otherTrack)
                                     .toUtf8()),
             result.err.constData());
    QVERIFY(!QFile::exists(plot));

    const Run missingLap
        = run({m_practice, QStringLiteral("--reference"), otherTrack + QStringLiteral(":99"),
               QStringLiteral("--plot"), plot});
    QCOMPARE(missingLap.exitCode, 2);
    QVERIFY(missingLap.err.contains(
        QStringLiteral("ibt-laps: --reference: %1 has no lap 99; its laps are ")
            .arg(otherTrack)
            .toUtf8()));
}

QTEST_MAIN(tst_IbtLapsUnusual)
#include "tst_ibtlapsunusual.moc"
