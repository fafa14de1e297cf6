#pragma once

#include "plotaxis.h"

#include <QList>
#include <QPen>
#include <QPolygonF>
#include <QRectF>
#include <QString>

class QPainter;

// One panel of the lap picture: a framed area with its own axes, ticks, grid and titles,
// into which lines are drawn in the axes' values.
class PlotPanel
{
public:
    PlotPanel(QPainter &painter, const QRectF &area, const PlotAxis &x, const PlotAxis &y);

    QPointF map(const QPointF &value) const;

    // A heading above the panel, the grid, the ticks with their labels, the frame and the
    // axes' titles with their units. Without data only the frame, the heading and the
    // titles: ticks of nothing would mislead.
    void drawFrame(const QString &heading, const QString &xTitle, const QString &yTitle,
                   bool withTicks);
    // Lines through each segment's points, clipped to the panel.
    void drawLines(const QList<QPolygonF> &segments, const QPen &pen);
    // A line across the panel at a value of the y axis.
    void drawLevel(double y, const QPen &pen);
    // A line from top to bottom of the panel at a value of the x axis: a cursor.
    void drawCursor(double x, const QPen &pen);
    // A word in the middle of the panel where there is nothing to draw.
    void drawNote(const QString &text);

private:
    void drawTicks();

    QPainter &m_painter;
    QRectF m_area;
    PlotAxis m_x;
    PlotAxis m_y;
};
