#include "lap.h"
#include "plugininterfaceimport.h"
#include "session.h"
#include "sessiongenerator.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTime>

#include <algorithm>
#include <cstring>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

const QString pluginPrefix = QStringLiteral("[ZUM iRacing ibt import plugin plugin] ");

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Run run(const QStringList &arguments,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(IBT_LAPS_PATH), arguments);
    Run result;
    if (!process.waitForFinished(300000)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

// The same import the tool runs, done here through the plug-in, to compare against.
Laps importDirectly(const QString &path)
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    auto *plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    if (!plugin)
        return {};
    return plugin->import(path, plugin->availableImportFormats().first(), {});
}

// The lap time as the simulator reports it, in the plug-in's single-precision milliseconds.
QString lapTimeText(double seconds)
{
    return QTime(0, 0).addMSecs(int(float(seconds) * 1000.0f)).toString(QStringLiteral("m:ss.zzz"));
}

// The rows of the lap table, cut into cells at the columns the rule line under the titles
// marks.
QList<QStringList> tableRows(const QByteArray &output)
{
    const QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'));
    const qsizetype ruleLine = lines.indexOf(QRegularExpression(QStringLiteral("^-+( +-+)+$")));
    if (ruleLine < 0)
        return {};
    QList<std::pair<qsizetype, qsizetype>> columns;
    const QRegularExpression dashes(QStringLiteral("-+"));
    for (auto it = dashes.globalMatch(lines[ruleLine]); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        columns.append({match.capturedStart(), match.capturedLength()});
    }
    QList<QStringList> rows;
    for (qsizetype i = ruleLine + 1; i < lines.size() && !lines[i].isEmpty(); ++i) {
        QStringList cells;
        for (const auto &[start, length] : columns)
            cells.append(lines[i].mid(start, length).trimmed());
        rows.append(cells);
    }
    return rows;
}

QJsonDocument readJson(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll());
}

bool sameDouble(double actual, double expected)
{
    // QJsonDocument reads "-0.0" as +0, the one value whose sign it does not keep.
    if (expected == 0.0)
        return actual == 0.0;
    return std::memcmp(&actual, &expected, sizeof(double)) == 0;
}

QStringList csvFiles(const QString &dir)
{
    return QDir(dir).entryList({QStringLiteral("*.csv")}, QDir::Files, QDir::Name);
}

QList<QByteArray> csvLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

class tst_IbtLaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void helpAndVersion_data();
    void helpAndVersion();
    void exitStatus_data();
    void exitStatus();
    void notAnImportPlugin();
    void damagedFileEndsInAnException();
    void tableListsTheLaps();
    void fileWithoutLaps();
    void jsonHoldsWhatTheHostReceives();
    void jsonWithoutChannelValues();
    void jsonToStandardOutput();
    void severalFiles();
    void csvFilePerLap();
    void csvNeverOverwrites();
    void fileNameWithCommaDotsAndUmlaut();
    void plotIsAPicture_data();
    void plotIsAPicture();

private:
    QString path(const QString &name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    SessionGenerator::Options m_practiceOptions; // the default practice session
    SessionGenerator::Summary m_practiceSummary;
    QString m_practice; // practice.ibt, run once with every output
    Run m_practiceRun;
    Laps m_practiceLaps; // the same file imported here
    QString m_short; // a short practice session for the quicker runs
    QString m_shortSecond; // another one, with a second driver
    QString m_noPlayer; // a session without the player's car: no laps
};

