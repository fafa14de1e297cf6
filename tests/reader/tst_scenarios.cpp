#include "ibtimage.h"
#include "irtelemetryreader.h"
#include "readerreplay.h"
#include "sessiongenerator.h"

#include <QBuffer>
#include <QColor>
#include <QTest>

#include <cmath>
#include <numbers>

using ZUM::SDK::Lap;
using ZUM::SDK::Session;
using Scenario = SessionGenerator::Scenario;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

constexpr double untrusted = ZUM::SDK::UntimedLapSeconds;

// The lap time a header holds for a time the simulator reported.
QTime lapTimeOf(double seconds)
{
    return QTime(0, 0, 0, 0).addMSecs(int(float(seconds) * 1000.0f));
}

struct Replayed
{
    Laps laps;
    qint64 ticks = 0; // records run
    SessionGenerator::Summary summary;
};

// The session as the generator writes it, and what the generator says it wrote.
IbtImage writtenSession(const SessionGenerator::Options &options,
                        SessionGenerator::Summary *summary)
{
    SessionGenerator generator(options);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    generator.write(&buffer);
    *summary = generator.summary();
    return IbtImage::fromBytes(bytes);
}

// The player's finished laps in the order they were handed over, and the lap under way at
// the end.
Replayed replay(const SessionGenerator::Options &options,
                iRTelemetryReader::Mode mode = iRTelemetryReader::MyCarOnly)
{
    Replayed result;
    const IbtImage file = writtenSession(options, &result.summary);
    iRTelemetryReader reader(mode);
    const FileReplay::Result replayed = ReaderReplay::run(reader, file);
    result.laps = replayed.laps;
    result.ticks = replayed.ticks;
    return result;
}

SessionGenerator::Options optionsFor(Scenario scenario)
{
    SessionGenerator::Options options;
    options.scenario = scenario;
    return options;
}

// The default practice session, replayed once for all the tests that look at it.
const Replayed &practiceRun()
{
    static const Replayed run = replay(optionsFor(Scenario::Practice));
    return run;
}

void verifyLevelChannels(const Lap &lap)
{
    const QList<QString> names = lap.getAvailableRecordedChannels();
    QVERIFY(!names.isEmpty());
    for (const QString &name : names)
        QVERIFY2(lap.channel(name)->size() == lap.size(), qPrintable(name));
}

struct Expected
{
    int lapNumber;
    int lapInStint;
    int stint;
    int flyingLap;
    bool completed;
    double time;
};

void verifyLaps(const Laps &laps, const QList<Expected> &expected)
{
    QCOMPARE(laps.size(), expected.size());
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        const Expected &e = expected[i];
        const QByteArray where = "lap #" + QByteArray::number(i);
        QVERIFY2(header.lapNumber == e.lapNumber,
                 where + " number " + QByteArray::number(header.lapNumber));
        QVERIFY2(header.lapInStint == e.lapInStint,
                 where + " in stint " + QByteArray::number(header.lapInStint));
        QVERIFY2(header.stint == e.stint, where + " stint " + QByteArray::number(header.stint));
        QVERIFY2(header.flyingLap == e.flyingLap,
                 where + " flying " + QByteArray::number(header.flyingLap));
        QVERIFY2(header.completed == e.completed, where.constData());
        QCOMPARE(header.lapTime, lapTimeOf(e.time));
        verifyLevelChannels(*laps[i]);
    }
}

// The session time the lap's samples cover.
std::pair<double, double> timeSpan(const Lap &lap)
{
    const QSharedPointer<ZUM::SDK::Channel> time = lap.channel(QStringLiteral("sessiontime"));
    return {time->value(0), time->value(time->size() - 1)};
}

} // namespace

class tst_Scenarios : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void practice();
    void practiceHeader();
    void practiceChannels();
    void everyCarModeGivesThePlayersLapsToo();
    void race();
    void replayAtDoubleSpeed();
    void sessionChangeInTheMiddleOfALap();
    void oldFilesWithoutTickCounter();
    void liveFileWithoutIsOnTrack();
    void noPlayerInTheSessionText();
};

