#include "ideallap.h"
#include "lapchannels.h"
#include "lapdelta.h"
#include "lapranking.h"
#include "laps.h"
#include "lapselection.h"
#include "laptime.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "timeatdistance.h"
#include "trackprojection.h"
#include "unitsystem.h"

#include <QTest>

#include <cmath>
#include <numbers>

using ZUM::SDK::Lap;

namespace {

constexpr double halfway = 500.0;
constexpr double fast = 50.0;
constexpr double slow = 25.0;
// Samples are a tick apart: a time read between them is good to a tick's share of a metre.
constexpr double tickTolerance = 1.0 / TestLaps::tickRate;

// Fast up to halfway and slow after it, or the other way round.
TestLaps::Drive halves(bool fastFirst)
{
    TestLaps::Drive drive;
    drive.speedAt = [fastFirst](double d) {
        return (d < halfway) == fastFirst ? fast : slow;
    };
    return drive;
}

// The time a lap of halves takes from the line to a distance.
double halvesTime(bool fastFirst, double distance)
{
    const double first = fastFirst ? fast : slow;
    const double second = fastFirst ? slow : fast;
    return std::min(distance, halfway) / first + std::max(distance - halfway, 0.0) / second;
}

QList<QSharedPointer<Lap>> laps(std::initializer_list<QSharedPointer<Lap>> list)
{
    return QList<QSharedPointer<Lap>>(list);
}

} // namespace

class tst_LapAnalysis : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lapTimeText_data();
    void lapTimeText();
    void clockText_data();
    void clockText();
    void trackLengthFromTheLaps();
    void timeAtDistance();
    void timeAtDistanceSkipsTheNextLapsCounter();
    void idealLapTakesTheBestOfEachSector_data();
    void idealLapTakesTheBestOfEachSector();
    void idealLapNeedsATimedWholeLap();
    void idealLapAddsUpToTheLapTime_data();
    void idealLapAddsUpToTheLapTime();
    void deltaByDistance();
    void summary();
    void lapSelection_data();
    void lapSelection();
    void lapSelectionRefusesText_data();
    void lapSelectionRefusesText();
    void lapsOfStints_data();
    void lapsOfStints();
    void shownLaps();
    void units_data();
    void units();
    void trackProjectionKeepsTheShape();
    void sessionLabel_data();
    void sessionLabel();
};

void tst_LapAnalysis::lapTimeText_data()
{
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("a flying lap") << QTime(0, 1, 39, 612) << QStringLiteral("1:39.612");
    QTest::newRow("a short lap") << QTime(0, 0, 15, 98) << QStringLiteral("0:15.098");
    QTest::newRow("the untimed marker") << ZUM::SDK::UntimedLapTime << QStringLiteral("no time");
    QTest::newRow("no time at all") << QTime() << QStringLiteral("-");
    QTest::newRow("over an hour") << QTime(1, 2, 3, 4) << QStringLiteral("1:02:03.004");
}

void tst_LapAnalysis::lapTimeText()
{
    QFETCH(QTime, time);
    QFETCH(QString, text);
    QCOMPARE(LapTime::text(time), text);
    if (LapTime::isTimed(time))
        QCOMPARE(LapTime::text(LapTime::seconds(time)), text);
}

void tst_LapAnalysis::clockText_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("session start") << 0.0 << QStringLiteral("0:00:00.000");
    QTest::newRow("over an hour") << 4216.38333361042 << QStringLiteral("1:10:16.383");
    QTest::newRow("rounds to the next minute") << 59.9996 << QStringLiteral("0:01:00.000");
}

void tst_LapAnalysis::clockText()
{
    QFETCH(double, seconds);
    QFETCH(QString, text);
    QCOMPARE(LapTime::clockText(seconds), text);
}

void tst_LapAnalysis::trackLengthFromTheLaps()
{
    TestLaps::Drive drive;
    drive.trackLength = 576.2829;
    const QSharedPointer<Lap> lap = TestLaps::drive(1, drive);
    // The header rounds to 0.58 km; distance over fraction keeps the digits.
    QVERIFY(qFuzzyCompare(*LapChannels::trackLength(laps({lap})), drive.trackLength));
    lap->removeRecordedChannel(QStringLiteral("lapdist"));
    QCOMPARE(*LapChannels::trackLength(laps({lap})), 576.2829);
    lap->header().dynamicData.setValue(QStringLiteral("Track length"), 0.58, QStringLiteral("km"));
    lap->removeRecordedChannel(QStringLiteral("lapdistpct"));
    QCOMPARE(*LapChannels::trackLength(laps({lap})), 580.0);
    QVERIFY(!LapChannels::trackLength({}).has_value());
}

