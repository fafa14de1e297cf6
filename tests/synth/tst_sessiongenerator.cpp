#include "ibtimage.h"
#include "quickoptions.h"
#include "sessiongenerator.h"

#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using Scenario = SessionGenerator::Scenario;
using Options = SessionGenerator::Options;
using LapKind = SessionGenerator::LapKind;

Q_DECLARE_METATYPE(SessionGenerator::Options)

namespace {

bool wraps(double before, double after)
{
    return after < before - 0.5;
}

QList<QByteArray> lines(const QByteArray &text)
{
    return text.split('\n');
}

int dialectIndentation(const QByteArray &line)
{
    int spaces = 0;
    while (spaces < line.size() && line[spaces] == ' ')
        ++spaces;
    return spaces < line.size() && line[spaces] == '-' ? spaces + 1 : spaces;
}

} // namespace

class tst_SessionGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void fileMatchesSummary_data();
    void fileMatchesSummary();
    void lapCounterStepsWhereLapDistPctWraps_data();
    void lapCounterStepsWhereLapDistPctWraps();
    void sessionTickStepsByOne_data();
    void sessionTickStepsByOne();
    void lapClockAndLastLapTimeFollowTheLine_data();
    void lapClockAndLastLapTimeFollowTheLine();
    void practiceRunsFromStallToStall();
    void raceGoesThroughTheSessionStates();
    void replayIsMarkedAndHasAFastStretch();
    void sessionNumberChangesMidLap();
    void versionOneHasNoSessionTick();
    void noPlayerHasNoDriverCarIdx();
    void isOnTrackCanBeLeftOut();
    void omittedVariablesAreAbsent();
    void padVariablesReachTheRequestedCount_data();
    void padVariablesReachTheRequestedCount();
    void carArraysDescribeTheField_data();
    void carArraysDescribeTheField();
    void channelsStayPlausible_data();
    void channelsStayPlausible();
    void staleFirstRecordShowsLapZero();
    void sessionTextValues_data();
    void sessionTextValues();
    void sessionTextIsWellFormed_data();
    void sessionTextIsWellFormed();
    void displayNameIsWrittenAsLatin1_data();
    void displayNameIsWrittenAsLatin1();
    void durationFixesTheRecordCount_data();
    void durationFixesTheRecordCount();
    void outputIsDeterministic();
    void damageOptions_data();
    void damageOptions();

private:
    IbtImage generate(const Options &options, SessionGenerator **keep = nullptr);

    QTemporaryDir m_dir;
    QString m_path;
    std::unique_ptr<SessionGenerator> m_generator;
};

void tst_SessionGenerator::init()
{
    QVERIFY(m_dir.isValid());
    m_path = m_dir.filePath(QString::fromLatin1(QTest::currentTestFunction()) + u'_'
                            + QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'_')
                            + QStringLiteral(".ibt"));
}

IbtImage tst_SessionGenerator::generate(const Options &options, SessionGenerator **keep)
{
    m_generator = std::make_unique<SessionGenerator>(options);
    QString error;
    if (!m_generator->write(m_path, &error))
        qWarning("write failed: %s", qPrintable(error));
    if (keep)
        *keep = m_generator.get();
    return IbtImage::load(m_path);
}

void tst_SessionGenerator::fileMatchesSummary_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    QTest::newRow("replay") << quick(Scenario::Replay);
    QTest::newRow("session change") << quick(Scenario::SessionChange);
    Options v1 = quick(Scenario::Practice);
    v1.version = 1;
    QTest::newRow("version 1") << v1;
    Options bare = quick(Scenario::Practice);
    bare.carArrays = false;
    bare.carSetup = SessionGenerator::CarSetupStyle::None;
    QTest::newRow("no car arrays and no set-up") << bare;
    Options wide = quick(Scenario::Race);
    wide.totalVariables = 280;
    wide.otherCars = 20;
    QTest::newRow("twenty cars and 280 variables") << wide;
}

