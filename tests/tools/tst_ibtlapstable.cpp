#include "ibtlapsrun.h"
#include "ibtwriter.h"
#include "samplefiles.h"
#include "session.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace IbtLapsRun;
using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

// The recording's start as the summary shows it, from the file's own sub-header.
QString recordedText(const QString &path)
{
    const RecordingStart sub = recordingStart(path);
    return QDateTime::fromSecsSinceEpoch(sub.date, Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
        + QStringLiteral(" UTC, from session time ") + clockText(sub.sessionTime);
}

QStringList firstCells(const QList<QStringList> &rows)
{
    QStringList numbers;
    for (const QStringList &row : rows)
        numbers.append(row.value(0));
    return numbers;
}

} // namespace

// What ibt-laps prints for a driver: the summary, the lap table, the session's numbers,
// the chosen laps and channels, and the table across several files.
class tst_IbtLapsTable : public IbtLapsTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void tableListsTheLaps();
    void summaryOfTheSession();
    void unknownSessionShowsItsName();
    void choosingLaps_data();
    void choosingLaps();
    void listChannels();
    void unknownChannelNames();
    void fileWithoutLaps();
    void severalFiles();
    void recordedFiles_data();
    void recordedFiles();
};

void tst_IbtLapsTable::initTestCase()
{
    QVERIFY(prepare());
}

void tst_IbtLapsTable::tableListsTheLaps()
{
    const QByteArray &out = m_practiceRun.out;
    QCOMPARE(summaryValue(out, QStringLiteral("File")), m_practice);
    QCOMPARE(summaryValue(out, QStringLiteral("Recorded")), recordedText(m_practice));
    QVERIFY(summaryValue(out, QStringLiteral("Track"))
                .startsWith(m_practiceOptions.trackDisplayName + QStringLiteral(", ")
                            + m_practiceOptions.trackConfigName));
    QCOMPARE(summaryValue(out, QStringLiteral("Driver")), m_practiceOptions.playerName);
    QCOMPARE(summaryValue(out, QStringLiteral("Session")), QStringLiteral("Practice"));
    QCOMPARE(summaryValue(out, QStringLiteral("Laps")), QStringLiteral("5"));
    const ZUM::SDK::LapHeader &first = m_practiceLaps.first()->header();
    QCOMPARE(
        summaryValue(out, QStringLiteral("Weather")),
        QStringLiteral("air %1 C, track surface %2 C")
            .arg(first.dynamicData.value(QStringLiteral("Air temperature")).toDouble(), 0, 'f', 1)
            .arg(first.dynamicData.value(QStringLiteral("Track surface temperature")).toDouble(), 0,
                 'f', 1));

    // Out lap, three flying laps, and the in lap that the end of the file closes.
    const QList<QStringList> rows = tableRows(out);
    QCOMPARE(rows.size(), 5);
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QStringList &row = rows[i];
        const Lap &lap = *m_practiceLaps[i];
        const ZUM::SDK::LapHeader &header = lap.header();
        QCOMPARE(row.size(), 8);
        QCOMPARE(row[0], QString::number(header.lapNumber));
        QCOMPARE(row[1], QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint));
        const bool timed = header.lapTime != QTime(0, 59, 59);
        QCOMPARE(row[2],
                 timed ? lapTimeText(QTime(0, 0).msecsTo(header.lapTime) / 1000.0)
                       : QStringLiteral("no time"));
        QCOMPARE(row[3], header.completed ? QStringLiteral("yes") : QStringLiteral("no"));
        QCOMPARE(row[5], QStringLiteral("Practice"));
        QCOMPARE(row[6], QString::number(lap.size()));
        // The lap's start in session time: its first sample's.
        QCOMPARE(row[7], clockText(lap.channel(QStringLiteral("sessiontime"))->value(0)));
    }
    QCOMPARE(rows[0][4], QStringLiteral("out"));
    QCOMPARE(rows[1][4], QStringLiteral("flying"));
    QCOMPARE(rows[4][3], QStringLiteral("no"));

    // The plug-in's log goes to standard error, told apart by level.
    QVERIFY(m_practiceRun.err.contains("info: " + pluginPrefix.toUtf8() + "Importing file"));
    QVERIFY(m_practiceRun.err.contains("Laps readed 5"));
    QVERIFY(!m_practiceRun.err.contains("error:"));
}

