#include "lapplot.h"
#include "lapranking.h"
#include "laps.h"
#include "picturepixels.h"
#include "plotlaps.h"
#include "plotstyle.h"

#include <QGuiApplication>
#include <QTest>

using namespace PicturePixels;
using ZUM::SDK::Lap;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

bool near(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green())
        + std::abs(a.blue() - b.blue())
        < 30;
}

// A timed lap, fast and then slower from a point that differs from lap to lap, so that the
// laps' pedals and gears part there: the faster, the shorter its time.
QSharedPointer<Lap> steadyLap(int number, double speed)
{
    TestLaps::Drive drive;
    const double braking = 200.0 + 40.0 * number;
    drive.speedAt = [speed, braking](double d) {
        return d < braking ? speed : speed * 0.7;
    };
    return TestLaps::drive(number, drive);
}

LapPlot::Input input(const Laps &laps)
{
    LapPlot::Input input;
    input.file = QStringLiteral("session.ibt");
    input.laps = laps;
    for (qsizetype i = 0; i < laps.size(); ++i)
        input.chosen.append(i);
    return input;
}

} // namespace

class tst_LapPlot : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pictureSize();
    void panelsShowTheBestLap_data();
    void panelsShowTheBestLap();
    void inputsOfTheComparedLap_data();
    void inputsOfTheComparedLap();
    void shortLapsAreLeftOut();
    void inputsOfAnUntimedLap();
    void distanceAxisFromTheData();
    void moreThanEightLaps();
    void trackMap_data();
    void trackMap();
    void noLaps();
};

void tst_LapPlot::pictureSize()
{
    const QImage image = LapPlot::render(input({steadyLap(1, 50.0)}));
    QCOMPARE(image.size(), QSize(LapPicture::Width, LapPicture::Height));
    QCOMPARE(image.width(), 1600);
    // The parts lie inside the picture and apart from one another.
    const QList<QRect> parts
        = {LapPicture::speedPanel(),    LapPicture::legendBox(),    LapPicture::deltaPanel(),
           LapPicture::inputsPanel(),   LapPicture::inputsKeyBox(), LapPicture::gearPanel(),
           LapPicture::trackMapPanel(), LapPicture::speedScale(),   LapPicture::summaryBox()};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        QVERIFY(image.rect().contains(parts[i]));
        for (qsizetype j = i + 1; j < parts.size(); ++j)
            QVERIFY(!parts[i].intersects(parts[j]));
    }
}

void tst_LapPlot::panelsShowTheBestLap_data()
{
    QTest::addColumn<QRect>("panel");
    QTest::newRow("speed") << LapPicture::speedPanel();
    QTest::newRow("legend") << LapPicture::legendBox();
    QTest::newRow("delta: the line at zero") << LapPicture::deltaPanel();
    QTest::newRow("throttle and brake") << LapPicture::inputsPanel();
    QTest::newRow("gear") << LapPicture::gearPanel();
}

void tst_LapPlot::panelsShowTheBestLap()
{
    QFETCH(QRect, panel);
    // Lap 2 is the fastest; the best lap has its colour whatever its place.
    const QImage image
        = LapPlot::render(input({steadyLap(1, 45.0), steadyLap(2, 50.0), steadyLap(3, 42.0)}));
    QVERIFY2(count(image, panel, PlotStyle::bestColour()) > 100,
             qPrintable(QString::number(count(image, panel, PlotStyle::bestColour()))));
    if (panel != LapPicture::legendBox())
        QVERIFY(count(image, panel, PlotStyle::otherColour(0)) > 0);
}

void tst_LapPlot::inputsOfTheComparedLap_data()
{
    QTest::addColumn<qsizetype>("compare");
    QTest::addColumn<int>("shown"); // the colour of the compared lap
    QTest::addColumn<int>("hidden");
    // Laps 1 (second fastest), 2 (best), 3 (slowest), each in the colour of its place.
    QTest::newRow("the second fastest by default") << qsizetype(-1) << 0 << 2;
    QTest::newRow("a lap of one's choice") << qsizetype(2) << 2 << 0;
}

void tst_LapPlot::inputsOfTheComparedLap()
{
    QFETCH(qsizetype, compare);
    QFETCH(int, shown);
    QFETCH(int, hidden);
    LapPlot::Input plot = input({steadyLap(1, 45.0), steadyLap(2, 50.0), steadyLap(3, 42.0)});
    plot.compare = compare;
    const QImage image = LapPlot::render(plot);
    // Where the two laps' gears part, the compared lap shows from under the best one.
    for (const QRect &panel : {LapPicture::inputsPanel(), LapPicture::gearPanel()}) {
        QVERIFY(count(image, panel, PlotStyle::bestColour()) > 100);
        QVERIFY(count(image, panel, PlotStyle::otherColour(shown)) > 20);
        QCOMPARE(count(image, panel, PlotStyle::otherColour(hidden)), 0);
    }
}

void tst_LapPlot::shortLapsAreLeftOut()
{
    TestLaps::Drive stub;
    stub.startDistance = 800.0; // a fifth of the track
    stub.speedAt = [](double) {
        return 80.0;
    };
    const QSharedPointer<Lap> stubLap = TestLaps::drive(2, stub);
    stubLap->header().lapTime = ZUM::SDK::UntimedLapTime; // the simulator's "no time"
    const QImage image = LapPlot::render(input({steadyLap(1, 50.0), stubLap}));
    QVERIFY(count(image, LapPicture::speedPanel(), PlotStyle::bestColour()) > 100);
    for (int colour = 0; colour < PlotStyle::OtherColours; ++colour) {
        QCOMPARE(count(image, LapPicture::speedPanel(), PlotStyle::otherColour(colour)), 0);
        QCOMPARE(count(image, LapPicture::legendBox(), PlotStyle::otherColour(colour)), 0);
    }
}