// Out lap from the pit exit, three flying laps, and an in lap into the pits that the end of
// the file closes. In practice the out lap has no time; the in lap, cut by the end of the
// file, is numbered by the lap counter after the line the car crossed in the pit lane.
void tst_Scenarios::practice()
{
    const Replayed &run = practiceRun();
    const QList<double> &times = run.summary.timedLapTimes;
    QCOMPARE(times.size(), 3);
    verifyLaps(run.laps,
               {
                   {0, 0, 1, 0, true, untrusted},
                   {1, 1, 1, 1, true, times[0]},
                   {2, 2, 1, 1, true, times[1]},
                   {3, 3, 1, 1, true, times[2]},
                   {5, 4, 1, -1, false, untrusted},
               });
    for (const auto &lap : run.laps) {
        QCOMPARE(lap->header().session, Session::Practice);
        QCOMPARE(lap->header().dynamicData.value(QStringLiteral("Session name")).toString(),
                 QStringLiteral("Practice"));
    }
    // One stint, one identity per lap.
    QCOMPARE(run.laps[1]->header().stintId, run.laps[0]->header().stintId);
    QVERIFY(run.laps[1]->header().lapId != run.laps[2]->header().lapId);
    QVERIFY(!run.laps[0]->header().stintId.isNull());
}

void tst_Scenarios::practiceHeader()
{
    SessionGenerator::Options options = optionsFor(Scenario::Practice);
    // The simulator leaves a blank where an accented letter belongs.
    options.trackDisplayName = QStringLiteral("Aut dromo Jos  Carlos Pace");
    options.trackCity = QStringLiteral("S o Paulo");
    const Replayed run = replay(options);
    QVERIFY(!run.laps.isEmpty());
    const ZUM::SDK::LapHeader &header = run.laps[1]->header();
    const ZUM::SDK::DynamicData &values = header.dynamicData;

    QCOMPARE(header.trackName, QStringLiteral("Autódromo José Carlos Pace"));
    QCOMPARE(values.value(QStringLiteral("Track city")).toString(), QStringLiteral("São Paulo"));
    QCOMPARE(header.trackConfigName, options.trackConfigName);
    QCOMPARE(values.value(QStringLiteral("Track length")).toDouble(), 4.31);
    QCOMPARE(values.value(QStringLiteral("Track length")).unit(), QStringLiteral("km"));
    QCOMPARE(values.value(QStringLiteral("Air temperature")).toDouble(), 25.56);
    QCOMPARE(values.value(QStringLiteral("Air temperature")).unit(), QStringLiteral("C"));
    QCOMPARE(values.value(QStringLiteral("Track surface temperature")).toDouble(), 34.85);
    QCOMPARE(values.value(QStringLiteral("Weekend temperature")).toDouble(), 25.56);
    QCOMPARE(values.value(QStringLiteral("YawOffset")).toDouble(), 4.1245);
    QCOMPARE(values.value(QStringLiteral("Skies")).toString(), QStringLiteral("Partly Cloudy"));
    QCOMPARE(values.value(QStringLiteral("Maximum fuel level")).toDouble(), 105.0);
    QCOMPARE(values.value(QStringLiteral("Kg per fuel litre")).toDouble(), 0.75);
    QCOMPARE(values.value(QStringLiteral("Maximum fuel weight")).toDouble(), 105.0 * 0.75);
    QCOMPARE(values.value(QStringLiteral("Preferred fuel unit")).toString(),
             QStringLiteral("volume"));
    QCOMPARE(header.carInfo.driverName, options.playerName);
    QCOMPARE(header.carInfo.carId, QStringLiteral("0"));
    QCOMPARE(header.carInfo.detailedTelemetry, true);
    QCOMPARE(values.value(QStringLiteral("iRating")).toString(), QStringLiteral("2240"));
    QCOMPARE(values.value(QStringLiteral("License")).toString(), QStringLiteral("A 4.12"));
    QCOMPARE(values.value(QStringLiteral("Licence color")).value<QColor>(),
             QColor(0x01, 0x53, 0xdb));
    // SessionID 57248149 and SubSessionID 13844274, joined.
    QCOMPARE(header.sessionId.toString(), QStringLiteral("{00000000-0000-0000-5724-814913844274}"));
    QVERIFY(!values.containsValue(QStringLiteral("maxLapDistPct")));

    // The north offset stays beside the heading, never added to it: the lap's heading is the
    // one the generator wrote, within [-pi, pi], which 4.1245 rad more would leave.
    const QSharedPointer<ZUM::SDK::Channel> yaw = run.laps[1]->channel(QStringLiteral("yaw"));
    QVERIFY(yaw && !yaw->isEmpty());
    for (qint64 i = 0; i < yaw->size(); ++i)
        QVERIFY2(std::abs(yaw->value(i)) <= std::numbers::pi + 1e-6,
                 qPrintable(QString::number(i)));
}

