#include "progressplot.h"

#include "laptime.h"
#include "picturefile.h"
#include "plotaxis.h"
#include "plotpanel.h"
#include "plotstyle.h"

#include <QDateTime>
#include <QPainter>

#include <algorithm>

namespace {

constexpr QSize PictureSize(1000, 560);
constexpr double Day = 86400000.0; // ms

struct Series
{
    QString key;
    QString title;
    QColor colour;
};

void draw(QPainter &painter, const RowOutput &rows)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(QRect(QPoint(0, 0), PictureSize), Qt::white);
    const Series series[] = {
        {QStringLiteral("bestLapTimeSeconds"), QStringLiteral("Best lap"), PlotStyle::bestColour()},
        {QStringLiteral("averageLapTimeSeconds"), QStringLiteral("Average lap"),
         PlotStyle::otherColour(0)},
        {QStringLiteral("idealLapTimeSeconds"), QStringLiteral("Ideal lap"),
         PlotStyle::otherColour(1)},
    };
    const qint64 first
        = rows.rowCount() > 0 ? rows.value(0, QStringLiteral("recordingStart")).toLongLong() : 0;
    PlotAxis::Range days;
    PlotAxis::Range times;
    for (qsizetype row = 0; row < rows.rowCount(); ++row) {
        days.include((rows.value(row, QStringLiteral("recordingStart")).toLongLong() - first)
                     / Day);
        for (const Series &line : series) {
            const QVariant value = rows.value(row, line.key);
            if (!value.isNull())
                times.include(value.toDouble());
        }
    }
    // Room on either side of a single day, and above and below the times, so that a lap time
    // at the end of the axis is not hidden by the frame.
    days.include(days.low - 0.5);
    days.include(days.high + 0.5);
    if (!times.isEmpty()) {
        const double room = std::max((times.high - times.low) * 0.05, 0.01);
        times = {times.low - room, times.high + room};
    }
    const QRectF area(90, 70, PictureSize.width() - 120, PictureSize.height() - 140);
    PlotPanel panel(painter, area, PlotAxis::fitting(days, 8, PlotAxis::Ends::Data, 1.0),
                    PlotAxis::fitting(times, 6, PlotAxis::Ends::Ticks));
    const QString track = rows.rowCount() > 0
        ? rows.value(0, QStringLiteral("trackName")).toString() + QStringLiteral(", ")
            + rows.value(0, QStringLiteral("carName")).toString()
        : QString();
    const QString since
        = QDateTime::fromMSecsSinceEpoch(first, Qt::UTC).toString(QStringLiteral("yyyy-MM-dd"));
    panel.drawFrame(QStringLiteral("Progress: %1").arg(track),
                    QStringLiteral("Days since %1 (UTC)").arg(since),
                    QStringLiteral("Lap time (s)"), !times.isEmpty());
    if (times.isEmpty()) {
        panel.drawNote(QStringLiteral("no timed laps"));
        return;
    }
    for (int i = 0; i < 3; ++i) {
        const Series &line = series[i];
        QPolygonF points;
        for (qsizetype row = 0; row < rows.rowCount(); ++row) {
            const QVariant value = rows.value(row, line.key);
            if (!value.isNull())
                points.append(
                    {(rows.value(row, QStringLiteral("recordingStart")).toLongLong() - first) / Day,
                     value.toDouble()});
        }
        // The ideal lap dashed: where it is the best lap, the best lap shows through.
        const QPen pen(line.colour, 2.0, i == 2 ? Qt::DashLine : Qt::SolidLine);
        panel.drawLines({points}, pen);
        painter.setPen(Qt::NoPen);
        painter.setBrush(line.colour);
        for (const QPointF &point : std::as_const(points))
            painter.drawEllipse(panel.map(point), i == 2 ? 2.5 : 4.0, i == 2 ? 2.5 : 4.0);
        // The legend, above the panel on the right.
        const QPointF at(area.right() - (3 - i) * 150.0, 22.0);
        painter.setPen(pen);
        painter.drawLine(at, at + QPointF(24, 0));
        painter.setPen(PlotStyle::textColour());
        painter.setFont(PlotStyle::font(14));
        painter.drawText(at + QPointF(32, 5), line.title);
    }
}

} // namespace

bool ProgressPlot::write(const RowOutput &rows, const QString &path, QString *error)
{
    return PictureFile::write(
        path, PictureSize, [&rows](QPainter &painter) { draw(painter, rows); },
        QStringLiteral("Progress"), QStringLiteral("ibt-library"), error);
}
