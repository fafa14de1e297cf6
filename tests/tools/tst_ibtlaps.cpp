#include "ibtlapsrun.h"
#include "ibtwriter.h"
#include "samplefiles.h"
#include "session.h"
#include "sessiongenerator.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <unistd.h>

using namespace IbtLapsRun;
using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

// The recording's start as the summary shows it, from the file's own sub-header.
QString recordedText(const QString &path)
{
    const irsdk_diskSubHeader sub = diskSubHeader(path);
    return QDateTime::fromSecsSinceEpoch(sub.sessionStartDate, Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
        + QStringLiteral(" UTC, from session time ") + clockText(sub.sessionStartTime);
}

QStringList firstCells(const QList<QStringList> &rows)
{
    QStringList numbers;
    for (const QStringList &row : rows)
        numbers.append(row.value(0));
    return numbers;
}

} // namespace

class tst_IbtLaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void helpAndVersion_data();
    void helpAndVersion();
    void onlyItsOwnOutput_data();
    void onlyItsOwnOutput();
    void quietLeavesOutInformation();
    void exitStatus_data();
    void exitStatus();
    void badOutputsFailBeforeAnyImport_data();
    void badOutputsFailBeforeAnyImport();
    void unreadableFilesSayWhy_data();
    void unreadableFilesSayWhy();
    void partialRecordsGetANote_data();
    void partialRecordsGetANote();
    void notAnImportPlugin();
    void damagedFileEndsInAnException();
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

private:
    QString path(const QString &name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    SessionGenerator::Options m_practiceOptions; // the default practice session
    QString m_practice; // practice.ibt
    Run m_practiceRun;
    Laps m_practiceLaps; // the same file imported here
    QString m_short; // a short practice session for the quicker runs
    QString m_shortSecond; // another one, with a second driver, recorded a day earlier
    QString m_noPlayer; // a session without the player's car: no laps
};

void tst_IbtLaps::initTestCase()
{
    QVERIFY(m_dir.isValid());
    Sessions sessions;
    QVERIFY(sessions.write(m_dir));
    m_practiceOptions = sessions.practiceOptions;
    m_practice = sessions.practice;
    m_short = sessions.shortOne;
    m_shortSecond = sessions.second;
    m_noPlayer = sessions.noPlayer;

    m_practiceRun = run({m_practice});
    QVERIFY2(m_practiceRun.exitCode == 0, m_practiceRun.err.constData());
    m_practiceLaps = importDirectly(m_practice);
    QCOMPARE(m_practiceLaps.size(), 5);
}

void tst_IbtLaps::helpAndVersion_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("help names every option")
        << QStringLiteral("--help")
        << QStringList {
               "--plugin <path>",  "--json <file>", "--no-channels",      "--csv <dir>",
               "--force",          "--plot <file>", "--compare <lap>",    "--laps <list>",
               "--timed",          "--best",        "--channels <names>", "--list-channels",
               "--units <system>", "--quiet",       "--version",          "file.ibt..."};
    ZUM::SDK::PluginInterfaceImport *import = plugin();
    QVERIFY(import);
    QTest::newRow("version names the tool, the plug-in and Qt")
        << QStringLiteral("--version")
        << QStringList {QStringLiteral("ibt-laps 0.2\n"),
                        QStringLiteral("plug-in: %1 %2\n")
                            .arg(import->pluginName(), import->pluginVersion()),
                        QStringLiteral("Qt %1\n").arg(QString::fromLatin1(qVersion()))};
}

void tst_IbtLaps::helpAndVersion()
{
    QFETCH(QString, option);
    QFETCH(QStringList, expected);

    const Run result = run({option});
    QCOMPARE(result.exitCode, 0);
    for (const QString &text : expected)
        QVERIFY2(QString::fromUtf8(result.out).contains(text), qPrintable(text));
    QVERIFY2(result.err.isEmpty(), result.err.constData());
}

void tst_IbtLaps::onlyItsOwnOutput_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("help") << QStringList {QStringLiteral("--help")};
    QTest::newRow("a file that imports") << QStringList {m_short};
    QTest::newRow("a missing file") << QStringList {path(QStringLiteral("missing.ibt"))};
    QTest::newRow("a picture") << QStringList {m_short, QStringLiteral("--plot"),
                                               path(QStringLiteral("own-output.png"))};
}

