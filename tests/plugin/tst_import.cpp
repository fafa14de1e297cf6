#include "ibtimage.h"
#include "ibtwriter.h"
#include "irtelemetryreader.h"
#include "plugininterfaceimport.h"
#include "readerreplay.h"
#include "recordedlaps.h"
#include "samplefiles.h"
#include "sessiongenerator.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QPluginLoader>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <new>
#include <optional>

Q_DECLARE_METATYPE(IbtWriter::Overrides)

using ZUM::SDK::Lap;
using ZUM::SDK::PluginInterfaceImport;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

const QString format = QStringLiteral("iRacing binary telemetry (*.ibt)");
const QString prefix = QStringLiteral("[ZUM iRacing ibt import plugin plugin] ");

struct Message
{
    int level;
    QString text;
};

struct Imported
{
    Laps laps;
    QList<Message> messages;

    // The texts without the plug-in's prefix, the time of the final report blanked.
    QStringList texts() const
    {
        QStringList result;
        for (const Message &message : messages) {
            QString text = message.text.mid(prefix.size());
            text.replace(QRegularExpression(QStringLiteral("^Done in \\d+ ms")),
                         QStringLiteral("Done in N ms"));
            result.append(text);
        }
        return result;
    }
};

ZUM::SDK::PluginInterfaceImport *plugin()
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    return qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
}

Imported importFile(const QString &path, const QString &chosenFormat = format)
{
    QSignalSpy spy(plugin()->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    Imported result;
    result.laps = plugin()->import(path, chosenFormat, {});
    for (const QList<QVariant> &arguments : spy) {
        result.messages.append({arguments.at(1).toInt(), arguments.at(0).toString()});
        if (!arguments.at(0).toString().startsWith(prefix))
            qWarning() << "message without the plug-in's prefix:" << arguments.at(0);
    }
    return result;
}

bool writeSession(const QString &path, const SessionGenerator::Options &options)
{
    return SessionGenerator(options).write(path);
}

// A valid little file: a session text naming the player and a few variables.
bool writeSmallFile(const QString &path, const IbtWriter::Overrides &overrides, int records,
                    qint64 truncateAt = -1)
{
    IbtWriter writer;
    writer.setSessionInfo("---\nWeekendInfo:\n SimMode: full\nDriverInfo:\n DriverCarIdx: 0\n"
                          " Drivers:\n - CarIdx: 0\n   UserName: Solo\n...\n");
    writer.addVariable("SessionTime", irsdk_double, 1, "s");
    writer.addVariable("Speed", irsdk_float, 1, "m/s");
    writer.setOverrides(overrides);
    writer.setTruncateAt(truncateAt);
    if (!writer.open(path))
        return false;
    for (int i = 0; i < records; ++i) {
        writer.setValue(0, i / 60.0);
        writer.appendRecord();
    }
    return writer.finish();
}

QString lapTimeText(const Lap &lap)
{
    return lap.header().lapTime.toString(QStringLiteral("m:ss.zzz"));
}

} // namespace

class tst_Import : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void failures_data();
    void failures();
    void formatDifferingInCaseIsUnknown();
    void headerButNoWholeRecord();
    void shortLastRecordIsDropped();
    void zeroLengthsEndCleanly();
    void negativeLengthLeavesAsAnAllocationFailure_data();
    void negativeLengthLeavesAsAnAllocationFailure();
    void practiceSession();
    void startTimesWalkBackFromTheFileTime();
    void deletedFileKeepsTheReadersTimes();
    void noPlayerGivesNoLaps();
    void lapHandedOverByTheLastRecordIsListedOnce();
    void importsOneAfterAnother();
    void recordedFiles_data();
    void recordedFiles();

private:
    QTemporaryDir m_dir;
};

void tst_Import::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(plugin());
}

