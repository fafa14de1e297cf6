#include "lapplot.h"

#include "laptable.h"
#include "session.h"

#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QMap>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

const QString fontFamily = QStringLiteral("DejaVu Sans");

// Colours that stay apart from one another on white, for up to ten laps; further laps reuse
// them with dashed lines.
const QColor palette[] = {
    QColor(0x1f, 0x77, 0xb4), QColor(0xff, 0x7f, 0x0e), QColor(0x2c, 0xa0, 0x2c),
    QColor(0xd6, 0x27, 0x28), QColor(0x94, 0x67, 0xbd), QColor(0x8c, 0x56, 0x4b),
    QColor(0xe3, 0x77, 0xc2), QColor(0x7f, 0x7f, 0x7f), QColor(0xbc, 0xbd, 0x22),
    QColor(0x17, 0xbe, 0xcf),
};
constexpr int paletteSize = int(std::size(palette));

const QColor textColour(0x22, 0x22, 0x22);
const QColor quietColour(0x70, 0x70, 0x70);
const QColor gridColour(0xe4, 0xe4, 0xe4);

struct Trace
{
    const LapHeader *header;
    QList<QPolygonF> segments; // in metres and speed units; broken where data is missing
    QColor colour;
    Qt::PenStyle style = Qt::SolidLine;
    bool best = false;
};

struct Range
{
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void include(double value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    bool isEmpty() const { return !(low <= high); }
};

QFont font(int pixelSize, bool bold = false)
{
    QFont result(fontFamily);
    result.setPixelSize(pixelSize);
    result.setBold(bold);
    return result;
}

QSharedPointer<Channel> anyChannel(const Lap &lap, const QString &name)
{
    const QSharedPointer<Channel> recorded = lap.channel(name);
    return recorded ? recorded : lap.calculatedChannel(name);
}

bool usable(const Channel &channel, qint64 index)
{
    return index < channel.size() && channel.isValid(index) && std::isfinite(channel.value(index));
}

// The track length in metres from the header's "Track length" value; the simulator gives it
// in km.
std::optional<double> trackLengthMetres(const LapHeader &header)
{
    const ZUM::SDK::Value *value = header.dynamicData.find(QStringLiteral("Track length"));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const double length = value->toDouble(&ok);
    if (!ok || !(length > 0.0))
        return std::nullopt;
    if (value->unit() == QLatin1String("m"))
        return length;
    if (value->unit() == QLatin1String("mi"))
        return length * 1609.344;
    return length * 1000.0;
}

// Distance in metres of every sample, from "lapdist" or else from the fraction of the lap.
std::optional<QList<double>> distances(const Lap &lap)
{
    QList<double> result;
    double scale = 1.0;
    QSharedPointer<Channel> channel = anyChannel(lap, QStringLiteral("lapdist"));
    if (!channel) {
        channel = anyChannel(lap, QStringLiteral("lapdistpct"));
        const std::optional<double> length = trackLengthMetres(lap.header());
        if (!channel || !length)
            return std::nullopt;
        scale = *length;
    }
    result.reserve(channel->size());
    for (qint64 i = 0; i < channel->size(); ++i)
        result.append(usable(*channel, i) ? channel->value(i) * scale
                                          : std::numeric_limits<double>::quiet_NaN());
    return result;
}

struct SpeedScale
{
    double factor = 1.0;
    QString unit;
};

SpeedScale speedScale(const Channel &speed)
{
    if (speed.unit() == QLatin1String("m/s"))
        return {3.6, QStringLiteral("km/h")};
    return {1.0, speed.unit()};
}

// The lap as line segments; a segment ends where a value is missing or the distance jumps
// back (the counter of the next lap showing up at the end).
QList<QPolygonF> segmentsOf(const QList<double> &distance, const Channel &speed, double factor)
{
    Range range;
    for (const double x : distance) {
        if (std::isfinite(x))
            range.include(x);
    }
    const double jumpBack = range.isEmpty() ? 0.0 : 0.05 * (range.high - range.low);

    QList<QPolygonF> segments;
    QPolygonF current;
    const auto close = [&] {
        if (current.size() >= 2)
            segments.append(current);
        current.clear();
    };
    const qint64 count = std::min<qint64>(distance.size(), speed.size());
    for (qint64 i = 0; i < count; ++i) {
        const double x = distance[i];
        if (!std::isfinite(x) || !usable(speed, i)) {
            close();
            continue;
        }
        if (!current.isEmpty() && x < current.last().x() - jumpBack)
            close();
        current.append(QPointF(x, speed.value(i) * factor));
    }
    close();
    return segments;
}

// A step of 1, 2 or 5 times a power of ten that cuts the span into about count pieces.
double niceStep(double span, int count)
{
    const double raw = span / count;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    const double fraction = raw / magnitude;
    if (fraction < 1.5)
        return magnitude;
    if (fraction < 3.0)
        return 2.0 * magnitude;
    if (fraction < 7.0)
        return 5.0 * magnitude;
    return 10.0 * magnitude;
}

struct Axis
{
    double low = 0.0;
    double high = 1.0;
    double step = 0.2;