void tst_LapAnalysis::timeAtDistance()
{
    const QSharedPointer<Lap> lap = TestLaps::drive(1, halves(true));
    const std::optional<TimeAtDistance> times = TimeAtDistance::of(*lap, 1000.0);
    QVERIFY(times);
    const double start = lap->channel(QStringLiteral("sessiontime"))->value(0)
        - 0.4 / fast; // the first sample is 0.4 m past the line
    for (const double distance : {0.0, 123.4, 499.0, 700.0, 1000.0}) {
        const double expected = start + halvesTime(true, distance);
        QVERIFY2(std::abs(times->at(distance) - expected) < tickTolerance,
                 qPrintable(QString::number(distance)));
    }
}

void tst_LapAnalysis::timeAtDistanceSkipsTheNextLapsCounter()
{
    // The lap counter of the next lap shows up in the last samples: distance near 0 again.
    const QSharedPointer<Lap> lap = TestLaps::drive(1, TestLaps::Drive());
    const QSharedPointer<ZUM::SDK::Channel> distance = lap->channel(QStringLiteral("lapdist"));
    const qint64 last = distance->size() - 1;
    distance->setValue(last, 0.3);
    const std::optional<TimeAtDistance> times = TimeAtDistance::of(*lap, 1000.0);
    QVERIFY(times);
    QVERIFY(times->lastDistance() > 990.0);
    const double start = lap->channel(QStringLiteral("sessiontime"))->value(0) - 0.4 / fast;
    QVERIFY(std::abs(times->at(1000.0) - (start + 1000.0 / fast)) < tickTolerance);
}

void tst_LapAnalysis::idealLapTakesTheBestOfEachSector_data()
{
    QTest::addColumn<int>("sectors");
    QTest::newRow("twenty mini-sectors") << 20;
    QTest::newRow("two halves") << 2;
    QTest::newRow("seven, one across halfway") << 7;
}

void tst_LapAnalysis::idealLapTakesTheBestOfEachSector()
{
    QFETCH(int, sectors);
    // One lap fast in the first half, the other in the second: each is 30 s, and the best
    // of each sector makes a lap faster than both.
    const QList<QSharedPointer<Lap>> both
        = laps({TestLaps::drive(1, halves(true)), TestLaps::drive(2, halves(false))});
    const std::optional<IdealLap> ideal = IdealLap::of(both, 1000.0, sectors);
    QVERIFY(ideal);
    QCOMPARE(ideal->sectors().size(), sectors);
    QCOMPARE(ideal->lapCount(), 2);

    double expected = 0.0;
    for (int k = 0; k < sectors; ++k) {
        const double from = 1000.0 * k / sectors;
        const double to = 1000.0 * (k + 1) / sectors;
        const double first = halvesTime(true, to) - halvesTime(true, from);
        const double second = halvesTime(false, to) - halvesTime(false, from);
        expected += std::min(first, second);
        QVERIFY(std::abs(ideal->sectors()[k].time - std::min(first, second)) < tickTolerance);
        if (std::abs(first - second) > tickTolerance)
            QCOMPARE(ideal->sectors()[k].lap, first < second ? 0 : 1);
    }
    QVERIFY2(std::abs(ideal->time() - expected) < tickTolerance,
             qPrintable(QString::number(ideal->time())));
    QVERIFY(ideal->time() < LapTime::seconds(both[0]->header().lapTime));
}

void tst_LapAnalysis::idealLapAddsUpToTheLapTime_data()
{
    QTest::addColumn<int>("offsetMs");
    QTest::newRow("lap time a tick under the samples' clock") << -17;
    QTest::newRow("lap time as the samples give it") << 0;
    QTest::newRow("lap time a tick over the samples' clock") << 17;
}