void tst_IbtLaps::initTestCase()
{
    QVERIFY(m_dir.isValid());

    const SessionGenerator practice(m_practiceOptions);
    m_practiceSummary = practice.summary();
    m_practice = path(QStringLiteral("practice.ibt"));
    QVERIFY(practice.write(m_practice));

    SessionGenerator::Options quick;
    quick.trackLength = 1500.0;
    quick.lapTime = 40.0;
    quick.laps = 2;
    quick.otherCars = 1;
    m_short = path(QStringLiteral("short.ibt"));
    QVERIFY(SessionGenerator(quick).write(m_short));
    quick.playerName = QStringLiteral("Second Driver");
    m_shortSecond = path(QStringLiteral("second.ibt"));
    QVERIFY(SessionGenerator(quick).write(m_shortSecond));
    quick.player = false;
    m_noPlayer = path(QStringLiteral("no-player.ibt"));
    QVERIFY(SessionGenerator(quick).write(m_noPlayer));

    m_practiceRun
        = run({m_practice, QStringLiteral("--json"), path(QStringLiteral("practice.json")),
               QStringLiteral("--csv"), path(QStringLiteral("csv")), QStringLiteral("--plot"),
               path(QStringLiteral("practice.png"))});
    QVERIFY2(m_practiceRun.exitCode == 0, m_practiceRun.err.constData());
    m_practiceLaps = importDirectly(m_practice);
    QCOMPARE(m_practiceLaps.size(), 5);
}

void tst_IbtLaps::helpAndVersion_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArrayList>("expected");

    QTest::newRow("help names every option")
        << QStringLiteral("--help")
        << QByteArrayList {"--plugin <path>", "--json <file>", "--no-channels", "--csv <dir>",
                           "--plot <file>",   "--version",     "file.ibt..."};
    QTest::newRow("version") << QStringLiteral("--version") << QByteArrayList {"ibt-laps 0.2\n"};
}

void tst_IbtLaps::helpAndVersion()
{
    QFETCH(QString, option);
    QFETCH(QByteArrayList, expected);

    const Run result = run({option});
    QCOMPARE(result.exitCode, 0);
    for (const QByteArray &text : expected)
        QVERIFY2(result.out.contains(text), text.constData());
    QVERIFY(result.err.isEmpty() || !result.err.contains("error"));
}

void tst_IbtLaps::exitStatus_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message"); // on standard error

    const QString missing = path(QStringLiteral("missing.ibt"));
    const QString notAFolder = path(QStringLiteral("not-a-folder"));
    {
        QFile file(notAFolder);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QString cutShort = path(QStringLiteral("cut-short.ibt"));
    SessionGenerator::Options cut;
    cut.laps = 1;
    cut.truncateAt = 100;
    QVERIFY(SessionGenerator(cut).write(cutShort));

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
    QTest::newRow("missing file") << QStringList {missing} << 1
                                  << QStringLiteral("error: ") + pluginPrefix
            + QStringLiteral("Can't open file ") + missing;
    QTest::newRow("file cut short in its header") << QStringList {cutShort} << 1
                                                  << QStringLiteral("error: ") + pluginPrefix
            + QStringLiteral("IBT import error:  Error reading irsdk_header");
    QTest::newRow("a failed file among good ones")
        << QStringList {m_short, missing, m_short} << 1 << QStringLiteral("Can't open file ");
    QTest::newRow("plug-in that is not there")
        << QStringList {QStringLiteral("--plugin"), path(QStringLiteral("nothing.so")), m_short}
        << 1 << QStringLiteral("cannot load the import plug-in");
    QTest::newRow("plug-in that is no library")
        << QStringList {QStringLiteral("--plugin"), notAFolder, m_short} << 1
        << QStringLiteral("cannot load the import plug-in");
    QTest::newRow("JSON into a missing folder")
        << QStringList {QStringLiteral("--json"), path(QStringLiteral("absent/laps.json")), m_short}
        << 1 << QStringLiteral("cannot write JSON to");
    QTest::newRow("CSV folder that is a file")
        << QStringList {QStringLiteral("--csv"), notAFolder, m_short} << 1
        << QStringLiteral("cannot create the CSV folder");
    QTest::newRow("plot into a missing folder")
        << QStringList {QStringLiteral("--plot"), path(QStringLiteral("absent/laps.png")), m_short}
        << 1 << QStringLiteral("cannot write the plot");
}