    static Axis fitting(Range range, int ticks)
    {
        if (range.isEmpty())
            range = {0.0, 1.0};
        range.include(0.0); // speed and distance read best from zero
        if (range.high - range.low < 1e-9)
            range.high = range.low + 1.0;
        Axis axis;
        axis.step = niceStep(range.high - range.low, ticks);
        axis.low = std::floor(range.low / axis.step) * axis.step;
        axis.high = std::ceil(range.high / axis.step) * axis.step;
        return axis;
    }

    QString label(double value) const
    {
        const int decimals = step >= 1.0 ? 0 : int(std::ceil(-std::log10(step)));
        return QString::number(std::abs(value) < step * 1e-6 ? 0.0 : value, 'f', decimals);
    }
};

QString titleOf(const LapHeader &header)
{
    QString track = header.trackName.isEmpty() ? QStringLiteral("Unknown track") : header.trackName;
    if (!header.trackConfigName.isEmpty())
        track += QStringLiteral(", ") + header.trackConfigName;
    if (header.carInfo.driverName.isEmpty())
        return track;
    return track + QStringLiteral(" \u2014 ") + header.carInfo.driverName;
}

QString subtitleOf(const ImportResult &result)
{
    QStringList parts {QStringLiteral("Speed over lap distance")};
    if (!result.laps.isEmpty()) {
        const LapHeader &header = result.laps.first()->header();
        if (!header.carInfo.carName.isEmpty())
            parts.append(header.carInfo.carName);
        parts.append(ZUM::SDK::sessionName(header.session));
        if (header.dateTime.isValid())
            parts.append(header.dateTime.toLocalTime().toString(QStringLiteral("yyyy-MM-dd")));
    }
    parts.append(QFileInfo(result.file).fileName());
    return parts.join(QStringLiteral("  \u00b7  "));
}

class Painter
{
public:
    Painter(QImage *image, const QRectF &plotArea)
        : m_painter(image)
        , m_area(plotArea)
    {
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setRenderHint(QPainter::TextAntialiasing);
    }

    QPainter &painter() { return m_painter; }

    void setAxes(const Axis &x, const Axis &y)
    {
        m_x = x;
        m_y = y;
    }

    QPointF map(const QPointF &point) const
    {
        return {m_area.left() + (point.x() - m_x.low) / (m_x.high - m_x.low) * m_area.width(),
                m_area.bottom() - (point.y() - m_y.low) / (m_y.high - m_y.low) * m_area.height()};
    }

