#include "ibtlapsrun.h"
#include "session.h"

#include <QColor>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>
#include <QUuid>

#include <cmath>
#include <functional>

using namespace IbtLapsRun;
using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

QByteArray title(const QString &name, const QString &unit)
{
    return (unit.isEmpty() ? name : name + QStringLiteral(" [") + unit + u']').toUtf8();
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof(double)) == 0;
}

} // namespace

// The files ibt-laps writes from the laps: the JSON as the host receives them, and a CSV
// file per lap.
class tst_IbtLapsExports : public IbtLapsTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void jsonHoldsWhatTheHostReceives();
    void jsonWithoutChannelValues();
    void jsonToStandardOutput();
    void jsonOfChosenChannels();
    void csvFilePerLap();
    void csvUnits_data();
    void csvUnits();
    void csvOfChosenChannels();
    void csvNamesTakenGetACounter();
    void csvForceOverwrites();
    void fileNameWithCommaDotsAndUmlaut();

private:
    void compareHeader(const QJsonObject &header, const ZUM::SDK::LapHeader &expected);
    void compareValues(const QJsonObject &values, const ZUM::SDK::DynamicData &expected);
    void compareChannels(const QJsonObject &channels, const QList<QString> &names,
                         const std::function<QSharedPointer<Channel>(const QString &)> &channel);
};

void tst_IbtLapsExports::initTestCase()
{
    QVERIFY(prepare({QStringLiteral("--json"), path(QStringLiteral("practice.json")),
                     QStringLiteral("--csv"), path(QStringLiteral("csv"))}));
}

void tst_IbtLapsExports::jsonHoldsWhatTheHostReceives()
{
    const QJsonDocument document = readJson(path(QStringLiteral("practice.json")));
    QVERIFY(document.isObject());
    const QJsonObject import = document.object();
    QCOMPARE(import[QStringLiteral("file")].toString(), m_practice);
    // The recording's start beside the laps' own date-times, which stay as the host gets them.
    const RecordingStart sub = recordingStart(m_practice);
    QCOMPARE(QDateTime::fromString(import[QStringLiteral("recordingStart")].toString(),
                                   Qt::ISODateWithMs),
             QDateTime::fromSecsSinceEpoch(sub.date, Qt::UTC));
    QVERIFY(import[QStringLiteral("recordingStart")].toString().endsWith(QStringLiteral("+00:00")));
    QCOMPARE(import[QStringLiteral("recordingStartSessionTime")].toDouble(), sub.sessionTime);

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
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const Lap &lap = *m_practiceLaps[i];
        const QJsonObject jsonLap = laps[i].toObject();
        const QJsonObject header = jsonLap[QStringLiteral("header")].toObject();
        compareHeader(header, lap.header());
        compareValues(header[QStringLiteral("values")].toObject(), lap.header().dynamicData);
        compareChannels(jsonLap[QStringLiteral("recorded")].toObject(),
                        lap.getAvailableRecordedChannels(),
                        [&lap](const QString &name) { return lap.channel(name); });
        compareChannels(jsonLap[QStringLiteral("calculated")].toObject(),
                        lap.getAvailableCalculatedChannels(),
                        [&lap](const QString &name) { return lap.calculatedChannel(name); });
        if (QTest::currentTestFailed())
            return;
        QVERIFY(jsonLap[QStringLiteral("recorded")].toObject().contains(QStringLiteral("speed")));
    }
}