void tst_IbtLaps::exitStatus()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);

    const Run result = run(arguments);
    QVERIFY2(result.exitCode == exitCode, result.err.constData());
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
    if (exitCode == 2)
        QVERIFY(result.out.isEmpty());
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
    const QString file = path(QStringLiteral("negative-length.ibt"));
    QVERIFY(SessionGenerator(damaged).write(file));

    const Run result = run(
        {file, m_short, QStringLiteral("--json"), path(QStringLiteral("negative-length.json"))});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("error: the import ended by an exception"),
             result.err.constData());
    // The next file is still imported.
    QCOMPARE(result.out.count("File:"), 2);

    const QJsonArray imports = readJson(path(QStringLiteral("negative-length.json"))).array();
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
    const QString out = QString::fromUtf8(m_practiceRun.out);
    QVERIFY2(out.contains(QStringLiteral("File:     ") + m_practice), qPrintable(out));
    QVERIFY(out.contains(QStringLiteral("Track:    ") + m_practiceOptions.trackDisplayName
                         + QStringLiteral(", ") + m_practiceOptions.trackConfigName));
    QVERIFY(out.contains(QStringLiteral("Driver:   ") + m_practiceOptions.playerName));
    QVERIFY(out.contains(QStringLiteral("Session:  Practice")));
    QVERIFY(out.contains(QStringLiteral("Laps:     5")));

    // Out lap, three flying laps, and the in lap that the end of the file closes.
    const QList<QStringList> rows = tableRows(m_practiceRun.out);
    QCOMPARE(rows.size(), 5);
    const QList<double> &times = m_practiceSummary.timedLapTimes;
    QCOMPARE(times.size(), 3);
    const QStringList expectedTimes
        = {QStringLiteral("no time"), lapTimeText(times[0]), lapTimeText(times[1]),
           lapTimeText(times[2]), QStringLiteral("no time")};
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QStringList &row = rows[i];
        const ZUM::SDK::LapHeader &header = m_practiceLaps[i]->header();
        QCOMPARE(row.size(), 8);
        QCOMPARE(row[0], QString::number(header.lapNumber));
        QCOMPARE(row[1], QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint));
        QCOMPARE(row[2], expectedTimes[i]);
        QCOMPARE(row[3], header.completed ? QStringLiteral("yes") : QStringLiteral("no"));
        QCOMPARE(row[5], QStringLiteral("Practice"));
        QCOMPARE(row[6], QString::number(m_practiceLaps[i]->size()));
        QCOMPARE(row[7],
                 header.dateTime.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")));
    }
    QCOMPARE(rows[0][4], QStringLiteral("out"));
    QCOMPARE(rows[1][4], QStringLiteral("flying"));
    QCOMPARE(rows[4][3], QStringLiteral("no"));

    // The plug-in's log goes to standard error, told apart by level.
    QVERIFY(
        m_practiceRun.err.contains("info: [ZUM iRacing ibt import plugin plugin] Importing file"));
    QVERIFY(m_practiceRun.err.contains("Laps readed 5"));
    QVERIFY(!m_practiceRun.err.contains("error:"));
}

void tst_IbtLaps::fileWithoutLaps()
{
    const Run result = run({m_noPlayer, QStringLiteral("--json"), path(QStringLiteral("none.json")),
                            QStringLiteral("--csv"), path(QStringLiteral("csv-none"))});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.out.contains("no laps"), result.out.constData());
    QVERIFY(tableRows(result.out).isEmpty());
    const QJsonObject import = readJson(path(QStringLiteral("none.json"))).object();
    QCOMPARE(import[QStringLiteral("laps")].toArray().size(), 0);
    QVERIFY(csvFiles(path(QStringLiteral("csv-none"))).isEmpty());
}

