#include "distancechart.h"

#include "lapseries.h"
#include "plotpanel.h"
#include "plotstyle.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

double shown(const DistanceChart::Line &line, double value)
{
    return line.convert ? line.convert(value) : value;
}

// The value axis holds the whole laps, so that it stays put while the view zooms and pans.
// *withValues: whether it holds any, for ticks that do not mislead.
PlotAxis valueAxis(const DistanceChart::Frame &frame, const QList<DistanceChart::Line> &lines,
                   bool *withValues)
{
    PlotAxis::Range range;
    bool counts = !lines.isEmpty();
    for (const DistanceChart::Line &line : lines) {
        const auto [low, high] = line.trace->valueRange();
        range.include(shown(line, low));
        range.include(shown(line, high));
        counts = counts && line.steps;
    }
    *withValues = !range.isEmpty();
    if (frame.values)
        return PlotAxis::fitting(*frame.values, frame.valueTicks, PlotAxis::Ends::Data);
    if (counts && *withValues) {
        // Whole steps, such as gears, with half a step of room above and below, so that the
        // highest and lowest are not drawn on the frame.
        range = {range.low - 0.5, range.high + 0.5};
        return PlotAxis::fitting(range, frame.valueTicks, PlotAxis::Ends::Data, 1.0);
    }
    if (frame.level) {
        range.include(*frame.level);
        *withValues = true;
    }
    return PlotAxis::fitting(range, frame.valueTicks, PlotAxis::Ends::Ticks);
}

} // namespace

PlotAxis DistanceChart::distanceAxis(double low, double high, double width, double factor)
{
    return PlotAxis::fitting({low * factor, high * factor}, std::max(2, int(width / 100.0)),
                             PlotAxis::Ends::Data)
        .scaled(factor);
}

void DistanceChart::draw(QPainter &painter, const QRectF &area, const PlotAxis &distance,
                         const Frame &frame, const QList<Line> &lines, std::optional<double> cursor)
{
    bool withValues = false;
    PlotPanel panel(painter, area, distance, valueAxis(frame, lines, &withValues));
    panel.drawFrame(frame.heading, frame.distanceTitle, frame.valueTitle, withValues);
    const int columns = std::max(1, int(std::lround(area.width())));
    // The axis shows the distance in its own unit; the traces hold metres.
    const double low = distance.low() / distance.factor();
    const double high = distance.high() / distance.factor();
    painter.save();
    painter.setClipRect(area);
    painter.setBrush(Qt::NoBrush);
    for (const Line &line : lines) {
        QList<QPolygonF> points = line.trace->decimated(low, high, columns);
        if (line.steps)
            points = LapSeries::steps(points);
        // Lines of one pixel without antialiasing: the raster engine draws them several times
        // faster, and a repaint follows every move of the cursor. Wider ones, as a picture
        // draws, smooth.
        painter.setRenderHint(QPainter::Antialiasing, line.pen.widthF() > 1.0);
        // Straight into the panel's pixels as polylines: the one path of every line that
        // PlotPanel builds costs more than the drawing at this rate of repaints.
        painter.setPen(line.pen);
        for (QPolygonF &segment : points) {
            for (QPointF &point : segment)
                point = panel.map({point.x(), shown(line, point.y())});
            painter.drawPolyline(segment);
        }
    }
    painter.restore();
    if (frame.level)
        panel.drawLevel(*frame.level, frame.levelPen);
    if (lines.isEmpty() && !frame.note.isEmpty())
        panel.drawNote(frame.note);
    if (cursor)
        panel.drawCursor(*cursor, QPen(PlotStyle::textColour(), 1.0));
}
