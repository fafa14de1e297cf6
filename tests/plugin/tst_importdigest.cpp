#include "ibtwriter.h"
#include "importdetails.h"
#include "plugininterfaceimport.h"
#include "samplefiles.h"
#include "sessiongenerator.h"
#include "smallfile.h"

#include <QColor>
#include <QCryptographicHash>
#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QPluginLoader>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <new>

// Everything the host receives from an import, reduced to one digest per file: the messages,
// every lap's header and named values, every channel's name, unit and entries to the bit.
// The expected digests were recorded from the import as it was verified against the rules;
// any change to the import path must leave them all as they are.
//
// ZUM_RECORD_DIGESTS=1 prints the lines of the digest file instead of comparing.
//
// Beside the digests, importdetails.qz holds the same imports item by item (ImportDetails), so
// that a digest that differs comes with the first item that differs: the case, the lap, the
// header field, named value, message or channel, and both values; for a channel that copies a
// variable of the file, its first differing entry with both values, re-derived from the file;
// for any other channel, the block of entries whose hash differs.
// ZUM_RECORD_DETAILS=path writes that file from the import as it is; it needs every case, so
// the whole test with the recorded files present.

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using Options = SessionGenerator::Options;
using Scenario = SessionGenerator::Scenario;

namespace {

ZUM::SDK::PluginInterfaceImport *plugin()
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    return qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
}

void addVariant(QDataStream &out, const QVariant &value)
{
    out << QByteArray(value.typeName());
    switch (value.metaType().id()) {
    case QMetaType::Double:
        out << value.toDouble(); // QDataStream writes the bit pattern
        break;
    case QMetaType::Float:
        out << value.toFloat();
        break;
    case QMetaType::QColor:
        out << value.value<QColor>().name(QColor::HexArgb) << value.value<QColor>().isValid();
        break;
    default:
        out << value.toString() << value.isNull();
    }
}

void addChannels(QDataStream &out, const Lap &lap, const QList<QString> &names,
                 QSharedPointer<Channel> (Lap::*find)(const QString &) const)
{
    out << qint64(names.size());
    for (const QString &name : names) {
        const QSharedPointer<Channel> channel = (lap.*find)(name);
        out << name << channel->unit() << channel->size();
        out.writeRawData(reinterpret_cast<const char *>(channel->constData()),
                         int(channel->size() * qint64(sizeof(double))));
    }
}

void addLap(QDataStream &out, const Lap &lap, const QDateTime &lastStart)
{
    const ZUM::SDK::LapHeader &header = lap.header();
    out << header.carInfo;
    // Date-times follow the file's modification time: only their spacing is the import's.
    out << header.dateTime.isValid() << lastStart.msecsTo(header.dateTime);
    out << header.comment << header.lapTime.isValid() << header.lapTime.msecsSinceStartOfDay();
    out << header.trackName << header.trackConfigName << header.sessionId;
    // Lap and stint identities are random; only whether they are set is the import's.
    out << header.lapId.isNull() << header.stintId.isNull();
    out << header.lapNumber << header.lapInStint << header.stint << qint32(header.session)
        << header.flyingLap << header.completed;
    const QList<QString> names = header.dynamicData.valueNameList();
    out << qint64(names.size());
    for (const QString &name : names) {
        const ZUM::SDK::Value value = header.dynamicData.value(name);
        out << name << value.unit();
        addVariant(out, value);
    }
    addChannels(out, lap, lap.getAvailableRecordedChannels(), &Lap::channel);
    addChannels(out, lap, lap.getAvailableCalculatedChannels(), &Lap::calculatedChannel);
}

// What the host received from one import: the messages, made independent of the file's path
// and of the time taken, and the laps.
struct Import
{
    bool allocationFailure = false;
    QList<std::pair<QString, int>> messages;
    QList<QSharedPointer<Lap>> laps;
};

Import runImport(const QString &path)
{
    QSignalSpy spy(plugin()->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    Import result;
    try {
        result.laps = plugin()->import(path, plugin()->availableImportFormats().first(), {});
    } catch (const std::bad_alloc &) {
        result.allocationFailure = true;
    }
    for (const QList<QVariant> &arguments : std::as_const(spy)) {
        QString text = arguments.at(0).toString();
        text.replace(path, QStringLiteral("FILE"));
        text.replace(QRegularExpression(QStringLiteral("Done in \\d+ ms")),
                     QStringLiteral("Done in N ms"));
        result.messages.append({text, arguments.at(1).toInt()});
    }
    return result;
}

QString importDigest(const Import &import)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    if (import.allocationFailure)
        out << QStringLiteral("allocation failure");
    for (const auto &[text, level] : import.messages)
        out << text << level;
    out << qint64(import.laps.size());
    const QDateTime lastStart
        = import.laps.isEmpty() ? QDateTime() : import.laps.last()->header().dateTime;
    for (const QSharedPointer<Lap> &lap : import.laps)
        addLap(out, *lap, lastStart);
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex());
}

