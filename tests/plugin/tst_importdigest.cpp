#include "ibtwriter.h"
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

// The digest of one import of the file, and the number of laps, for the failure message.
QString importDigest(const QString &path, int *lapCount)
{
    QSignalSpy spy(plugin()->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    QList<QSharedPointer<Lap>> laps;
    try {
        laps = plugin()->import(path, plugin()->availableImportFormats().first(), {});
    } catch (const std::bad_alloc &) {
        out << QStringLiteral("allocation failure");
    }
    for (const QList<QVariant> &arguments : std::as_const(spy)) {
        QString text = arguments.at(0).toString();
        text.replace(path, QStringLiteral("FILE"));
        text.replace(QRegularExpression(QStringLiteral("Done in \\d+ ms")),
                     QStringLiteral("Done in N ms"));
        out << text << arguments.at(1).toInt();
    }
    out << qint64(laps.size());
    const QDateTime lastStart = laps.isEmpty() ? QDateTime() : laps.last()->header().dateTime;
    for (const QSharedPointer<Lap> &lap : std::as_const(laps))
        addLap(out, *lap, lastStart);
    *lapCount = int(laps.size());
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

private:
    void check(const QString &name, const QString &path);

    QTemporaryDir m_dir;
    QHash<QString, QString> m_expected;
};

void tst_ImportDigest::initTestCase()
{
    QVERIFY(plugin());
    QVERIFY(m_dir.isValid());
    m_expected = expectedDigests();
    QVERIFY2(!m_expected.isEmpty() || recording(), ZUM_IMPORT_DIGESTS);
}

void tst_ImportDigest::check(const QString &name, const QString &path)
{
    int laps = 0;
    const QString digest = importDigest(path, &laps);
    if (recording()) {
        std::printf("%s\t%s\n", qPrintable(name), qPrintable(digest));
        return;
    }
    QVERIFY2(m_expected.contains(name), qPrintable(QStringLiteral("no digest for ") + name));
    QVERIFY2(digest == m_expected.value(name),
             qPrintable(QStringLiteral("%1 laps, digest %2").arg(laps).arg(digest)));
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

QTEST_GUILESS_MAIN(tst_ImportDigest)
#include "tst_importdigest.moc"