void tst_Scenarios::practiceChannels()
{
    const Replayed &run = practiceRun();
    const Lap &flying = *run.laps[1];
    // A flying lap runs from just past the line to just before it.
    const QSharedPointer<ZUM::SDK::Channel> fraction = flying.channel(QStringLiteral("lapdistpct"));
    QVERIFY(fraction->value(0) < 0.01);
    QVERIFY(fraction->value(flying.size() - 1) > 0.99);
    QCOMPARE(fraction->unit(), QStringLiteral("pu"));
    QCOMPARE(flying.channel(QStringLiteral("speed"))->unit(), QStringLiteral("m/s"));
    QCOMPARE(flying.channel(QStringLiteral("sessiontime"))->unit(), QStringLiteral("s"));
    // At 60 ticks a second a lap of about 100 s has about 6000 samples.
    QVERIFY(qAbs(flying.size() - qint64(run.summary.timedLapTimes[0] * 60)) < 60);
    const auto [first, last] = timeSpan(flying);
    QVERIFY(first > run.summary.laps[1].startTime && first < run.summary.laps[1].startTime + 0.1);
    QVERIFY(last <= run.summary.laps[1].endTime && last > run.summary.laps[1].endTime - 0.1);
    // Fuel weight from the fuel level and the density of the session text.
    const QSharedPointer<ZUM::SDK::Channel> weight = flying.channel(QStringLiteral("fuelweight"));
    QVERIFY(weight);
    QCOMPARE(weight->value(0), 0.75 * flying.channel(QStringLiteral("fuellevel"))->value(0));
    // The player's own timing is kept outside replays: no rebuilt time steps.
    QVERIFY(!flying.containsChannel(QStringLiteral("dt")));
}

void tst_Scenarios::everyCarModeGivesThePlayersLapsToo()
{
    const Replayed &mine = practiceRun();
    const Replayed all = replay(optionsFor(Scenario::Practice), iRTelemetryReader::AllCars);
    QVERIFY(all.laps.size() >= 4);
    // Completed laps are the same; only a lap cut by the end of the file is numbered
    // differently when every car is tracked.
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(all.laps[i]->header().lapNumber, mine.laps[i]->header().lapNumber);
        QCOMPARE(all.laps[i]->header().lapTime, mine.laps[i]->header().lapTime);
        QCOMPARE(all.laps[i]->header().completed, mine.laps[i]->header().completed);
        verifyLevelChannels(*all.laps[i]);
    }
}

// On the grid the car waits for the start; the parade lap is an out lap, which in a race
// keeps whatever time the simulator reports for it; the race laps carry their times.
void tst_Scenarios::race()
{
    const Replayed run = replay(optionsFor(Scenario::Race));
    const QList<double> &times = run.summary.timedLapTimes;
    QCOMPARE(times.size(), 3);
    QVERIFY(run.laps.size() >= 4);
    for (const auto &lap : run.laps) {
        QCOMPARE(lap->header().session, Session::Race);
        QCOMPARE(lap->header().dynamicData.value(QStringLiteral("Session name")).toString(),
                 QStringLiteral("Race"));
        verifyLevelChannels(*lap);
    }
    // Nothing is recorded while the car waits on the grid.
    const double gridEnd = run.summary.laps[0].endTime;
    QVERIFY(timeSpan(*run.laps[0]).first > gridEnd);

    // The three race laps, in order, end with the lap under way when the file ends.
    const qsizetype last = run.laps.size() - 1;
    for (int i = 0; i < 3; ++i) {
        const ZUM::SDK::LapHeader &header = run.laps[last - 3 + i]->header();
        QCOMPARE(header.lapNumber, i + 1);
        QCOMPARE(header.flyingLap, 1);
        QCOMPARE(header.completed, true);
        QCOMPARE(header.lapTime, lapTimeOf(times[i]));
    }
    QCOMPARE(run.laps[last]->header().completed, false);
    QCOMPARE(run.laps[last]->header().lapTime, lapTimeOf(untrusted));
    // The parade is an out lap: flagged so, with no time reported for it.
    QCOMPARE(run.laps[0]->header().flyingLap, 0);
    QCOMPARE(run.laps[0]->header().lapTime, lapTimeOf(untrusted));
}