void tst_IbtLapsTable::summaryOfTheSession()
{
    const Laps &laps = m_practiceLaps;
    QList<qsizetype> timed;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        if (laps[i]->header().completed && laps[i]->header().lapTime != QTime(0, 59, 59))
            timed.append(i);
    }
    QCOMPARE(timed.size(), 3);
    const auto seconds = [&laps](qsizetype i) {
        return QTime(0, 0).msecsTo(laps[i]->header().lapTime) / 1000.0;
    };
    const qsizetype best
        = *std::min_element(timed.begin(), timed.end(),
                            [&](qsizetype a, qsizetype b) { return seconds(a) < seconds(b); });
    double sum = 0.0;
    for (const qsizetype i : timed)
        sum += seconds(i);
    const double mean = sum / timed.size();
    double squares = 0.0;
    for (const qsizetype i : timed)
        squares += (seconds(i) - mean) * (seconds(i) - mean);

    double topSpeed = 0.0;
    qsizetype topLap = -1;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const Channel &speed = *laps[i]->channel(QStringLiteral("speed"));
        for (qint64 k = 0; k < speed.size(); ++k) {
            if (speed.isValid(k) && speed.value(k) > topSpeed) {
                topSpeed = speed.value(k);
                topLap = i;
            }
        }
    }
    double fuel = 0.0;
    for (const qsizetype i : timed) {
        const Channel &level = *laps[i]->channel(QStringLiteral("fuellevel"));
        fuel += level.value(0) - level.value(level.size() - 1);
    }

    const QByteArray &out = m_practiceRun.out;
    QCOMPARE(summaryValue(out, QStringLiteral("Best lap")),
             QStringLiteral("%1 on lap %2")
                 .arg(lapTimeText(seconds(best)))
                 .arg(laps[best]->header().lapNumber));
    QCOMPARE(summaryValue(out, QStringLiteral("Average")),
             QStringLiteral("%1 over 3 timed laps, spread %2 s (standard deviation)")
                 .arg(lapTimeText(mean))
                 .arg(std::sqrt(squares / 2.0), 0, 'f', 3));
    QCOMPARE(summaryValue(out, QStringLiteral("Top speed")),
             QStringLiteral("%1 km/h on lap %2")
                 .arg(topSpeed * 3.6, 0, 'f', 1)
                 .arg(laps[topLap]->header().lapNumber));
    QCOMPARE(summaryValue(out, QStringLiteral("Fuel per lap")),
             QStringLiteral("%1 l, the average of 3 timed laps").arg(fuel / 3.0, 0, 'f', 3));
    // The generator drives every flying lap along the same profile, only faster or slower:
    // the best lap is the best in every mini-sector, and the ideal lap is the best lap.
    QCOMPARE(summaryValue(out, QStringLiteral("Ideal lap")),
             QStringLiteral("%1, the best of each of 20 equal mini-sectors by lap distance over "
                            "3 timed laps")
                 .arg(lapTimeText(seconds(best))));

    // In other units the speed, the fuel and the temperatures change.
    const Run imperial = run({m_practice, QStringLiteral("--units"), QStringLiteral("imperial")});
    QCOMPARE(summaryValue(imperial.out, QStringLiteral("Top speed")),
             QStringLiteral("%1 mph on lap %2")
                 .arg(topSpeed * 3.6 / 1.609344, 0, 'f', 1)
                 .arg(laps[topLap]->header().lapNumber));
    const QString litres = summaryValue(out, QStringLiteral("Fuel per lap"));
    QVERIFY(litres.contains(QStringLiteral(" l, the average of")));
    QCOMPARE(summaryValue(imperial.out, QStringLiteral("Fuel per lap")),
             QStringLiteral("%1 gal, the average of 3 timed laps")
                 .arg(litres.section(QLatin1Char(' '), 0, 0).toDouble() / 3.785411784, 0, 'f', 3));
    const double air
        = laps.first()->header().dynamicData.value(QStringLiteral("Air temperature")).toDouble();
    QVERIFY(summaryValue(imperial.out, QStringLiteral("Weather"))
                .startsWith(QStringLiteral("air %1 F").arg(air * 1.8 + 32.0, 0, 'f', 1)));
}

void tst_IbtLapsTable::unknownSessionShowsItsName()
{
    // A session kind the import does not map: the session text's own name is shown beside it.
    SessionGenerator::Options options;
    options.laps = 1;
    const SessionGenerator generator(options);
    IbtWriter writer;
    generator.configure(writer);
    QByteArray text = generator.sessionInfo();
    QVERIFY(text.contains("SessionType: Practice"));
    text.replace("SessionType: Practice", "SessionType: Offline Testing");
    writer.setSessionInfo(text);
    const QString file = path(QStringLiteral("offline-testing.ibt"));
    QVERIFY(writer.open(file) && generator.writeRecords(writer) && writer.finish());

    const Laps laps = importDirectly(file);
    QVERIFY(!laps.isEmpty());
    QCOMPARE(laps.first()->header().session, ZUM::SDK::Session::Unknown);
    const QString name
        = laps.first()->header().dynamicData.value(QStringLiteral("Session name")).toString();
    QCOMPARE(name, QStringLiteral("Offline Testing"));

    const Run result = run({file});
    QCOMPARE(result.exitCode, 0);
    const QString expected = QStringLiteral("Unknown session (%1)").arg(name);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Session")), expected);
    for (const QStringList &row : tableRows(result.out))
        QCOMPARE(row[5], expected);
}

