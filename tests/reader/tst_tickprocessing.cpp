#include "irtelemetryreader.h"

#include <QTest>

using ZUM::SDK::CarStatus;
using ZUM::SDK::Lap;
using ZUM::SDK::Sample;

namespace {

QByteArray sessionText(const char *simMode, const char *sessionType, bool player = true)
{
    QByteArray text = "---\nWeekendInfo:\n TrackDisplayName: Test Ring\n TrackLength: 1.00 km\n"
                      " SessionID: 77\n SubSessionID: 88\n SimMode: ";
    text += simMode;
    text += "\nSessionInfo:\n Sessions:\n - SessionNum: 0\n   SessionType: ";
    text += sessionType;
    text += "\n   ResultsPositions:\n   - Position: 1\n     CarIdx: 1\n     LapsComplete: 6\n"
            "     LastTime: 61.5\n"
            " - SessionNum: 1\n   SessionType: Race\n"
            "DriverInfo:\n";
    if (player)
        text += " DriverCarIdx: 0\n";
    text += " Drivers:\n - CarIdx: 0\n   UserName: Player\n - CarIdx: 1\n   UserName: Rival\n"
            " - CarIdx: 2\n   UserName: Other\n";
    return text;
}

// One tick of the player's car as the simulator records it.
struct Tick
{
    quint64 sessionTick = 0;
    double sessionTime = 0.0;
    int lap = 1;
    float lapDistPct = 0.5f;
    float lapDist = 500.0f;
    float speed = 50.0f;
    float lapCurrentLapTime = 10.0f;
    float lapLastLapTime = 0.0f;
    float lastLapTime = 0.0f;
    bool isOnTrack = true;
    bool onPitRoad = false;
    bool inPitStall = false;
    int sessionNum = 0;
    int sessionState = 4;
    double replayPlaySpeed = 1.0;
    bool withIsOnTrack = true;
    bool withSessionTick = true;

    Sample sample() const
    {
        Sample sample;
        auto &v = sample.dynamicData;
        if (withSessionTick)
            v.setValue(QStringLiteral("sessiontick"), int(sessionTick), QString());
        v.setValue(QStringLiteral("sessiontime"), sessionTime, QStringLiteral("s"));
        v.setValue(QStringLiteral("lap"), lap, QString());
        v.setValue(QStringLiteral("lapdistpct"), lapDistPct, QStringLiteral("pu"));
        v.setValue(QStringLiteral("lapdist"), lapDist, QStringLiteral("m"));
        v.setValue(QStringLiteral("speed"), speed, QStringLiteral("m/s"));
        v.setValue(QStringLiteral("lapcurrentlaptime"), lapCurrentLapTime, QStringLiteral("s"));
        v.setValue(QStringLiteral("laplastlaptime"), lapLastLapTime, QStringLiteral("s"));
        v.setValue(QStringLiteral("lastlaptime"), lastLapTime, QStringLiteral("s"));
        if (withIsOnTrack)
            v.setValue(QStringLiteral("isontrack"), isOnTrack, QString());
        v.setValue(QStringLiteral("onpitroad"), onPitRoad, QString());
        v.setValue(QStringLiteral("playercarinpitstall"), inPitStall, QString());
        v.setValue(QStringLiteral("sessionnum"), sessionNum, QString());
        v.setValue(QStringLiteral("sessionstate"), sessionState, QString());
        v.setValue(QStringLiteral("replayplayspeed"), replayPlaySpeed, QString());
        return sample;
    }
};

// Drives a reader tick by tick and collects the player's finished laps as the import does.
class Run
{
public:
    explicit Run(const QByteArray &text,
                 iRTelemetryReader::Mode mode = iRTelemetryReader::MyCarOnly)
        : reader(mode)
    {
        reader.setYaml(text.constData());
        reader.updateCarList();
    }

    void tick(const Tick &tick)
    {
        reader.prepareTick();
        if (reader.myCarOnly()) {
            reader.processData({tick.sample()});
        } else {
            QList<Sample> samples(reader.maxCars());
            samples[0] = tick.sample();
            samples[1] = other;
            reader.processData(samples);
        }
        if (reader.isMyLapReady() && !reader.myLap()->isEmpty())
            laps.append(reader.myLap());
    }