// A stretch played at double speed drops the lap under way and puts the car back on an out
// lap; the rest of that lap is recorded as an out lap, which has no time in practice.
void tst_Scenarios::replayAtDoubleSpeed()
{
    SessionGenerator::Options options = optionsFor(Scenario::Replay);
    options.lastLapTimeVariable = true; // a replay reads the lap time from "lastlaptime"
    QTest::ignoreMessage(QtDebugMsg, "Replay lap aborted");
    const Replayed run = replay(options);
    const QList<double> &times = run.summary.timedLapTimes;
    QCOMPARE(times.size(), 3);
    verifyLaps(run.laps,
               {
                   {0, 0, 1, 0, true, untrusted},
                   {1, 1, 1, 0, true, untrusted},
                   {2, 2, 1, 1, true, times[1]},
                   {3, 3, 1, 1, true, times[2]},
                   {5, 4, 1, -1, false, untrusted},
               });
    // No lap holds a sample of the fast stretch, and the replay's own lap clock is dropped.
    const double fastEnd = run.summary.firstSessionTime
        + (run.summary.fastFirstRecord + 2 * run.summary.fastRecordCount) / 60.0;
    QVERIFY(timeSpan(*run.laps[1]).first >= fastEnd - 1.0 / 60.0);
    // Replays get their timing rebuilt from the session clock.
    QVERIFY(run.laps[2]->containsChannel(QStringLiteral("dt")));
}

// The session number changes in the middle of the second flying lap: the lap is cut there,
// without a time, and what remains of it is completed at the line with the time the
// simulator reports for the whole lap.
void tst_Scenarios::sessionChangeInTheMiddleOfALap()
{
    const Replayed run = replay(optionsFor(Scenario::SessionChange));
    const QList<double> &times = run.summary.timedLapTimes;
    verifyLaps(run.laps,
               {
                   {0, 0, 1, 0, true, untrusted},
                   {1, 1, 1, 1, true, times[0]},
                   {2, 2, 1, 1, false, untrusted},
                   {2, 3, 1, 1, true, times[1]},
                   {3, 4, 1, 1, true, times[2]},
                   {5, 5, 1, -1, false, untrusted},
               });
    // No lap spans the change.
    const double change = run.summary.firstSessionTime + run.summary.sessionChangeRecord / 60.0;
    for (const auto &lap : run.laps) {
        const auto [first, last] = timeSpan(*lap);
        QVERIFY(last < change || first >= change - 1e-9);
    }
    // The session kind is the one the player is in when the lap is handed over.
    QCOMPARE(run.laps[1]->header().session, Session::Practice);
    QCOMPARE(run.laps[2]->header().session, Session::Qualify);
}

void tst_Scenarios::oldFilesWithoutTickCounter()
{
    SessionGenerator::Options options = optionsFor(Scenario::Practice);
    options.version = 1;
    const Replayed run = replay(options);
    const QList<double> &times = run.summary.timedLapTimes;
    verifyLaps(run.laps,
               {
                   {0, 0, 1, 0, true, untrusted},
                   {1, 1, 1, 1, true, times[0]},
                   {2, 2, 1, 1, true, times[1]},
                   {3, 3, 1, 1, true, times[2]},
                   {5, 4, 1, -1, false, untrusted},
               });
}

// A live file without "IsOnTrack" keeps the player's car in its stall: no lap is recorded.
void tst_Scenarios::liveFileWithoutIsOnTrack()
{
    SessionGenerator::Options options = optionsFor(Scenario::Practice);
    options.isOnTrackVariable = false;
    const Replayed run = replay(options);
    QCOMPARE(run.ticks, qint64(run.summary.recordCount));
    QVERIFY(run.laps.isEmpty());
}

void tst_Scenarios::noPlayerInTheSessionText()
{
    SessionGenerator::Options options = optionsFor(Scenario::Practice);
    options.player = false;
    const Replayed run = replay(options);
    QCOMPARE(run.ticks, qint64(run.summary.recordCount));
    QVERIFY(run.laps.isEmpty());

    // Tracking every car does not help: without the player's session number the other cars
    // are not followed either.
    SessionGenerator::Summary summary;
    const IbtImage file = writtenSession(options, &summary);
    iRTelemetryReader reader(iRTelemetryReader::AllCars);
    int ready = 0;
    FileReplay::Hooks hooks;
    hooks.ran = [&](qint64, const QSharedPointer<Lap> &) {
        for (int car = 0; car < reader.cars().size(); ++car)
            ready += reader.isLapReady(car) && !reader.lap(car)->isEmpty();
    };
    const FileReplay::Result replayed = ReaderReplay::run(reader, file, hooks);
    QCOMPARE(replayed.ticks, file.recordCount());
    QCOMPARE(reader.myCarIdx(), -1);
    QVERIFY(reader.myLap().isNull());
    QCOMPARE(ready, 0);
}

QTEST_APPLESS_MAIN(tst_Scenarios)
#include "tst_scenarios.moc"
