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

// One chart of laps over lap distance: a channel of several laps over the visible stretch of
// the lap, each drawn per pixel column so that its cost follows the chart's width, with a
// cursor through it. The same painting serves the viewer's charts and the lap picture.
class DistanceChart
{
public:
    struct Line
    {
        const DistanceTrace *trace = nullptr;
        // From the trace's values to the ones shown (units); none: as they are.
        std::function<double(double)> convert;
        QPen pen; // lines wider than a pixel are drawn smooth, thin ones fast
        bool steps = false; // held from one sample to the next, as a gear is
    };

    // What a chart shows around its lines.
    struct Frame
    {
        QString heading {};
        QString valueTitle {};
        QString distanceTitle {}; // under the chart; empty where charts share one
        // The values the axis holds, such as 0 to 100 % of a pedal; none: the lines' own.
        std::optional<PlotAxis::Range> values {};
        int valueTicks = 4;
        // A line across the chart at this value, such as no time lost to the reference.
        std::optional<double> level {};
        QPen levelPen {};
        // In the middle of a chart without lines.
        QString note = QStringLiteral("no lap has this channel");
    };

    // The distance axis of every chart of a view: from low to high metres, ticks about every
    // 100 pixels of the width, on round numbers of the unit shown (factor: that unit per
    // metre).
    static PlotAxis distanceAxis(double low, double high, double width, double factor = 1.0);

    // area is the inside of the frame; the heading goes above it, the ticks' labels below
    // and left of it.
    static void draw(QPainter &painter, const QRectF &area, const PlotAxis &distance,
                     const Frame &frame, const QList<Line> &lines, std::optional<double> cursor);
};