using Writer = std::function<bool(const QString &path)>;

Writer session(const std::function<void(Options &)> &change)
{
    return [change](const QString &path) {
        Options options;
        options.laps = 2;
        change(options);
        return SessionGenerator(options).write(path);
    };
}

Writer damaged(const std::function<void(IbtWriter::Overrides &)> &change)
{
    return [change](const QString &path) {
        IbtWriter::Overrides overrides;
        change(overrides);
        return writeSmallFile(path, 180, overrides);
    };
}

// Every scenario and shape of the generator, and damaged files of every kind the writer makes.
QList<std::pair<QString, Writer>> generatedCases()
{
    QList<std::pair<QString, Writer>> cases = {
        {"practice", session([](Options &) {})},
        {"race", session([](Options &o) { o.scenario = Scenario::Race; })},
        {"replay", session([](Options &o) { o.scenario = Scenario::Replay; })},
        {"replay reading LastLapTime", session([](Options &o) {
             o.scenario = Scenario::Replay;
             o.lastLapTimeVariable = true;
         })},
        {"session change", session([](Options &o) { o.scenario = Scenario::SessionChange; })},
        {"format version 1", session([](Options &o) {
             o.version = 1;
             o.carSetup = SessionGenerator::CarSetupStyle::None;
         })},
        {"no player", session([](Options &o) { o.player = false; })},
        {"no IsOnTrack", session([](Options &o) { o.isOnTrackVariable = false; })},
        {"stale first record", session([](Options &o) { o.firstRecordLapZero = true; })},
        {"other player slot", session([](Options &o) { o.playerCarIdx = 5; })},
        {"prototype set-up in kg", session([](Options &o) {
             o.carSetup = SessionGenerator::CarSetupStyle::Prototype;
             o.setupFuelInKg = true;
         })},
        {"no car arrays, padded variables", session([](Options &o) {
             o.carArrays = false;
             o.totalVariables = 300;
         })},
        {"unknown type code", session([](Options &o) { o.unknownTypeVariable = true; })},
        {"variables outside the record",
         session([](Options &o) { o.variablesOutsideRecord = true; })},
        {"short last record", session([](Options &o) { o.shortLastRecordBytes = 100; })},
        {"cut in the records", session([](Options &o) { o.truncateAt = 3'000'000; })},
        {"garbage descriptors", session([](Options &o) {
             o.laps = 1;
             o.overrides.numVars = 3000;
         })},
    };
    const qint32 values[] = {-1, 0, 1, 112, 143, 144, 1000, 40'000, 2'000'000, 2147483647};
    for (const char *field : {"sessionInfoLen", "sessionInfoOffset", "numVars", "varHeaderOffset",
                              "bufLen", "bufOffset"}) {
        for (qint32 value : values) {
            const QString name = QStringLiteral("%1 = %2").arg(QLatin1String(field)).arg(value);
            const QByteArray key(field);
            cases.append({name, damaged([key, value](IbtWriter::Overrides &o) {
                              if (key == "sessionInfoLen")
                                  o.sessionInfoLen = value;
                              else if (key == "sessionInfoOffset")
                                  o.sessionInfoOffset = value;
                              else if (key == "numVars")
                                  o.numVars = value;
                              else if (key == "varHeaderOffset")
                                  o.varHeaderOffset = value;
                              else if (key == "bufLen")
                                  o.bufLen = value;
                              else
                                  o.bufOffset = value;
                          })});
        }
    }
    return cases;
}

QHash<QString, QString> expectedDigests()
{
    QHash<QString, QString> digests;
    QFile file(QStringLiteral(ZUM_IMPORT_DIGESTS));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return digests;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const qsizetype tab = line.lastIndexOf(QLatin1Char('\t'));
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')) && tab > 0)
            digests.insert(line.left(tab), line.mid(tab + 1));
    }
    return digests;
}

// path: the imported file, to re-derive a differing channel from.
ImportDetails detailsOf(const Import &import, const QString &path = {})
{
    QList<std::pair<QString, int>> messages = import.messages;
    if (import.allocationFailure)
        messages.prepend({QStringLiteral("allocation failure"), -1});
    return ImportDetails(messages, import.laps, path);
}

bool recording()
{
    return qEnvironmentVariableIntValue("ZUM_RECORD_DIGESTS") == 1;
}

} // namespace

class tst_ImportDigest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void generated_data();
    void generated();
    void recorded_data();
    void recorded();
    void differenceNamesTheItem_data();
    void differenceNamesTheItem();
    void cleanupTestCase();