void tst_IbtLaps::onlyItsOwnOutput()
{
    QFETCH(QStringList, arguments);
    // As on a server without a desktop session: the Qt runtime has things to say then.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"XDG_RUNTIME_DIR", "QT_QPA_PLATFORM", "DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    const Run result = run(arguments, environment);
    QVERIFY2(!result.err.contains("XDG_RUNTIME_DIR"), result.err.constData());
    QVERIFY2(onlyTaggedLines(result.err), result.err.constData());
}

void tst_IbtLaps::quietLeavesOutInformation()
{
    const QString missing = path(QStringLiteral("missing.ibt"));
    const Run result = run({QStringLiteral("--quiet"), m_short, missing, QStringLiteral("--csv"),
                            path(QStringLiteral("csv-quiet"))});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(!result.err.contains("info:"), result.err.constData());
    QVERIFY(result.err.contains("error: " + pluginPrefix.toUtf8() + "Can't open file"));
    QVERIFY(result.err.contains(("error: " + missing + ": does not exist").toUtf8()));
    QVERIFY(result.out.contains("File:"));
}

void tst_IbtLaps::exitStatus_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message"); // on standard error

    const QString missing = path(QStringLiteral("missing.ibt"));
    QTest::newRow("a file that imports") << QStringList {m_short} << 0 << QString();
    QTest::newRow("no arguments") << QStringList {} << 2 << QStringLiteral("no input file");
    QTest::newRow("unknown option") << QStringList {QStringLiteral("--frobnicate"), m_short} << 2
                                    << QStringLiteral("Unknown option 'frobnicate'");
    QTest::newRow("option without its value")
        << QStringList {m_short, QStringLiteral("--json")} << 2
        << QStringLiteral("Missing value after '--json'");
    QTest::newRow("plug-in option without its value")
        << QStringList {m_short, QStringLiteral("--plugin")} << 2
        << QStringLiteral("Missing value after '--plugin'");
    QTest::newRow("laps that are no numbers")
        << QStringList {m_short, QStringLiteral("--laps"), QStringLiteral("3,x")} << 2
        << QStringLiteral("--laps: 'x' is not a lap number");
    QTest::newRow("units of no system")
        << QStringList {m_short, QStringLiteral("--units"), QStringLiteral("furlongs")} << 2
        << QStringLiteral("--units: 'furlongs' is not metric or imperial");
    QTest::newRow("compare with no lap number")
        << QStringList {m_short, QStringLiteral("--compare"), QStringLiteral("best")} << 2
        << QStringLiteral("--compare: 'best' is not a lap number");
    QTest::newRow("a picture format Qt cannot write")
        << QStringList {m_short, QStringLiteral("--plot"), path(QStringLiteral("laps.xyz"))} << 2
        << QStringLiteral("--plot: Qt cannot write pictures of the format 'xyz'");
    QTest::newRow("missing file") << QStringList {missing} << 1
                                  << QStringLiteral("error: ") + pluginPrefix
            + QStringLiteral("Can't open file ") + missing;
    QTest::newRow("a failed file among good ones")
        << QStringList {m_short, missing, m_short} << 1 << QStringLiteral("Can't open file ");
    QTest::newRow("plug-in that is not there")
        << QStringList {QStringLiteral("--plugin"), path(QStringLiteral("nothing.so")), m_short}
        << 1 << QStringLiteral("cannot load the import plug-in");
}

void tst_IbtLaps::exitStatus()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);

    const Run result = run(arguments);
    QVERIFY2(result.exitCode == exitCode, result.err.constData());
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
    if (exitCode == 2) {
        QVERIFY(result.out.isEmpty());
        QVERIFY(result.err.endsWith("Try 'ibt-laps --help'.\n"));
    }
}