void tst_IbtLaps::jsonHoldsWhatTheHostReceives()
{
    const QJsonDocument document = readJson(path(QStringLiteral("practice.json")));
    QVERIFY(document.isObject());
    const QJsonObject import = document.object();
    QCOMPARE(import[QStringLiteral("file")].toString(), m_practice);

    const QJsonArray messages = import[QStringLiteral("messages")].toArray();
    QCOMPARE(messages.size(), 3);
    QCOMPARE(messages[0][QStringLiteral("level")].toInt(), 0);
    QCOMPARE(messages[0][QStringLiteral("text")].toString(),
             pluginPrefix + QStringLiteral("Importing file ") + m_practice
                 + QStringLiteral(" ..."));
    QVERIFY(
        messages[2][QStringLiteral("text")].toString().endsWith(QStringLiteral("Laps readed 5")));

    const QJsonArray laps = import[QStringLiteral("laps")].toArray();
    QCOMPARE(laps.size(), m_practiceLaps.size());
    const QRegularExpression isoWithOffset(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d\\d:\\d\\d$"));
    const QRegularExpression uuid(QStringLiteral("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"));
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const Lap &lap = *m_practiceLaps[i];
        const ZUM::SDK::LapHeader &expected = lap.header();
        const QJsonObject jsonLap = laps[i].toObject();
        const QJsonObject header = jsonLap[QStringLiteral("header")].toObject();

        QCOMPARE(header[QStringLiteral("lapNumber")].toInt(), expected.lapNumber);
        QCOMPARE(header[QStringLiteral("lapInStint")].toInt(), expected.lapInStint);
        QCOMPARE(header[QStringLiteral("stint")].toInt(), expected.stint);
        QCOMPARE(header[QStringLiteral("session")].toInt(), int(ZUM::SDK::Session::Practice));
        QCOMPARE(header[QStringLiteral("sessionName")].toString(), QStringLiteral("Practice"));
        QCOMPARE(header[QStringLiteral("flyingLap")].toInt(), expected.flyingLap);
        QCOMPARE(header[QStringLiteral("completed")].toBool(), expected.completed);
        QCOMPARE(header[QStringLiteral("lapTime")].toString(),
                 expected.lapTime.toString(QStringLiteral("hh:mm:ss.zzz")));
        QCOMPARE(header[QStringLiteral("lapTimeSeconds")].toDouble(),
                 QTime(0, 0).msecsTo(expected.lapTime) / 1000.0);
        const QString dateTime = header[QStringLiteral("dateTime")].toString();
        QVERIFY2(isoWithOffset.match(dateTime).hasMatch(), qPrintable(dateTime));
        QCOMPARE(QDateTime::fromString(dateTime, Qt::ISODateWithMs), expected.dateTime);
        QCOMPARE(header[QStringLiteral("trackName")].toString(),
                 m_practiceOptions.trackDisplayName);
        QCOMPARE(header[QStringLiteral("trackConfigName")].toString(),
                 m_practiceOptions.trackConfigName);
        QVERIFY(header[QStringLiteral("comment")].isNull());
        QVERIFY(uuid.match(header[QStringLiteral("lapId")].toString()).hasMatch());
        QVERIFY(uuid.match(header[QStringLiteral("stintId")].toString()).hasMatch());
        QCOMPARE(header[QStringLiteral("sessionId")].toString(),
                 expected.sessionId.toString(QUuid::WithoutBraces));

        const QJsonObject car = header[QStringLiteral("carInfo")].toObject();
        QCOMPARE(car.size(), 9);
        QCOMPARE(car[QStringLiteral("carId")].toString(), expected.carInfo.carId);
        QCOMPARE(car[QStringLiteral("sourceName")].toString(), QStringLiteral("iRacing"));
        QCOMPARE(car[QStringLiteral("pluginName")].toString(),
                 QStringLiteral("ZUM iRacing ibt import plugin"));
        QCOMPARE(car[QStringLiteral("carName")].toString(), expected.carInfo.carName);
        QCOMPARE(car[QStringLiteral("driverName")].toString(), m_practiceOptions.playerName);
        QCOMPARE(car[QStringLiteral("teamName")].isNull(), expected.carInfo.teamName.isNull());
        QCOMPARE(car[QStringLiteral("status")].toInt(), expected.carInfo.status);
        QCOMPARE(car[QStringLiteral("detailedTelemetry")].toBool(),
                 expected.carInfo.detailedTelemetry);

        // Every named value, in name order, with its unit.
        const QJsonObject values = header[QStringLiteral("values")].toObject();
        QCOMPARE(values.keys(), expected.dynamicData.valueNameList());
        for (const QString &name : expected.dynamicData.valueNameList()) {
            const ZUM::SDK::Value value = expected.dynamicData.value(name);
            const QJsonObject entry = values[name].toObject();
            QCOMPARE(entry[QStringLiteral("unit")].toString(), value.unit());
            const QJsonValue written = entry[QStringLiteral("value")];
            switch (value.metaType().id()) {
            case QMetaType::Double:
            case QMetaType::Float:
                QVERIFY2(sameDouble(written.toDouble(), value.toDouble()), qPrintable(name));
                break;
            case QMetaType::Int:
            case QMetaType::LongLong:
                QCOMPARE(written.toInteger(), value.toLongLong());
                break;
            case QMetaType::Bool:
                QCOMPARE(written.toBool(), value.toBool());
                break;
            case QMetaType::QColor:
                QCOMPARE(written.toString(), value.value<QColor>().name());
                break;
            default:
                QCOMPARE(written.toString(), value.toString());
            }
        }
        QVERIFY(values.contains(QStringLiteral("Track length")));

        // Every channel, with every entry read back bit for bit; no real value is null.
        const auto compareChannels
            = [](const QJsonObject &channels, const QList<QString> &names, auto channelOf) {
                  QCOMPARE(channels.keys(), names);
                  for (const QString &name : names) {
                      const Channel &channel = *channelOf(name);
                      const QJsonObject entry = channels[name].toObject();
                      QCOMPARE(entry[QStringLiteral("unit")].toString(), channel.unit());
                      const QJsonArray written = entry[QStringLiteral("values")].toArray();
                      QCOMPARE(written.size(), channel.size());
                      for (qint64 k = 0; k < channel.size(); ++k) {
                          if (!channel.isValid(k)) {
                              QVERIFY(written[k].isNull());
                              continue;
                          }
                          QVERIFY2(sameDouble(written[k].toDouble(), channel.value(k)),
                                   qPrintable(QStringLiteral("%1[%2]").arg(name).arg(k)));
                      }
                  }
              };
        compareChannels(jsonLap[QStringLiteral("recorded")].toObject(),
                        lap.getAvailableRecordedChannels(),
                        [&lap](const QString &name) { return lap.channel(name); });
        compareChannels(jsonLap[QStringLiteral("calculated")].toObject(),
                        lap.getAvailableCalculatedChannels(),
                        [&lap](const QString &name) { return lap.calculatedChannel(name); });
        QVERIFY(jsonLap[QStringLiteral("recorded")].toObject().contains(QStringLiteral("speed")));
    }
}