void tst_SessionGenerator::fileMatchesSummary()
{
    QFETCH(Options, options);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const irsdk_header h = file.header();

    QCOMPARE(h.ver, options.version);
    QCOMPARE(h.tickRate, 60);
    QCOMPARE(h.numBuf, 1);
    QCOMPARE(h.numVars, s.variableCount);
    QCOMPARE(h.bufLen, s.recordLength);
    QCOMPARE(h.varHeaderOffset, 144);
    QCOMPARE(h.sessionInfoOffset, 144 + 144 * h.numVars);
    QCOMPARE(h.varBuf[0].bufOffset, h.sessionInfoOffset + h.sessionInfoLen);
    QCOMPARE(file.sessionInfo(), generator->sessionInfo());
    QCOMPARE(file.size(), h.varBuf[0].bufOffset + qint64(s.recordCount) * h.bufLen);
    QCOMPARE(file.recordCount(), qint64(s.recordCount));

    const QList<double> time = file.series("SessionTime");
    const QList<double> lap = file.series("Lap");
    QCOMPARE(time.front(), s.firstSessionTime);
    QCOMPARE(time.back(), s.lastSessionTime);
    const irsdk_diskSubHeader sub = file.subHeader();
    QCOMPARE(sub.sessionStartDate, options.startDate);
    QCOMPARE(sub.sessionStartTime, s.firstSessionTime);
    QCOMPARE(sub.sessionEndTime, s.lastSessionTime);
    QCOMPARE(sub.sessionRecordCount, s.recordCount);
    int changes = 0;
    for (qsizetype i = 1; i < lap.size(); ++i)
        changes += lap[i] != lap[i - 1] ? 1 : 0;
    QCOMPARE(sub.sessionLapCount, changes + 1);

    // The summary's laps cover the recording without gaps.
    QVERIFY(!s.laps.isEmpty());
    QCOMPARE(s.laps.front().startTime, s.firstSessionTime);
    QCOMPARE(s.laps.back().endTime, s.lastSessionTime);
    QVERIFY(!s.laps.back().complete);
    for (qsizetype i = 1; i < s.laps.size(); ++i)
        QCOMPARE(s.laps[i].startTime, s.laps[i - 1].endTime);
    QCOMPARE(s.lapsCompleted, int(s.laps.size()) - 1);
}

void tst_SessionGenerator::lapCounterStepsWhereLapDistPctWraps_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    Options parade = quick(Scenario::Race);
    parade.paradeLaps = 2;
    QTest::newRow("race with two parade laps") << parade;
    Options standing = quick(Scenario::Race);
    standing.paradeLaps = 0;
    QTest::newRow("race from a standing start") << standing;
    QTest::newRow("replay") << quick(Scenario::Replay);
    QTest::newRow("session change") << quick(Scenario::SessionChange);
    Options late = pitsBeforeTheLine();
    late.startLap = 170;
    QTest::newRow("pits before the line, lap counter at 170") << late;
}

void tst_SessionGenerator::lapCounterStepsWhereLapDistPctWraps()
{
    QFETCH(Options, options);
    const IbtImage file = generate(options);
    const QList<double> lap = file.series("Lap");
    const QList<double> completed = file.series("LapCompleted");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> state = file.series("SessionState");
    const bool race = options.scenario == Scenario::Race;

    int steps = 0;
    int wrapsSeen = 0;
    for (qsizetype i = 1; i < lap.size(); ++i) {
        const bool stepped = lap[i] != lap[i - 1];
        const bool wrapped = wraps(pct[i - 1], pct[i]);
        if (stepped) {
            ++steps;
            QCOMPARE(lap[i], lap[i - 1] + 1);
            QVERIFY2(wrapped, qPrintable(QStringLiteral("record %1").arg(i)));
        }
        if (wrapped) {
            ++wrapsSeen;
            // A race's laps count from the green flag; parade laps do not.
            const bool counts = !race || state[i] >= 4;
            QCOMPARE(stepped, counts);
        }
        QCOMPARE(completed[i], std::max(lap[i] - 1, 0.0));
        QVERIFY(pct[i] >= 0.0 && pct[i] < 1.0);
    }
    QVERIFY(steps >= options.laps);
    QCOMPARE(lap.front(), double(options.startLap));
    if (race)
        QCOMPARE(wrapsSeen - steps, options.paradeLaps);
    else
        QCOMPARE(wrapsSeen, steps);
}

void tst_SessionGenerator::sessionTickStepsByOne_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    QTest::newRow("replay with a stretch at double speed") << quick(Scenario::Replay);
    Options early = quick(Scenario::Replay);
    early.replayFastStart = 30.0;
    early.replayFastRecords = 600;
    QTest::newRow("replay sped up during the out lap") << early;
}

void tst_SessionGenerator::sessionTickStepsByOne()
{
    QFETCH(Options, options);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const QList<double> tick = file.series("SessionTick");
    const QList<double> time = file.series("SessionTime");
    const QList<double> speed = file.series("ReplayPlaySpeed");
    const bool replay = options.scenario == Scenario::Replay;
    if (replay) {
        QVERIFY(s.fastFirstRecord > 0);
        QCOMPARE(s.fastRecordCount, options.replayFastRecords);
    }

    QCOMPARE(tick.front(), double(s.firstTick));
    QCOMPARE(tick.back(), double(s.lastTick));
    int doubled = 0;
    for (qsizetype i = 1; i < tick.size(); ++i) {
        const bool fast
            = replay && i >= s.fastFirstRecord && i < s.fastFirstRecord + s.fastRecordCount;
        QCOMPARE(tick[i] - tick[i - 1], fast ? 2.0 : 1.0);
        doubled += fast ? 1 : 0;
        QVERIFY(std::abs(time[i] - (time.front() + (tick[i] - tick.front()) / 60.0)) < 1e-9);
        if (replay)
            QCOMPARE(speed[i], fast ? 2.0 : 1.0);
    }
    QCOMPARE(doubled, replay ? options.replayFastRecords : 0);
}