    // Without data, only the frame and the axis titles: ticks of nothing would mislead.
    void drawGrid(const QString &xTitle, const QString &yTitle, bool withTicks)
    {
        QPainter &p = m_painter;
        p.setFont(font(15));
        const QFontMetricsF metrics(p.font());
        for (double value = m_x.low; withTicks && value <= m_x.high + m_x.step * 1e-6;
             value += m_x.step) {
            const double x = map({value, m_y.low}).x();
            p.setPen(QPen(gridColour, 1.0));
            p.drawLine(QPointF(x, m_area.top()), QPointF(x, m_area.bottom()));
            p.setPen(QPen(textColour, 1.0));
            p.drawLine(QPointF(x, m_area.bottom()), QPointF(x, m_area.bottom() + 6));
            const QString label = m_x.label(value);
            p.drawText(QPointF(x - metrics.horizontalAdvance(label) / 2,
                               m_area.bottom() + 10 + metrics.ascent()),
                       label);
        }
        for (double value = m_y.low; withTicks && value <= m_y.high + m_y.step * 1e-6;
             value += m_y.step) {
            const double y = map({m_x.low, value}).y();
            p.setPen(QPen(gridColour, 1.0));
            p.drawLine(QPointF(m_area.left(), y), QPointF(m_area.right(), y));
            p.setPen(QPen(textColour, 1.0));
            p.drawLine(QPointF(m_area.left() - 6, y), QPointF(m_area.left(), y));
            const QString label = m_y.label(value);
            p.drawText(QPointF(m_area.left() - 12 - metrics.horizontalAdvance(label),
                               y + metrics.ascent() / 2 - 2),
                       label);
        }
        p.setPen(QPen(textColour, 1.5));
        p.setBrush(Qt::NoBrush);
        p.drawRect(m_area);

        p.setFont(font(17, true));
        const QFontMetricsF titleMetrics(p.font());
        p.drawText(QPointF(m_area.center().x() - titleMetrics.horizontalAdvance(xTitle) / 2,
                           m_area.bottom() + 58),
                   xTitle);
        p.save();
        p.translate(m_area.left() - 78, m_area.center().y());
        p.rotate(-90);
        p.drawText(QPointF(-titleMetrics.horizontalAdvance(yTitle) / 2, 0), yTitle);
        p.restore();
    }

    void drawTrace(const Trace &trace)
    {
        QPainterPath path;
        for (const QPolygonF &segment : trace.segments) {
            path.moveTo(map(segment.first()));
            for (qsizetype i = 1; i < segment.size(); ++i)
                path.lineTo(map(segment[i]));
        }
        m_painter.save();
        m_painter.setClipRect(m_area);
        QPen pen(trace.colour, trace.best ? 3.0 : 1.8, trace.style);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        m_painter.setPen(pen);
        m_painter.setBrush(Qt::NoBrush);
        m_painter.drawPath(path);
        m_painter.restore();
    }

    void drawNote(const QString &text)
    {
        m_painter.setFont(font(30));
        m_painter.setPen(quietColour);
        m_painter.drawText(m_area, Qt::AlignCenter, text);
    }

private:
    QPainter m_painter;
    QRectF m_area;
    Axis m_x;
    Axis m_y;
};

void drawLegend(QPainter &p, const QRectF &box, const QList<Trace> &traces, int skipped)
{
    // Laps of different stints can share a number; those get their stint beside the time.
    QMap<qint32, int> numberCount;
    for (const Trace &trace : traces)
        ++numberCount[trace.header->lapNumber];

    QFont entryFont = font(16);
    const QFontMetricsF metrics(entryFont);
    const double numberRight = box.left() + 46 + metrics.horizontalAdvance(QStringLiteral("000"));
    const double timeLeft = numberRight + 14;

    constexpr double rowHeight = 28.0;
    double y = box.top() + 18;
    if (!traces.isEmpty()) {
        p.setPen(textColour);
        p.setFont(font(16, true));
        const QFontMetricsF titleMetrics(p.font());
        p.drawText(QPointF(numberRight - titleMetrics.horizontalAdvance(QStringLiteral("Lap")), y),
                   QStringLiteral("Lap"));
        p.drawText(QPointF(timeLeft, y), QStringLiteral("Time"));
        y += 32;
    }

    const int room = int((box.bottom() - y) / rowHeight);
    const qsizetype shown = traces.size() <= room ? traces.size() : std::max(room - 1, 0);
    for (qsizetype i = 0; i < shown; ++i) {
        const Trace &trace = traces[i];
        p.setPen(QPen(trace.colour, trace.best ? 4.0 : 3.0, trace.style));
        p.drawLine(QPointF(box.left(), y - 5), QPointF(box.left() + 34, y - 5));
        p.setPen(textColour);
        entryFont.setBold(trace.best);
        p.setFont(entryFont);
        const QString number = QString::number(trace.header->lapNumber);
        p.drawText(QPointF(numberRight - QFontMetricsF(entryFont).horizontalAdvance(number), y),
                   number);
        QString time = LapTable::lapTimeText(trace.header->lapTime);
        if (trace.best)
            time += QStringLiteral("  best");
        if (numberCount.value(trace.header->lapNumber) > 1)
            time += QStringLiteral("  stint %1").arg(trace.header->stint);
        p.drawText(QPointF(timeLeft, y), time);
        y += rowHeight;
    }
    p.setFont(font(15));
    p.setPen(quietColour);
    if (shown < traces.size()) {
        p.drawText(QPointF(box.left(), y),
                   QStringLiteral("+ %1 more laps").arg(traces.size() - shown));
        y += rowHeight;
    }
    if (skipped > 0)
        p.drawText(QRectF(box.left(), y, box.width(), 3 * rowHeight), Qt::TextWordWrap,
                   QStringLiteral("%1 completed %2 without speed or distance")
                       .arg(skipped)
                       .arg(skipped == 1 ? QStringLiteral("lap") : QStringLiteral("laps")));
}

} // namespace