void tst_LapAnalysis::idealLapAddsUpToTheLapTime()
{
    // The simulator's lap time and the samples' clock differ by part of a tick: the ideal lap
    // of one lap is that lap's time, never a little slower or faster.
    QFETCH(int, offsetMs);
    const QSharedPointer<Lap> lap = TestLaps::drive(1, TestLaps::Drive());
    lap->header().lapTime = lap->header().lapTime.addMSecs(offsetMs);
    const std::optional<IdealLap> ideal = IdealLap::of(laps({lap}), 1000.0);
    QVERIFY(ideal);
    QVERIFY2(std::abs(ideal->time() - LapTime::seconds(lap->header().lapTime)) < 1e-9,
             qPrintable(QString::number(ideal->time(), 'f', 6)));

    // Beside a slower lap, the ideal lap is at most the best.
    TestLaps::Drive slower;
    slower.speedAt = [](double) {
        return 49.0;
    };
    const QSharedPointer<Lap> other = TestLaps::drive(2, slower);
    const std::optional<IdealLap> both = IdealLap::of(laps({lap, other}), 1000.0);
    QVERIFY(both);
    QVERIFY(both->time() <= LapTime::seconds(lap->header().lapTime) + 1e-9);
}

void tst_LapAnalysis::idealLapNeedsATimedWholeLap()
{
    TestLaps::Drive cut;
    cut.endDistance = 600.0; // cut by the end of the file: not completed, no time
    QVERIFY(!IdealLap::of(laps({TestLaps::drive(1, cut)}), 1000.0));
    QVERIFY(!IdealLap::of(laps({TestLaps::drive(1, TestLaps::Drive())}), std::nullopt));
    QVERIFY(!IdealLap::of({}, 1000.0));

    // A lap that has a time but no samples near the line is not compared.
    TestLaps::Drive late;
    late.startDistance = 200.0;
    const QSharedPointer<Lap> partial = TestLaps::drive(2, late);
    partial->header().completed = true;
    const QSharedPointer<Lap> whole = TestLaps::drive(3, TestLaps::Drive());
    const std::optional<IdealLap> ideal = IdealLap::of(laps({partial, whole}), 1000.0);
    QVERIFY(ideal);
    QCOMPARE(ideal->lapCount(), 1);
    QVERIFY(std::abs(ideal->time() - 1000.0 / fast) < tickTolerance);
}

void tst_LapAnalysis::deltaByDistance()
{
    const QSharedPointer<Lap> reference = TestLaps::drive(1, halves(true));
    const QSharedPointer<Lap> lap = TestLaps::drive(2, halves(false));
    const std::optional<TimeAtDistance> referenceTimes = TimeAtDistance::of(*reference, 1000.0);
    const std::optional<TimeAtDistance> lapTimes = TimeAtDistance::of(*lap, 1000.0);
    QVERIFY(referenceTimes && lapTimes);

    const QList<QPointF> delta = LapDelta::of(*lapTimes, *referenceTimes, 1000.0, 101);
    QCOMPARE(delta.size(), 101);
    QCOMPARE(delta.first().x(), 0.0);
    QCOMPARE(delta.last().x(), 1000.0);
    for (const QPointF &point : delta) {
        const double expected = halvesTime(false, point.x()) - halvesTime(true, point.x());
        QVERIFY2(std::abs(point.y() - expected) < tickTolerance,
                 qPrintable(QString::number(point.x())));
    }
    // Against itself a lap loses nothing anywhere.
    for (const QPointF &point : LapDelta::of(*referenceTimes, *referenceTimes, 1000.0))
        QCOMPARE(point.y(), 0.0);
}