void tst_IbtLaps::badOutputsFailBeforeAnyImport_data()
{
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<QString>("message");

    const QString notAFolder = path(QStringLiteral("not-a-folder"));
    {
        QFile file(notAFolder);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QString absent = path(QStringLiteral("absent"));
    QTest::newRow("JSON into a missing folder")
        << QStringList {QStringLiteral("--json"), absent + QStringLiteral("/laps.json")}
        << QStringLiteral("error: cannot write JSON to ") + absent + QStringLiteral("/laps.json");
    QTest::newRow("CSV folder that is a file")
        << QStringList {QStringLiteral("--csv"), notAFolder}
        << QStringLiteral("error: cannot create the CSV folder ") + notAFolder;
    QTest::newRow("picture into a missing folder")
        << QStringList {QStringLiteral("--plot"), absent + QStringLiteral("/laps.png")}
        << QStringLiteral("error: cannot write the picture %1/laps.png: the folder %1 does not "
                          "exist")
               .arg(absent);
    QTest::newRow("picture that is a folder")
        << QStringList {QStringLiteral("--plot"), m_dir.path()}
        << QStringLiteral("error: cannot write the picture %1: it is a directory")
               .arg(m_dir.path());
    QTest::newRow("several pictures, one into a missing folder")
        << QStringList {QStringLiteral("--plot"), absent + QStringLiteral("/laps.png"),
                        m_shortSecond}
        << QStringLiteral("error: cannot write the picture %1/laps_practice.png").arg(absent);
}

void tst_IbtLaps::badOutputsFailBeforeAnyImport()
{
    QFETCH(QStringList, outputs);
    QFETCH(QString, message);
    // The practice session takes the longest to import: it never starts.
    const Run result = run(QStringList {m_practice} + outputs);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
    QVERIFY2(!result.err.contains("Importing file"), result.err.constData());
    QVERIFY(result.out.isEmpty());
}

void tst_IbtLaps::unreadableFilesSayWhy_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("pluginLine"); // the plug-in's own error, unchanged
    QTest::addColumn<QString>("reason");

    const QString headerError = pluginPrefix
        + QStringLiteral("IBT import error:  Error reading "
                         "irsdk_header");
    const QString missing = path(QStringLiteral("missing.ibt"));
    QTest::newRow("a file that does not exist")
        << missing << pluginPrefix + QStringLiteral("Can't open file ") + missing
        << QStringLiteral("does not exist");
    const QString folder = path(QStringLiteral("a-folder.ibt"));
    QVERIFY(QDir().mkpath(folder));
    QTest::newRow("a directory") << folder << headerError << QStringLiteral("is a directory");
    const QString empty = path(QStringLiteral("empty.ibt"));
    {
        QFile file(empty);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QTest::newRow("an empty file")
        << empty << headerError << QStringLiteral("is empty: not a valid .ibt file");
    SessionGenerator::Options cut;
    cut.laps = 1;
    cut.truncateAt = 100;
    const QString cutShort = path(QStringLiteral("cut-short.ibt"));
    QVERIFY(SessionGenerator(cut).write(cutShort));
    QTest::newRow("a file shorter than a header")
        << cutShort << headerError
        << QStringLiteral("is shorter than a header (100 of %1 bytes): not a valid .ibt file")
               .arg(sizeof(irsdk_header));
    SessionGenerator::Options damaged;
    damaged.laps = 1;
    damaged.overrides.sessionInfoLen = -1;
    const QString negative = path(QStringLiteral("negative-length.ibt"));
    QVERIFY(SessionGenerator(damaged).write(negative));
    QTest::newRow("a length that cannot be allocated")
        << negative << QString()
        << QStringLiteral("has a length in its header that cannot be allocated: not a valid "
                          ".ibt file");
    if (geteuid() != 0) {
        const QString locked = path(QStringLiteral("locked.ibt"));
        QVERIFY(QFile::copy(m_short, locked));
        QVERIFY(QFile::setPermissions(locked, QFileDevice::WriteOwner));
        QTest::newRow("a file one may not read")
            << locked << pluginPrefix + QStringLiteral("Can't open file ") + locked
            << QStringLiteral("permission denied");
    }
}

void tst_IbtLaps::unreadableFilesSayWhy()
{
    QFETCH(QString, file);
    QFETCH(QString, pluginLine);
    QFETCH(QString, reason);

    const Run result = run({file});
    QCOMPARE(result.exitCode, 1);
    const QString err = QString::fromUtf8(result.err);
    if (!pluginLine.isEmpty())
        QVERIFY2(err.contains(QStringLiteral("error: ") + pluginLine + u'\n'), qPrintable(err));
    QVERIFY2(err.contains(QStringLiteral("error: %1: %2\n").arg(file, reason)), qPrintable(err));
}

void tst_IbtLaps::partialRecordsGetANote_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("note"); // empty: no note

    SessionGenerator::Options options;
    options.laps = 1;
    const SessionGenerator whole(options);
    const QString wholeFile = path(QStringLiteral("whole.ibt"));
    QVERIFY(whole.write(wholeFile));
    const int records = whole.summary().recordCount;
    const int recordLength = whole.summary().recordLength;
    const irsdk_header header = [&] {
        irsdk_header h {};
        QFile file(wholeFile);
        if (file.open(QIODevice::ReadOnly))
            file.read(reinterpret_cast<char *>(&h), sizeof h);
        return h;
    }();
    const qint64 firstRecord = header.varBuf[0].bufOffset;

    QTest::newRow("whole records") << wholeFile << QString();

    options.shortLastRecordBytes = 100;
    const QString partial = path(QStringLiteral("partial.ibt"));
    QVERIFY(SessionGenerator(options).write(partial));
    QTest::newRow("a partial last record")
        << partial
        << QStringLiteral("%1 whole records read, 100 bytes of a partial record dropped")
               .arg(records);

    options.shortLastRecordBytes = -1;
    options.truncateAt = firstRecord + 10 * recordLength + 7;
    const QString cut = path(QStringLiteral("cut.ibt"));
    QVERIFY(SessionGenerator(options).write(cut));
    QTest::newRow("a file cut in its records")
        << cut << QStringLiteral("10 whole records read, 7 bytes of a partial record dropped");

    options.truncateAt = firstRecord;
    const QString none = path(QStringLiteral("no-records.ibt"));
    QVERIFY(SessionGenerator(options).write(none));
    QTest::newRow("no records") << none << QStringLiteral("no records");

    options.truncateAt = firstRecord + 300;
    const QString insideFirst = path(QStringLiteral("inside-first.ibt"));
    QVERIFY(SessionGenerator(options).write(insideFirst));
    QTest::newRow("cut inside the first record")
        << insideFirst << QStringLiteral("no records, 300 bytes of a partial record dropped");
}