void tst_IbtLaps::jsonWithoutChannelValues()
{
    const QString json = path(QStringLiteral("no-channels.json"));
    const Run result
        = run({m_short, QStringLiteral("--json"), json, QStringLiteral("--no-channels")});
    QCOMPARE(result.exitCode, 0);
    const QJsonArray laps = readJson(json).object()[QStringLiteral("laps")].toArray();
    QVERIFY(!laps.isEmpty());
    for (const QJsonValue &lap : laps) {
        const QJsonObject recorded = lap[QStringLiteral("recorded")].toObject();
        QVERIFY(!recorded.isEmpty());
        for (const QJsonValue &channel : recorded) {
            QVERIFY(channel.toObject().contains(QStringLiteral("unit")));
            QVERIFY(!channel.toObject().contains(QStringLiteral("values")));
        }
        QCOMPARE(recorded[QStringLiteral("speed")][QStringLiteral("unit")].toString(),
                 QStringLiteral("m/s"));
        QVERIFY(!lap[QStringLiteral("header")][QStringLiteral("values")].toObject().isEmpty());
    }
}

void tst_IbtLaps::jsonToStandardOutput()
{
    const Run result = run({m_short, QStringLiteral("--json"), QStringLiteral("-")});
    QCOMPARE(result.exitCode, 0);
    // Standard output carries the JSON alone; the log stays on standard error.
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
    QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
    QVERIFY(document.isObject());
    QCOMPARE(document[QStringLiteral("file")].toString(), m_short);
    QCOMPARE(document[QStringLiteral("laps")].toArray().size(), importDirectly(m_short).size());
    QVERIFY(result.err.contains("Importing file"));
}