private:
    void check(const QString &name, const QString &path);

    QTemporaryDir m_dir;
    QHash<QString, QString> m_expected;
    QHash<QString, ImportDetails> m_expectedDetails;
    QList<std::pair<QString, ImportDetails>> m_recordedDetails;
};

void tst_ImportDigest::initTestCase()
{
    QVERIFY(plugin());
    QVERIFY(m_dir.isValid());
    m_expected = expectedDigests();
    QVERIFY2(!m_expected.isEmpty() || recording(), ZUM_IMPORT_DIGESTS);
    m_expectedDetails = ImportDetails::read(QStringLiteral(ZUM_IMPORT_DETAILS));
    QVERIFY2(!m_expectedDetails.isEmpty() || !qEnvironmentVariableIsEmpty("ZUM_RECORD_DETAILS"),
             ZUM_IMPORT_DETAILS);
}

void tst_ImportDigest::cleanupTestCase()
{
    const QString path = qEnvironmentVariable("ZUM_RECORD_DETAILS");
    if (path.isEmpty())
        return;
    // A record of some cases only would drop the others' from the file.
    QVERIFY2(!SampleFiles::all().isEmpty(), "recording needs the recorded files (ZUM_IBT_SAMPLES)");
    QVERIFY2(m_recordedDetails.size() == generatedCases().size() + SampleFiles::all().size(),
             "recording needs every case: run the whole test");
    QVERIFY2(ImportDetails::write(path, m_recordedDetails), qPrintable(path));
}

void tst_ImportDigest::check(const QString &name, const QString &path)
{
    const Import import = runImport(path);
    const QString digest = importDigest(import);
    const ImportDetails details = detailsOf(import, path);
    if (!qEnvironmentVariableIsEmpty("ZUM_RECORD_DETAILS"))
        m_recordedDetails.append({name, details});
    if (recording()) {
        std::printf("%s\t%s\n", qPrintable(name), qPrintable(digest));
        return;
    }
    QVERIFY2(m_expected.contains(name), qPrintable(QStringLiteral("no digest for ") + name));
    if (digest == m_expected.value(name))
        return;
    QString where = QStringLiteral("no item by item record of this case");
    if (m_expectedDetails.contains(name)) {
        where = details.firstDifference(name, m_expectedDetails.value(name));
        if (where.isEmpty())
            where = QStringLiteral("no item differs by its short hashes");
    }
    QFAIL(qPrintable(
        QStringLiteral("%1 laps, digest %2; %3").arg(import.laps.size()).arg(digest, where)));
}

void tst_ImportDigest::generated_data()
{
    QTest::addColumn<int>("index");
    const auto cases = generatedCases();
    for (int i = 0; i < cases.size(); ++i)
        QTest::newRow(qPrintable(cases[i].first)) << i;
}

void tst_ImportDigest::generated()
{
    QFETCH(int, index);
    const auto cases = generatedCases();
    const QString path = m_dir.filePath(QStringLiteral("case.ibt"));
    QFile::remove(path);
    QVERIFY(cases[index].second(path));
    check(cases[index].first, path);
}

void tst_ImportDigest::recorded_data()
{
    QTest::addColumn<QString>("path");
    const QStringList paths = SampleFiles::all();
    if (paths.isEmpty())
        QTest::newRow("no recorded files") << QString();
    for (const QString &path : paths)
        QTest::newRow(qPrintable(QFileInfo(path).fileName())) << path;
}

void tst_ImportDigest::recorded()
{
    QFETCH(QString, path);
    if (path.isEmpty())
        ZUM_REQUIRE_SAMPLE_FILES();
    check(QFileInfo(path).fileName(), path);
}

// One item of an import altered after the fact: the report names the case, the lap by index
// and number, the item, and both values or the entries of the channel's block.
void tst_ImportDigest::differenceNamesTheItem_data()
{
    QTest::addColumn<QString>("change");
    QTest::newRow("header field") << QStringLiteral("header");
    QTest::newRow("driver") << QStringLiteral("driver");
    QTest::newRow("named value") << QStringLiteral("value");
    QTest::newRow("channel entry") << QStringLiteral("channel");
    QTest::newRow("derived channel entry") << QStringLiteral("derived channel");
    QTest::newRow("message") << QStringLiteral("message");
    QTest::newRow("one lap fewer") << QStringLiteral("lap");
}

