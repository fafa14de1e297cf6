#include "irtelemetryreader.h"

#include <QTest>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

using Values = QList<double>;

namespace {

constexpr int player = 0;
constexpr int other = 1;

// A reader whose session text names car 0 as the player's; simMode "" leaves the mode unknown.
std::unique_ptr<iRTelemetryReader> readerIn(const char *simMode)
{
    auto reader = std::make_unique<iRTelemetryReader>(iRTelemetryReader::AllCars);
    QByteArray text = "---\n";
    if (*simMode)
        text += QByteArray("WeekendInfo:\n SimMode: ") + simMode + "\n";
    text += "DriverInfo:\n DriverCarIdx: 0\n";
    reader->setYaml(text.constData());
    reader->updateCarList();
    return reader;
}

QSharedPointer<Channel> channelOf(const Values &values, const QString &unit = QString())
{
    auto channel = QSharedPointer<Channel>::create();
    for (double value : values)
        channel->append(value);
    channel->setUnit(unit);
    return channel;
}

Values valuesOf(const QSharedPointer<Channel> &channel)
{
    Values values;
    for (qint64 i = 0; i < channel->size(); ++i)
        values.append(channel->value(i));
    return values;
}

QStringList debugMessages;

void collectDebugMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg)
        debugMessages.append(message);
}

} // namespace

class tst_PostProcessing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void yawOffsetLeavesTheHeaderWithoutYaw();
    void yawOffsetShiftsEveryEntry();
    void fuelWeight_data();
    void fuelWeight();
    void playersOwnTimingIsKeptOutsideReplays_data();
    void playersOwnTimingIsKeptOutsideReplays();
    void timeStepAndLapTime_data();
    void timeStepAndLapTime();
    void distanceFromFractionAndTrackLength();
    void noDistanceInReplaysOrWithoutTrackLength_data();
    void noDistanceInReplaysOrWithoutTrackLength();
    void speedSpikes_data();
    void speedSpikes();
    void singleEntryRepeatsZero();
    void normalizeUsesTheLapFraction();
    void normalizeNeedsBothChannels();
};

void tst_PostProcessing::yawOffsetLeavesTheHeaderWithoutYaw()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(player);
    lap->header().dynamicData.setValue(QStringLiteral("yawOffset"), 1.5, QString());
    lap->addChannel(channelOf({1.0}), QStringLiteral("speed"));
    reader->preprocessLap(player);
    QVERIFY(!lap->header().dynamicData.containsValue(QStringLiteral("yawOffset")));
    QVERIFY(!lap->containsChannel(QStringLiteral("Yaw")));
}

void tst_PostProcessing::yawOffsetShiftsEveryEntry()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(player);
    lap->header().dynamicData.setValue(QStringLiteral("yawOffset"), 0.5, QString());
    lap->addChannel(channelOf({1.0, ZUM::SDK::InvalidValue}), QStringLiteral("Yaw"));
    // The stored north offset goes by another name and is not applied.
    lap->header().dynamicData.setValue(QStringLiteral("YawOffset"), 9.0, QString());
    lap->addChannel(channelOf({2.0, 3.0}), QStringLiteral("yaw"));
    reader->preprocessLap(player);
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("Yaw"))),
             Values({1.5, ZUM::SDK::InvalidValue + 0.5}));
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("yaw"))), Values({2.0, 3.0}));
    QVERIFY(lap->header().dynamicData.containsValue(QStringLiteral("YawOffset")));

    // A second pass cannot apply it again.
    reader->preprocessLap(player);
    QCOMPARE(lap->channel(QStringLiteral("Yaw"))->value(0), 1.5);
}

void tst_PostProcessing::fuelWeight_data()
{
    QTest::addColumn<QVariant>("kgPerLitre");
    QTest::addColumn<Values>("fuel");
    QTest::addColumn<Values>("weight"); // empty: no channel

    QTest::newRow("density times level")
        << QVariant(0.75) << Values {10, 9.5} << Values {7.5, 7.125};
    QTest::newRow("zero density gives no weight") << QVariant(0.0) << Values {10} << Values {};
    QTest::newRow("absent density gives no weight") << QVariant() << Values {10} << Values {};
    QTest::newRow("tiny density gives no weight") << QVariant(1e-13) << Values {10} << Values {};
}

void tst_PostProcessing::fuelWeight()
{
    QFETCH(QVariant, kgPerLitre);
    QFETCH(Values, fuel);
    QFETCH(Values, weight);

    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(player);
    if (kgPerLitre.isValid())
        lap->header().dynamicData.setValue(QStringLiteral("Kg per fuel litre"), kgPerLitre,
                                           QString());
    lap->addChannel(channelOf(fuel, QStringLiteral("l")), QStringLiteral("fuellevel"));
    reader->preprocessLap(player);
    const QSharedPointer<Channel> fuelWeight = lap->channel(QStringLiteral("fuelweight"));
    if (weight.isEmpty()) {
        QVERIFY(fuelWeight.isNull());
        return;
    }
    QCOMPARE(valuesOf(fuelWeight), weight);
    QCOMPARE(fuelWeight->unit(), QStringLiteral("kg"));
}