void tst_LapAnalysis::summary()
{
    TestLaps::Drive steady;
    TestLaps::Drive quicker;
    quicker.speedAt = [](double) {
        return 52.0;
    };
    TestLaps::Drive slower;
    slower.speedAt = [](double d) {
        return d < 300.0 ? 60.0 : 40.0;
    };
    TestLaps::Drive outLap;
    outLap.startDistance = 400.0;
    outLap.speedAt = [](double) {
        return 70.0;
    }; // the fastest speed, on an untimed lap
    const QSharedPointer<Lap> untimed = TestLaps::drive(0, outLap);
    untimed->header().completed = true;
    untimed->header().lapTime = ZUM::SDK::UntimedLapTime;
    const QList<QSharedPointer<Lap>> session
        = laps({untimed, TestLaps::drive(1, steady), TestLaps::drive(2, quicker),
                TestLaps::drive(3, slower)});
    // A refuelled lap gives no fuel use.
    TestLaps::Drive refuelled;
    refuelled.fuelPerMetre = -0.01;
    const QList<QSharedPointer<Lap>> withRefuelling
        = session + laps({TestLaps::drive(4, refuelled)});

    const SessionSummary summary = SessionSummary::of(session);
    QCOMPARE(summary.best, 2);
    QCOMPARE(summary.timedLaps, 3);
    QList<double> times;
    for (qsizetype i = 1; i < session.size(); ++i)
        times.append(LapTime::seconds(session[i]->header().lapTime));
    const double mean = (times[0] + times[1] + times[2]) / 3.0;
    double squares = 0.0;
    for (const double time : times)
        squares += (time - mean) * (time - mean);
    QCOMPARE(summary.average, mean);
    QCOMPARE(summary.spread, std::sqrt(squares / 2.0));
    QCOMPARE(summary.topSpeed, 70.0);
    QCOMPARE(summary.topSpeedLap, 0);
    QCOMPARE(summary.speedUnit, QStringLiteral("m/s"));

    double used = 0.0;
    for (qsizetype i = 1; i < session.size(); ++i) {
        const QSharedPointer<ZUM::SDK::Channel> fuel
            = session[i]->channel(QStringLiteral("fuellevel"));
        used += fuel->value(0) - fuel->value(fuel->size() - 1);
    }
    QCOMPARE(summary.fuelPerLap, used / 3.0);
    QCOMPARE(summary.fuelUnit, QStringLiteral("l"));
    QCOMPARE(summary.fuelLaps, 3);
    const SessionSummary refuelledSummary = SessionSummary::of(withRefuelling);
    QCOMPARE(refuelledSummary.fuelLaps, 3);
    QCOMPARE(refuelledSummary.fuelPerLap, summary.fuelPerLap);
    QVERIFY(summary.ideal);
    QVERIFY(summary.ideal->time()
            <= LapTime::seconds(session[2]->header().lapTime) + tickTolerance);

    const SessionSummary empty = SessionSummary::of({});
    QCOMPARE(empty.best, -1);
    QVERIFY(std::isnan(empty.average));
    QVERIFY(std::isnan(empty.topSpeed));
    QVERIFY(!empty.ideal);
}

void tst_LapAnalysis::lapSelection_data()
{
    QTest::addColumn<QString>("numbers"); // empty: every lap number
    QTest::addColumn<bool>("timed");
    QTest::addColumn<bool>("best");
    QTest::addColumn<QList<qsizetype>>("expected");

    // Laps 0 (out lap), 1 to 6 timed with lap 4 the fastest, 7 (in lap).
    QTest::newRow("every lap") << QString() << false << false
                               << QList<qsizetype> {0, 1, 2, 3, 4, 5, 6, 7};
    QTest::newRow("numbers and a range")
        << QStringLiteral("3,5-7") << false << false << QList<qsizetype> {3, 5, 6, 7};
    QTest::newRow("blanks around them")
        << QStringLiteral(" 1 , 2 - 3 ") << false << false << QList<qsizetype> {1, 2, 3};
    QTest::newRow("a number of no lap")
        << QStringLiteral("42") << false << false << QList<qsizetype> {};
    QTest::newRow("timed") << QString() << true << false << QList<qsizetype> {1, 2, 3, 4, 5, 6};
    QTest::newRow("timed in a range")
        << QStringLiteral("5-7") << true << false << QList<qsizetype> {5, 6};
    QTest::newRow("best") << QString() << false << true << QList<qsizetype> {4};
    QTest::newRow("best of a range")
        << QStringLiteral("5-7") << false << true << QList<qsizetype> {5};
    QTest::newRow("best of untimed laps")
        << QStringLiteral("0,7") << false << true << QList<qsizetype> {};
}