void tst_ImportDigest::differenceNamesTheItem()
{
    QFETCH(QString, change);
    const QString path = m_dir.filePath(QStringLiteral("altered.ibt"));
    QFile::remove(path);
    QVERIFY(generatedCases().first().second(path));
    Import import = runImport(path);
    const qsizetype lapCount = import.laps.size();
    QVERIFY(lapCount >= 2);
    const ImportDetails expected = detailsOf(import);
    QCOMPARE(detailsOf(import).firstDifference(QStringLiteral("practice"), expected), QString());

    Lap &lap = *import.laps[1];
    const QString lapName = QStringLiteral("lap 1 (number %1)").arg(lap.header().lapNumber);
    QString report;
    if (change == QLatin1String("header")) {
        const qint32 number = lap.header().lapNumber;
        lap.header().lapNumber += 10;
        report = QStringLiteral("%1 header lapNumber: expected \"%2\", got \"%3\"")
                     .arg(lapName)
                     .arg(number)
                     .arg(number + 10);
    } else if (change == QLatin1String("driver")) {
        const QString driver = lap.header().carInfo.driverName;
        lap.header().carInfo.driverName = QStringLiteral("Someone Else");
        report
            = QStringLiteral("%1 header carInfo.driverName: expected \"%2\", got \"Someone Else\"")
                  .arg(lapName, driver);
    } else if (change == QLatin1String("value")) {
        // A string in place of the first named value, whatever its type was.
        const QString name = lap.header().dynamicData.valueNameList().first();
        ZUM::SDK::Value value = lap.header().dynamicData.value(name);
        const QString before = value.toString();
        value.setValue(QStringLiteral("altered"));
        lap.header().dynamicData.setValue(name, value);
        const QString text
            = detailsOf(import).firstDifference(QStringLiteral("practice"), expected);
        QVERIFY2(text.startsWith(
                     QStringLiteral("practice: %1 value %2: expected \"").arg(lapName, name)),
                 qPrintable(text));
        QVERIFY2(text.contains(before), qPrintable(text));
        QVERIFY2(text.endsWith(QStringLiteral(", got \"QString altered %1\"").arg(value.unit())),
                 qPrintable(text));
        return;
    } else if (change == QLatin1String("channel")) {
        // The player's speed in a live file is the recorded variable: the file itself says what
        // the entry was.
        const QSharedPointer<Channel> speed = lap.channel(QStringLiteral("speed"));
        QVERIFY(speed);
        const qint64 index = speed->size() / 2 + 7;
        const double before = speed->value(index);
        speed->setValue(index, before + 0.25);
        const auto number = [](double value) {
            return QString::number(value, 'g', QLocale::FloatingPointShortest);
        };
        QVERIFY(number(before) != number(before + 0.25));
        QCOMPARE(detailsOf(import, path).firstDifference(QStringLiteral("practice"), expected),
                 QStringLiteral("practice: %1 channel speed: entry %2: expected %3, got %4")
                     .arg(lapName)
                     .arg(index)
                     .arg(number(before), number(before + 0.25)));
        // Without the file, the block of entries that holds it.
        const int block = int(index * ImportDetails::Blocks / speed->size());
        report = QStringLiteral("%1 channel speed: entries %2 to %3 differ (block %4 of %5)")
                     .arg(lapName)
                     .arg(speed->size() * block / ImportDetails::Blocks)
                     .arg(speed->size() * (block + 1) / ImportDetails::Blocks - 1)
                     .arg(block + 1)
                     .arg(ImportDetails::Blocks);
    } else if (change == QLatin1String("derived channel")) {
        // The fuel weight is the import's own product: nothing in the file to compare it with,
        // so the block of entries that holds the change is named.
        const QSharedPointer<Channel> weight = lap.channel(QStringLiteral("fuelweight"));
        QVERIFY(weight);
        const qint64 index = weight->size() / 3;
        weight->setValue(index, weight->value(index) + 1.0);
        const int block = int(index * ImportDetails::Blocks / weight->size());
        QCOMPARE(detailsOf(import, path).firstDifference(QStringLiteral("practice"), expected),
                 QStringLiteral("practice: %1 channel fuelweight: entries %2 to %3 differ (block "
                                "%4 of %5)")
                     .arg(lapName)
                     .arg(weight->size() * block / ImportDetails::Blocks)
                     .arg(weight->size() * (block + 1) / ImportDetails::Blocks - 1)
                     .arg(block + 1)
                     .arg(ImportDetails::Blocks));
        return;
    } else if (change == QLatin1String("message")) {
        const QString before = import.messages.first().first;
        import.messages.first().first += QLatin1String(" altered");
        report = QStringLiteral("message 0: expected \"%1 %2\", got \"%1 %2 altered\"")
                     .arg(import.messages.first().second)
                     .arg(before);
    } else {
        import.laps.removeLast();
        report
            = QStringLiteral("laps: expected \"%1\", got \"%2\"").arg(lapCount).arg(lapCount - 1);
    }
    QCOMPARE(detailsOf(import).firstDifference(QStringLiteral("practice"), expected),
             QStringLiteral("practice: ") + report);
}

QTEST_GUILESS_MAIN(tst_ImportDigest)
#include "tst_importdigest.moc"