void tst_IbtLaps::severalFiles()
{
    const QString json = path(QStringLiteral("several.json"));
    const QString plot = path(QStringLiteral("several.png"));
    const Run result = run(
        {m_short, m_shortSecond, QStringLiteral("--json"), json, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);

    // Each file reported in turn.
    const QString out = QString::fromUtf8(result.out);
    const qsizetype first = out.indexOf(QStringLiteral("File:     ") + m_short);
    const qsizetype second = out.indexOf(QStringLiteral("File:     ") + m_shortSecond);
    QVERIFY(first >= 0);
    QVERIFY(second > first);
    QVERIFY(out.contains(QStringLiteral("Driver:   Second Driver")));

    const QJsonDocument document = readJson(json);
    QVERIFY(document.isArray());
    const QJsonArray imports = document.array();
    QCOMPARE(imports.size(), 2);
    QCOMPARE(imports[0][QStringLiteral("file")].toString(), m_short);
    QCOMPARE(imports[1][QStringLiteral("file")].toString(), m_shortSecond);
    QCOMPARE(imports[1][QStringLiteral("laps")][0][QStringLiteral("header")]
                    [QStringLiteral("carInfo")][QStringLiteral("driverName")]
                        .toString(),
             QStringLiteral("Second Driver"));

    // One picture per file, named after it.
    QVERIFY(!QFile::exists(plot));
    QCOMPARE(QImage(path(QStringLiteral("several_short.png"))).size(), QSize(1600, 900));
    QCOMPARE(QImage(path(QStringLiteral("several_second.png"))).size(), QSize(1600, 900));
}

void tst_IbtLaps::csvFilePerLap()
{
    const QString dir = path(QStringLiteral("csv"));
    const QStringList files = csvFiles(dir);
    QStringList expectedFiles;
    for (const QSharedPointer<Lap> &lap : m_practiceLaps)
        expectedFiles.append(QStringLiteral("practice_lap%1.csv").arg(lap->header().lapNumber));
    expectedFiles.sort();
    QCOMPARE(files, expectedFiles);

    for (const QSharedPointer<Lap> &lap : m_practiceLaps) {
        const QString file
            = QDir(dir).filePath(QStringLiteral("practice_lap%1.csv").arg(lap->header().lapNumber));
        const QList<QByteArray> lines = csvLines(file);
        QCOMPARE(lines.size(), lap->size() + 1);

        // Recorded channels in name order, then the calculated ones, each with its unit.
        QByteArrayList expectedHeader;
        QList<QSharedPointer<Channel>> channels;
        const auto title = [](const QString &name, const Channel &channel) {
            return (channel.unit().isEmpty() ? name : name + " [" + channel.unit() + ']').toUtf8();
        };
        for (const QString &name : lap->getAvailableRecordedChannels()) {
            expectedHeader.append(title(name, *lap->channel(name)));
            channels.append(lap->channel(name));
        }
        for (const QString &name : lap->getAvailableCalculatedChannels()) {
            expectedHeader.append(title(name, *lap->calculatedChannel(name)));
            channels.append(lap->calculatedChannel(name));
        }
        QCOMPARE(lines[0].split(','), expectedHeader);
        QVERIFY(expectedHeader.contains("speed [m/s]"));

        // The first and the last sample, cell by cell, read back bit for bit.
        for (const qint64 row : {qint64(0), lap->size() - 1}) {
            const QByteArrayList cells = lines[row + 1].split(',');
            QCOMPARE(cells.size(), channels.size());
            for (qsizetype c = 0; c < cells.size(); ++c) {
                const Channel &channel = *channels[c];
                if (!channel.isValid(row)) {
                    QVERIFY(cells[c].isEmpty());
                    continue;
                }
                bool ok = false;
                const double value = cells[c].toDouble(&ok);
                QVERIFY(ok);
                QVERIFY2(std::memcmp(&value, &channel.constData()[row], sizeof(double)) == 0,
                         expectedHeader[c].constData());
            }
        }
    }
}

void tst_IbtLaps::csvNeverOverwrites()
{
    const QString dir = path(QStringLiteral("csv-twice"));
    for (int i = 0; i < 2; ++i)
        QCOMPARE(run({m_short, QStringLiteral("--csv"), dir}).exitCode, 0);
    const Laps laps = importDirectly(m_short);
    QVERIFY(!laps.isEmpty());
    const QStringList files = csvFiles(dir);
    QCOMPARE(files.size(), 2 * laps.size());
    const QString lapNumber = QString::number(laps.first()->header().lapNumber);
    QVERIFY(files.contains(QStringLiteral("short_lap%1.csv").arg(lapNumber)));
    QVERIFY(files.contains(QStringLiteral("short_lap%1_1.csv").arg(lapNumber)));
}

void tst_IbtLaps::fileNameWithCommaDotsAndUmlaut()
{
    const QString file = path(QStringLiteral("Jürgen, 2.5 laps.ibt"));
    QVERIFY(QFile::copy(m_short, file));
    const QString json = path(QStringLiteral("unusual.json"));
    const QString dir = path(QStringLiteral("csv-unusual"));
    const Run result = run({file, QStringLiteral("--json"), json, QStringLiteral("--csv"), dir});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    QVERIFY(QString::fromUtf8(result.out).contains(QStringLiteral("File:     ") + file));

    const QJsonObject import = readJson(json).object();
    QCOMPARE(import[QStringLiteral("file")].toString(), file);
    QVERIFY(
        import[QStringLiteral("messages")][0][QStringLiteral("text")].toString().contains(file));

    // The dot inside the name would otherwise cut the CSV names short.
    const QStringList files = csvFiles(dir);
    QVERIFY(!files.isEmpty());
    for (const QString &name : files)
        QVERIFY2(name.startsWith(QStringLiteral("Jürgen, 2_5 laps_lap")), qPrintable(name));
}

void tst_IbtLaps::plotIsAPicture_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("withDisplaySettings"); // false: no platform or display set at all
    QTest::addColumn<bool>("expectLaps");

    QTest::newRow("short practice") << m_short << true << true;
    QTest::newRow("short practice without any display") << m_short << false << true;
    QTest::newRow("no completed laps") << m_noPlayer << true << false;
}

