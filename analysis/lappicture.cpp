#include "lappicture.h"

#include "distancechart.h"
#include "plotpanel.h"
#include "plotstyle.h"
#include "trackmappanel.h"

#include <QFontMetricsF>
#include <QPainter>

namespace {

using Lap = LapPicture::Lap;

QPen lapPen(const Lap &lap, Qt::PenStyle style = Qt::SolidLine)
{
    return QPen(lap.colour, lap.reference ? LapPicture::ReferenceWidth : LapPicture::LapWidth,
                style, Qt::RoundCap, Qt::RoundJoin);
}

// The distance axis that every panel over distance shares, so that a corner sits at the
// same place in all of them: from the first to the last distance the laps reach, the whole
// lap in view.
PlotAxis distanceAxis(const LapPicture::Input &input)
{
    PlotAxis::Range range;
    for (const Lap &lap : input.laps) {
        if (!lap.speed.isEmpty()) {
            range.include(lap.speed.firstDistance());
            range.include(lap.speed.lastDistance());
        }
    }
    if (range.isEmpty())
        range = {0.0, input.trackLength.value_or(1000.0)};
    return DistanceChart::distanceAxis(range.low, range.high, LapPicture::speedPanel().width(),
                                       UnitSystem::distance(input.units).factor);
}

QString distanceTitle(const LapPicture::Input &input)
{
    return QStringLiteral("Lap distance [%1]").arg(UnitSystem::distance(input.units).unit);
}

// The lines of one channel, the reference lap's last, on top of the others.
QList<DistanceChart::Line> lines(const LapPicture::Input &input, DistanceTrace Lap::*trace,
                                 bool inputsOnly, Qt::PenStyle style = Qt::SolidLine,
                                 bool steps = false)
{
    QList<DistanceChart::Line> result;
    for (const bool reference : {false, true}) {
        for (const Lap &lap : input.laps) {
            if (lap.reference != reference || (inputsOnly && !lap.inputs) || (lap.*trace).isEmpty())
                continue;
            result.append({&(lap.*trace), {}, lapPen(lap, style), steps});
        }
    }
    return result;
}

void drawTitle(QPainter &painter, const LapPicture::Input &input)
{
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(30, true));
    painter.drawText(QPointF(LapPicture::speedPanel().left(), 52), input.title);
    painter.setFont(PlotStyle::font(17));
    painter.setPen(PlotStyle::quietColour());
    painter.drawText(QPointF(LapPicture::speedPanel().left(), 86), input.subtitle);
}

void drawCharts(QPainter &painter, const LapPicture::Input &input)
{
    const PlotAxis x = distanceAxis(input);
    const QString along = distanceTitle(input);

    const DistanceChart::Frame speed {
        .heading = QStringLiteral("Speed"),
        .valueTitle = input.speedUnit.isEmpty() ? QStringLiteral("Speed")
                                                : QStringLiteral("Speed [%1]").arg(input.speedUnit),
        .distanceTitle = along,
        .valueTicks = 8,
        .note = input.speedNote,
    };
    DistanceChart::draw(painter, LapPicture::speedPanel(), x, speed,
                        lines(input, &Lap::speed, false), std::nullopt);

    DistanceChart::Frame delta {.heading = input.deltaHeading,
                                .valueTitle = QStringLiteral("Delta [s]"),
                                .distanceTitle = along,
                                .valueTicks = 6,
                                .note = input.deltaNote};
    QList<DistanceChart::Line> deltas = lines(input, &Lap::delta, false);
    for (const Lap &lap : input.laps) {
        // The reference's own delta is no time at all: the line at 0 in its colour.
        if (lap.reference && input.deltaNote.isEmpty()) {
            delta.level = 0.0;
            delta.levelPen = lapPen(lap);
        }
    }
    DistanceChart::draw(painter, LapPicture::deltaPanel(), x, delta, deltas, std::nullopt);

    // A little room around 0 and 100 %, so that a pedal held there is not hidden by the frame.
    const DistanceChart::Frame pedals {.heading = QStringLiteral("Throttle and brake"),
                                       .valueTitle = QStringLiteral("Pedal [%]"),
                                       .distanceTitle = along,
                                       .values = PlotAxis::Range {-4.0, 104.0},
                                       .valueTicks = 5,
                                       .note = input.inputsNote};
    QList<DistanceChart::Line> pedalLines;
    // The compared lap first, the reference on top; each lap's brake dashed over its throttle.
    for (const bool reference : {false, true}) {
        for (const Lap &lap : input.laps) {
            if (lap.reference != reference || !lap.inputs)
                continue;
            if (!lap.throttle.isEmpty())
                pedalLines.append({&lap.throttle, {}, lapPen(lap), false});
            if (!lap.brake.isEmpty())
                pedalLines.append({&lap.brake, {}, lapPen(lap, Qt::DashLine), false});
        }
    }
    DistanceChart::draw(painter, LapPicture::inputsPanel(), x, pedals, pedalLines, std::nullopt);

    const DistanceChart::Frame gear {.heading = QStringLiteral("Gear"),
                                     .valueTitle = QStringLiteral("Gear"),
                                     .distanceTitle = along,
                                     .note = input.gearNote};
    DistanceChart::draw(painter, LapPicture::gearPanel(), x, gear,
                        lines(input, &Lap::gear, true, Qt::SolidLine, true), std::nullopt);
}