void tst_SessionGenerator::lapClockAndLastLapTimeFollowTheLine_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    QTest::newRow("replay") << quick(Scenario::Replay);
    QTest::newRow("session change") << quick(Scenario::SessionChange);
    Options slow = quick(Scenario::Practice);
    slow.lastLapTimeDelay = 1.7; // as the files of 2015 show
    QTest::newRow("practice with the old, longer delay") << slow;
    Options instant = quick(Scenario::Practice);
    instant.lastLapTimeDelay = 0.0;
    QTest::newRow("practice without delay") << instant;
}

void tst_SessionGenerator::lapClockAndLastLapTimeFollowTheLine()
{
    QFETCH(Options, options);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const QList<double> time = file.series("SessionTime");
    const QList<double> clock = file.series("LapCurrentLapTime");
    const QList<double> last = file.series("LapLastLapTime");

    // The lap clock runs on past the line and drops a moment later; the last lap time
    // changes in that same record and nowhere else.
    QList<double> reported;
    QList<double> dropTimes;
    QCOMPARE(last.front(), -1.0);
    for (qsizetype i = 1; i < clock.size(); ++i) {
        const bool dropped = clock[i] < clock[i - 1];
        if (dropped) {
            reported.append(last[i]);
            dropTimes.append(time[i]);
            QVERIFY(clock[i] >= 0.0);
            QVERIFY(clock[i] < options.lastLapTimeDelay + 0.1);
        } else {
            QCOMPARE(last[i], last[i - 1]);
            QVERIFY(std::abs(clock[i] - clock[i - 1] - (time[i] - time[i - 1])) < 1e-3);
        }
    }

    QList<double> expected;
    QList<double> expectedDrops;
    for (const SessionGenerator::Lap &lap : s.laps) {
        if (!lap.complete || lap.endTime + options.lastLapTimeDelay > s.lastSessionTime)
            continue;
        expected.append(double(float(lap.lapTime)));
        expectedDrops.append(lap.endTime + options.lastLapTimeDelay);
    }
    QCOMPARE(reported, expected);
    QCOMPARE(dropTimes.size(), expectedDrops.size());
    for (qsizetype i = 0; i < dropTimes.size(); ++i) {
        // The first record at or after the moment of the update.
        QVERIFY(dropTimes[i] >= expectedDrops[i] - 1e-9);
        QVERIFY(dropTimes[i] < expectedDrops[i] + 2.0 / 60.0 + 1e-9);
    }

    // The flying laps take their planned time.
    QVERIFY(s.timedLapTimes.size() >= options.laps);
    for (double t : s.timedLapTimes) {
        QVERIFY2(std::abs(t - options.lapTime) <= options.lapTimeSpread + 1e-6,
                 qPrintable(QString::number(t)));
    }
}

void tst_SessionGenerator::practiceRunsFromStallToStall()
{
    const Options o = quick(Scenario::Practice);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    const SessionGenerator::Summary &s = generator->summary();

    QList<LapKind> kinds;
    for (const SessionGenerator::Lap &lap : s.laps)
        kinds.append(lap.kind);
    QCOMPARE(kinds,
             QList<LapKind>({LapKind::OutLap, LapKind::Flying, LapKind::Flying, LapKind::Flying,
                             LapKind::InLap, LapKind::PitStall}));
    QCOMPARE(s.timedLapTimes.size(), 3);
    QCOMPARE(s.laps[0].lapTime, -1.0); // the out lap is not timed
    QCOMPARE(s.laps[4].lapTime, -1.0); // nor the in lap, which ends on pit road

    const QList<double> stall = file.series("PlayerCarInPitStall");
    const QList<double> pit = file.series("OnPitRoad");
    const QList<double> speed = file.series("Speed");
    const QList<double> surface = file.series("PlayerTrackSurface");
    const QList<double> onTrack = file.series("IsOnTrack");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> time = file.series("SessionTime");
    for (qsizetype i : {qsizetype(0), stall.size() - 1}) {
        QCOMPARE(stall[i], 1.0);
        QCOMPARE(pit[i], 1.0);
        QCOMPARE(speed[i], 0.0);
        QCOMPARE(surface[i], 1.0);
        QVERIFY(std::abs(pct[i] - o.pitStallPct) < 1e-4);
    }
    QVERIFY(std::all_of(onTrack.begin(), onTrack.end(), [](double v) { return v == 1.0; }));

    // Off pit road exactly between the pit exit and the pit entry.
    qsizetype leave = -1;
    qsizetype enter = -1;
    for (qsizetype i = 1; i < pit.size(); ++i) {
        if (pit[i - 1] == 1.0 && pit[i] == 0.0)
            leave = i;
        if (pit[i - 1] == 0.0 && pit[i] == 1.0)
            enter = i;
        QCOMPARE(surface[i], stall[i] == 1.0 ? 1.0 : (pit[i] == 1.0 ? 2.0 : 3.0));
    }
    QVERIFY(leave > 0 && enter > leave);
    QVERIFY(std::abs(pct[leave] - o.pitExitPct) < 0.01);
    QVERIFY(std::abs(pct[enter] - o.pitEntryPct) < 0.01);
    QVERIFY(time[enter] > s.laps[4].startTime);
    for (qsizetype i = leave; i < enter; ++i)
        QVERIFY(speed[i] > 5.0);
}