void tst_LapAnalysis::lapSelection()
{
    QFETCH(QString, numbers);
    QFETCH(bool, timed);
    QFETCH(bool, best);
    QFETCH(QList<qsizetype>, expected);

    QList<QSharedPointer<Lap>> session;
    for (int number = 0; number <= 7; ++number) {
        auto lap = QSharedPointer<Lap>::create();
        lap->header().lapNumber = number;
        lap->header().completed = number < 7;
        lap->header().lapTime = number == 0 || number == 7 ? ZUM::SDK::UntimedLapTime
                                                           : QTime(0, 1, 40 - (number == 4));
        if (number == 5)
            lap->header().lapTime = QTime(0, 1, 39, 500);
        session.append(lap);
    }
    LapSelection selection;
    QString error;
    if (!numbers.isEmpty())
        QVERIFY2(selection.setNumbers(numbers, &error), qPrintable(error));
    selection.setTimedOnly(timed);
    selection.setBestOnly(best);
    QCOMPARE(selection.isActive(), !numbers.isEmpty() || timed || best);
    QCOMPARE(selection.select(session), expected);
}

void tst_LapAnalysis::lapSelectionRefusesText_data()
{
    QTest::addColumn<QString>("numbers");
    QTest::addColumn<QString>("part"); // the part the error names
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("a word") << QStringLiteral("3,five") << QStringLiteral("five");
    QTest::newRow("an open range") << QStringLiteral("3-") << QStringLiteral("3-");
    QTest::newRow("a range backwards") << QStringLiteral("7-5") << QStringLiteral("7-5");
    QTest::newRow("a negative number") << QStringLiteral("-2") << QStringLiteral("-2");
    QTest::newRow("a number too large")
        << QStringLiteral("99999999999") << QStringLiteral("99999999999");
}

void tst_LapAnalysis::lapSelectionRefusesText()
{
    QFETCH(QString, numbers);
    QFETCH(QString, part);
    LapSelection selection;
    QString error;
    QVERIFY(!selection.setNumbers(numbers, &error));
    QVERIFY2(error.startsWith(QStringLiteral("'%1' is not a lap number").arg(part)),
             qPrintable(error));
}

void tst_LapAnalysis::lapsOfStints_data()
{
    QTest::addColumn<QString>("numbers");
    QTest::addColumn<QList<qsizetype>>("expected");
    // Lap 185 and 186 in stint 1 (its laps 2 and 3), then a reset to the pits: lap 186 again
    // as lap 0 of stint 2, then 187.
    QTest::newRow("a number in two stints") << QStringLiteral("186") << QList<qsizetype> {1, 2};
    QTest::newRow("a lap of a stint") << QStringLiteral("2/0") << QList<qsizetype> {2};
    QTest::newRow("a range within a stint") << QStringLiteral("1/2-3") << QList<qsizetype> {0, 1};
    QTest::newRow("a stint and a number") << QStringLiteral("1/3,187") << QList<qsizetype> {1, 3};
    QTest::newRow("a lap of no stint") << QStringLiteral("3/0") << QList<qsizetype> {};
}

void tst_LapAnalysis::lapsOfStints()
{
    QFETCH(QString, numbers);
    QFETCH(QList<qsizetype>, expected);
    QList<QSharedPointer<Lap>> session;
    const int laps[][3] = {{185, 1, 2}, {186, 1, 3}, {186, 2, 0}, {187, 2, 1}};
    for (const auto &[number, stint, inStint] : laps) {
        auto lap = QSharedPointer<Lap>::create();
        lap->header().lapNumber = number;
        lap->header().stint = stint;
        lap->header().lapInStint = inStint;
        session.append(lap);
    }
    LapSelection selection;
    QString error;
    QVERIFY2(selection.setNumbers(numbers, &error), qPrintable(error));
    QCOMPARE(selection.select(session), expected);
    // Named as the table shows them where the number repeats.
    QCOMPARE(LapSelection::shortName(session, 0), QStringLiteral("185"));
    QCOMPARE(LapSelection::shortName(session, 1), QStringLiteral("1/3"));
    QCOMPARE(LapSelection::shortName(session, 2), QStringLiteral("2/0"));
    QCOMPARE(LapSelection::namesText(session), QStringLiteral("185, 1/3, 2/0, 187"));
    if (expected.isEmpty())
        QVERIFY(selection.nothingChosenText(session).startsWith(
            QStringLiteral("no lap matches --laps %1; the laps are ").arg(numbers)));
}