void tst_IbtLaps::partialRecordsGetANote()
{
    QFETCH(QString, file);
    QFETCH(QString, note);

    // The laps that were read are good: the exit status stays 0.
    const Run result = run({file});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    const QString err = QString::fromUtf8(result.err);
    if (note.isEmpty())
        QVERIFY2(!err.contains(QStringLiteral("note:")), qPrintable(err));
    else
        QVERIFY2(err.contains(QStringLiteral("note: %1: %2\n").arg(file, note)), qPrintable(err));
}

void tst_IbtLaps::notAnImportPlugin()
{
    // A real Qt plug-in that offers another interface: one of Qt's own platform plug-ins.
    const QDir platforms(QLibraryInfo::path(QLibraryInfo::PluginsPath)
                         + QStringLiteral("/platforms"));
    const QStringList plugins = platforms.entryList(QDir::Files);
    if (plugins.isEmpty())
        QSKIP("no Qt platform plug-in to load");
    const QString other = platforms.filePath(plugins.contains(QStringLiteral("libqminimal.so"))
                                                 ? QStringLiteral("libqminimal.so")
                                                 : plugins.first());

    const Run result = run({QStringLiteral("--plugin"), other, m_short});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("is not an import plug-in"), result.err.constData());
    QVERIFY(result.out.isEmpty());
}

