#include "ideallap.h"
#include "laps.h"
#include "laptime.h"
#include "sectortimes.h"

#include <QTest>

#include <cmath>

using ZUM::SDK::Lap;

namespace {

// The analysis reads the session time between samples linearly: a sector's end falls between
// two ticks, so times agree with the exact ones to well within a tick.
constexpr double tickTolerance = 1.0 / TestLaps::tickRate;
constexpr double trackLength = 1000.0;

// The sectors of the generator's session text, as fractions of a lap.
const QList<double> threeSectors = {0.0, 0.331877, 0.687195};

// A lap at 50 m/s up to the distance, then at the other speed.
TestLaps::Drive changingAt(double distance, double before, double after)
{
    TestLaps::Drive drive;
    drive.speedAt = [=](double d) {
        return d < distance ? before : after;
    };
    return drive;
}

// The exact time such a lap takes from the line to a distance.
double timeTo(double distance, double change, double before, double after)
{
    if (distance <= change)
        return distance / before;
    return change / before + (distance - change) / after;
}

Laps laps(std::initializer_list<QSharedPointer<Lap>> list)
{
    return Laps(list);
}

} // namespace

class tst_SectorTimes : public QObject
{
    Q_OBJECT

private slots:
    void startsFromFractions();
    void sectorTimesOfALap_data();
    void sectorTimesOfALap();
    void sectorsAddUpToTheLapTime_data();
    void sectorsAddUpToTheLapTime();
    void noSectorTimesWithoutATimedWholeLap();
    void idealLapOverTheTracksSectors();
};

void tst_SectorTimes::startsFromFractions()
{
    QCOMPARE(SectorTimes::starts(1000.0, {0.0, 0.25, 0.5}), QList<double>({0.0, 250.0, 500.0}));
    QCOMPARE(SectorTimes::equalStarts(1000.0, 4), QList<double>({0.0, 250.0, 500.0, 750.0}));
    QCOMPARE(SectorTimes::equalStarts(1000.0, 1), QList<double>({0.0}));
}

void tst_SectorTimes::sectorTimesOfALap_data()
{
    QTest::addColumn<double>("change");
    QTest::addColumn<double>("before");
    QTest::addColumn<double>("after");
    QTest::newRow("even speed") << 500.0 << 50.0 << 50.0;
    QTest::newRow("slower inside the second sector") << 500.0 << 50.0 << 25.0;
    QTest::newRow("faster from the third sector") << 700.0 << 30.0 << 60.0;
}

void tst_SectorTimes::sectorTimesOfALap()
{
    QFETCH(double, change);
    QFETCH(double, before);
    QFETCH(double, after);
    const QSharedPointer<Lap> lap = TestLaps::drive(1, changingAt(change, before, after));
    const QList<double> starts = SectorTimes::starts(trackLength, threeSectors);
    const std::optional<SectorTimes> sectors = SectorTimes::of(*lap, trackLength, starts);
    QVERIFY(sectors);
    QCOMPARE(sectors->times().size(), 3);
    const QList<double> ends = {starts[1], starts[2], trackLength};
    double from = 0.0;
    for (qsizetype k = 0; k < 3; ++k) {
        const double expected
            = timeTo(ends[k], change, before, after) - timeTo(from, change, before, after);
        QVERIFY2(std::abs(sectors->times()[k] - expected) < tickTolerance,
                 qPrintable(QStringLiteral("sector %1: %2, expected %3")
                                .arg(k + 1)
                                .arg(sectors->times()[k])
                                .arg(expected)));
        from = ends[k];
    }
}

void tst_SectorTimes::sectorsAddUpToTheLapTime_data()
{
    QTest::addColumn<int>("offsetMs");
    QTest::newRow("lap time a tick under the samples' clock") << -17;
    QTest::newRow("lap time as the samples give it") << 0;
    QTest::newRow("lap time a tick over the samples' clock") << 17;
}

void tst_SectorTimes::sectorsAddUpToTheLapTime()
{
    QFETCH(int, offsetMs);
    const QSharedPointer<Lap> lap = TestLaps::drive(1, changingAt(400.0, 45.0, 55.0));
    lap->header().lapTime = lap->header().lapTime.addMSecs(offsetMs);
    const std::optional<SectorTimes> sectors
        = SectorTimes::of(*lap, trackLength, SectorTimes::starts(trackLength, threeSectors));
    QVERIFY(sectors);
    double sum = 0.0;
    for (double time : sectors->times())
        sum += time;
    QVERIFY2(std::abs(sum - LapTime::seconds(lap->header().lapTime)) < 1e-9,
             qPrintable(QString::number(sum, 'f', 6)));
}

void tst_SectorTimes::noSectorTimesWithoutATimedWholeLap()
{
    const QList<double> starts = SectorTimes::starts(trackLength, threeSectors);
    TestLaps::Drive cut;
    cut.endDistance = 600.0; // cut by the end of the file: not completed, no time
    QVERIFY(!SectorTimes::of(*TestLaps::drive(1, cut), trackLength, starts));

    TestLaps::Drive late; // a time, but no samples near the line
    late.startDistance = 200.0;
    const QSharedPointer<Lap> partial = TestLaps::drive(2, late);
    partial->header().completed = true;
    QVERIFY(!SectorTimes::of(*partial, trackLength, starts));

    const QSharedPointer<Lap> whole = TestLaps::drive(3, TestLaps::Drive());
    QVERIFY(!SectorTimes::of(*whole, trackLength, {}));
    QVERIFY(!SectorTimes::of(*whole, 0.0, starts));
    QVERIFY(SectorTimes::of(*whole, trackLength, starts));
}

void tst_SectorTimes::idealLapOverTheTracksSectors()
{
    // One lap fast to 500 m and slow after, the other the other way round: the track's three
    // sectors take the first's first sector, the second's last, and the faster of the middle.
    const QSharedPointer<Lap> first = TestLaps::drive(1, changingAt(500.0, 60.0, 40.0));
    const QSharedPointer<Lap> second = TestLaps::drive(2, changingAt(500.0, 40.0, 60.0));
    const std::optional<IdealLap> ideal
        = IdealLap::of(laps({first, second}), trackLength, threeSectors);
    QVERIFY(ideal);
    QCOMPARE(ideal->lapCount(), 2);
    QCOMPARE(ideal->sectors().size(), 3);
    QCOMPARE(ideal->sectors()[0].lap, 0);
    QCOMPARE(ideal->sectors()[2].lap, 1);

    const QList<double> bounds = {0.0, 331.877, 687.195, trackLength};
    double expected = 0.0;
    for (qsizetype k = 0; k < 3; ++k) {
        const double a
            = timeTo(bounds[k + 1], 500.0, 60.0, 40.0) - timeTo(bounds[k], 500.0, 60.0, 40.0);
        const double b
            = timeTo(bounds[k + 1], 500.0, 40.0, 60.0) - timeTo(bounds[k], 500.0, 40.0, 60.0);
        expected += std::min(a, b);
    }
    QVERIFY2(std::abs(ideal->time() - expected) < 2 * tickTolerance,
             qPrintable(QString::number(ideal->time())));
    QVERIFY(!IdealLap::of(laps({first}), trackLength, QList<double>()));
}

QTEST_GUILESS_MAIN(tst_SectorTimes)
#include "tst_sectortimes.moc"