void tst_PostProcessing::playersOwnTimingIsKeptOutsideReplays_data()
{
    QTest::addColumn<QByteArray>("simMode");
    QTest::addColumn<int>("car");
    QTest::addColumn<bool>("rebuilt");
    QTest::newRow("player's car live keeps its timing") << QByteArray("full") << player << false;
    QTest::newRow("player's car in unknown mode keeps its timing")
        << QByteArray() << player << false;
    QTest::newRow("player's car in a replay is rebuilt") << QByteArray("replay") << player << true;
    QTest::newRow("other car live is rebuilt") << QByteArray("full") << other << true;
}

void tst_PostProcessing::playersOwnTimingIsKeptOutsideReplays()
{
    QFETCH(QByteArray, simMode);
    QFETCH(int, car);
    QFETCH(bool, rebuilt);

    auto reader = readerIn(simMode.constData());
    const QSharedPointer<Lap> lap = reader->lap(car);
    lap->addChannel(channelOf({0.0, 0.5}), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf({0.0, 0.1}), QStringLiteral("lapdistpct"));
    reader->preprocessLap(car);
    QCOMPARE(lap->containsChannel(QStringLiteral("dt")), rebuilt);
    QCOMPARE(lap->containsChannel(QStringLiteral("lapcurrentlaptime")), rebuilt);
}

void tst_PostProcessing::timeStepAndLapTime_data()
{
    QTest::addColumn<Values>("fraction");
    QTest::addColumn<Values>("lapTime");

    QTest::newRow("lap from the line gets a rebuilt lap time")
        << Values {0.005, 0.1, 0.2} << Values {0.0, 0.5, 1.5};
    QTest::newRow("lap starting at 0.01 keeps the recorded lap time")
        << Values {0.01, 0.1, 0.2} << Values {7.0, 8.0, 9.0};
}

void tst_PostProcessing::timeStepAndLapTime()
{
    QFETCH(Values, fraction);
    QFETCH(Values, lapTime);

    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(other);
    lap->addChannel(channelOf({0.0, 0.5, 1.5}, QStringLiteral("s")), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf(fraction), QStringLiteral("lapdistpct"));
    lap->addChannel(channelOf({7.0, 8.0, 9.0}, QStringLiteral("s")),
                    QStringLiteral("lapcurrentlaptime"));
    reader->preprocessLap(other);

    const QSharedPointer<Channel> dt = lap->channel(QStringLiteral("dt"));
    QCOMPARE(valuesOf(dt), Values({0.5, 1.0, 1.0}));
    QVERIFY(dt->unit().isNull());
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("lapcurrentlaptime"))), lapTime);
    QVERIFY(lap->calculatedChannel(QStringLiteral("dt")).isNull());
}

void tst_PostProcessing::distanceFromFractionAndTrackLength()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(other);
    lap->header().dynamicData.setValue(QStringLiteral("Track length"), 2.0, QStringLiteral("km"));
    lap->addChannel(channelOf({0.0, 1.0, 2.0}, QStringLiteral("s")), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf({0.0, 0.25, 0.5}), QStringLiteral("lapdistpct"));
    lap->addChannel(channelOf({1.0, 1.0, 1.0}), QStringLiteral("speed"));
    reader->preprocessLap(other);

    const QSharedPointer<Channel> distance = lap->channel(QStringLiteral("lapdist"));
    QCOMPARE(valuesOf(distance), Values({0.0, 500.0, 1000.0}));
    QCOMPARE(distance->unit(), QStringLiteral("m"));
    const QSharedPointer<Channel> speed = lap->channel(QStringLiteral("speed"));
    QCOMPARE(valuesOf(speed), Values({500.0, 500.0, 500.0}));
    QCOMPARE(speed->unit(), QStringLiteral("m/s"));
    // The distance steps are a working channel only.
    QCOMPARE(lap->getAvailableRecordedChannels(),
             QList<QString>(
                 {"dt", "lapcurrentlaptime", "lapdist", "lapdistpct", "sessiontime", "speed"}));
}

void tst_PostProcessing::noDistanceInReplaysOrWithoutTrackLength_data()
{
    QTest::addColumn<QByteArray>("simMode");
    QTest::addColumn<bool>("withTrackLength");
    QTest::newRow("replay") << QByteArray("replay") << true;
    QTest::newRow("unknown mode") << QByteArray() << true;
    QTest::newRow("live without track length") << QByteArray("full") << false;
}

void tst_PostProcessing::noDistanceInReplaysOrWithoutTrackLength()
{
    QFETCH(QByteArray, simMode);
    QFETCH(bool, withTrackLength);

    auto reader = readerIn(simMode.constData());
    const QSharedPointer<Lap> lap = reader->lap(other);
    if (withTrackLength)
        lap->header().dynamicData.setValue(QStringLiteral("Track length"), 2.0,
                                           QStringLiteral("km"));
    lap->addChannel(channelOf({0.0, 1.0}), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf({0.0, 0.5}), QStringLiteral("lapdistpct"));
    reader->preprocessLap(other);
    QVERIFY(lap->containsChannel(QStringLiteral("dt")));
    QVERIFY(!lap->containsChannel(QStringLiteral("lapdist")));
    QVERIFY(!lap->containsChannel(QStringLiteral("speed")));
}