QImage LapPlot::render(const ImportResult &result)
{
    QList<Trace> traces;
    int skipped = 0;
    bool anyCompleted = false;
    QString speedUnit;
    Range xRange;
    Range yRange;
    for (const QSharedPointer<Lap> &lap : result.laps) {
        if (!lap->header().completed)
            continue;
        anyCompleted = true;
        const QSharedPointer<Channel> speed = anyChannel(*lap, QStringLiteral("speed"));
        const std::optional<QList<double>> distance = distances(*lap);
        if (!speed || !distance) {
            ++skipped;
            continue;
        }
        const SpeedScale scale = speedScale(*speed);
        if (traces.isEmpty())
            speedUnit = scale.unit;
        Trace trace {&lap->header(), segmentsOf(*distance, *speed, scale.factor), {}};
        if (trace.segments.isEmpty()) {
            ++skipped;
            continue;
        }
        for (const QPolygonF &segment : trace.segments) {
            for (const QPointF &point : segment) {
                xRange.include(point.x());
                yRange.include(point.y());
            }
        }
        const int index = int(traces.size());
        trace.colour = palette[index % paletteSize];
        trace.style = index < paletteSize ? Qt::SolidLine : Qt::DashLine;
        traces.append(trace);
    }

    // The fastest lap among those the simulator timed.
    qsizetype best = -1;
    for (qsizetype i = 0; i < traces.size(); ++i) {
        const QTime &time = traces[i].header->lapTime;
        if (LapTable::isTimed(time) && (best < 0 || time < traces[best].header->lapTime))
            best = i;
    }
    if (best >= 0)
        traces[best].best = true;

    QImage image(Width, Height, QImage::Format_RGB32);
    image.fill(Qt::white);
    const QRectF plotArea(120, 120, Width - 120 - 320, Height - 120 - 110);
    Painter painter(&image, plotArea);
    QPainter &p = painter.painter();

    p.setPen(textColour);
    p.setFont(font(30, true));
    const LapHeader noHeader;
    const LapHeader &first = result.laps.isEmpty() ? noHeader : result.laps.first()->header();
    p.drawText(QPointF(plotArea.left(), 52), titleOf(first));
    p.setFont(font(17));
    p.setPen(quietColour);
    p.drawText(QPointF(plotArea.left(), 86), subtitleOf(result));

    painter.setAxes(Axis::fitting(xRange, 10), Axis::fitting(yRange, 8));
    if (traces.isEmpty())
        speedUnit = QStringLiteral("km/h");
    const QString yTitle = speedUnit.isEmpty() ? QStringLiteral("Speed")
                                               : QStringLiteral("Speed [%1]").arg(speedUnit);
    painter.drawGrid(QStringLiteral("Lap distance [m]"), yTitle, !traces.isEmpty());

    for (const Trace &trace : traces) {
        if (!trace.best)
            painter.drawTrace(trace);
    }
    if (best >= 0)
        painter.drawTrace(traces[best]);

    if (!anyCompleted)
        painter.drawNote(QStringLiteral("no completed laps"));
    else if (traces.isEmpty())
        painter.drawNote(QStringLiteral("no completed lap has speed and distance"));

    drawLegend(p,
               QRectF(plotArea.right() + 40, plotArea.top(), Width - plotArea.right() - 60,
                      plotArea.height()),
               traces, skipped);
    return image;
}
