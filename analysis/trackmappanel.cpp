#include "trackmappanel.h"

#include "plotaxis.h"
#include "plotpanel.h"
#include "plotstyle.h"
#include "trackprojection.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>

namespace {

// Two positions further apart than this are not joined: the car jumped (a reset, a tow).
constexpr double longestStep = 50.0; // metres

void drawScale(QPainter &painter, const QRectF &scale, const PlotAxis &axis, const QString &title)
{
    for (int y = 0; y < int(scale.height()); ++y) {
        painter.setPen(PlotStyle::scaleColour(1.0 - (y + 0.5) / scale.height()));
        painter.drawLine(QPointF(scale.left(), scale.top() + y + 0.5),
                         QPointF(scale.right(), scale.top() + y + 0.5));
    }
    painter.setPen(QPen(PlotStyle::textColour(), 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(scale);
    painter.setFont(PlotStyle::font(14));
    const QFontMetricsF metrics(painter.font());
    double widest = 0.0;
    for (double value = axis.firstTick(); value <= axis.high() + axis.step() * 1e-6;
         value += axis.step()) {
        const double y
            = scale.bottom() - (value - axis.low()) / (axis.high() - axis.low()) * scale.height();
        painter.drawLine(QPointF(scale.right(), y), QPointF(scale.right() + 6, y));
        const QString label = axis.label(value);
        widest = std::max(widest, metrics.horizontalAdvance(label));
        painter.drawText(QPointF(scale.right() + 10, y + metrics.ascent() / 2 - 2), label);
    }
    painter.setFont(PlotStyle::font(16, true));
    const QFontMetricsF titleMetrics(painter.font());
    painter.save();
    painter.translate(scale.right() + 26 + widest + titleMetrics.ascent(), scale.center().y());
    painter.rotate(-90);
    painter.drawText(QPointF(-titleMetrics.horizontalAdvance(title) / 2, 0), title);
    painter.restore();
}

void drawStartFinish(QPainter &painter, const QRectF &map, const QPointF &line)
{
    painter.setPen(QPen(PlotStyle::textColour(), 3.0));
    painter.setBrush(Qt::white);
    painter.drawEllipse(line, 9.0, 9.0);
    painter.setFont(PlotStyle::font(15, true));
    const QString label = QStringLiteral("start/finish");
    const QFontMetricsF metrics(painter.font());
    // Right of and above the ring, or where that would leave the frame, on the other side.
    const QRectF inside = map.adjusted(6, 6, -6, -6);
    QPointF at = line + QPointF(14, -10);
    if (at.x() + metrics.horizontalAdvance(label) > inside.right())
        at.setX(line.x() - 14 - metrics.horizontalAdvance(label));
    if (at.y() - metrics.ascent() < inside.top())
        at.setY(line.y() + 10 + metrics.ascent());
    at.setX(std::max(at.x(), inside.left()));
    at.setY(std::min(at.y(), inside.bottom() - metrics.descent()));
    painter.drawText(at, label);
}

} // namespace

void TrackMapPanel::draw(QPainter &painter, const QRectF &map, const QRectF &scale,
                         const TrackProjection &projection, const QString &lapName,
                         const QString &speedUnit, Units units)
{
    PlotPanel(painter, map, {}, {})
        .drawFrame(QStringLiteral("Track map, %1, coloured by speed").arg(lapName), {}, {}, false);

    const UnitSystem::Conversion conversion = UnitSystem::conversion(speedUnit, units);
    PlotAxis::Range speeds;
    for (const double speed : projection.speeds())
        speeds.include(conversion(speed));
    const PlotAxis axis = PlotAxis::fitting(speeds, 6, PlotAxis::Ends::Ticks);

    // The same scale both ways, so the track keeps its shape; north up.
    const QRectF bounds = projection.bounds();
    const QRectF inner = map.adjusted(24, 24, -24, -24);
    const double metres = std::max({bounds.width(), bounds.height(), 1.0});
    const double scaleFactor = std::min(inner.width() / std::max(bounds.width(), metres * 1e-3),
                                        inner.height() / std::max(bounds.height(), metres * 1e-3));
    const QPointF centre = inner.center();
    const auto place = [&](const QPointF &point) {
        return QPointF(centre.x() + (point.x() - bounds.center().x()) * scaleFactor,
                       centre.y() - (point.y() - bounds.center().y()) * scaleFactor);
    };

    painter.save();
    painter.setClipRect(map);
    const QList<QPointF> &points = projection.points();
    const QList<double> &pointSpeeds = projection.speeds();
    for (qsizetype i = 1; i < points.size(); ++i) {
        const QPointF step = points[i] - points[i - 1];
        if (std::hypot(step.x(), step.y()) > longestStep)
            continue;
        const double speed = conversion((pointSpeeds[i] + pointSpeeds[i - 1]) / 2.0);
        const QColor colour = std::isfinite(speed)
            ? PlotStyle::scaleColour((speed - axis.low()) / (axis.high() - axis.low()))
            : PlotStyle::quietColour();
        painter.setPen(QPen(colour, 6.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawLine(place(points[i - 1]), place(points[i]));
    }
    // Start/finish: a ring on the line, and its name beside it, where the lap passes it.
    if (const std::optional<QPointF> startFinish = projection.startFinish())
        drawStartFinish(painter, map, place(*startFinish));
    painter.restore();

    drawScale(painter, scale, axis,
              conversion.unit.isEmpty() ? QStringLiteral("Speed")
                                        : QStringLiteral("Speed [%1]").arg(conversion.unit));
}

void TrackMapPanel::drawEmpty(QPainter &painter, const QRectF &map, const QString &reason)
{
    PlotPanel panel(painter, map, {}, {});
    panel.drawFrame(QStringLiteral("Track map"), {}, {}, false);
    panel.drawNote(reason);
}