void tst_IbtLaps::plotIsAPicture()
{
    QFETCH(QString, input);
    QFETCH(bool, withDisplaySettings);
    QFETCH(bool, expectLaps);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!withDisplaySettings) {
        for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QString::fromLatin1(name));
    }
    const QString plot = path(QStringLiteral("plot-%1.png").arg(QTest::currentDataTag()));
    QFile::remove(plot);
    const Run result = run({input, QStringLiteral("--plot"), plot}, environment);
    QVERIFY2(result.exitCode == 0, result.err.constData());

    const QImage image(plot);
    QVERIFY(!image.isNull());
    QCOMPARE(image.size(), QSize(1600, 900));
    // Titles and axes in black and grey on white, the laps in colour.
    int drawn = 0;
    int coloured = 0;
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = 0; x < image.width(); x += 2) {
            const QColor colour = image.pixelColor(x, y);
            if (colour != QColor(Qt::white))
                ++drawn;
            if (std::max({colour.red(), colour.green(), colour.blue()})
                    - std::min({colour.red(), colour.green(), colour.blue()})
                > 60)
                ++coloured;
        }
    }
    QVERIFY(drawn > 2000);
    if (expectLaps)
        QVERIFY2(coloured > 1000, qPrintable(QString::number(coloured)));
    else
        QCOMPARE(coloured, 0);
}

QTEST_GUILESS_MAIN(tst_IbtLaps)
#include "tst_ibtlaps.moc"