    // Drives from fraction `from` to `to` in steps, one tick each, the clocks running.
    void drive(Tick &t, float from, float to, float step = 0.01f)
    {
        const int steps = qRound((to - from) / step);
        for (int k = 0; k <= steps; ++k) {
            const float pct = from + float(k) * step;
            t.lapDistPct = pct;
            t.lapDist = pct * 1000.0f + 1.0f; // never exactly 0: that is a reset
            ++t.sessionTick;
            t.sessionTime += 1.0;
            t.lapCurrentLapTime += 1.0f;
            tick(t);
        }
    }

    iRTelemetryReader reader;
    Sample other;
    QList<QSharedPointer<Lap>> laps;
};

} // namespace

class tst_TickProcessing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repeatedTickChangesNothing();
    void carOutOfTheWorldRecordsNothing();
    void liveFileWithoutIsOnTrackMeansPitStall();
    void outLapThenCompletedLap();
    void sampleAfterTheLineGoesToTheNextLap();
    void sessionChangeCutsTheLap();
    void replayAtDoubleSpeedDropsTheLap();
    void otherCarStandingOnPitRoadIsInItsStall();
    void otherCarsLapComesFromTheResults();
    void filesWithoutTickCounterCountEveryRecord();
    void lapCounterResetAbortsTheLap();
    void lapNumbers_data();
    void lapNumbers();
    void emptyLapIsOnlyMarkedReady();
    void noPlayerCar();
};

void tst_TickProcessing::repeatedTickChangesNothing()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.sessionTick = 10;
    run.tick(t);
    QCOMPARE(run.reader.status(0), int(CarStatus::OutLap));
    const qint64 samples = run.reader.lap(0)->size();

    // Same tick counter, car now off in the stall: nothing changes, not even the status.
    t.isOnTrack = false;
    run.tick(t);
    QCOMPARE(run.reader.status(0), int(CarStatus::OutLap));
    QCOMPARE(run.reader.lap(0)->size(), samples);
}

void tst_TickProcessing::carOutOfTheWorldRecordsNothing()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.sessionTick = 1;
    t.lapDistPct = -1.0f;
    run.tick(t);
    QCOMPARE(run.reader.status(0), int(CarStatus::NotInWorld));
    QVERIFY(run.reader.lap(0)->isEmpty());
    QVERIFY(!run.reader.isCarInWorld(0));
}

void tst_TickProcessing::liveFileWithoutIsOnTrackMeansPitStall()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.sessionTick = 1;
    t.withIsOnTrack = false;
    run.tick(t);
    QCOMPARE(run.reader.status(0), int(CarStatus::InPitStall));
    QVERIFY(run.reader.lap(0)->isEmpty());
}

void tst_TickProcessing::outLapThenCompletedLap()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.lap = 1;
    t.lapCurrentLapTime = 0.0f;
    // Out of the stall at 0.10, round to the line: an out lap, no time in practice.
    run.drive(t, 0.10f, 0.98f);
    QCOMPARE(run.reader.status(0), int(CarStatus::OutLap));
    t.lap = 2;
    t.lapCurrentLapTime = 0.0f;
    t.lapLastLapTime = 88.0f;
    run.drive(t, 0.0f, 0.0f);
    QCOMPARE(run.laps.size(), 1);
    const ZUM::SDK::LapHeader &outLap = run.laps[0]->header();
    QCOMPARE(outLap.completed, true);
    QCOMPARE(outLap.flyingLap, 0);
    QCOMPARE(outLap.lapTime, ZUM::SDK::UntimedLapTime);
    QCOMPARE(outLap.lapNumber, 0); // previous.lap 1 gives lap 0
    QCOMPARE(outLap.stint, 1);
    QCOMPARE(outLap.lapInStint, 0);
    QCOMPARE(outLap.session, ZUM::SDK::Session::Practice);
    QCOMPARE(outLap.trackName, QStringLiteral("Test Ring"));
    QVERIFY(!outLap.dynamicData.containsValue(QStringLiteral("maxLapDistPct")));

    // A flying lap, completed with its time.
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.01f, 0.99f);
    t.lap = 3;
    t.lapCurrentLapTime = 0.0f;
    t.lapLastLapTime = 99.25f;
    run.drive(t, 0.0f, 0.0f);
    QCOMPARE(run.laps.size(), 2);
    const ZUM::SDK::LapHeader &flying = run.laps[1]->header();
    QCOMPARE(flying.completed, true);
    QCOMPARE(flying.flyingLap, 1);
    QCOMPARE(flying.lapTime, QTime(0, 1, 39, 250));
    QCOMPARE(flying.lapNumber, 1);
    QCOMPARE(flying.lapInStint, 1);
    QCOMPARE(flying.stintId, outLap.stintId);
    QVERIFY(flying.lapId != outLap.lapId);
    QCOMPARE(run.laps[1]->size(), 99);
    for (const QString &name : run.laps[1]->getAvailableRecordedChannels())
        QCOMPARE(run.laps[1]->channel(name)->size(), 99);
}

