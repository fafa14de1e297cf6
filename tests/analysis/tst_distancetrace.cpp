#include "distancetrace.h"
#include "laps.h"

#include <QTest>

#include <cmath>

namespace {

// A lap of the given distances and values of a channel "v".
QSharedPointer<ZUM::SDK::Lap> lapOf(const std::vector<double> &distance,
                                    const std::vector<double> &values)
{
    auto lap = QSharedPointer<ZUM::SDK::Lap>::create();
    lap->addChannel(TestLaps::channel(distance, QStringLiteral("m")), QStringLiteral("lapdist"));
    lap->addChannel(TestLaps::channel(values, QString()), QStringLiteral("v"));
    return lap;
}

} // namespace

class tst_DistanceTrace : public QObject
{
    Q_OBJECT

private slots:
    void valueAtADistance_data();
    void valueAtADistance();
    void theLongestRisingRunIsKept();
    void decimatedKeepsEveryPeak();
    void fewSamplesAreDrawnAsTheyAre();
};

void tst_DistanceTrace::valueAtADistance_data()
{
    QTest::addColumn<double>("distance");
    QTest::addColumn<double>("at");
    QTest::addColumn<double>("held");
    // Samples at 0, 10, 20, 30 m of 1, 3, NaN, 7.
    QTest::newRow("on a sample") << 10.0 << 3.0 << 3.0;
    QTest::newRow("between two samples") << 5.0 << 2.0 << 1.0;
    QTest::newRow("next to a missing value") << 25.0 << double(NAN) << double(NAN);
    QTest::newRow("the last sample") << 30.0 << 7.0 << 7.0;
    QTest::newRow("before the first") << -1.0 << double(NAN) << double(NAN);
    QTest::newRow("after the last") << 31.0 << double(NAN) << double(NAN);
}

void tst_DistanceTrace::valueAtADistance()
{
    QFETCH(double, distance);
    QFETCH(double, at);
    QFETCH(double, held);
    const DistanceTrace trace = DistanceTrace::of(
        *lapOf({0.0, 10.0, 20.0, 30.0}, {1.0, 3.0, NAN, 7.0}), QStringLiteral("v"), {});
    QCOMPARE(trace.size(), 4);
    const double gotAt = trace.at(distance);
    const double gotHeld = trace.heldAt(distance);
    QCOMPARE(std::isnan(gotAt), std::isnan(at));
    if (!std::isnan(at))
        QCOMPARE(gotAt, at);
    QCOMPARE(std::isnan(gotHeld), std::isnan(held));
    if (!std::isnan(held))
        QCOMPARE(gotHeld, held);
}

void tst_DistanceTrace::theLongestRisingRunIsKept()
{
    // The last lap's counter at the start, a sample standing still, the next lap's at the end.
    const DistanceTrace trace
        = DistanceTrace::of(*lapOf({998.0, 999.0, 1.0, 2.0, 2.0, 500.0, 999.0, 0.5},
                                   {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0}),
                            QStringLiteral("v"), {});
    QCOMPARE(trace.size(), 4);
    QCOMPARE(trace.firstDistance(), 1.0);
    QCOMPARE(trace.lastDistance(), 999.0);
    QCOMPARE(trace.at(2.0), 4.0);
    QCOMPARE(trace.valueRange(), std::make_pair(3.0, 7.0));
    QVERIFY(
        DistanceTrace::of(*lapOf({0.0, 1.0}, {1.0, 2.0}), QStringLiteral("none"), {}).isEmpty());
}

void tst_DistanceTrace::decimatedKeepsEveryPeak()
{
    // 10000 samples over 1000 m: a slow wave with one spike per 100 m.
    std::vector<double> distance, values;
    for (int i = 0; i < 10000; ++i) {
        distance.push_back(i * 0.1);
        values.push_back(i % 1000 == 500 ? 100.0 : std::sin(i * 0.001));
    }
    const DistanceTrace trace
        = DistanceTrace::of(*lapOf(distance, values), QStringLiteral("v"), {});
    const int columns = 200;
    const QList<QPolygonF> lines = trace.decimated(0.0, 1000.0, columns);
    QCOMPARE(lines.size(), 1);
    // At most two points per column, whatever the number of samples.
    QVERIFY(lines.first().size() <= 2 * columns);
    int spikes = 0;
    for (const QPointF &point : lines.first())
        spikes += point.y() == 100.0;
    QCOMPARE(spikes, 10);
    QCOMPARE(lines.first().first().x(), 0.0);
    QCOMPARE(lines.first().last().x(), distance.back());

    // A zoomed stretch gets the samples just outside it, to reach the edges.
    const QList<QPolygonF> zoomed = trace.decimated(100.05, 100.35, columns);
    QCOMPARE(zoomed.size(), 1);
    QVERIFY(std::abs(zoomed.first().first().x() - 100.0) < 1e-9);
    QVERIFY(std::abs(zoomed.first().last().x() - 100.4) < 1e-9);
}

void tst_DistanceTrace::fewSamplesAreDrawnAsTheyAre()
{
    const DistanceTrace trace = DistanceTrace::of(
        *lapOf({0.0, 10.0, 20.0, 30.0, 40.0}, {1.0, 2.0, NAN, 4.0, 5.0}), QStringLiteral("v"), {});
    const QList<QPolygonF> lines = trace.decimated(0.0, 40.0, 400);
    // Broken at the missing value.
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0], QPolygonF({QPointF(0.0, 1.0), QPointF(10.0, 2.0)}));
    QCOMPARE(lines[1], QPolygonF({QPointF(30.0, 4.0), QPointF(40.0, 5.0)}));
}

QTEST_APPLESS_MAIN(tst_DistanceTrace)
#include "tst_distancetrace.moc"
