#include "distancechart.h"

#include "lapseries.h"
#include "plotpanel.h"
#include "plotstyle.h"

#include <QPainter>

#include <cmath>

PlotAxis DistanceChart::distanceAxis(double low, double high, double width)
{
    return PlotAxis::fitting({low, high}, std::max(2, int(width / 100.0)), PlotAxis::Ends::Data);
}

void DistanceChart::draw(QPainter &painter, const QRectF &area, const PlotAxis &distance,
                         const QString &heading, const QString &valueTitle,
                         const QList<Line> &lines, std::optional<double> cursor)
{
    // The value axis holds the whole laps, so that it stays put while the view zooms and
    // pans.
    PlotAxis::Range range;
    for (const Line &line : lines) {
        const auto [low, high] = line.trace->valueRange();
        range.include(line.convert(low));
        range.include(line.convert(high));
    }
    PlotPanel panel(painter, area, distance, PlotAxis::fitting(range, 4, PlotAxis::Ends::Ticks));
    panel.drawFrame(heading, QString(), valueTitle, !range.isEmpty());
    const int columns = std::max(1, int(std::lround(area.width())));
    painter.save();
    painter.setClipRect(area);
    painter.setBrush(Qt::NoBrush);
    // Lines of one pixel without antialiasing: the raster engine draws them several times
    // faster, and a repaint follows every move of the cursor.
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const Line &line : lines) {
        QList<QPolygonF> points = line.trace->decimated(distance.low(), distance.high(), columns);
        if (line.steps)
            points = LapSeries::steps(points);
        // Straight into the panel's pixels as polylines: the one path of every line that
        // PlotPanel builds costs more than the drawing at this rate of repaints.
        painter.setPen(line.pen);
        for (QPolygonF &segment : points) {
            for (QPointF &point : segment)
                point = panel.map({point.x(), line.convert(point.y())});
            painter.drawPolyline(segment);
        }
    }
    painter.restore();
    if (lines.isEmpty())
        panel.drawNote(QStringLiteral("no lap has this channel"));
    if (cursor)
        panel.drawCursor(*cursor, QPen(PlotStyle::textColour(), 1.0));
}