void tst_TickProcessing::sampleAfterTheLineGoesToTheNextLap()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.10f, 0.98f);
    // Past the line, the lap clock not yet reset: the lap is not complete but the sample
    // belongs to the next lap.
    t.lap = 2;
    run.drive(t, 0.02f, 0.02f);
    QVERIFY(run.laps.isEmpty());
    QCOMPARE(run.reader.cars()[0].nextLap->size(), 1);
    QCOMPARE(run.reader.cars()[0].nextLap->channel(QStringLiteral("lapdistpct"))->value(0),
             double(0.02f));
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.03f, 0.03f);
    QCOMPARE(run.laps.size(), 1);
    // The next tick rotates the parked sample into the lap under way.
    run.drive(t, 0.04f, 0.04f);
    QCOMPARE(run.reader.lap(0)->channel(QStringLiteral("lapdistpct"))->value(0), double(0.02f));
}

void tst_TickProcessing::sessionChangeCutsTheLap()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.10f, 0.50f);
    t.sessionNum = 1;
    run.drive(t, 0.51f, 0.51f);
    QCOMPARE(run.laps.size(), 1);
    QCOMPARE(run.laps[0]->header().completed, false);
    QCOMPARE(run.laps[0]->header().lapTime, ZUM::SDK::UntimedLapTime);
}

void tst_TickProcessing::replayAtDoubleSpeedDropsTheLap()
{
    Run run(sessionText("replay", "Practice"));
    QCOMPARE(run.reader.simMode(), iRTelemetryReader::SimMode::Replay);
    Tick t;
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.10f, 0.50f);
    QVERIFY(!run.reader.lap(0)->isEmpty());
    t.replayPlaySpeed = 2.0;
    QTest::ignoreMessage(QtDebugMsg, "Replay lap aborted");
    run.drive(t, 0.51f, 0.51f);
    QVERIFY(run.reader.lap(0)->isEmpty());
    QCOMPARE(run.reader.status(0), int(CarStatus::OutLap));
    run.drive(t, 0.52f, 0.60f);
    QVERIFY(run.reader.lap(0)->isEmpty());
    t.replayPlaySpeed = 1.0;
    run.drive(t, 0.61f, 0.61f);
    QCOMPARE(run.reader.lap(0)->size(), 1);
}

void tst_TickProcessing::otherCarStandingOnPitRoadIsInItsStall()
{
    Run run(sessionText("full", "Practice"), iRTelemetryReader::AllCars);
    run.other.dynamicData.setValue(QStringLiteral("lapdistpct"), 0.3f, QStringLiteral("pu"));
    Tick t;
    for (int i = 0; i < 3; ++i) {
        ++t.sessionTick;
        run.other.dynamicData.setValue(QStringLiteral("sessiontick"), qulonglong(t.sessionTick),
                                       QString());
        run.tick(t);
    }
    QCOMPARE(run.reader.status(1), int(CarStatus::InPitStall));

    // Moving without a pit-road flag: on pit road, in the pit lane.
    run.other.dynamicData.setValue(QStringLiteral("lapdistpct"), 0.31f, QStringLiteral("pu"));
    ++t.sessionTick;
    run.other.dynamicData.setValue(QStringLiteral("sessiontick"), qulonglong(t.sessionTick),
                                   QString());
    run.tick(t);
    QCOMPARE(run.reader.status(1), int(CarStatus::InPitLane));
}

