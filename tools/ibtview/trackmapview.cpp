#include "trackmapview.h"

#include "laptraces.h"
#include "plotstyle.h"

#include <QMouseEvent>
#include <QPainter>

#include <cmath>
#include <numbers>

namespace {

constexpr double earthRadius = 6371008.8; // metres, the mean radius
constexpr double margin = 18.0;
// Two points further apart than this are not joined: the car jumped (a reset, a tow).
constexpr double longestStep = 80.0; // metres

} // namespace

TrackMapView::TrackMapView(ViewModel &model, LapTraces &traces, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_traces(traces)
{
    setMinimumSize(240, 240);
    for (const auto signal :
         {&ViewModel::lapsChanged, &ViewModel::referenceChanged, &ViewModel::unitsChanged})
        connect(&m_model, signal, this, [this] {
            rebuildPath();
            update();
        });
    for (const auto signal : {&ViewModel::overlayChanged, &ViewModel::cursorChanged})
        connect(&m_model, signal, this, qOverload<>(&QWidget::update));
}

void TrackMapView::setColourChannel(const QString &channel)
{
    m_colourChannel = channel;
    rebuildPath();
    update();
}

std::optional<QPointF> TrackMapView::ground(ViewModel::LapKey key, double distance) const
{
    const double latitude = m_traces.trace(key, QStringLiteral("lat")).at(distance);
    const double longitude = m_traces.trace(key, QStringLiteral("lon")).at(distance);
    // The simulator writes 0/0 where it has no position.
    if (!std::isfinite(latitude) || !std::isfinite(longitude)
        || (latitude == 0.0 && longitude == 0.0))
        return std::nullopt;
    // Equirectangular around the first point: true to scale over the size of a track.
    const double radians = std::numbers::pi / 180.0;
    return QPointF((longitude - m_origin.x()) * radians * earthRadius
                       * std::cos(m_origin.y() * radians),
                   (latitude - m_origin.y()) * radians * earthRadius);
}

void TrackMapView::rebuildPath()
{
    m_path.clear();
    m_pathPicture = QPixmap();
    const ViewModel::LapKey reference = m_model.reference();
    if (!reference.isValid())
        return;
    const DistanceTrace &latitude = m_traces.trace(reference, QStringLiteral("lat"));
    const DistanceTrace &longitude = m_traces.trace(reference, QStringLiteral("lon"));
    if (latitude.isEmpty() || longitude.isEmpty())
        return;
    const double first = std::max(latitude.firstDistance(), longitude.firstDistance());
    const double last = std::min(latitude.lastDistance(), longitude.lastDistance());
    m_origin = QPointF(longitude.at(first), latitude.at(first));
    m_bounds = QRectF();
    QPointF low(INFINITY, INFINITY), high(-INFINITY, -INFINITY);
    for (int i = 0; i < PathPoints; ++i) {
        const double distance = first + (last - first) * i / (PathPoints - 1);
        const std::optional<QPointF> point = ground(reference, distance);
        if (!point)
            continue;
        m_path.append({distance, *point, m_traces.valueAt(reference, m_colourChannel, distance)});
        low = QPointF(std::min(low.x(), point->x()), std::min(low.y(), point->y()));
        high = QPointF(std::max(high.x(), point->x()), std::max(high.y(), point->y()));
    }
    if (!m_path.isEmpty())
        m_bounds = QRectF(low, high);
}

QPointF TrackMapView::place(const QPointF &ground, const QSize &size) const
{
    // One scale both ways, so the track keeps its shape; north up.
    const QRectF inner = QRectF(QPointF(0, 0), size).adjusted(margin, margin, -margin, -margin);
    const double scale = std::min(inner.width() / std::max(m_bounds.width(), 1.0),
                                  inner.height() / std::max(m_bounds.height(), 1.0));
    return {inner.center().x() + (ground.x() - m_bounds.center().x()) * scale,
            inner.center().y() - (ground.y() - m_bounds.center().y()) * scale};
}

std::optional<QPointF> TrackMapView::placeOf(double distance) const
{
    if (m_path.isEmpty())
        return std::nullopt;
    const std::optional<QPointF> point = ground(m_model.reference(), distance);
    return point ? std::optional(place(*point, size())) : std::nullopt;
}

std::optional<QPointF> TrackMapView::lapAtCursor(ViewModel::LapKey key) const
{
    if (m_path.isEmpty())
        return std::nullopt;
    const std::optional<QPointF> point = ground(key, m_model.cursor());
    return point ? std::optional(place(*point, size())) : std::nullopt;
}

void TrackMapView::paint(QPainter &painter, const QSize &size)
{
    drawPath(painter, size);
    drawMarkers(painter, size);
}

void TrackMapView::drawPath(QPainter &painter, const QSize &size) const
{
    painter.fillRect(QRect(QPoint(0, 0), size), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_path.isEmpty()) {
        painter.setPen(PlotStyle::quietColour());
        painter.setFont(PlotStyle::font(15));
        painter.drawText(QRect(QPoint(0, 0), size), Qt::AlignCenter | Qt::TextWordWrap,
                         QStringLiteral("no positions (lat, lon) in the reference lap"));
        return;
    }
    double low = INFINITY, high = -INFINITY;
    for (const PathPoint &point : m_path) {
        if (std::isfinite(point.value)) {
            low = std::min(low, point.value);
            high = std::max(high, point.value);
        }
    }
    for (qsizetype i = 1; i < m_path.size(); ++i) {
        const QPointF step = m_path[i].ground - m_path[i - 1].ground;
        if (std::hypot(step.x(), step.y()) > longestStep)
            continue;
        const double value = (m_path[i].value + m_path[i - 1].value) / 2.0;
        const QColor colour = std::isfinite(value)
            ? PlotStyle::scaleColour(high > low ? (value - low) / (high - low) : 0.5)
            : PlotStyle::quietColour();
        painter.setPen(QPen(colour, 5.0, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(place(m_path[i - 1].ground, size), place(m_path[i].ground, size));
    }
    // The line.
    painter.setPen(QPen(PlotStyle::textColour(), 2.0));
    painter.setBrush(Qt::white);
    painter.drawEllipse(place(m_path.first().ground, size), 6.0, 6.0);
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(13));
    painter.drawText(QPointF(6, size.height() - 6),
                     QStringLiteral("coloured by %1, dark low, light high").arg(m_colourChannel));
}

void TrackMapView::drawMarkers(QPainter &painter, const QSize &size) const
{
    if (m_path.isEmpty())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    // Every overlaid lap where the cursor is, the reference on top.
    QList<ViewModel::LapKey> laps = m_model.overlaid();
    laps.removeOne(m_model.reference());
    laps.append(m_model.reference());
    for (const ViewModel::LapKey &key : laps) {
        const std::optional<QPointF> point = ground(key, m_model.cursor());
        if (!point)
            continue;
        painter.setPen(QPen(Qt::white, 2.0));
        painter.setBrush(LapTraces::colour(m_model, key));
        painter.drawEllipse(place(*point, size), 7.0, 7.0);
    }
}

void TrackMapView::paintEvent(QPaintEvent *)
{
    const qreal ratio = devicePixelRatioF();
    if (m_pathPicture.isNull()) {
        m_pathPicture = QPixmap(size() * ratio);
        m_pathPicture.setDevicePixelRatio(ratio);
        QPainter picture(&m_pathPicture);
        drawPath(picture, size());
    }
    QPainter painter(this);
    painter.drawPixmap(0, 0, m_pathPicture);
    drawMarkers(painter, size());
}

void TrackMapView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_pathPicture = QPixmap();
}

void TrackMapView::mousePressEvent(QMouseEvent *event)
{
    // The nearest point of the path.
    const PathPoint *nearest = nullptr;
    double nearestLength = INFINITY;
    for (const PathPoint &point : m_path) {
        const QPointF offset = place(point.ground, size()) - event->position();
        const double length = std::hypot(offset.x(), offset.y());
        if (length < nearestLength) {
            nearestLength = length;
            nearest = &point;
        }
    }
    if (nearest && nearestLength < 30.0)
        m_model.setCursor(nearest->distance);
}
