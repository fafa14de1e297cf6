#pragma once

#include "distancetrace.h"
#include "plotaxis.h"

#include <QList>
#include <QPen>
#include <QRectF>
#include <QString>

#include <functional>
#include <optional>

class QPainter;

// One chart of an interactive view over lap distance: a channel of several laps over the
// visible stretch of the lap, each drawn per pixel column so that its cost follows the
// chart's width, with a cursor through it. The same painting serves the screen and pictures.
class DistanceChart
{
public:
    struct Line
    {
        const DistanceTrace *trace = nullptr;
        // From the trace's values to the ones shown (units).
        std::function<double(double)> convert;
        QPen pen;
        bool steps = false; // held from one sample to the next, as a gear is
    };

    // The distance axis of every chart of a view: from low to high, ticks about every
    // 100 pixels of the width.
    static PlotAxis distanceAxis(double low, double high, double width);

    // area is the inside of the frame; the heading goes above it, the ticks' labels below
    // and left of it.
    static void draw(QPainter &painter, const QRectF &area, const PlotAxis &distance,
                     const QString &heading, const QString &valueTitle, const QList<Line> &lines,
                     std::optional<double> cursor);
};