void tst_Import::failures_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("error");

    const auto write
        = [this](const char *name, const IbtWriter::Overrides &overrides, qint64 truncateAt) {
              const QString path = m_dir.filePath(QString::fromLatin1(name));
              writeSmallFile(path, overrides, 3, truncateAt);
              return path;
          };

    QTest::newRow("missing file") << m_dir.filePath(QStringLiteral("missing.ibt"))
                                  << QStringLiteral("Can't open file ")
            + m_dir.filePath(QStringLiteral("missing.ibt"));
    QTest::newRow("file shorter than the header")
        << write("short-header.ibt", {}, 100) << "IBT import error:  Error reading irsdk_header";
    QTest::newRow("file ends in the disk sub-header")
        << write("short-subheader.ibt", {}, 130)
        << "IBT import error:  Error reading irsdk_diskSubHeader";
    IbtWriter::Overrides textOutside;
    textOutside.sessionInfoOffset = 1 << 20;
    QTest::newRow("session text outside the file")
        << write("text-outside.ibt", textOutside, -1)
        << "IBT import error:  Failed to read sessionInfoString";
    IbtWriter::Overrides textTooLong;
    textTooLong.sessionInfoLen = 1 << 20;
    QTest::newRow("session text longer than the file")
        << write("text-too-long.ibt", textTooLong, -1)
        << "IBT import error:  Failed to read sessionInfoString";
    IbtWriter::Overrides descriptorsOutside;
    descriptorsOutside.varHeaderOffset = 1 << 20;
    QTest::newRow("descriptors outside the file")
        << write("descriptors-outside.ibt", descriptorsOutside, -1)
        << "IBT import error:  Failed to read irsdk_varHeader";
    IbtWriter::Overrides tooManyDescriptors;
    tooManyDescriptors.numVars = 1000;
    QTest::newRow("more descriptors than the file holds")
        << write("descriptors-many.ibt", tooManyDescriptors, -1)
        << "IBT import error:  Failed to read irsdk_varHeader";
}

void tst_Import::failures()
{
    QFETCH(QString, file);
    QFETCH(QString, error);

    const Imported imported = importFile(file);
    QVERIFY(imported.laps.isEmpty());
    QCOMPARE(imported.texts(),
             QStringList({QStringLiteral("Importing file ") + file + QStringLiteral(" ..."),
                          QStringLiteral("Using format ") + format, error}));
    QCOMPARE(imported.messages[0].level, PluginInterfaceImport::Information);
    QCOMPARE(imported.messages[1].level, PluginInterfaceImport::Information);
    QCOMPARE(imported.messages[2].level, PluginInterfaceImport::Error);
}

void tst_Import::formatDifferingInCaseIsUnknown()
{
    const QString path = m_dir.filePath(QStringLiteral("case.ibt"));
    QVERIFY(writeSmallFile(path, {}, 3));
    const QString wrong = QStringLiteral("iRacing Binary Telemetry (*.ibt)");
    const Imported imported = importFile(path, wrong);
    QVERIFY(imported.laps.isEmpty());
    QCOMPARE(
        imported.texts(),
        QStringList({QStringLiteral("Importing file ") + path + QStringLiteral(" ..."),
                     QStringLiteral("Using format ") + wrong, QStringLiteral("Unknown format")}));
    QCOMPARE(imported.messages[2].level, PluginInterfaceImport::Error);
}

void tst_Import::headerButNoWholeRecord()
{
    const QString path = m_dir.filePath(QStringLiteral("no-record.ibt"));
    IbtWriter writer;
    writer.setSessionInfo("---\nDriverInfo:\n DriverCarIdx: 0\n...\n");
    writer.addVariable("Speed", irsdk_float, 1, "m/s");
    writer.addVariable("SessionTime", irsdk_double, 1, "s");
    QVERIFY(writer.open(path));
    QVERIFY(writer.appendPartialRecord(7));
    QVERIFY(writer.finish());

    const Imported imported = importFile(path);
    QVERIFY(imported.laps.isEmpty());
    QCOMPARE(imported.texts().last(), QStringLiteral("Done in N ms; Laps readed 0"));
    QCOMPARE(imported.messages.size(), 3);
    QCOMPARE(imported.messages.last().level, PluginInterfaceImport::Information);
}

void tst_Import::shortLastRecordIsDropped()
{
    SessionGenerator::Options options;
    const QString whole = m_dir.filePath(QStringLiteral("whole.ibt"));
    QVERIFY(writeSession(whole, options));
    options.shortLastRecordBytes = 100;
    const QString cut = m_dir.filePath(QStringLiteral("cut.ibt"));
    QVERIFY(writeSession(cut, options));
    QCOMPARE(QFileInfo(cut).size(), QFileInfo(whole).size() + 100);

    const Imported a = importFile(whole);
    const Imported b = importFile(cut);
    QCOMPARE(b.texts().mid(2), a.texts().mid(2));
    QCOMPARE(b.laps.size(), a.laps.size());
    for (qsizetype i = 0; i < a.laps.size(); ++i) {
        QCOMPARE(b.laps[i]->size(), a.laps[i]->size());
        QCOMPARE(b.laps[i]->header().lapTime, a.laps[i]->header().lapTime);
    }
}