void tst_LapPlot::inputsOfAnUntimedLap()
{
    // A file's only lap, untimed (an out lap, say): no best lap, no lap compared with it, yet
    // its throttle, brake and gear are there to be drawn.
    const QSharedPointer<Lap> lap = steadyLap(1, 50.0);
    lap->header().lapTime = ZUM::SDK::UntimedLapTime;
    const QImage image = LapPlot::render(input({lap}));
    for (const QRect &panel :
         {LapPicture::speedPanel(), LapPicture::inputsPanel(), LapPicture::gearPanel()})
        QVERIFY2(count(image, panel, PlotStyle::otherColour(0)) > 20,
                 qPrintable(QStringLiteral("%1,%2: %3")
                                .arg(panel.x())
                                .arg(panel.y())
                                .arg(count(image, panel, PlotStyle::otherColour(0)))));
    QCOMPARE(count(image, LapPicture::deltaPanel(), PlotStyle::otherColour(0)), 0);
}

void tst_LapPlot::distanceAxisFromTheData()
{
    // One sample a hair before the line: the axis still starts where the data starts, so the
    // lap starts at the left edge of the panels.
    const QSharedPointer<Lap> lap = steadyLap(1, 50.0);
    lap->channel(QStringLiteral("lapdist"))->setValue(0, -0.017);
    const QImage image = LapPlot::render(input({lap}));
    const QRect speed = LapPicture::speedPanel();
    const QRect leftEdge(speed.left() + 1, speed.top(), 6, speed.height());
    QVERIFY(count(image, leftEdge, PlotStyle::bestColour()) > 0);
}

void tst_LapPlot::moreThanEightLaps()
{
    Laps laps;
    for (int number = 1; number <= 12; ++number)
        laps.append(steadyLap(number, 40.0 + number % 5 + number * 0.1));
    const QImage image = LapPlot::render(input(laps));
    // The best lap and seven others, each in the colour of its place among the laps.
    QVERIFY(count(image, LapPicture::speedPanel(), PlotStyle::bestColour()) > 100);
    QList<qsizetype> all;
    for (qsizetype i = 0; i < laps.size(); ++i)
        all.append(i);
    const QList<qsizetype> shown = LapRanking::shown(laps, all, PlotLaps::MostLaps);
    QCOMPARE(shown.size(), 8);
    for (const qsizetype index : shown) {
        if (index == LapRanking::best(laps))
            continue;
        const QColor colour = PlotStyle::otherColour(int(index % PlotStyle::OtherColours));
        QVERIFY2(count(image, LapPicture::legendBox(), colour) > 20,
                 qPrintable(QString::number(index)));
    }
}

void tst_LapPlot::trackMap_data()
{
    QTest::addColumn<bool>("positions");
    QTest::newRow("a lap with positions") << true;
    QTest::newRow("no positions") << false;
}

void tst_LapPlot::trackMap()
{
    QFETCH(bool, positions);
    const QSharedPointer<Lap> lap = steadyLap(1, 50.0);
    if (positions)
        TestLaps::addPositions(*lap, 1000.0);
    const QImage image = LapPlot::render(input({lap}));
    const QRect map = LapPicture::trackMapPanel();
    const QRect scale = LapPicture::speedScale();
    if (!positions) {
        QCOMPARE(colourful(image, map), 0);
        QCOMPARE(colourful(image, scale), 0);
        return;
    }
    // The round track in the scale's colours, the fast part light and the slow part dark.
    QVERIFY2(colourful(image, map) > 500, qPrintable(QString::number(colourful(image, map))));
    const QColor top = image.pixelColor(scale.center().x(), scale.top() + 3);
    const QColor bottom = image.pixelColor(scale.center().x(), scale.bottom() - 3);
    QVERIFY(near(top, PlotStyle::scaleColour(1.0)));
    QVERIFY(near(bottom, PlotStyle::scaleColour(0.0)));
    // The track keeps its round shape: as wide as high in the panel.
    int left = map.right();
    int right = map.left();
    int up = map.bottom();
    int down = map.top();
    for (int y = map.top() + 2; y < map.bottom() - 2; ++y) {
        for (int x = map.left() + 2; x < map.right() - 2; ++x) {
            if (isColourful(image.pixelColor(x, y))) {
                left = std::min(left, x);
                right = std::max(right, x);
                up = std::min(up, y);
                down = std::max(down, y);
            }
        }
    }
    QVERIFY2(std::abs((right - left) - (down - up)) < 8,
             qPrintable(QStringLiteral("%1 x %2").arg(right - left).arg(down - up)));
}

void tst_LapPlot::noLaps()
{
    LapPlot::Input plot = input({});
    plot.noLapsReason = QStringLiteral("no laps: the file holds no records");
    const QImage image = LapPlot::render(plot);
    // One panel with the reason, not empty charts.
    QCOMPARE(image.size(), QSize(LapPicture::Width, LapPicture::NoLapsHeight));
    QCOMPARE(colourful(image, image.rect()), 0);
    const QRect panel = LapPicture::noLapsPanel();
    QVERIFY(inked(image, panel.adjusted(4, 4, -4, -4)) > 100);
}

QTEST_MAIN(tst_LapPlot)
#include "tst_lapplot.moc"