// Every field of the header as the host has it.
void tst_IbtLapsExports::compareHeader(const QJsonObject &header,
                                       const ZUM::SDK::LapHeader &expected)
{
    static const QRegularExpression isoWithOffset(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d\\d:\\d\\d$"));
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"));
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
    QCOMPARE(header[QStringLiteral("trackName")].toString(), m_practiceOptions.trackDisplayName);
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
    QCOMPARE(car[QStringLiteral("detailedTelemetry")].toBool(), expected.carInfo.detailedTelemetry);
}

// Every named value, in name order, with its unit.
void tst_IbtLapsExports::compareValues(const QJsonObject &values,
                                       const ZUM::SDK::DynamicData &expected)
{
    QCOMPARE(values.keys(), expected.valueNameList());
    for (const QString &name : expected.valueNameList()) {
        const ZUM::SDK::Value value = expected.value(name);
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
}

// Every channel, with every entry read back bit for bit; no real value is null.
void tst_IbtLapsExports::compareChannels(
    const QJsonObject &channels, const QList<QString> &names,
    const std::function<QSharedPointer<Channel>(const QString &)> &channelOf)
{
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
}

void tst_IbtLapsExports::jsonWithoutChannelValues()
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

void tst_IbtLapsExports::jsonToStandardOutput()
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

void tst_IbtLapsExports::jsonOfChosenChannels()
{
    const QString json = path(QStringLiteral("chosen-channels.json"));
    const Run result = run({m_short, QStringLiteral("--json"), json, QStringLiteral("--channels"),
                            QStringLiteral("speed,throttle,brake")});
    QCOMPARE(result.exitCode, 0);
    const QJsonArray laps = readJson(json)[QStringLiteral("laps")].toArray();
    QVERIFY(!laps.isEmpty());
    for (const QJsonValue &lap : laps) {
        QCOMPARE(lap[QStringLiteral("recorded")].toObject().keys(),
                 (QStringList {QStringLiteral("brake"), QStringLiteral("speed"),
                               QStringLiteral("throttle")}));
        // The header stays whole.
        QVERIFY(!lap[QStringLiteral("header")][QStringLiteral("values")].toObject().isEmpty());
    }
}

void tst_IbtLapsExports::csvFilePerLap()
{
    const QString dir = path(QStringLiteral("csv"));
    QStringList expectedFiles;
    for (const QSharedPointer<Lap> &lap : m_practiceLaps)
        expectedFiles.append(QStringLiteral("practice_stint%1_lap%2.csv")
                                 .arg(lap->header().stint)
                                 .arg(lap->header().lapNumber));
    expectedFiles.sort();
    QCOMPARE(csvFiles(dir), expectedFiles);

    for (const QSharedPointer<Lap> &lap : m_practiceLaps) {
        const QList<QByteArray> lines
            = csvLines(QDir(dir).filePath(QStringLiteral("practice_stint%1_lap%2.csv")
                                              .arg(lap->header().stint)
                                              .arg(lap->header().lapNumber)));
        QCOMPARE(lines.size(), lap->size() + 1);

        // Session time, time in the lap and lap distance first; then the recorded channels
        // in name order, then the calculated ones, each with its unit.
        const Channel &sessionTime = *lap->channel(QStringLiteral("sessiontime"));
        const Channel &distance = *lap->channel(QStringLiteral("lapdist"));
        QByteArrayList expectedHeader = {title(QStringLiteral("sessiontime"), sessionTime.unit()),
                                         title(QStringLiteral("laptime"), sessionTime.unit()),
                                         title(QStringLiteral("lapdist"), distance.unit())};
        QList<QSharedPointer<Channel>> channels;
        for (const QString &name : lap->getAvailableRecordedChannels()) {
            if (name == QLatin1String("sessiontime") || name == QLatin1String("lapdist"))
                continue;
            expectedHeader.append(title(name, lap->channel(name)->unit()));
            channels.append(lap->channel(name));
        }
        for (const QString &name : lap->getAvailableCalculatedChannels()) {
            expectedHeader.append(title(name, lap->calculatedChannel(name)->unit()));
            channels.append(lap->calculatedChannel(name));
        }
        QCOMPARE(lines[0].split(','), expectedHeader);
        QVERIFY(expectedHeader.contains("speed [m/s]"));

        // The first and the last sample, cell by cell, read back bit for bit.
        for (const qint64 row : {qint64(0), lap->size() - 1}) {
            const QByteArrayList cells = lines[row + 1].split(',');
            QCOMPARE(cells.size(), channels.size() + 3);
            QVERIFY(sameBits(cells[0].toDouble(), sessionTime.value(row)));
            QVERIFY(sameBits(cells[1].toDouble(), sessionTime.value(row) - sessionTime.value(0)));
            QVERIFY(sameBits(cells[2].toDouble(), distance.value(row)));
            for (qsizetype c = 0; c < channels.size(); ++c) {
                const Channel &channel = *channels[c];
                if (!channel.isValid(row)) {
                    QVERIFY(cells[c + 3].isEmpty());
                    continue;
                }
                bool ok = false;
                const double value = cells[c + 3].toDouble(&ok);
                QVERIFY(ok);
                QVERIFY2(sameBits(value, channel.value(row)), expectedHeader[c + 3].constData());
            }
        }
    }
}

void tst_IbtLapsExports::csvUnits_data()
{
    QTest::addColumn<QString>("units"); // empty: not given
    QTest::addColumn<QString>("speedUnit");
    QTest::addColumn<double>("factor"); // from m/s
    QTest::addColumn<QString>("fuelUnit");
    QTest::addColumn<double>("fuelFactor"); // from l
    QTest::newRow("as recorded") << QString() << QStringLiteral("m/s") << 1.0 << QStringLiteral("l")
                                 << 1.0;
    QTest::newRow("metric") << QStringLiteral("metric") << QStringLiteral("km/h") << 3.6
                            << QStringLiteral("l") << 1.0;
    QTest::newRow("imperial") << QStringLiteral("imperial") << QStringLiteral("mph")
                              << 3.6 / 1.609344 << QStringLiteral("gal") << 1.0 / 3.785411784;
}

void tst_IbtLapsExports::csvUnits()
{
    QFETCH(QString, units);
    QFETCH(QString, speedUnit);
    QFETCH(double, factor);
    QFETCH(QString, fuelUnit);
    QFETCH(double, fuelFactor);

    const QString dir = path(QStringLiteral("csv-units-%1").arg(QTest::currentDataTag()));
    QStringList arguments {m_short,
                           QStringLiteral("--csv"),
                           dir,
                           QStringLiteral("--laps"),
                           QStringLiteral("1"),
                           QStringLiteral("--channels"),
                           QStringLiteral("speed,fuellevel")};
    if (!units.isEmpty())
        arguments << QStringLiteral("--units") << units;
    QCOMPARE(run(arguments).exitCode, 0);
    const QSharedPointer<Lap> lap = importDirectly(m_short)[1];
    QCOMPARE(lap->header().lapNumber, 1);
    const QList<QByteArray> lines
        = csvLines(QDir(dir).filePath(QStringLiteral("short_stint1_lap1.csv")));
    QCOMPARE(lines.size(), lap->size() + 1);
    // Speeds and fuel in the units asked for; lap distance stays in metres.
    QCOMPARE(lines[0],
             "sessiontime [s],laptime [s],lapdist [m],fuellevel [" + fuelUnit.toUtf8() + "],speed ["
                 + speedUnit.toUtf8() + ']');
    const Channel &speed = *lap->channel(QStringLiteral("speed"));
    const Channel &fuel = *lap->channel(QStringLiteral("fuellevel"));
    for (qint64 row = 0; row < lap->size(); row += 500) {
        const QByteArrayList cells = lines[row + 1].split(',');
        if (fuelFactor == 1.0)
            QVERIFY(sameBits(cells[3].toDouble(), fuel.value(row)));
        else
            QVERIFY(std::abs(cells[3].toDouble() - fuel.value(row) * fuelFactor)
                    <= 1e-12 * std::abs(cells[3].toDouble()));
        const double written = cells[4].toDouble();
        if (units.isEmpty())
            QVERIFY(sameBits(written, speed.value(row)));
        else
            QVERIFY2(std::abs(written - speed.value(row) * factor) <= 1e-12 * std::abs(written),
                     qPrintable(QString::number(row)));
    }
}

void tst_IbtLapsExports::csvOfChosenChannels()
{
    const QString dir = path(QStringLiteral("csv-channels"));
    QCOMPARE(run({m_short, QStringLiteral("--csv"), dir, QStringLiteral("--channels"),
                  QStringLiteral("throttle,brake,speed")})
                 .exitCode,
             0);
    const QStringList files = csvFiles(dir);
    QCOMPARE(files.size(), importDirectly(m_short).size());
    for (const QString &file : files)
        QCOMPARE(csvLines(QDir(dir).filePath(file)).first(),
                 "sessiontime [s],laptime [s],lapdist [m],brake [pu],speed [m/s],throttle [pu]");
}

void tst_IbtLapsExports::csvNamesTakenGetACounter()
{
    const QString dir = path(QStringLiteral("csv-twice"));
    for (int i = 0; i < 2; ++i)
        QCOMPARE(run({m_short, QStringLiteral("--csv"), dir}).exitCode, 0);
    const Laps laps = importDirectly(m_short);
    QVERIFY(!laps.isEmpty());
    const QStringList files = csvFiles(dir);
    QCOMPARE(files.size(), 2 * laps.size());
    for (const QSharedPointer<Lap> &lap : laps) {
        const QString base = QStringLiteral("short_stint%1_lap%2")
                                 .arg(lap->header().stint)
                                 .arg(lap->header().lapNumber);
        QVERIFY2(files.contains(base + QStringLiteral(".csv")), qPrintable(base));
        QVERIFY2(files.contains(base + QStringLiteral("_1.csv")), qPrintable(base));
    }
}

void tst_IbtLapsExports::csvForceOverwrites()
{
    const QString dir = path(QStringLiteral("csv-force"));
    QVERIFY(QDir().mkpath(dir));
    const QString taken = QDir(dir).filePath(QStringLiteral("short_stint1_lap1.csv"));
    {
        QFile file(taken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("an older export\n");
    }
    QCOMPARE(run({m_short, QStringLiteral("--csv"), dir, QStringLiteral("--force")}).exitCode, 0);
    QCOMPARE(csvFiles(dir).size(), importDirectly(m_short).size());
    QVERIFY(csvLines(taken).first().startsWith("sessiontime [s],"));
}

void tst_IbtLapsExports::fileNameWithCommaDotsAndUmlaut()
{
    const QString file = path(QStringLiteral("Jürgen, 2.5 laps.ibt"));
    QVERIFY(QFile::copy(m_short, file));
    const QString json = path(QStringLiteral("unusual.json"));
    const QString dir = path(QStringLiteral("csv-unusual"));
    const Run result = run({file, QStringLiteral("--json"), json, QStringLiteral("--csv"), dir});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    QCOMPARE(summaryValue(result.out, QStringLiteral("File")), file);

    const QJsonObject import = readJson(json).object();
    QCOMPARE(import[QStringLiteral("file")].toString(), file);
    QVERIFY(
        import[QStringLiteral("messages")][0][QStringLiteral("text")].toString().contains(file));

    // The dot inside the name would otherwise cut the CSV names short.
    const QStringList files = csvFiles(dir);
    QVERIFY(!files.isEmpty());
    for (const QString &name : files)
        QVERIFY2(name.startsWith(QStringLiteral("Jürgen, 2_5 laps_stint1_lap")), qPrintable(name));
}

QTEST_GUILESS_MAIN(tst_IbtLapsExports)
#include "tst_ibtlapsexports.moc"