void tst_SessionGenerator::raceGoesThroughTheSessionStates()
{
    const Options o = quick(Scenario::Race);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const QList<double> state = file.series("SessionState");
    const QList<double> lap = file.series("Lap");
    const QList<double> num = file.series("SessionNum");
    const QList<double> flags = file.series("SessionFlags");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> speed = file.series("Speed");
    const QList<double> time = file.series("SessionTime");

    QList<int> sequence;
    for (qsizetype i = 0; i < state.size(); ++i) {
        if (sequence.isEmpty() || sequence.back() != int(state[i]))
            sequence.append(int(state[i]));
        QCOMPARE(num[i], 2.0);
        if (state[i] < 4)
            QCOMPARE(lap[i], 0.0);
        if (state[i] <= 2) {
            // On the grid, at rest.
            QCOMPARE(speed[i], 0.0);
            QVERIFY(std::abs(pct[i] - o.gridPct) < 1e-4);
        }
        if (state[i] == 4)
            QVERIFY(uint32_t(int32_t(flags[i])) & 0x4);
        if (state[i] >= 5)
            QVERIFY(uint32_t(int32_t(flags[i])) & 0x1);
    }
    QCOMPARE(sequence, QList<int>({1, 2, 3, 4, 5, 6}));
    const qsizetype green = state.indexOf(4.0);
    QCOMPARE(lap[green], 1.0);
    QCOMPARE(lap[green - 1], 0.0);
    QVERIFY(wraps(pct[green - 1], pct[green]));
    QVERIFY(time[green] >= s.greenFlagTime && time[green - 1] < s.greenFlagTime);
    const qsizetype checkered = state.indexOf(5.0);
    QCOMPARE(lap[checkered], double(o.laps + 1));
    QCOMPARE(lap[checkered - 1], double(o.laps));

    QList<LapKind> kinds;
    for (const SessionGenerator::Lap &l : s.laps)
        kinds.append(l.kind);
    QCOMPARE(kinds,
             QList<LapKind>({LapKind::Grid, LapKind::Grid, LapKind::Racing, LapKind::Racing,
                             LapKind::Racing, LapKind::CoolDown, LapKind::PitStall}));
    QCOMPARE(s.timedLapTimes.size(), o.laps);
    QVERIFY(generator->sessionInfo().contains("\n - SessionNum: 2\n"));
    QVERIFY(generator->sessionInfo().contains("   SessionType: Race\n"));
    QVERIFY(generator->sessionInfo().contains("   SessionLaps: 3\n"));
}

void tst_SessionGenerator::replayIsMarkedAndHasAFastStretch()
{
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(quick(Scenario::Replay), &generator);
    QVERIFY(generator->sessionInfo().contains("\n SimMode: replay\n"));
    QVERIFY(file.indexOf("IsReplayPlaying") >= 0);
    QVERIFY(file.indexOf("ReplayPlaySpeed") >= 0);
    const QList<double> playing = file.series("IsReplayPlaying");
    QVERIFY(std::all_of(playing.begin(), playing.end(), [](double v) { return v == 1.0; }));
    // The stretch starts in the middle of the first flying lap.
    const SessionGenerator::Summary &s = generator->summary();
    const double start = file.series("SessionTime")[s.fastFirstRecord];
    QVERIFY(start > s.laps[1].startTime && start < s.laps[1].endTime);
    QCOMPARE(file.series("Lap")[s.fastFirstRecord], double(s.laps[1].lap));

    const IbtImage practice = generate(quick(Scenario::Practice));
    QVERIFY(practice.sessionInfo().contains("\n SimMode: full\n"));
    QCOMPARE(practice.indexOf("ReplayPlaySpeed"), -1);
}

void tst_SessionGenerator::sessionNumberChangesMidLap()
{
    const Options o = quick(Scenario::SessionChange);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const QList<double> num = file.series("SessionNum");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> lap = file.series("Lap");
    const int change = s.sessionChangeRecord;
    QVERIFY(change > 0);
    for (qsizetype i = 0; i < num.size(); ++i)
        QCOMPARE(num[i], i < change ? 0.0 : 1.0);
    QVERIFY(pct[change] > 0.2 && pct[change] < 0.8);
    QCOMPARE(lap[change], lap[change - 1]);
    // It happens in the second flying lap.
    QCOMPARE(s.laps[2].kind, LapKind::Flying);
    QCOMPARE(s.laps[2].sessionNum, 0);
    QCOMPARE(s.laps[3].sessionNum, 1);
    QVERIFY(generator->sessionInfo().contains("\n - SessionNum: 0\n"));
    QVERIFY(generator->sessionInfo().contains("\n - SessionNum: 1\n"));
    QVERIFY(generator->sessionInfo().contains("   SessionType: Qualify\n"));
}