void tst_LapAnalysis::shownLaps()
{
    // Twelve timed laps, the fastest being lap 5; lap 11 is the last.
    QList<QSharedPointer<Lap>> session;
    const int milliseconds[] = {900, 300, 800, 700, 400, 100, 600, 200, 950, 500, 990, 999};
    for (int number = 0; number < 12; ++number) {
        auto lap = QSharedPointer<Lap>::create();
        lap->header().lapNumber = number;
        lap->header().completed = true;
        lap->header().lapTime = QTime(0, 1, 40, milliseconds[number]);
        session.append(lap);
    }
    QList<qsizetype> all;
    for (qsizetype i = 0; i < session.size(); ++i)
        all.append(i);
    QCOMPARE(LapRanking::best(session), 5);
    // The best, the last, and the six fastest others, in lap order.
    QCOMPARE(LapRanking::shown(session, all, 8), (QList<qsizetype> {1, 3, 4, 5, 6, 7, 9, 11}));
    QCOMPARE(LapRanking::shown(session, {2, 3}, 8), (QList<qsizetype> {2, 3}));
}

void tst_LapAnalysis::units_data()
{
    QTest::addColumn<Units>("units");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expectedUnit");
    QTest::addColumn<double>("expected");

    QTest::newRow("m/s in km/h") << Units::Metric << "speed"
                                 << "m/s" << 50.0 << "km/h" << 180.0;
    QTest::newRow("m/s in mph") << Units::Imperial << "speed"
                                << "m/s" << 44.704 << "mph" << 100.0;
    QTest::newRow("km/h in mph") << Units::Imperial << "speed"
                                 << "km/h" << 160.9344 << "mph" << 100.0;
    QTest::newRow("C in F") << Units::Imperial << "airtemp"
                            << "C" << 25.0 << "F" << 77.0;
    QTest::newRow("F in C") << Units::Metric << "airtemp"
                            << "F" << 212.0 << "C" << 100.0;
    QTest::newRow("C stays C") << Units::Metric << "tracktemp"
                               << "C" << 34.85 << "C" << 34.85;
    QTest::newRow("metres stay") << Units::Imperial << "lapdist"
                                 << "m" << 12.5 << "m" << 12.5;
    QTest::newRow("litres in US gallons") << Units::Imperial << "fuellevel"
                                          << "l" << 3.785411784 << "gal" << 1.0;
    QTest::newRow("gallons in litres") << Units::Metric << "fuellevel"
                                       << "gal" << 2.0 << "l" << 7.570823568;
    QTest::newRow("kPa in psi") << Units::Imperial << "lftirepressure"
                                << "kPa" << 6.894757293168 << "psi" << 1.0;
    QTest::newRow("kg in lb") << Units::Imperial << "mass"
                              << "kg" << 0.45359237 << "lb" << 1.0;
    QTest::newRow("km in miles") << Units::Imperial << "tracklength"
                                 << "km" << 1.609344 << "mi" << 1.0;
    QTest::newRow("litres stay litres") << Units::Metric << "fuellevel"
                                        << "l" << 40.5 << "l" << 40.5;
    QTest::newRow("as recorded") << Units::AsRecorded << "speed"
                                 << "m/s" << 50.0 << "m/s" << 50.0;
    QTest::newRow("shock velocities stay") << Units::Metric << "lfshockvel"
                                           << "m/s" << 0.25 << "m/s" << 0.25;
}

void tst_LapAnalysis::units()
{
    QFETCH(Units, units);
    QFETCH(QString, name);
    QFETCH(QString, unit);
    QFETCH(double, value);
    QFETCH(QString, expectedUnit);
    QFETCH(double, expected);
    const UnitSystem::Conversion conversion = UnitSystem::channelConversion(name, unit, units);
    QCOMPARE(conversion.unit, expectedUnit);
    QVERIFY2(std::abs(conversion(value) - expected) < 1e-9,
             qPrintable(QString::number(conversion(value), 'g', 17)));
}

