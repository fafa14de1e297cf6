#include "ibtlapsrun.h"
#include "lapplot.h"
#include "picturepixels.h"
#include "plotstyle.h"
#include "samplefiles.h"
#include "session.h"
#include "sessiongenerator.h"

#include <QColor>
#include <QDateTime>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstring>

using namespace IbtLapsRun;
using ZUM::SDK::Channel;
using namespace PicturePixels;
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

// The track map of a picture: the path in the speed scale's colours, the scale from dark
// (slow) at the bottom to light (fast) at the top, and the path as wide for its height as the
// best lap's positions say, on the ground.
bool drawsTheTrack(const QImage &image, const Laps &laps)
{
    const QRect map = LapPlot::trackMapPanel();
    const QRect scale = LapPlot::speedScale();
    if (colourful(image, map) < 500)
        return false;
    const QColor top = image.pixelColor(scale.center().x(), scale.top() + 3);
    const QColor bottom = image.pixelColor(scale.center().x(), scale.bottom() - 3);
    if (qGray(top.rgb()) <= qGray(bottom.rgb()) + 100)
        return false;

    QRect drawn;
    for (int y = map.top() + 2; y < map.bottom() - 2; ++y) {
        for (int x = map.left() + 2; x < map.right() - 2; ++x) {
            if (isColourful(image.pixelColor(x, y)))
                drawn |= QRect(x, y, 1, 1);
        }
    }
    // The best lap's extent in metres east and north, from its own positions.
    qsizetype best = -1;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        if (header.completed && header.lapTime != QTime(0, 59, 59)
            && (best < 0 || header.lapTime < laps[best]->header().lapTime))
            best = i;
    }
    const Channel &lat = *laps[best]->channel(QStringLiteral("lat"));
    const Channel &lon = *laps[best]->channel(QStringLiteral("lon"));
    double latSum = 0.0;
    for (qint64 i = 0; i < lat.size(); ++i)
        latSum += lat.value(i);
    const double eastPerDegree = std::cos(latSum / lat.size() * M_PI / 180.0);
    double west = INFINITY, east = -INFINITY, south = INFINITY, north = -INFINITY;
    for (qint64 i = 0; i < lat.size(); ++i) {
        west = std::min(west, lon.value(i) * eastPerDegree);
        east = std::max(east, lon.value(i) * eastPerDegree);
        south = std::min(south, lat.value(i));
        north = std::max(north, lat.value(i));
    }
    const double expected = (east - west) / (north - south);
    // The drawn line is a few pixels wide on either side.
    const double width = drawn.width() - 6.0;
    const double height = drawn.height() - 6.0;
    return std::abs(width / height - expected) < 0.03 * expected;
}

} // namespace

class tst_IbtLapsExports : public QObject
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
    void pictureOfTheLaps_data();
    void pictureOfTheLaps();
    void pictureFormats_data();
    void pictureFormats();
    void noPictureForAFailedImport();
    void onePicturePerFile();
    void pictureOfARecordedFile();

private:
    QString path(const QString &name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    SessionGenerator::Options m_practiceOptions; // the default practice session
    QString m_practice; // practice.ibt, run once with every output
    Run m_practiceRun;
    Laps m_practiceLaps; // the same file imported here
    QString m_short; // a short practice session for the quicker runs
    QString m_shortSecond; // another one
    QString m_noPlayer; // a session without the player's car: no laps
};

void tst_IbtLapsExports::initTestCase()
{
    QVERIFY(m_dir.isValid());
    Sessions sessions;
    QVERIFY(sessions.write(m_dir));
    m_practiceOptions = sessions.practiceOptions;
    m_practice = sessions.practice;
    m_short = sessions.shortOne;
    m_shortSecond = sessions.second;
    m_noPlayer = sessions.noPlayer;

    m_practiceRun
        = run({m_practice, QStringLiteral("--json"), path(QStringLiteral("practice.json")),
               QStringLiteral("--csv"), path(QStringLiteral("csv")), QStringLiteral("--plot"),
               path(QStringLiteral("practice.png"))});
    QVERIFY2(m_practiceRun.exitCode == 0, m_practiceRun.err.constData());
    m_practiceLaps = importDirectly(m_practice);
    QCOMPARE(m_practiceLaps.size(), 5);
}