void tst_SessionGenerator::versionOneHasNoSessionTick()
{
    Options o = quick(Scenario::Practice);
    o.version = 1;
    const IbtImage file = generate(o);
    QCOMPARE(file.header().ver, 1);
    QCOMPARE(file.indexOf("SessionTick"), -1);
    QVERIFY(file.indexOf("SessionTime") >= 0);
    QVERIFY(file.indexOf("Lap") >= 0);

    const IbtImage current = generate(quick(Scenario::Practice));
    QCOMPARE(current.header().ver, 2);
    QCOMPARE(current.indexOf("SessionTick"), 1);
}

void tst_SessionGenerator::noPlayerHasNoDriverCarIdx()
{
    Options o = quick(Scenario::Practice);
    o.player = false;
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    QVERIFY(!file.sessionInfo().contains("DriverCarIdx"));
    QVERIFY(file.sessionInfo().contains("\nDriverInfo:\n"));
    QVERIFY(file.sessionInfo().contains("\n Drivers:\n - CarIdx: 0\n"));
    QCOMPARE(generator->summary().playerCarIdx, -1);

    o.player = true;
    o.playerCarIdx = 12;
    const IbtImage mine = generate(o, &generator);
    QVERIFY(mine.sessionInfo().contains("\n DriverCarIdx: 12\n"));
    QVERIFY(mine.sessionInfo().contains("\n - CarIdx: 12\n   UserName: Marta Lindqvist\n"));
    QCOMPARE(generator->summary().playerCarIdx, 12);
    QCOMPARE(generator->summary().carIdxs, QList<int>({0, 1, 2, 12}));
}

void tst_SessionGenerator::isOnTrackCanBeLeftOut()
{
    Options o = quick(Scenario::Practice);
    o.isOnTrackVariable = false;
    const IbtImage file = generate(o);
    QCOMPARE(file.indexOf("IsOnTrack"), -1);
    QVERIFY(file.indexOf("OnPitRoad") >= 0);
}

void tst_SessionGenerator::omittedVariablesAreAbsent()
{
    Options o = quick(Scenario::Practice);
    o.omitVariables = {QStringLiteral("LapCurrentLapTime"), QStringLiteral("PlayerCarInPitStall")};
    o.totalVariables = 120;
    o.omitVariables.append(QStringLiteral("LFtempL"));
    const IbtImage file = generate(o);
    QCOMPARE(file.indexOf("LapCurrentLapTime"), -1);
    QCOMPARE(file.indexOf("PlayerCarInPitStall"), -1);
    QCOMPARE(file.indexOf("LFtempL"), -1);
    QVERIFY(file.indexOf("LFtempM") >= 0);
}

void tst_SessionGenerator::padVariablesReachTheRequestedCount_data()
{
    QTest::addColumn<int>("requested");
    QTest::addColumn<bool>("padded");
    QTest::newRow("as wide as a recent file") << 280 << true;
    QTest::newRow("as wide as a 2015 file") << 150 << true;
    QTest::newRow("wider than any real file") << 400 << true;
    QTest::newRow("fewer than the core channels") << 10 << false;
}

void tst_SessionGenerator::padVariablesReachTheRequestedCount()
{
    QFETCH(int, requested);
    QFETCH(bool, padded);
    Options o = quick(Scenario::Practice);
    o.laps = 1;
    const int core = SessionGenerator(o).summary().variableCount;
    o.totalVariables = requested;
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    QCOMPARE(file.header().numVars, padded ? requested : core);
    QCOMPARE(generator->summary().variableCount, file.header().numVars);

    QSet<QString> names;
    for (const irsdk_varHeader &v : file.varHeaders()) {
        const QString name = QString::fromLatin1(v.name);
        QVERIFY(!name.isEmpty());
        QVERIFY(name.size() < IRSDK_MAX_STRING);
        QVERIFY2(!names.contains(name), qPrintable(name));
        names.insert(name);
        QVERIFY(irsdk_varTypeSize(v.type) > 0);
        QVERIFY(v.offset + v.count * irsdk_varTypeSize(v.type) <= file.header().bufLen);
    }
    if (requested >= 280)
        QVERIFY(file.header().bufLen > 1000);
}

void tst_SessionGenerator::carArraysDescribeTheField_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    Options many = quick(Scenario::Race);
    many.otherCars = 25;
    many.playerCarIdx = 7;
    QTest::newRow("race of 26 cars, player in slot 7") << many;
}

