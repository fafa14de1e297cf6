// One chart over lap distance as the viewer and the lap picture draw it, read by its pixels.

#include "distancechart.h"
#include "picturepixels.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

using namespace PicturePixels;

namespace {

const QRect area(60, 40, 400, 160);
const QColor lineColour(0xd0, 0x10, 0x10);

// The chart of one trace over 0 to 1000 m, drawn in a one-pixel pen.
QImage draw(const DistanceTrace &trace, bool steps, const DistanceChart::Frame &frame = {})
{
    QImage image(520, 260, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    const PlotAxis distance = DistanceChart::distanceAxis(0.0, 1000.0, area.width());
    QList<DistanceChart::Line> lines;
    if (!trace.isEmpty())
        lines.append({&trace, {}, QPen(lineColour, 1.0), steps});
    DistanceChart::draw(painter, area, distance, frame, lines, std::nullopt);
    return image;
}

// The rows of the chart that hold the line's colour: the highest and the lowest.
std::pair<int, int> rowsOfTheLine(const QImage &image)
{
    int top = area.bottom() + 1;
    int bottom = area.top() - 1;
    for (int y = area.top() - 2; y <= area.bottom() + 2; ++y) {
        if (count(image, QRect(area.left(), y, area.width(), 1), lineColour) > 0) {
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    return {top, bottom};
}

} // namespace

class tst_DistanceChart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gearsAreOffTheFrame_data();
    void gearsAreOffTheFrame();
    void fixedRangeAndLevel();
    void noteWithoutLines();
};

void tst_DistanceChart::gearsAreOffTheFrame_data()
{
    QTest::addColumn<double>("lowest");
    QTest::addColumn<double>("highest");
    QTest::newRow("a constant gear") << 3.0 << 3.0;
    QTest::newRow("gears 1 to 6") << 1.0 << 6.0;
}

void tst_DistanceChart::gearsAreOffTheFrame()
{
    QFETCH(double, lowest);
    QFETCH(double, highest);
    std::vector<double> distance, gear;
    for (int i = 0; i <= 100; ++i) {
        distance.push_back(i * 10.0);
        gear.push_back(lowest + std::floor((highest - lowest + 1.0) * i / 101.0));
    }
    const QImage image = draw(DistanceTrace::of(distance, gear), true);
    const auto [top, bottom] = rowsOfTheLine(image);
    // Half a gear of room above the highest and below the lowest: a gear's height is the
    // chart's divided by the gears plus one.
    const double gearHeight = area.height() / (highest - lowest + 1.0);
    QVERIFY2(top >= area.top() + gearHeight / 2 - 2 && bottom <= area.bottom() - gearHeight / 2 + 2,
             qPrintable(QStringLiteral("%1 to %2").arg(top).arg(bottom)));
    if (lowest == highest)
        QVERIFY(std::abs(top - area.center().y()) <= 1);
}

void tst_DistanceChart::fixedRangeAndLevel()
{
    // A pedal at 50 % on an axis of 0 to 100 %, with a level line at 0 across the chart.
    const DistanceTrace half = DistanceTrace::of({0.0, 1000.0}, {50.0, 50.0});
    const QColor levelColour(0x10, 0x10, 0xd0);
    DistanceChart::Frame frame;
    frame.values = PlotAxis::Range {0.0, 100.0};
    frame.level = 25.0;
    frame.levelPen = QPen(levelColour, 1.0);
    const QImage image = draw(half, false, frame);
    const auto [top, bottom] = rowsOfTheLine(image);
    QVERIFY(std::abs(top - area.center().y()) <= 1 && bottom - top <= 1);
    const int levelRow = area.bottom() - area.height() / 4;
    QVERIFY(count(image, QRect(area.left(), levelRow - 1, area.width(), 3), levelColour)
            > area.width() * 9 / 10);
}

void tst_DistanceChart::noteWithoutLines()
{
    DistanceChart::Frame frame;
    frame.note = QStringLiteral("no gear recorded");
    const QImage image = draw({}, false, frame);
    QVERIFY(inked(image, area.adjusted(40, 40, -40, -40)) > 20);
    frame.note.clear();
    QCOMPARE(inked(draw({}, false, frame), area.adjusted(40, 40, -40, -40)), 0);
}

QTEST_MAIN(tst_DistanceChart)
#include "tst_distancechart.moc"