void tst_IbtLapsExports::jsonHoldsWhatTheHostReceives()
{
    const QJsonDocument document = readJson(path(QStringLiteral("practice.json")));
    QVERIFY(document.isObject());
    const QJsonObject import = document.object();
    QCOMPARE(import[QStringLiteral("file")].toString(), m_practice);
    // The recording's start beside the laps' own date-times, which stay as the host gets them.
    const irsdk_diskSubHeader sub = diskSubHeader(m_practice);
    QCOMPARE(QDateTime::fromString(import[QStringLiteral("recordingStart")].toString(),
                                   Qt::ISODateWithMs),
             QDateTime::fromSecsSinceEpoch(sub.sessionStartDate, Qt::UTC));
    QVERIFY(import[QStringLiteral("recordingStart")].toString().endsWith(QStringLiteral("+00:00")));
    QCOMPARE(import[QStringLiteral("recordingStartSessionTime")].toDouble(), sub.sessionStartTime);

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
    QTest::newRow("as recorded") << QString() << QStringLiteral("m/s") << 1.0;
    QTest::newRow("metric") << QStringLiteral("metric") << QStringLiteral("km/h") << 3.6;
    QTest::newRow("imperial") << QStringLiteral("imperial") << QStringLiteral("mph")
                              << 3.6 / 1.609344;
}

void tst_IbtLapsExports::csvUnits()
{
    QFETCH(QString, units);
    QFETCH(QString, speedUnit);
    QFETCH(double, factor);

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
    // Speeds in the unit asked for; fuel stays in litres.
    QCOMPARE(lines[0],
             "sessiontime [s],laptime [s],lapdist [m],fuellevel [l],speed [" + speedUnit.toUtf8()
                 + ']');
    const Channel &speed = *lap->channel(QStringLiteral("speed"));
    const Channel &fuel = *lap->channel(QStringLiteral("fuellevel"));
    for (qint64 row = 0; row < lap->size(); row += 500) {
        const QByteArrayList cells = lines[row + 1].split(',');
        QVERIFY(sameBits(cells[3].toDouble(), fuel.value(row)));
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

void tst_IbtLapsExports::pictureOfTheLaps_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("withDisplaySettings"); // false: no platform or display set at all
    QTest::addColumn<bool>("expectLaps");
    QTest::addColumn<bool>("expectMap");

    SessionGenerator::Options noPositions;
    noPositions.laps = 2;
    noPositions.omitVariables = {QStringLiteral("Lat"), QStringLiteral("Lon")};
    const QString withoutPositions = path(QStringLiteral("no-positions.ibt"));
    QVERIFY(SessionGenerator(noPositions).write(withoutPositions));

    QTest::newRow("practice") << m_practice << true << true << true;
    QTest::newRow("short practice without any display") << m_short << false << true << true;
    QTest::newRow("a session without positions") << withoutPositions << true << true << false;
    QTest::newRow("no laps") << m_noPlayer << true << false << false;
}

void tst_IbtLapsExports::pictureOfTheLaps()
{
    QFETCH(QString, input);
    QFETCH(bool, withDisplaySettings);
    QFETCH(bool, expectLaps);
    QFETCH(bool, expectMap);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!withDisplaySettings) {
        for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QString::fromLatin1(name));
    }
    const QString plot = path(QStringLiteral("plot-%1.png").arg(QTest::currentDataTag()));
    const Run result = run({input, QStringLiteral("--plot"), plot}, environment);
    QVERIFY2(result.exitCode == 0, result.err.constData());
    QVERIFY(result.err.contains(("info: wrote the picture " + plot).toUtf8()));

    QImageReader reader(plot);
    QCOMPARE(reader.format(), QByteArray("png"));
    const QImage image = reader.read();
    QCOMPARE(image.size(), QSize(1600, LapPlot::Height));
    // Each panel where the layout puts it: the best lap in the best lap's colour in every
    // panel over distance, and in the legend.
    const QList<QRect> panels = {LapPlot::speedPanel(), LapPlot::legendBox(), LapPlot::deltaPanel(),
                                 LapPlot::inputsPanel(), LapPlot::gearPanel()};
    for (const QRect &panel : panels) {
        if (expectLaps)
            QVERIFY2(count(image, panel, PlotStyle::bestColour()) > 50,
                     qPrintable(QStringLiteral("%1,%2").arg(panel.x()).arg(panel.y())));
        else
            QCOMPARE(colourful(image, panel), 0);
    }
    // The other laps in the legend, in their own colours.
    if (expectLaps)
        QVERIFY(count(image, LapPlot::legendBox(), PlotStyle::otherColour(0)) > 20);
    if (expectMap)
        QVERIFY(drawsTheTrack(image, importDirectly(input)));
    else
        QVERIFY(colourful(image, LapPlot::trackMapPanel()) + colourful(image, LapPlot::speedScale())
                == 0);
}