void tst_SessionGenerator::carArraysDescribeTheField()
{
    QFETCH(Options, options);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const int me = options.playerCarIdx;
    const QList<double> lap = file.series("Lap");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> pit = file.series("OnPitRoad");
    const QSet<int> cars(s.carIdxs.begin(), s.carIdxs.end());
    QCOMPARE(cars.size(), options.otherCars + 1);

    const auto value = [&](const char *name, qint64 record, int car) {
        return file.value(name, record, car);
    };
    for (qint64 r = 0; r < file.recordCount(); r += 37) {
        QSet<int> positions;
        for (int car = 0; car < 64; ++car) {
            const double carLap = value("CarIdxLap", r, car);
            const double carPct = value("CarIdxLapDistPct", r, car);
            const double position = value("CarIdxPosition", r, car);
            if (car == me) {
                QCOMPARE(carLap, lap[r]);
                QCOMPARE(carPct, pct[r]);
                QCOMPARE(value("CarIdxOnPitRoad", r, car), pit[r]);
            } else if (!cars.contains(car)) {
                QCOMPARE(carLap, -1.0);
                QCOMPARE(carPct, -1.0);
                QCOMPARE(value("CarIdxTrackSurface", r, car), -1.0);
                QCOMPARE(position, 0.0);
                continue;
            } else {
                QVERIFY(carLap >= 0.0);
                QVERIFY(carPct >= 0.0 && carPct < 1.0);
                QCOMPARE(value("CarIdxTrackSurface", r, car), 3.0);
                QCOMPARE(value("CarIdxLapCompleted", r, car), std::max(carLap - 1, 0.0));
            }
            QVERIFY(position >= 1 && position <= cars.size());
            positions.insert(int(position));
        }
        QCOMPARE(positions.size(), cars.size());
    }
}

void tst_SessionGenerator::channelsStayPlausible_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    QTest::newRow("short oval with the pits on the back straight") << shortTrack(20.0);
}

void tst_SessionGenerator::channelsStayPlausible()
{
    QFETCH(Options, options);
    const IbtImage file = generate(options);
    const QList<double> fuel = file.series("FuelLevel");
    const QList<double> speed = file.series("Speed");
    const QList<double> dist = file.series("LapDist");
    const QList<double> pct = file.series("LapDistPct");
    const QList<double> gear = file.series("Gear");
    const QList<double> rpm = file.series("RPM");
    const QList<double> throttle = file.series("Throttle");
    const QList<double> brake = file.series("Brake");
    const QList<double> yaw = file.series("Yaw");
    for (qsizetype i = 0; i < fuel.size(); ++i) {
        if (i > 0)
            QVERIFY(fuel[i] <= fuel[i - 1]);
        QVERIFY(fuel[i] > 0.0);
        QVERIFY(speed[i] >= 0.0 && speed[i] < 100.0);
        QVERIFY(std::abs(dist[i] - pct[i] * options.trackLength) < 0.01);
        QVERIFY(gear[i] >= 0 && gear[i] <= 6);
        QVERIFY(rpm[i] >= 1100.0 - 1e-3 && rpm[i] <= 7200.0 + 1e-3);
        QVERIFY(throttle[i] >= 0.0 && throttle[i] <= 1.0);
        QVERIFY(brake[i] >= 0.0 && brake[i] <= 1.0);
        QVERIFY(std::abs(yaw[i]) <= 3.1416);
        // Speed and distance agree: no jumps along the track.
        if (i > 0 && !wraps(pct[i - 1], pct[i])) {
            const double moved = (pct[i] - pct[i - 1]) * options.trackLength;
            QVERIFY(moved >= -1e-3);
            QVERIFY(std::abs(moved - 0.5 * (speed[i] + speed[i - 1]) / 60.0) < 0.05);
        }
    }
}

void tst_SessionGenerator::staleFirstRecordShowsLapZero()
{
    Options o = quick(Scenario::Practice);
    o.startLap = 170;
    o.firstRecordLapZero = true;
    const IbtImage file = generate(o);
    const QList<double> lap = file.series("Lap");
    QCOMPARE(lap[0], 0.0);
    QCOMPARE(lap[1], 170.0);
    QCOMPARE(file.series("LapDistPct")[0], 0.0);
    QCOMPARE(file.series("Speed")[0], 0.0);
}