void tst_TickProcessing::otherCarsLapComesFromTheResults()
{
    Run run(sessionText("full", "Practice"), iRTelemetryReader::AllCars);
    Tick t;
    t.sessionTick = 5;
    run.other.dynamicData.setValue(QStringLiteral("lapdistpct"), 0.3f, QStringLiteral("pu"));
    run.other.dynamicData.setValue(QStringLiteral("onpitroad"), false, QString());
    run.other.dynamicData.setValue(QStringLiteral("lapcompleted"), 2, QString());
    run.other.dynamicData.setValue(QStringLiteral("sessiontick"), qulonglong(5), QString());
    run.tick(t);
    QCOMPARE(run.reader.cars()[1].current.lap, 7);
    QCOMPARE(run.reader.cars()[1].current.lastLapTime, 61.5f);
    QCOMPARE(run.reader.status(1), int(CarStatus::OutLap));
}

void tst_TickProcessing::filesWithoutTickCounterCountEveryRecord()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.withSessionTick = false;
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.10f, 0.20f);
    // Eleven records; the first starts the out lap, which clears that tick's sample.
    QCOMPARE(run.reader.lap(0)->size(), 10);
}

// The lap counter going back to 0 mid-lap (the simulator reset the car): the lap is handed
// over as not completed, without a time.
void tst_TickProcessing::lapCounterResetAbortsTheLap()
{
    Run run(sessionText("full", "Practice"));
    Tick t;
    t.lap = 3;
    t.lapCurrentLapTime = 0.0f;
    run.drive(t, 0.10f, 0.50f);
    t.lap = 0;
    run.drive(t, 0.51f, 0.51f);
    QCOMPARE(run.laps.size(), 1);
    QCOMPARE(run.laps[0]->header().completed, false);
    QCOMPARE(run.laps[0]->header().lapTime, ZUM::SDK::UntimedLapTime);
    QVERIFY(run.reader.cars()[0].current.lapAborted);
}

void tst_TickProcessing::lapNumbers_data()
{
    QTest::addColumn<int>("lapCounter");
    QTest::addColumn<int>("lapNumber");
    QTest::newRow("previous lap 5 is numbered 4") << 5 << 4;
    QTest::newRow("previous lap 0 is numbered 0") << 0 << 0;
}

void tst_TickProcessing::lapNumbers()
{
    QFETCH(int, lapCounter);
    QFETCH(int, lapNumber);
    Run run(sessionText("full", "Race"));
    Tick t;
    t.lap = lapCounter;
    t.lapCurrentLapTime = 0.0f;
    // From the grid behind the line: an out lap up to the start.
    run.drive(t, 0.70f, 0.98f);
    t.lap = lapCounter + 1;
    t.lapCurrentLapTime = 0.0f;
    t.lapLastLapTime = 70.5f;
    run.drive(t, 0.0f, 0.0f);
    QCOMPARE(run.laps.size(), 1);
    QCOMPARE(run.laps[0]->header().lapNumber, lapNumber);
    // A completed out lap in a race keeps its real time.
    QCOMPARE(run.laps[0]->header().flyingLap, 0);
    QCOMPARE(run.laps[0]->header().lapTime, QTime(0, 1, 10, 500));
    QCOMPARE(run.laps[0]->header().session, ZUM::SDK::Session::Race);
}

void tst_TickProcessing::emptyLapIsOnlyMarkedReady()
{
    Run run(sessionText("full", "Practice"));
    QVERIFY(!run.reader.isMyLapReady());
    run.reader.processMyLap(true);
    QVERIFY(run.reader.isMyLapReady());
    QVERIFY(run.reader.isLapReady(0));
    const ZUM::SDK::LapHeader &header = run.reader.myLap()->header();
    QCOMPARE(header.completed, false);
    QVERIFY(!header.lapTime.isValid());
    QVERIFY(header.trackName.isNull());
}

void tst_TickProcessing::noPlayerCar()
{
    Run run(sessionText("full", "Practice", false));
    QCOMPARE(run.reader.myCarIdx(), -1);
    Tick t;
    run.drive(t, 0.1f, 0.5f);
    QVERIFY(run.reader.myLap().isNull());
    QVERIFY(!run.reader.isMyLapReady());
    run.reader.processMyLap(false);
    QVERIFY(run.laps.isEmpty());
    for (const RecorderCar &car : run.reader.cars())
        QVERIFY(car.lap->isEmpty());
}

QTEST_APPLESS_MAIN(tst_TickProcessing)
#include "tst_tickprocessing.moc"