void tst_Import::zeroLengthsEndCleanly()
{
    // Lengths of 0 everywhere, as in a fragment that is no telemetry file at all.
    IbtWriter::Overrides zero;
    zero.ver = 1635021600;
    zero.sessionInfoLen = 0;
    zero.numVars = 0;
    zero.bufLen = 0;
    const QString path = m_dir.filePath(QStringLiteral("zero.ibt"));
    QVERIFY(writeSmallFile(path, zero, 10));
    const Imported imported = importFile(path);
    QVERIFY(imported.laps.isEmpty());
    QCOMPARE(imported.texts().last(), QStringLiteral("Done in N ms; Laps readed 0"));
}

void tst_Import::negativeLengthLeavesAsAnAllocationFailure_data()
{
    QTest::addColumn<IbtWriter::Overrides>("negative");
    using Field = std::optional<int32_t> IbtWriter::Overrides::*;
    const auto row = [](const char *name, Field field, int32_t value) {
        IbtWriter::Overrides negative;
        negative.*field = value;
        QTest::newRow(name) << negative;
    };
    row("negative session text length", &IbtWriter::Overrides::sessionInfoLen, -5);
    row("session text length of -1", &IbtWriter::Overrides::sessionInfoLen, -1);
    row("negative descriptor count", &IbtWriter::Overrides::numVars, -5);
    row("negative record length", &IbtWriter::Overrides::bufLen, -5);
}

void tst_Import::negativeLengthLeavesAsAnAllocationFailure()
{
    QFETCH(IbtWriter::Overrides, negative);
    const QString path = m_dir.filePath(
        QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'))
        + QStringLiteral(".ibt"));
    QVERIFY(writeSmallFile(path, negative, 3));
    QVERIFY_THROWS_EXCEPTION(std::bad_alloc, plugin()->import(path, format, {}));
}

void tst_Import::practiceSession()
{
    SessionGenerator::Options options;
    const SessionGenerator generator(options);
    const QString path = m_dir.filePath(QStringLiteral("practice.ibt"));
    QVERIFY(generator.write(path));

    const Imported imported = importFile(path);
    QCOMPARE(imported.texts(),
             QStringList({QStringLiteral("Importing file ") + path + QStringLiteral(" ..."),
                          QStringLiteral("Using format ") + format,
                          QStringLiteral("Done in N ms; Laps readed 5")}));
    for (const Message &message : imported.messages)
        QCOMPARE(message.level, PluginInterfaceImport::Information);

    // Out lap, three flying laps, and the in lap that the end of the file closes.
    const QList<double> &times = generator.summary().timedLapTimes;
    QStringList lapTimes;
    for (const auto &lap : imported.laps)
        lapTimes.append(lapTimeText(*lap));
    const auto text = [](double seconds) {
        return QTime(0, 0, 0, 0)
            .addMSecs(int(float(seconds) * 1000.0f))
            .toString(QStringLiteral("m:ss.zzz"));
    };
    QCOMPARE(
        lapTimes,
        QStringList({"59:59.000", text(times[0]), text(times[1]), text(times[2]), "59:59.000"}));
    for (const auto &lap : imported.laps) {
        const ZUM::SDK::CarInfo &car = lap->header().carInfo;
        QCOMPARE(car.sourceName, QStringLiteral("iRacing"));
        QCOMPARE(car.pluginName, QStringLiteral("ZUM iRacing ibt import plugin"));
        QCOMPARE(car.driverName, options.playerName);
        QCOMPARE(lap->header().trackName, options.trackDisplayName);
        QCOMPARE(lap->header().session, ZUM::SDK::Session::Practice);
    }
    QCOMPARE(imported.laps[1]->header().flyingLap, 1);
    QCOMPARE(imported.laps[4]->header().completed, false);
}

void tst_Import::startTimesWalkBackFromTheFileTime()
{
    SessionGenerator::Options options;
    options.lapTime = 83.999;
    options.lapTimeSpread = 0.0;
    options.laps = 2;
    const QString path = m_dir.filePath(QStringLiteral("walk-back.ibt"));
    QVERIFY(writeSession(path, options));
    const QDateTime end = QFileInfo(path).fileTime(QFileDevice::FileModificationTime);

    const Imported imported = importFile(path);
    QCOMPARE(imported.laps.size(), 4);
    QCOMPARE(lapTimeText(*imported.laps[1]), QStringLiteral("1:23.999"));
    QCOMPARE(lapTimeText(*imported.laps[2]), QStringLiteral("1:23.999"));
    // The last lap (59:59, 3599 s) ends at the file time; each lap before starts its own
    // whole seconds before the next: 83 s for a lap of 83.999 s.
    QCOMPARE(imported.laps[3]->header().dateTime, end.addSecs(-ZUM::SDK::UntimedLapSeconds));
    QCOMPARE(imported.laps[2]->header().dateTime, end.addSecs(-3599 - 83));
    QCOMPARE(imported.laps[1]->header().dateTime, end.addSecs(-3599 - 83 - 83));
    QCOMPARE(imported.laps[0]->header().dateTime, end.addSecs(-3599 - 83 - 83 - 3599));
}