void tst_SessionGenerator::sessionTextValues_data()
{
    QTest::addColumn<Options>("options");
    QTest::addColumn<QByteArray>("line");

    const Options base = quick(Scenario::Practice);
    QTest::newRow("track length in km with two decimals")
        << base << QByteArrayLiteral(" TrackLength: 1.50 km");
    Options interlagos = base;
    interlagos.trackLength = 4309.0;
    QTest::newRow("track length rounded")
        << interlagos << QByteArrayLiteral(" TrackLength: 4.31 km");
    QTest::newRow("weekend temperature in Celsius")
        << base << QByteArrayLiteral("  WeatherTemp: 25.56 C");
    QTest::newRow("surface temperature") << base << QByteArrayLiteral(" TrackSurfaceTemp: 34.85 C");
    QTest::newRow("air temperature") << base << QByteArrayLiteral(" TrackAirTemp: 25.56 C");
    QTest::newRow("north offset in radians")
        << base << QByteArrayLiteral(" TrackNorthOffset: 4.1245 rad");
    QTest::newRow("city") << base << QByteArrayLiteral(" TrackCity: Sao Paulo");
    QTest::newRow("configuration") << base << QByteArrayLiteral(" TrackConfigName: Grand Prix");
    QTest::newRow("session id") << base << QByteArrayLiteral(" SessionID: 57248149");
    QTest::newRow("sub-session id") << base << QByteArrayLiteral(" SubSessionID: 13844274");
    QTest::newRow("live session") << base << QByteArrayLiteral(" SimMode: full");
    QTest::newRow("player car index") << base << QByteArrayLiteral(" DriverCarIdx: 0");
    QTest::newRow("fuel density") << base << QByteArrayLiteral(" DriverCarFuelKgPerLtr: 0.750");
    QTest::newRow("tank size") << base << QByteArrayLiteral(" DriverCarFuelMaxLtr: 105.000");
    QTest::newRow("tank fraction") << base << QByteArrayLiteral(" DriverCarMaxFuelPct: 1.000");
    QTest::newRow("licence colour in hex") << base << QByteArrayLiteral("   LicColor: 0x0153db");
    QTest::newRow("licence") << base << QByteArrayLiteral("   LicString: A 4.12");
    QTest::newRow("quoted car number") << base << QByteArrayLiteral("   CarNumber: \"7\"");
    QTest::newRow("empty value keeps its blank")
        << base << QByteArrayLiteral("   SessionSubType: ");
    QTest::newRow("results name their car") << base << QByteArrayLiteral("     CarIdx: 0");
    QTest::newRow("set-up fuel in litres") << base << QByteArrayLiteral("   FuelLevel: 58.0 L");
    Options kg = base;
    kg.setupFuelInKg = true;
    QTest::newRow("set-up fuel in kilograms") << kg << QByteArrayLiteral("   FuelLevel: 43.5 kg");
    Options prototype = base;
    prototype.carSetup = SessionGenerator::CarSetupStyle::Prototype;
    QTest::newRow("aero calculator of a prototype")
        << prototype << QByteArrayLiteral("  AeroCalculator:\n   FrontRhAtSpeed: 15.0 mm");
    QTest::newRow("practice session type") << base << QByteArrayLiteral("   SessionType: Practice");
}

void tst_SessionGenerator::sessionTextValues()
{
    QFETCH(Options, options);
    QFETCH(QByteArray, line);
    const SessionGenerator generator(options);
    QVERIFY2(generator.sessionInfo().contains("\n" + line + "\n"), line.constData());
}

void tst_SessionGenerator::sessionTextIsWellFormed_data()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    QTest::newRow("session change") << quick(Scenario::SessionChange);
    Options noSetup = quick(Scenario::Practice);
    noSetup.carSetup = SessionGenerator::CarSetupStyle::None;
    QTest::newRow("without set-up") << noSetup;
}

void tst_SessionGenerator::sessionTextIsWellFormed()
{
    QFETCH(Options, options);
    const SessionGenerator generator(options);
    const QByteArray text = generator.sessionInfo();
    QVERIFY(text.startsWith("---\nWeekendInfo:\n TrackName: "));
    QVERIFY(text.endsWith("\n...\n"));
    QVERIFY(!text.contains('\r'));
    QVERIFY(!text.contains('\t'));
    QVERIFY(!text.contains('\0'));
    QCOMPARE(text.contains("\nCarSetup:\n"),
             options.carSetup != SessionGenerator::CarSetupStyle::None);
    for (const char *section :
         {"\nSessionInfo:\n Sessions:\n - SessionNum: ", "\nDriverInfo:\n",
          "\n Drivers:\n - CarIdx: ", "\nCameraInfo:\n", "\nSplitTimeInfo:\n"})
        QVERIFY2(text.contains(section), section);

    // One level per space; never more than one level deeper than the line before; a line
    // that opens a section is followed by a deeper one.
    const QList<QByteArray> all = lines(text);
    int previous = 0;
    for (qsizetype i = 1; i + 1 < all.size(); ++i) {
        const QByteArray &line = all[i];
        if (line.isEmpty())
            continue;
        const int indentation = dialectIndentation(line);
        QVERIFY2(indentation <= previous + 1, line.constData());
        if (line.endsWith(':') && !line.trimmed().startsWith('-') && i + 1 < all.size()
            && !all[i + 1].isEmpty()) {
            const int next = dialectIndentation(all[i + 1]);
            QVERIFY2(next == indentation + 1 || next <= indentation, line.constData());
        }
        if (line.trimmed().startsWith("- ")) {
            // A list item's continuation lines sit two spaces past its own.
            const QByteArray &next = all[i + 1];
            if (!next.trimmed().startsWith("- ") && !next.isEmpty())
                QCOMPARE(dialectIndentation(next), indentation + 1);
        }
        previous = indentation;
    }
}

void tst_SessionGenerator::displayNameIsWrittenAsLatin1_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("accented letters as single bytes")
        << QStringLiteral("Aut\u00f3dromo Jos\u00e9 Carlos Pace")
        << QByteArrayLiteral("Aut\xf3"
                             "dromo Jos\xe9 Carlos Pace");
    QTest::newRow("accents replaced by blanks") << QStringLiteral("Aut dromo Jos  Carlos Pace")
                                                << QByteArrayLiteral("Aut dromo Jos  Carlos Pace");
    QTest::newRow("plain ASCII") << QStringLiteral("Red Bull Ring")
                                 << QByteArrayLiteral("Red Bull Ring");
}

