#include "chartsview.h"

#include "distancechart.h"
#include "laptraces.h"
#include "plotstyle.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace {

// Room around each chart's frame for its heading, its ticks' labels and its title.
constexpr double left = 96.0;
constexpr double right = 14.0;
constexpr double above = 32.0;
constexpr double below = 26.0;
// A drag shorter than this is a click.
constexpr double shortestDrag = 4.0;

} // namespace

ChartsView::ChartsView(ViewModel &model, LapTraces &traces, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_traces(traces)
    , m_charts(defaultCharts())
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(480, 400);
    const auto repaint = [this] {
        update();
    };
    for (const auto signal :
         {&ViewModel::lapsChanged, &ViewModel::overlayChanged, &ViewModel::referenceChanged,
          &ViewModel::cursorChanged, &ViewModel::rangeChanged, &ViewModel::unitsChanged})
        connect(&m_model, signal, this, repaint);
}

QList<ChartsView::Chart> ChartsView::defaultCharts()
{
    return {
        {QStringLiteral("Speed"), {QStringLiteral("speed")}},
        {QStringLiteral("Delta to the reference: above the line time lost"), {LapTraces::Delta}},
        {QStringLiteral("Throttle and brake (dashed)"),
         {QStringLiteral("throttle"), QStringLiteral("brake")}},
        {QStringLiteral("Gear"), {QStringLiteral("gear")}},
        {QStringLiteral("Steering"), {QStringLiteral("steeringwheelangle")}},
    };
}

void ChartsView::addChannel(const QString &channel)
{
    for (const Chart &chart : m_charts) {
        if (chart.channels.contains(channel))
            return;
    }
    m_charts.append({channel, {channel}});
    emit chartsChanged();
    update();
}

void ChartsView::removeChannel(const QString &channel)
{
    for (qsizetype i = defaultCharts().size(); i < m_charts.size(); ++i) {
        if (m_charts[i].channels == QStringList {channel}) {
            m_charts.removeAt(i);
            emit chartsChanged();
            update();
            return;
        }
    }
}

QList<QRectF> ChartsView::chartAreas(const QSize &size) const
{
    QList<QRectF> areas;
    const double slot = double(size.height()) / std::max<qsizetype>(1, m_charts.size());
    for (qsizetype i = 0; i < m_charts.size(); ++i)
        areas.append(QRectF(left, i * slot + above, size.width() - left - right,
                            std::max(10.0, slot - above - below)));
    return areas;
}

double ChartsView::distanceAt(double x) const
{
    const double share = (x - left) / std::max(1.0, width() - left - right);
    return m_model.visibleLow() + share * (m_model.visibleHigh() - m_model.visibleLow());
}

QString ChartsView::title(const Chart &chart) const
{
    // The unit of the first lap that has the channel.
    for (const ViewModel::LapKey &key : m_model.overlaid()) {
        if (m_traces.trace(key, chart.channels.first()).isEmpty())
            continue;
        // The heading names the channel; the axis says its unit.
        const QString unit = m_traces.conversion(key, chart.channels.first()).unit;
        return unit.isEmpty() ? chart.channels.first() : QStringLiteral("[%1]").arg(unit);
    }
    return chart.channels.first();
}

void ChartsView::paint(QPainter &painter, const QSize &size)
{
    painter.fillRect(QRect(QPoint(0, 0), size), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    const QList<QRectF> areas = chartAreas(size);
    if (areas.isEmpty())
        return;
    const PlotAxis distance = DistanceChart::distanceAxis(m_model.visibleLow(),
                                                          m_model.visibleHigh(), areas[0].width());
    const QList<ViewModel::LapKey> overlaid = m_model.overlaid();
    for (qsizetype c = 0; c < m_charts.size(); ++c) {
        const Chart &chart = m_charts[c];
        QList<DistanceChart::Line> lines;
        // The reference last, on top of the others.
        for (const bool reference : {false, true}) {
            for (const ViewModel::LapKey &key : overlaid) {
                if ((key == m_model.reference()) != reference)
                    continue;
                for (qsizetype n = 0; n < chart.channels.size(); ++n) {
                    const QString &channel = chart.channels[n];
                    const DistanceTrace &trace = m_traces.trace(key, channel);
                    if (trace.isEmpty())
                        continue;
                    // Pens of one pixel, drawn directly, where wider lines are outlined and
                    // filled at several times the cost. The reference stands out by its
                    // colour and by lying on top.
                    QPen pen(LapTraces::colour(m_model, key), 1.0,
                             n == 0 ? Qt::SolidLine : Qt::DashLine);
                    pen.setCosmetic(true);
                    lines.append({&trace, m_traces.conversion(key, channel), pen,
                                  channel == QLatin1String("gear")});
                }
            }
        }
        DistanceChart::draw(painter, areas[c], distance,
                            {.heading = chart.heading, .valueTitle = title(chart)}, lines,
                            m_model.cursor());
    }
    if (m_dragStart && std::abs(m_dragNow - *m_dragStart) >= shortestDrag) {
        // The stretch the drag picks, over every chart.
        QColor band = PlotStyle::quietColour();
        band.setAlpha(50);
        painter.fillRect(QRectF(QPointF(std::min(*m_dragStart, m_dragNow), 0),
                                QPointF(std::max(*m_dragStart, m_dragNow), size.height())),
                         band);
    }
}

void ChartsView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paint(painter, size());
}

void ChartsView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragStart = event->position().x();
    m_dragNow = *m_dragStart;
}

void ChartsView::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragStart) {
        m_dragNow = event->position().x();
        update();
    } else {
        m_model.setCursor(distanceAt(event->position().x()));
    }
}

void ChartsView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_dragStart)
        return;
    const double start = *m_dragStart;
    const double end = event->position().x();
    m_dragStart.reset();
    if (std::abs(end - start) >= shortestDrag)
        m_model.setVisibleRange(distanceAt(start), distanceAt(end));
    else
        m_model.setCursor(distanceAt(end));
    update();
}

void ChartsView::mouseDoubleClickEvent(QMouseEvent *)
{
    m_dragStart.reset();
    m_model.resetZoom();
}

void ChartsView::wheelEvent(QWheelEvent *event)
{
    // A notch of the wheel shows four fifths of the stretch, or five fourths of it.
    const double notches = event->angleDelta().y() / 120.0;
    if (notches != 0.0)
        m_model.zoom(distanceAt(event->position().x()), std::pow(0.8, notches));
    event->accept();
}

void ChartsView::keyPressEvent(QKeyEvent *event)
{
    const int steps = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
    switch (event->key()) {
    case Qt::Key_Left:
        m_model.stepCursor(-steps);
        break;
    case Qt::Key_Right:
        m_model.stepCursor(steps);
        break;
    case Qt::Key_Home:
        m_model.resetZoom();
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        m_model.zoom(m_model.cursor(), 0.8);
        break;
    case Qt::Key_Minus:
        m_model.zoom(m_model.cursor(), 1.25);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void ChartsView::contextMenuEvent(QContextMenuEvent *event)
{
    // The chart under the mouse: its frame, or the heading above it.
    const QList<QRectF> areas = chartAreas(size());
    qsizetype index = -1;
    for (qsizetype i = 0; i < areas.size(); ++i) {
        if (event->pos().y() >= areas[i].top() - above)
            index = i;
    }
    if (index < defaultCharts().size())
        return;
    const QString channel = m_charts[index].channels.first();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Remove the chart of %1").arg(channel), this,
                    [this, channel] { removeChannel(channel); });
    menu->popup(event->globalPos());
}