void tst_LapAnalysis::trackProjectionKeepsTheShape()
{
    // A round track of 100 m radius at 60 degrees north, where a degree of longitude is half
    // as long as one of latitude; one sample without a position, at 0/0.
    constexpr double radius = 100.0;
    constexpr double earth = 6371008.8;
    constexpr double latitude = 60.0;
    std::vector<double> lat, lon, distance, speed;
    for (int i = 0; i <= 360; ++i) {
        const double angle = i * std::numbers::pi / 180.0;
        const double north = radius * std::sin(angle);
        const double east = radius * std::cos(angle);
        lat.push_back(latitude + north / earth * 180.0 / std::numbers::pi);
        lon.push_back(10.0
                      + east / (earth * std::cos(latitude * std::numbers::pi / 180.0)) * 180.0
                          / std::numbers::pi);
        distance.push_back(i == 0 ? 628.0 : radius * angle); // the first sample is the last lap's
        speed.push_back(30.0 + i / 36.0);
    }
    lat[100] = 0.0;
    lon[100] = 0.0;
    Lap lap;
    lap.addChannel(TestLaps::channel(lat, QStringLiteral("deg")), QStringLiteral("lat"));
    lap.addChannel(TestLaps::channel(lon, QStringLiteral("deg")), QStringLiteral("lon"));
    lap.addChannel(TestLaps::channel(distance, QStringLiteral("m")), QStringLiteral("lapdist"));
    lap.addChannel(TestLaps::channel(speed, QStringLiteral("m/s")), QStringLiteral("speed"));

    const std::optional<TrackProjection> projection = TrackProjection::of(lap);
    QVERIFY(projection);
    QCOMPARE(projection->points().size(), 360);
    QCOMPARE(projection->speeds().size(), 360);
    const QRectF bounds = projection->bounds();
    // As wide as it is high: the ground's proportions, not the degrees'.
    QVERIFY2(std::abs(bounds.width() - 2 * radius) < 0.5,
             qPrintable(QString::number(bounds.width())));
    QVERIFY2(std::abs(bounds.height() - 2 * radius) < 0.5,
             qPrintable(QString::number(bounds.height())));
    // The line is where the lap distance is least: at angle 1 degree, east of the centre.
    QVERIFY(projection->startFinish());
    const QPointF line = *projection->startFinish();
    QVERIFY(std::abs(line.x() - (bounds.center().x() + radius * std::cos(std::numbers::pi / 180)))
            < 0.5);
    QCOMPARE(projection->speeds().first(), speed[0]);

    // The same path 300 m into a track ten times as long never passes the line: no mark at its
    // first sample.
    std::vector<double> later = distance;
    for (double &d : later)
        d += 300.0;
    Lap cut;
    cut.addChannel(TestLaps::channel(lat, QStringLiteral("deg")), QStringLiteral("lat"));
    cut.addChannel(TestLaps::channel(lon, QStringLiteral("deg")), QStringLiteral("lon"));
    cut.addChannel(TestLaps::channel(later, QStringLiteral("m")), QStringLiteral("lapdist"));
    const std::optional<TrackProjection> farFromTheLine = TrackProjection::of(cut, 6280.0);
    QVERIFY(farFromTheLine);
    QVERIFY(!farFromTheLine->startFinish());

    Lap withoutPositions;
    withoutPositions.addChannel(TestLaps::channel(speed, QStringLiteral("m/s")),
                                QStringLiteral("speed"));
    QVERIFY(!TrackProjection::of(withoutPositions));
}

void tst_LapAnalysis::sessionLabel_data()
{
    QTest::addColumn<ZUM::SDK::Session>("session");
    QTest::addColumn<QString>("name"); // the session text's "Session name"
    QTest::addColumn<QString>("label");
    QTest::newRow("a kind the import knows")
        << ZUM::SDK::Session::Practice << QStringLiteral("Practice") << QStringLiteral("Practice");
    QTest::newRow("offline testing")
        << ZUM::SDK::Session::Unknown << QStringLiteral("Offline Testing")
        << QStringLiteral("Unknown session (Offline Testing)");
    QTest::newRow("no name either")
        << ZUM::SDK::Session::Unknown << QString() << QStringLiteral("Unknown session");
}

void tst_LapAnalysis::sessionLabel()
{
    QFETCH(ZUM::SDK::Session, session);
    QFETCH(QString, name);
    QFETCH(QString, label);
    ZUM::SDK::LapHeader header;
    header.session = session;
    if (!name.isNull())
        header.dynamicData.setValue(QStringLiteral("Session name"), name, QString());
    QCOMPARE(::sessionLabel(header), label);
}

QTEST_GUILESS_MAIN(tst_LapAnalysis)
#include "tst_lapanalysis.moc"