void tst_IbtLaps::damagedFileEndsInAnException()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("the address sanitizer aborts on an impossible allocation instead of throwing");
#endif
    // A negative record length makes the plug-in ask for an impossible buffer; the host
    // catches what leaves the import.
    SessionGenerator::Options damaged;
    damaged.laps = 1;
    damaged.overrides.bufLen = -5;
    const QString file = path(QStringLiteral("negative-record-length.ibt"));
    QVERIFY(SessionGenerator(damaged).write(file));

    const QString json = path(QStringLiteral("negative-record-length.json"));
    const Run result = run({file, m_short, QStringLiteral("--json"), json});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("error: the import ended by an exception"),
             result.err.constData());
    QVERIFY(result.err.contains(
        (file + ": has a length in its header that cannot be allocated").toUtf8()));
    // The next file is still imported.
    QCOMPARE(result.out.count("File:"), 2);

    const QJsonArray imports = readJson(json).array();
    QCOMPARE(imports.size(), 2);
    const QJsonArray messages = imports[0][QStringLiteral("messages")].toArray();
    QVERIFY(!messages.isEmpty());
    QCOMPARE(messages.last()[QStringLiteral("level")].toInt(), -2);
    QVERIFY(messages.last()[QStringLiteral("text")].toString().startsWith(
        QStringLiteral("the import ended by an exception")));
    QVERIFY(imports[0][QStringLiteral("laps")].toArray().isEmpty());
    QVERIFY(!imports[1][QStringLiteral("laps")].toArray().isEmpty());
}

void tst_IbtLaps::tableListsTheLaps()
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

void tst_IbtLaps::summaryOfTheSession()
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

    // In other units only the speed changes.
    const Run imperial = run({m_practice, QStringLiteral("--units"), QStringLiteral("imperial")});
    QCOMPARE(summaryValue(imperial.out, QStringLiteral("Top speed")),
             QStringLiteral("%1 mph on lap %2")
                 .arg(topSpeed * 3.6 / 1.609344, 0, 'f', 1)
                 .arg(laps[topLap]->header().lapNumber));
    QCOMPARE(summaryValue(imperial.out, QStringLiteral("Fuel per lap")),
             summaryValue(out, QStringLiteral("Fuel per lap")));
    const double air
        = laps.first()->header().dynamicData.value(QStringLiteral("Air temperature")).toDouble();
    QVERIFY(summaryValue(imperial.out, QStringLiteral("Weather"))
                .startsWith(QStringLiteral("air %1 F").arg(air * 1.8 + 32.0, 0, 'f', 1)));
}

void tst_IbtLaps::unknownSessionShowsItsName()
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

void tst_IbtLaps::choosingLaps_data()
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

void tst_IbtLaps::choosingLaps()
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

void tst_IbtLaps::listChannels()
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

void tst_IbtLaps::unknownChannelNames()
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

void tst_IbtLaps::fileWithoutLaps()
{
    const QString json = path(QStringLiteral("none.json"));
    const QString csv = path(QStringLiteral("csv-none"));
    const Run result
        = run({m_noPlayer, QStringLiteral("--json"), json, QStringLiteral("--csv"), csv});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Laps")), QStringLiteral("no laps"));
    QCOMPARE(summaryValue(result.out, QStringLiteral("Recorded")), recordedText(m_noPlayer));
    QVERIFY(tableRows(result.out).isEmpty());
    QCOMPARE(readJson(json)[QStringLiteral("laps")].toArray().size(), 0);
    QVERIFY(csvFiles(csv).isEmpty());
}

void tst_IbtLaps::severalFiles()
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
    const irsdk_diskSubHeader secondStart = diskSubHeader(m_shortSecond);
    QCOMPARE(rows[0][0],
             QDateTime::fromSecsSinceEpoch(secondStart.sessionStartDate, Qt::UTC)
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
    QVERIFY(out.contains(QStringLiteral("Best lap overall: %1 on lap %2 of %3\n")
                             .arg(lapTimeText(QTime(0, 0).msecsTo(best) / 1000.0))
                             .arg(bestNumber)
                             .arg(bestFile)));
}

void tst_IbtLaps::recordedFiles_data()
{
    QTest::addColumn<QString>("file");
    for (const QString &file : SampleFiles::all())
        QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    if (SampleFiles::all().isEmpty())
        QTest::newRow("no recorded files") << QString();
}

void tst_IbtLaps::recordedFiles()
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
    const irsdk_diskSubHeader sub = diskSubHeader(file);
    QCOMPARE(summaryValue(result.out, QStringLiteral("Recorded")), recordedText(file));
    QVERIFY(sub.sessionStartDate > 0);
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

QTEST_GUILESS_MAIN(tst_IbtLaps)
#include "tst_ibtlaps.moc"