void tst_Import::deletedFileKeepsTheReadersTimes()
{
    // The reader reports a replay played at double speed while it works through the ticks:
    // the moment to delete the file, after it was opened and before the start times are set.
    SessionGenerator::Options options;
    options.scenario = SessionGenerator::Scenario::Replay;
    const QString path = m_dir.filePath(QStringLiteral("deleted.ibt"));
    QVERIFY(writeSession(path, options));

    static QString toDelete;
    toDelete = path;
    const QtMessageHandler previous
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &message) {
              if (message == QLatin1String("Replay lap aborted"))
                  QFile::remove(toDelete);
          });
    const QDateTime before = QDateTime::currentDateTime();
    const Imported imported = importFile(path);
    const QDateTime after = QDateTime::currentDateTime();
    qInstallMessageHandler(previous);

    QVERIFY(!QFile::exists(path));
    QVERIFY(!imported.laps.isEmpty());
    for (const auto &lap : imported.laps) {
        // The time of the hand-over, not one walked back from a file time.
        QVERIFY(lap->header().dateTime >= before.addMSecs(-1));
        QVERIFY(lap->header().dateTime <= after);
    }
}

void tst_Import::noPlayerGivesNoLaps()
{
    SessionGenerator::Options options;
    options.player = false;
    const QString path = m_dir.filePath(QStringLiteral("no-player.ibt"));
    QVERIFY(writeSession(path, options));
    const Imported imported = importFile(path);
    QVERIFY(imported.laps.isEmpty());
    QCOMPARE(imported.texts().last(), QStringLiteral("Done in N ms; Laps readed 0"));
}

void tst_Import::lapHandedOverByTheLastRecordIsListedOnce()
{
    SessionGenerator::Options options;
    const QString whole = m_dir.filePath(QStringLiteral("whole-for-cut.ibt"));
    QVERIFY(writeSession(whole, options));

    // The record whose tick hands the first flying lap over.
    const IbtImage file = IbtImage::load(whole);
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    qsizetype handOver = -1;
    QSharedPointer<Lap> flying;
    FileReplay::Hooks hooks;
    hooks.ran = [&](qint64 record, const QSharedPointer<Lap> &) {
        if (handOver < 0 && reader.isMyLapReady() && reader.myLap()->header().flyingLap == 1) {
            handOver = record;
            flying = reader.myLap();
        }
    };
    ReaderReplay::run(reader, file, hooks);
    QVERIFY(handOver > 0);

    // The same session, ending with that record.
    options.truncateAt = file.header().varBuf[0].bufOffset + (handOver + 1) * file.header().bufLen;
    const QString cut = m_dir.filePath(QStringLiteral("cut.ibt"));
    QVERIFY(writeSession(cut, options));
    const Imported imported = importFile(cut);
    QCOMPARE(imported.laps.size(), 2);
    const Lap &last = *imported.laps.last();
    QCOMPARE(last.header().completed, true);
    QCOMPARE(last.header().flyingLap, 1);
    QCOMPARE(last.header().lapTime, flying->header().lapTime);
    QCOMPARE(last.size(), flying->size());
    QCOMPARE(imported.texts().last(), QStringLiteral("Done in N ms; Laps readed 2"));
}

void tst_Import::importsOneAfterAnother()
{
    const QString path = m_dir.filePath(QStringLiteral("again.ibt"));
    QVERIFY(writeSession(path, {}));
    const Imported first = importFile(path);
    const Imported second = importFile(path);
    QCOMPARE(second.laps.size(), first.laps.size());
    QVERIFY(second.laps[0] != first.laps[0]);
    QCOMPARE(second.laps[1]->header().lapTime, first.laps[1]->header().lapTime);
}

void tst_Import::recordedFiles_data()
{
    RecordedLaps::addRows();
}

void tst_Import::recordedFiles()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    QFETCH(QString, file);
    QFETCH(QStringList, lapTimes);

    const QString path = SampleFiles::path(file);
    const Imported imported = importFile(path);
    QCOMPARE(imported.texts(),
             QStringList({QStringLiteral("Importing file ") + path + QStringLiteral(" ..."),
                          QStringLiteral("Using format ") + format,
                          QStringLiteral("Done in N ms; Laps readed %1").arg(lapTimes.size())}));
    QStringList actual;
    for (const auto &lap : imported.laps)
        actual.append(RecordedLaps::text(lap->header().lapTime));
    QCOMPARE(actual, lapTimes);
}

QTEST_GUILESS_MAIN(tst_Import)
#include "tst_import.moc"