void tst_IbtLapsTable::choosingLaps_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("lapNumbers");

    // Laps 0 (out), 1 to 3 (timed), 5 (the in lap, cut by the end of the file).
    QTest::newRow("every lap") << QStringList {} << QStringList {"0", "1", "2", "3", "5"};
    QTest::newRow("numbers and ranges")
        << QStringList {"--laps", "0,2-3"} << QStringList {"0", "2", "3"};
    QTest::newRow("timed") << QStringList {"--timed"} << QStringList {"1", "2", "3"};
    QTest::newRow("best") << QStringList {"--best"} << QStringList {"2"};
    QTest::newRow("timed of a range")
        << QStringList {"--timed", "--laps", "3-9"} << QStringList {"3"};
}

void tst_IbtLapsTable::choosingLaps()
{
    QFETCH(QStringList, options);
    QFETCH(QStringList, lapNumbers);

    // Which lap is best comes from the laps themselves.
    if (options.contains(QStringLiteral("--best"))) {
        qsizetype best = -1;
        for (qsizetype i = 0; i < m_practiceLaps.size(); ++i) {
            const ZUM::SDK::LapHeader &header = m_practiceLaps[i]->header();
            if (header.completed && header.lapTime != QTime(0, 59, 59)
                && (best < 0 || header.lapTime < m_practiceLaps[best]->header().lapTime))
                best = i;
        }
        lapNumbers = {QString::number(m_practiceLaps[best]->header().lapNumber)};
    }
    const QString json = path(QStringLiteral("chosen-%1.json").arg(QTest::currentDataTag()));
    const Run result = run(QStringList {m_practice, QStringLiteral("--json"), json} + options);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(firstCells(tableRows(result.out)), lapNumbers);
    QStringList written;
    for (const QJsonValue &lap : readJson(json)[QStringLiteral("laps")].toArray())
        written.append(
            QString::number(lap[QStringLiteral("header")][QStringLiteral("lapNumber")].toInt()));
    QCOMPARE(written, lapNumbers);
    // The summary stays the whole session's.
    QCOMPARE(summaryValue(result.out, QStringLiteral("Best lap")),
             summaryValue(m_practiceRun.out, QStringLiteral("Best lap")));
    if (!options.isEmpty())
        QCOMPARE(summaryValue(result.out, QStringLiteral("Laps")),
                 QStringLiteral("5, %1 chosen").arg(lapNumbers.size()));
}

void tst_IbtLapsTable::listChannels()
{
    const Run result = run({m_short, QStringLiteral("--list-channels")});
    QCOMPARE(result.exitCode, 0);
    QMap<QString, QString> expected;
    for (const QSharedPointer<Lap> &lap : importDirectly(m_short)) {
        for (const QString &name : lap->getAvailableRecordedChannels()) {
            const QString unit = lap->channel(name)->unit();
            expected.insert(name, unit.isEmpty() ? QStringLiteral("-") : unit);
        }
    }
    const QList<QStringList> rows = tableRows(result.out);
    QCOMPARE(rows.size(), expected.size());
    for (const QStringList &row : rows) {
        QVERIFY2(expected.contains(row[0]), qPrintable(row[0]));
        QCOMPARE(row[1], expected.value(row[0]));
        QCOMPARE(row[2], QStringLiteral("recorded"));
    }
    QVERIFY(expected.contains(QStringLiteral("speed")));
}

void tst_IbtLapsTable::unknownChannelNames()
{
    const QString json = path(QStringLiteral("unknown-channels.json"));
    const Run result = run({m_short, QStringLiteral("--json"), json, QStringLiteral("--channels"),
                            QStringLiteral("speed,throtle,nonsense")});
    QCOMPARE(result.exitCode, 2);
    const QString err = QString::fromUtf8(result.err);
    QVERIFY2(err.contains(QStringLiteral("ibt-laps: --channels: no channel 'throtle'; near "
                                         "names: throttle")),
             qPrintable(err));
    QVERIFY(err.contains(QStringLiteral("ibt-laps: --channels: no channel 'nonsense'")));
    QVERIFY(!err.contains(QStringLiteral("'speed'")));
    QVERIFY(err.endsWith(QStringLiteral("Try 'ibt-laps --help'.\n")));
    // Nothing half written.
    QVERIFY(!QFile::exists(json));
    QVERIFY(result.out.isEmpty());
}