void drawInputsKey(QPainter &painter, const LapPicture::Input &input)
{
    const QRect box = LapPicture::inputsKeyBox();
    painter.setFont(PlotStyle::font(15));
    double y = box.top() + 16;
    const auto entry = [&](const QPen &pen, const QString &text) {
        painter.setPen(pen);
        painter.drawLine(QPointF(box.left(), y - 5), QPointF(box.left() + 34, y - 5));
        painter.setPen(PlotStyle::textColour());
        painter.drawText(QPointF(box.left() + 44, y), text);
        y += 26;
    };
    // The reference first, as the legend of the delta names it.
    for (const bool reference : {true, false}) {
        for (const Lap &lap : input.laps) {
            if (lap.inputs && lap.reference == reference)
                entry(lapPen(lap), lap.title);
        }
    }
    y += 8;
    entry(QPen(PlotStyle::textColour(), 2.0), QStringLiteral("throttle"));
    entry(QPen(PlotStyle::textColour(), 2.0, Qt::DashLine), QStringLiteral("brake"));
}

void drawLegend(QPainter &painter, const LapPicture::Input &input)
{
    const QRect box = LapPicture::legendBox();
    QFont entryFont = PlotStyle::font(16);
    const QFontMetricsF metrics(entryFont);
    double widestName = metrics.horizontalAdvance(QStringLiteral("00/000"));
    for (const Lap &lap : input.laps)
        widestName = std::max(widestName, metrics.horizontalAdvance(lap.name));
    const double numberRight = box.left() + 46 + widestName;
    const double timeLeft = numberRight + 14;
    constexpr double rowHeight = 28.0;

    double y = box.top() + 18;
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(16, true));
    const QFontMetricsF titleMetrics(painter.font());
    painter.drawText(
        QPointF(numberRight - titleMetrics.horizontalAdvance(QStringLiteral("Lap")), y),
        QStringLiteral("Lap"));
    painter.drawText(QPointF(timeLeft, y), QStringLiteral("Time"));
    y += 32;

    const QFont detailFont = PlotStyle::font(14);
    for (const Lap &lap : input.laps) {
        painter.setPen(QPen(lap.colour, lap.reference ? 5.0 : 3.0));
        painter.drawLine(QPointF(box.left(), y - 5), QPointF(box.left() + 34, y - 5));
        painter.setPen(PlotStyle::textColour());
        entryFont.setBold(lap.reference);
        painter.setFont(entryFont);
        painter.drawText(
            QPointF(numberRight - QFontMetricsF(entryFont).horizontalAdvance(lap.name), y),
            lap.name);
        painter.drawText(QPointF(timeLeft, y), lap.time);
        y += rowHeight;
        if (!lap.detail.isEmpty()) {
            painter.setFont(detailFont);
            painter.setPen(PlotStyle::quietColour());
            QRectF used;
            // A file's name has no spaces to break at.
            painter.drawText(QRectF(box.left() + 44, y - rowHeight + 8, box.width() - 44, 80),
                             Qt::TextWrapAnywhere, lap.detail, &used);
            y += used.height() + 6;
        }
    }

    painter.setFont(PlotStyle::font(15));
    painter.setPen(PlotStyle::quietColour());
    for (const QString &note : input.legendNotes) {
        const QRectF area(box.left(), y - metrics.ascent(), box.width(), box.bottom() - y);
        QRectF used;
        painter.drawText(area, Qt::TextWordWrap, note, &used);
        y += used.height() + 10;
    }
}

void drawTrackMap(QPainter &painter, const LapPicture::Input &input)
{
    if (input.map)
        TrackMapPanel::draw(painter, LapPicture::trackMapPanel(), LapPicture::speedScale(),
                            *input.map, input.mapLapName, input.mapSpeedUnit, input.units);
    else
        TrackMapPanel::drawEmpty(painter, LapPicture::trackMapPanel(), input.mapNote);
}

void drawSummary(QPainter &painter, const LapPicture::Input &input)
{
    const QRect box = LapPicture::summaryBox();
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(19, true));
    painter.drawText(QPointF(box.left(), box.top() - 14), input.summaryHeading);
    double y = box.top();
    for (const SummaryText::Line &line : input.summary) {
        painter.setFont(PlotStyle::font(16, true));
        painter.setPen(PlotStyle::textColour());
        QRectF label;
        painter.drawText(QRectF(box.left(), y, box.width(), box.bottom() - y), Qt::TextWordWrap,
                         line.label, &label);
        y += std::max(24.0, label.height());
        painter.setFont(PlotStyle::font(16));
        QRectF used;
        painter.drawText(QRectF(box.left(), y, box.width(), box.bottom() - y), Qt::TextWordWrap,
                         line.value, &used);
        y += used.height() + 16;
    }
}

} // namespace

QSize LapPicture::size(const Input &input)
{
    return {Width, input.noLaps.isEmpty() ? Height : NoLapsHeight};
}

void LapPicture::paint(QPainter &painter, const Input &input)
{
    painter.fillRect(QRect(QPoint(0, 0), size(input)), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    drawTitle(painter, input);
    if (!input.noLaps.isEmpty()) {
        PlotPanel panel(painter, noLapsPanel(), {}, {});
        panel.drawFrame(QStringLiteral("Laps"), {}, {}, false);
        panel.drawNote(input.noLaps);
        return;
    }
    drawCharts(painter, input);
    drawLegend(painter, input);
    drawInputsKey(painter, input);
    drawTrackMap(painter, input);
    drawSummary(painter, input);
}

QImage LapPicture::render(const Input &input)
{
    QImage image(size(input), QImage::Format_RGB32);
    QPainter painter(&image);
    paint(painter, input);
    return image;
}