void tst_PostProcessing::speedSpikes_data()
{
    QTest::addColumn<Values>("speeds");
    QTest::addColumn<Values>("repaired");
    QTest::addColumn<int>("debugLines");

    QTest::newRow("rise and fall is a spike") << Values {10, 30, 11} << Values {10, 10.5, 11} << 2;
    QTest::newRow("fall and rise is a spike, the rise counts")
        << Values {30, 10, 29} << Values {30, 29.5, 29} << 2;
    QTest::newRow("steady fall is no spike") << Values {30, 20, 10} << Values {30, 20, 10} << 0;
    QTest::newRow("small wobble is no spike")
        << Values {10, 14, 10.5} << Values {10, 14, 10.5} << 0;
    QTest::newRow("two samples are never repaired") << Values {10, 30} << Values {10, 30} << 0;
    QTest::newRow("repaired entry is used for the next test")
        << Values {10, 30, 10, 30} << Values {10, 10, 10, 30} << 2;
}

void tst_PostProcessing::speedSpikes()
{
    QFETCH(Values, speeds);
    QFETCH(Values, repaired);
    QFETCH(int, debugLines);

    // Speed is rebuilt from distance over time: one second per sample, and a lap fraction
    // whose steps give the wanted speeds on a 1 km track. One sample more, because the last
    // speed only repeats the one before.
    Values time {0.0};
    Values fraction {0.0};
    for (qsizetype i = 0; i < speeds.size(); ++i) {
        time.append(double(i + 1));
        fraction.append(fraction.last() + speeds[i] / 1000.0);
    }
    if (speeds.size() == 2) { // exactly two samples: no room for a repair
        time.removeLast();
        fraction.removeLast();
    }
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(other);
    lap->header().dynamicData.setValue(QStringLiteral("Track length"), 1.0, QStringLiteral("km"));
    lap->addChannel(channelOf(time, QStringLiteral("s")), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf(fraction), QStringLiteral("lapdistpct"));

    debugMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectDebugMessages);
    reader->preprocessLap(other);
    qInstallMessageHandler(previous);
    QCOMPARE(debugMessages.size(), debugLines);
    for (qsizetype i = 0; i < debugMessages.size(); i += 2) {
        QVERIFY2(debugMessages[i].startsWith(QStringLiteral("peak detected ")),
                 qPrintable(debugMessages[i]));
        QVERIFY2(debugMessages[i + 1].startsWith(QStringLiteral("peak fixed ")),
                 qPrintable(debugMessages[i + 1]));
    }

    const Values actual = valuesOf(lap->channel(QStringLiteral("speed")));
    QCOMPARE(actual.size(), time.size());
    for (qsizetype i = 0; i < qMin(actual.size(), repaired.size()) - (speeds.size() == 2); ++i)
        QVERIFY2(qAbs(actual[i] - repaired[i]) < 1e-6,
                 qPrintable(QStringLiteral("entry %1: %2").arg(i).arg(actual[i])));
}

void tst_PostProcessing::singleEntryRepeatsZero()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(other);
    lap->addChannel(channelOf({5.0}), QStringLiteral("sessiontime"));
    lap->addChannel(channelOf({0.0}), QStringLiteral("lapdistpct"));
    reader->preprocessLap(other);
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("dt"))), Values({0.0}));
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("lapcurrentlaptime"))), Values({0.0}));
}

void tst_PostProcessing::normalizeUsesTheLapFraction()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(player);
    lap->addChannel(channelOf({95.0, 0.0, 2.0, 4.0}), QStringLiteral("lapcurrentlaptime"));
    lap->addChannel(channelOf({0.99, 0.0, 0.01, 0.02}), QStringLiteral("lapdistpct"));
    reader->normalizeChannelBeginning(player, QStringLiteral("lapcurrentlaptime"));
    // Entry 1 (zero) takes the anchor 2.0 at fraction 0.01: 2.0 * 0.0 / 0.01 = 0; entry 0
    // (95 > 0) becomes 2.0 * 0.99 / 0.01.
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("lapcurrentlaptime"))),
             Values({2.0 * 0.99 / 0.01, 0.0, 2.0, 4.0}));
}

void tst_PostProcessing::normalizeNeedsBothChannels()
{
    auto reader = readerIn("full");
    const QSharedPointer<Lap> lap = reader->lap(player);
    lap->addChannel(channelOf({95.0, 0.0, 2.0}), QStringLiteral("energymgu_klapdeploypct"));
    reader->normalizeChannelBeginning(player, QStringLiteral("energymgu_klapdeploypct"));
    QCOMPARE(valuesOf(lap->channel(QStringLiteral("energymgu_klapdeploypct"))),
             Values({95.0, 0.0, 2.0}));
    reader->normalizeChannelBeginning(player, QStringLiteral("absent"));
    QVERIFY(!lap->containsChannel(QStringLiteral("absent")));
}

QTEST_APPLESS_MAIN(tst_PostProcessing)
#include "tst_postprocessing.moc"
