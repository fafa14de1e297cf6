#include "plotpanel.h"

#include "plotstyle.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

PlotPanel::PlotPanel(QPainter &painter, const QRectF &area, const PlotAxis &x, const PlotAxis &y)
    : m_painter(painter)
    , m_area(area)
    , m_x(x)
    , m_y(y)
{ }

QPointF PlotPanel::map(const QPointF &value) const
{
    const double x = value.x() * m_x.factor();
    return {m_area.left() + (x - m_x.low()) / (m_x.high() - m_x.low()) * m_area.width(),
            m_area.bottom() - (value.y() - m_y.low()) / (m_y.high() - m_y.low()) * m_area.height()};
}

void PlotPanel::drawFrame(const QString &heading, const QString &xTitle, const QString &yTitle,
                          bool withTicks)
{
    QPainter &p = m_painter;
    if (withTicks)
        drawTicks();
    p.setPen(QPen(PlotStyle::textColour(), 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawRect(m_area);

    p.setFont(PlotStyle::font(19, true));
    p.drawText(QPointF(m_area.left(), m_area.top() - 14), heading);

    p.setFont(PlotStyle::font(16, true));
    const QFontMetricsF metrics(p.font());
    p.drawText(
        QPointF(m_area.center().x() - metrics.horizontalAdvance(xTitle) / 2, m_area.bottom() + 56),
        xTitle);
    p.save();
    p.translate(m_area.left() - 74, m_area.center().y());
    p.rotate(-90);
    p.drawText(QPointF(-metrics.horizontalAdvance(yTitle) / 2, 0), yTitle);
    p.restore();
}

void PlotPanel::drawTicks()
{
    QPainter &p = m_painter;
    p.setFont(PlotStyle::font(14));
    const QFontMetricsF metrics(p.font());
    const double tolerance = 1e-6;
    for (double value = m_x.firstTick(); value <= m_x.high() + m_x.step() * tolerance;
         value += m_x.step()) {
        const double x = map({value / m_x.factor(), m_y.low()}).x();
        p.setPen(QPen(PlotStyle::gridColour(), 1.0));
        p.drawLine(QPointF(x, m_area.top()), QPointF(x, m_area.bottom()));
        p.setPen(QPen(PlotStyle::textColour(), 1.0));
        p.drawLine(QPointF(x, m_area.bottom()), QPointF(x, m_area.bottom() + 6));
        const QString label = m_x.label(value);
        p.drawText(QPointF(x - metrics.horizontalAdvance(label) / 2,
                           m_area.bottom() + 10 + metrics.ascent()),
                   label);
    }
    for (double value = m_y.firstTick(); value <= m_y.high() + m_y.step() * tolerance;
         value += m_y.step()) {
        const double y = map({0.0, value}).y();
        p.setPen(QPen(PlotStyle::gridColour(), 1.0));
        p.drawLine(QPointF(m_area.left(), y), QPointF(m_area.right(), y));
        p.setPen(QPen(PlotStyle::textColour(), 1.0));
        p.drawLine(QPointF(m_area.left() - 6, y), QPointF(m_area.left(), y));
        const QString label = m_y.label(value);
        p.drawText(QPointF(m_area.left() - 10 - metrics.horizontalAdvance(label),
                           y + metrics.ascent() / 2 - 2),
                   label);
    }
}

void PlotPanel::drawLines(const QList<QPolygonF> &segments, const QPen &pen)
{
    QPainterPath path;
    for (const QPolygonF &segment : segments) {
        if (segment.isEmpty())
            continue;
        path.moveTo(map(segment.first()));
        for (qsizetype i = 1; i < segment.size(); ++i)
            path.lineTo(map(segment[i]));
    }
    m_painter.save();
    m_painter.setClipRect(m_area);
    QPen rounded(pen);
    rounded.setCapStyle(Qt::RoundCap);
    rounded.setJoinStyle(Qt::RoundJoin);
    m_painter.setPen(rounded);
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawPath(path);
    m_painter.restore();
}

void PlotPanel::drawLevel(double y, const QPen &pen)
{
    drawLines(
        {QPolygonF({QPointF(m_x.low() / m_x.factor(), y), QPointF(m_x.high() / m_x.factor(), y)})},
        pen);
}

void PlotPanel::drawCursor(double x, const QPen &pen)
{
    drawLines({QPolygonF({QPointF(x, m_y.low()), QPointF(x, m_y.high())})}, pen);
}

void PlotPanel::drawNote(const QString &text)
{
    m_painter.setFont(PlotStyle::font(24));
    m_painter.setPen(PlotStyle::quietColour());
    m_painter.drawText(m_area.adjusted(30, 30, -30, -30), Qt::AlignCenter | Qt::TextWordWrap, text);
}