void tst_SessionGenerator::displayNameIsWrittenAsLatin1()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    Options o = quick(Scenario::Practice);
    o.laps = 1;
    o.trackDisplayName = name;
    o.trackCity = QStringLiteral("S\u00e3o Paulo");
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(o, &generator);
    QCOMPARE(generator->summary().trackDisplayName, bytes);
    QCOMPARE(bytes.size(), name.size());
    QVERIFY(file.sessionInfo().contains("\n TrackDisplayName: " + bytes + "\n"));
    QVERIFY(file.sessionInfo().contains("\n TrackCity: S\xe3o Paulo\n"));
}

void tst_SessionGenerator::durationFixesTheRecordCount_data()
{
    QTest::addColumn<Options>("options");
    QTest::addColumn<int>("minimumLaps");
    Options practice = quick(Scenario::Practice);
    practice.duration = 600.0;
    QTest::newRow("ten minutes of practice") << practice << 10;
    Options race = quick(Scenario::Race);
    race.duration = 400.0;
    QTest::newRow("a race of about six minutes") << race << 5;
    Options replay = quick(Scenario::Replay);
    replay.duration = 300.0;
    QTest::newRow("five minutes of replay") << replay << 3;
    Options cut = quick(Scenario::Practice);
    cut.duration = 20.0;
    QTest::newRow("too short for a lap") << cut << 0;
}

void tst_SessionGenerator::durationFixesTheRecordCount()
{
    QFETCH(Options, options);
    QFETCH(int, minimumLaps);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    QCOMPARE(file.recordCount(), qint64(std::llround(options.duration * 60.0)));
    QVERIFY(generator->summary().timedLapTimes.size() >= minimumLaps);
    if (minimumLaps > 0) // the route ends in the stall, with time to spare
        QCOMPARE(file.series("PlayerCarInPitStall").back(), 1.0);
}

void tst_SessionGenerator::outputIsDeterministic()
{
    Options o = quick(Scenario::Race);
    o.totalVariables = 200;
    const QByteArray first = generate(o).bytes();
    const QByteArray second = generate(o).bytes();
    QVERIFY(!first.isEmpty());
    QVERIFY(first == second);
}

void tst_SessionGenerator::damageOptions_data()
{
    QTest::addColumn<Options>("options");
    QTest::addColumn<QString>("damage");

    Options truncated = quick(Scenario::Practice);
    truncated.truncateAt = 1000;
    QTest::newRow("cut short") << truncated << QStringLiteral("truncate");
    Options shortLast = quick(Scenario::Practice);
    shortLast.shortLastRecordBytes = 7;
    QTest::newRow("short last record") << shortLast << QStringLiteral("short");
    Options unknown = quick(Scenario::Practice);
    unknown.unknownTypeVariable = true;
    QTest::newRow("unknown type code") << unknown << QStringLiteral("unknown");
    Options outside = quick(Scenario::Practice);
    outside.variablesOutsideRecord = true;
    QTest::newRow("descriptors past the record") << outside << QStringLiteral("outside");
    Options lengths = quick(Scenario::Practice);
    lengths.overrides.sessionInfoLen = 1 << 30;
    lengths.overrides.varHeaderOffset = -5;
    QTest::newRow("lengths and offsets pointing outside") << lengths << QStringLiteral("header");
}

void tst_SessionGenerator::damageOptions()
{
    QFETCH(Options, options);
    QFETCH(QString, damage);
    SessionGenerator *generator = nullptr;
    const IbtImage file = generate(options, &generator);
    const SessionGenerator::Summary &s = generator->summary();
    const irsdk_header h = file.header();
    const qint64 intact = h.varBuf[0].bufOffset + qint64(s.recordCount) * h.bufLen;

    if (damage == QLatin1String("truncate")) {
        QCOMPARE(file.size(), qint64(1000));
    } else if (damage == QLatin1String("short")) {
        QCOMPARE(file.size(), intact + 7);
        QCOMPARE(file.recordCount(), qint64(s.recordCount));
    } else if (damage == QLatin1String("unknown")) {
        QCOMPARE(file.size(), intact);
        const QList<irsdk_varHeader> vars = file.varHeaders();
        QVERIFY(std::any_of(vars.begin(), vars.end(), [](const auto &v) { return v.type == 9; }));
    } else if (damage == QLatin1String("outside")) {
        QCOMPARE(file.size(), intact);
        const irsdk_varHeader past = file.varHeaders()[file.indexOf("OutsideOffset")];
        const irsdk_varHeader across = file.varHeaders()[file.indexOf("OutsideCount")];
        QVERIFY(past.offset >= h.bufLen);
        QVERIFY(across.offset < h.bufLen);
        QVERIFY(across.offset + across.count * 4 > h.bufLen);
        QCOMPARE(h.bufLen, s.recordLength);
    } else {
        QCOMPARE(h.sessionInfoLen, 1 << 30);
        QCOMPARE(h.varHeaderOffset, -5);
        QCOMPARE(h.varBuf[0].bufOffset,
                 144 + 144 * h.numVars + int(generator->sessionInfo().size()));
    }
}

QTEST_GUILESS_MAIN(tst_SessionGenerator)
#include "tst_sessiongenerator.moc"