void tst_IbtLapsTable::fileWithoutLaps()
{
    const QString json = path(QStringLiteral("none.json"));
    const QString csv = path(QStringLiteral("csv-none"));
    const Run result
        = run({m_noPlayer, QStringLiteral("--json"), json, QStringLiteral("--csv"), csv});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Laps")),
             QStringLiteral("no laps: the session text names no car of the player "
                            "(DriverInfo/DriverCarIdx)"));
    QCOMPARE(summaryValue(result.out, QStringLiteral("Recorded")), recordedText(m_noPlayer));
    QVERIFY(tableRows(result.out).isEmpty());
    QCOMPARE(readJson(json)[QStringLiteral("laps")].toArray().size(), 0);
    QVERIFY(csvFiles(csv).isEmpty());
}

void tst_IbtLapsTable::severalFiles()
{
    const Run result = run({m_short, m_noPlayer, m_shortSecond});
    QCOMPARE(result.exitCode, 0);

    // Each file reported in turn.
    const QString out = QString::fromUtf8(result.out);
    const qsizetype first = out.indexOf(QStringLiteral("File:         ") + m_short);
    const qsizetype second = out.indexOf(QStringLiteral("File:         ") + m_shortSecond);
    QVERIFY(first >= 0);
    QVERIFY(second > first);
    QVERIFY(out.contains(QStringLiteral("Driver:       Second Driver")));

    // Then one table across them, in the order they were recorded: the second file a day
    // before the others, which started together and keep the order they were given in.
    const qsizetype all = out.indexOf(QStringLiteral("\nAll files\n"));
    QVERIFY(all > second);
    const QList<QStringList> rows
        = tableRows(result.out, out.left(all).count(QLatin1Char('\n')) + 1);
    QCOMPARE(rows.size(), 3);
    QStringList files;
    for (const QStringList &row : rows)
        files.append(row[1]);
    QCOMPARE(files,
             (QStringList {QStringLiteral("second.ibt"), QStringLiteral("short.ibt"),
                           QStringLiteral("no-player.ibt")}));
    const RecordingStart secondStart = recordingStart(m_shortSecond);
    QCOMPARE(rows[0][0],
             QDateTime::fromSecsSinceEpoch(secondStart.date, Qt::UTC)
                 .toString(QStringLiteral("yyyy-MM-dd hh:mm")));

    // The best lap of them all; of equal times the one driven first.
    QTime best;
    QString bestFile;
    qint32 bestNumber = -1;
    for (const QString &file : {m_shortSecond, m_short}) {
        for (const QSharedPointer<Lap> &lap : importDirectly(file)) {
            const ZUM::SDK::LapHeader &header = lap->header();
            if (header.completed && header.lapTime != QTime(0, 59, 59)
                && (!best.isValid() || header.lapTime < best)) {
                best = header.lapTime;
                bestFile = file;
                bestNumber = header.lapNumber;
            }
        }
    }
    QVERIFY(out.contains(QStringLiteral("Best lap, Autodromo Jose Carlos Pace, Grand Prix, "
                                        "Mercedes AMG GT4: %1 on lap %2 of %3\n")
                             .arg(lapTimeText(QTime(0, 0).msecsTo(best) / 1000.0))
                             .arg(bestNumber)
                             .arg(bestFile)));
}

void tst_IbtLapsTable::recordedFiles_data()
{
    QTest::addColumn<QString>("file");
    for (const QString &file : SampleFiles::all())
        QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    if (SampleFiles::all().isEmpty())
        QTest::newRow("no recorded files") << QString();
}

void tst_IbtLapsTable::recordedFiles()
{
    QFETCH(QString, file);
    if (file.isEmpty())
        QSKIP("no recorded .ibt files in ZUM_IBT_SAMPLES or ../shared/ibt");

    const Laps laps = importDirectly(file);
    const Run result = run({file});
    QVERIFY2(result.exitCode == 0 || result.exitCode == 1, result.err.constData());
    QVERIFY2(onlyTaggedLines(result.err), result.err.constData());
    if (laps.isEmpty())
        return;

    // The recording's start and the laps' starts as the file holds them, whatever the
    // file's modification time.
    const RecordingStart sub = recordingStart(file);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Recorded")), recordedText(file));
    QVERIFY(sub.date > 0);
    const QList<QStringList> rows = tableRows(result.out);
    QCOMPARE(rows.size(), laps.size());
    for (qsizetype i = 0; i < laps.size(); ++i)
        QCOMPARE(rows[i][7], clockText(laps[i]->channel(QStringLiteral("sessiontime"))->value(0)));
    const ZUM::SDK::LapHeader &header = laps.first()->header();
    if (header.session == ZUM::SDK::Session::Unknown)
        QCOMPARE(summaryValue(result.out, QStringLiteral("Session")),
                 QStringLiteral("Unknown session (%1)")
                     .arg(header.dynamicData.value(QStringLiteral("Session name")).toString()));
}

QTEST_GUILESS_MAIN(tst_IbtLapsTable)
#include "tst_ibtlapstable.moc"