void tst_IbtLapsExports::pictureFormats_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("png") << QStringLiteral("laps.png") << QByteArray("png");
    QTest::newRow("jpeg") << QStringLiteral("laps.jpg") << QByteArray("jpeg");
    QTest::newRow("no suffix: png") << QStringLiteral("laps") << QByteArray("png");
}

void tst_IbtLapsExports::pictureFormats()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    const QString plot = path(QStringLiteral("formats/%1").arg(name));
    QVERIFY(QDir().mkpath(path(QStringLiteral("formats"))));
    QCOMPARE(run({m_short, QStringLiteral("--plot"), plot}).exitCode, 0);
    QImageReader reader(plot);
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), format);
    QCOMPARE(reader.size(), QSize(1600, LapPlot::Height));
}

void tst_IbtLapsExports::noPictureForAFailedImport()
{
    const QString missing = path(QStringLiteral("missing.ibt"));
    const QString plot = path(QStringLiteral("failed.png"));
    const Run result = run({missing, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 1);
    QVERIFY(!QFile::exists(plot));
    QVERIFY2(result.err.contains(
                 ("note: no picture for " + missing + ": it could not be imported").toUtf8()),
             result.err.constData());
}

void tst_IbtLapsExports::onePicturePerFile()
{
    const QString plot = path(QStringLiteral("several.png"));
    const Run result = run({m_short, m_shortSecond, QStringLiteral("--plot"), plot});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(!QFile::exists(plot));
    QCOMPARE(QImage(path(QStringLiteral("several_short.png"))).size(),
             QSize(1600, LapPlot::Height));
    QCOMPARE(QImage(path(QStringLiteral("several_second.png"))).size(),
             QSize(1600, LapPlot::Height));
}

void tst_IbtLapsExports::pictureOfARecordedFile()
{
    // A file recorded by the simulator, with the car's positions: the track map is drawn.
    const QString file
        = SampleFiles::path(QStringLiteral("rr_skmodified_langley_2015-05-28_14-46-23.ibt"));
    if (!QFile::exists(file))
        QSKIP("no recorded .ibt files in ZUM_IBT_SAMPLES or ../shared/ibt");
    const Laps laps = importDirectly(file);
    QVERIFY(!laps.isEmpty());
    QVERIFY(laps.first()->channel(QStringLiteral("lat")));
    const QString plot = path(QStringLiteral("recorded.png"));
    QCOMPARE(run({file, QStringLiteral("--plot"), plot}).exitCode, 0);
    const QImage image(plot);
    QCOMPARE(image.size(), QSize(1600, LapPlot::Height));
    QVERIFY(drawsTheTrack(image, laps));
    for (const QRect &panel :
         {LapPlot::speedPanel(), LapPlot::deltaPanel(), LapPlot::inputsPanel()})
        QVERIFY(count(image, panel, PlotStyle::bestColour()) > 50);
}

QTEST_MAIN(tst_IbtLapsExports)
#include "tst_ibtlapsexports.moc"
