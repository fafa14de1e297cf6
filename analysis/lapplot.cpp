#include "lapplot.h"

#include "lapdelta.h"
#include "lapseries.h"
#include "laptime.h"
#include "plotlaps.h"
#include "plotpanel.h"
#include "plotstyle.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "trackmappanel.h"
#include "trackprojection.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QPainter>

using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

QString distanceTitle(const PlotLaps &laps)
{
    return QStringLiteral("Lap distance [%1]").arg(UnitSystem::distance(laps.units()).unit);
}

constexpr double lapWidth = 1.8;
constexpr double bestWidth = 3.2;

QPen lapPen(const PlotLaps &laps, qsizetype index, Qt::PenStyle style = Qt::SolidLine)
{
    return QPen(laps.colour(index), index == laps.reference() ? bestWidth : lapWidth, style);
}

QString lapNameAndTime(const PlotLaps &laps, qsizetype index)
{
    return QStringLiteral("%1 (%2)").arg(laps.name(index),
                                         LapTime::text(laps.laps()[index]->header().lapTime));
}

// The distance axis that every panel over distance shares, so that a corner sits at the
// same place in all of them: from the first to the last distance the drawn laps reach.
PlotAxis distanceAxis(const PlotLaps &laps)
{
    PlotAxis::Range range;
    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        for (const QPolygonF &segment : drawn.speed) {
            for (const QPointF &point : segment)
                range.include(point.x());
        }
    }
    if (range.isEmpty())
        range = {0.0, laps.trackLength().value_or(1000.0)};
    // Fitted in the driver's unit, so that the ticks fall on round numbers of it.
    const double factor = UnitSystem::distance(laps.units()).factor;
    return PlotAxis::fitting({range.low * factor, range.high * factor}, 12, PlotAxis::Ends::Data)
        .scaled(factor);
}

void drawTitle(QPainter &painter, const LapPlot::Input &input)
{
    QString track = QStringLiteral("Unknown track");
    QStringList facts;
    if (input.laps.isEmpty()) {
        if (!input.track.isEmpty())
            track = input.track;
        if (!input.trackConfig.isEmpty())
            track += QStringLiteral(", ") + input.trackConfig;
        if (!input.driver.isEmpty())
            track += QStringLiteral(" \u2014 ") + input.driver;
        for (const QString &fact : {input.car, input.session}) {
            if (!fact.isEmpty())
                facts.append(fact);
        }
    } else {
        const LapHeader &header = input.laps.first()->header();
        if (!header.trackName.isEmpty())
            track = header.trackName;
        if (!header.trackConfigName.isEmpty())
            track += QStringLiteral(", ") + header.trackConfigName;
        if (!header.carInfo.driverName.isEmpty())
            track += QStringLiteral(" \u2014 ") + header.carInfo.driverName;
        if (!header.carInfo.carName.isEmpty())
            facts.append(header.carInfo.carName);
        facts.append(sessionLabel(header));
    }
    if (input.recordingStart.isValid())
        facts.append(QStringLiteral("recorded ")
                     + input.recordingStart.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm"))
                     + QStringLiteral(" UTC"));
    facts.append(QFileInfo(input.file).fileName());

    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(30, true));
    painter.drawText(QPointF(LapPlot::speedPanel().left(), 52), track);
    painter.setFont(PlotStyle::font(17));
    painter.setPen(PlotStyle::quietColour());
    painter.drawText(QPointF(LapPlot::speedPanel().left(), 86),
                     facts.join(QStringLiteral("  \u00b7  ")));
}

void drawSpeed(QPainter &painter, const PlotLaps &laps, const PlotAxis &x)
{
    PlotAxis::Range range;
    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        for (const QPolygonF &segment : drawn.speed) {
            for (const QPointF &point : segment)
                range.include(point.y());
        }
    }
    PlotPanel panel(painter, LapPlot::speedPanel(), x,
                    PlotAxis::fitting(range, 8, PlotAxis::Ends::Ticks));
    const QString unit = laps.speedUnit();
    panel.drawFrame(QStringLiteral("Speed"), distanceTitle(laps),
                    unit.isEmpty() ? QStringLiteral("Speed")
                                   : QStringLiteral("Speed [%1]").arg(unit),
                    !laps.drawn().isEmpty());
    // The best lap last, on top of the others.
    for (const bool best : {false, true}) {
        for (const PlotLaps::Drawn &drawn : laps.drawn()) {
            if ((drawn.index == laps.reference()) == best)
                panel.drawLines(drawn.speed, lapPen(laps, drawn.index));
        }
    }
    if (laps.laps().isEmpty())
        panel.drawNote(QStringLiteral("no laps"));
    else if (laps.drawn().isEmpty())
        panel.drawNote(QStringLiteral("no chosen lap has speed and distance over a quarter of "
                                      "the track"));
}

void drawDelta(QPainter &painter, const PlotLaps &laps, const PlotAxis &x)
{
    const std::optional<TimeAtDistance> reference = laps.reference() < 0
        ? std::nullopt
        : TimeAtDistance::of(*laps.laps()[laps.reference()], laps.trackLength());
    QList<std::pair<qsizetype, QPolygonF>> deltas;
    PlotAxis::Range range;
    range.include(0.0);
    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        const Lap &lap = *laps.laps()[drawn.index];
        if (!reference || drawn.index == laps.reference() || !LapTime::isTimedLap(lap.header()))
            continue;
        const std::optional<TimeAtDistance> times = TimeAtDistance::of(lap, laps.trackLength());
        if (!times)
            continue;
        const QList<QPointF> delta = LapDelta::of(*times, *reference, *laps.trackLength());
        for (const QPointF &point : delta)
            range.include(point.y());
        deltas.append({drawn.index, QPolygonF(delta)});
    }

    PlotPanel panel(painter, LapPlot::deltaPanel(), x,
                    PlotAxis::fitting(range, 6, PlotAxis::Ends::Ticks));
    const QString to = laps.hasOtherFilesReference() ? QStringLiteral("the reference lap")
                                                     : QStringLiteral("the best lap");
    const QString heading = reference
        ? QStringLiteral("Delta to %1, %2: above the line time lost, below time gained")
              .arg(to, lapNameAndTime(laps, laps.reference()))
        : QStringLiteral("Delta to %1").arg(to);
    panel.drawFrame(heading, distanceTitle(laps), QStringLiteral("Delta [s]"),
                    reference.has_value());
    if (!reference) {
        panel.drawNote(QStringLiteral("no timed lap to compare with"));
        return;
    }
    for (const auto &[index, delta] : deltas)
        panel.drawLines({delta}, lapPen(laps, index));
    panel.drawLevel(0.0, lapPen(laps, laps.reference()));
}

// Throttle or brake of a lap in per cent over distance; the import gives them as a share.
QList<QPolygonF> pedal(const PlotLaps &laps, qsizetype index, const QString &name)
{
    const Lap &lap = *laps.laps()[index];
    const QSharedPointer<ZUM::SDK::Channel> channel = LapChannels::find(lap, name);
    if (!channel)
        return {};
    std::vector<double> values = LapChannels::values(lap, name);
    const double factor = channel->unit() == QLatin1String("%") ? 1.0 : 100.0;
    for (double &value : values)
        value *= factor;
    return LapSeries::overDistance(LapChannels::distance(lap, laps.trackLength()), values);
}

QList<qsizetype> inputLaps(const PlotLaps &laps)
{
    QList<qsizetype> result;
    for (const qsizetype index : {laps.reference(), laps.compare()}) {
        if (index >= 0)
            result.append(index);
    }
    return result;
}

void drawInputsKey(QPainter &painter, const PlotLaps &laps)
{
    const QRect box = LapPlot::inputsKeyBox();
    painter.setFont(PlotStyle::font(15));
    double y = box.top() + 16;
    const auto entry = [&](const QPen &pen, const QString &text) {
        painter.setPen(pen);
        painter.drawLine(QPointF(box.left(), y - 5), QPointF(box.left() + 34, y - 5));
        painter.setPen(PlotStyle::textColour());
        painter.drawText(QPointF(box.left() + 44, y), text);
        y += 26;
    };
    for (const qsizetype index : inputLaps(laps))
        entry(lapPen(laps, index), lapNameAndTime(laps, index));
    y += 8;
    entry(QPen(PlotStyle::textColour(), 2.0), QStringLiteral("throttle"));
    entry(QPen(PlotStyle::textColour(), 2.0, Qt::DashLine), QStringLiteral("brake"));
}

void drawInputs(QPainter &painter, const PlotLaps &laps, const PlotAxis &x)
{
    const QList<qsizetype> shown = inputLaps(laps);
    // A little room around 0 and 100 %, so that a pedal held there is not hidden by the frame.
    const PlotAxis::Range percent {-4.0, 104.0};
    PlotPanel pedals(painter, LapPlot::inputsPanel(), x,
                     PlotAxis::fitting(percent, 5, PlotAxis::Ends::Data));
    QList<std::pair<qsizetype, QList<QPolygonF>>> gears;
    PlotAxis::Range gearRange;
    bool anyPedal = false;
    for (const qsizetype index : shown) {
        anyPedal = anyPedal || LapChannels::find(*laps.laps()[index], QStringLiteral("throttle"));
        const Lap &lap = *laps.laps()[index];
        const QList<QPolygonF> gear
            = LapSeries::overDistance(LapChannels::distance(lap, laps.trackLength()),
                                      LapChannels::values(lap, QStringLiteral("gear")));
        for (const QPolygonF &segment : gear) {
            for (const QPointF &point : segment)
                gearRange.include(point.y());
        }
        gears.append({index, LapSeries::steps(gear)});
    }

    pedals.drawFrame(QStringLiteral("Throttle and brake"), distanceTitle(laps),
                     QStringLiteral("Pedal [%]"), anyPedal);
    // The compared lap first, the best lap on top.
    for (auto it = shown.crbegin(); it != shown.crend(); ++it) {
        pedals.drawLines(pedal(laps, *it, QStringLiteral("throttle")), lapPen(laps, *it));
        pedals.drawLines(pedal(laps, *it, QStringLiteral("brake")),
                         lapPen(laps, *it, Qt::DashLine));
    }
    if (!anyPedal)
        pedals.drawNote(shown.isEmpty() ? QStringLiteral("no timed lap")
                                        : QStringLiteral("no throttle or brake recorded"));
    drawInputsKey(painter, laps);

    // Half a gear of room above and below, for the same reason.
    if (!gearRange.isEmpty())
        gearRange = {gearRange.low - 0.5, gearRange.high + 0.5};
    PlotPanel gear(painter, LapPlot::gearPanel(), x,
                   PlotAxis::fitting(gearRange, 4, PlotAxis::Ends::Data, 1.0));
    gear.drawFrame(QStringLiteral("Gear"), distanceTitle(laps), QStringLiteral("Gear"),
                   !gearRange.isEmpty());
    for (auto it = gears.crbegin(); it != gears.crend(); ++it)
        gear.drawLines(it->second, lapPen(laps, it->first));
    if (gearRange.isEmpty())
        gear.drawNote(shown.isEmpty() ? QStringLiteral("no timed lap")
                                      : QStringLiteral("no gear recorded"));
}

void drawTrackMap(QPainter &painter, const PlotLaps &laps)
{
    // The best lap's path, or else the first drawn lap that has positions.
    QList<qsizetype> candidates;
    if (laps.best() >= 0)
        candidates.append(laps.best());
    for (const PlotLaps::Drawn &drawn : laps.drawn())
        candidates.append(drawn.index);
    for (const qsizetype index : candidates) {
        const Lap &lap = *laps.laps()[index];
        if (const std::optional<TrackProjection> projection
            = TrackProjection::of(lap, laps.trackLength())) {
            const QSharedPointer<ZUM::SDK::Channel> speed
                = LapChannels::find(lap, QStringLiteral("speed"));
            TrackMapPanel::draw(painter, LapPlot::trackMapPanel(), LapPlot::speedScale(),
                                *projection, laps.name(index), speed ? speed->unit() : QString(),
                                laps.units());
            return;
        }
    }
    bool anyPositions = false;
    for (const QSharedPointer<Lap> &lap : laps.laps())
        anyPositions = anyPositions || LapChannels::find(*lap, QStringLiteral("lat"));
    TrackMapPanel::drawEmpty(painter, LapPlot::trackMapPanel(),
                             anyPositions ? QStringLiteral("no positions in the laps drawn")
                                          : QStringLiteral("no positions (lat, lon) in this file"));
}

QString lapNumbers(const Laps &laps, const QList<qsizetype> &indexes)
{
    QStringList numbers;
    for (const qsizetype index : indexes)
        numbers.append(QString::number(laps[index]->header().lapNumber));
    return (indexes.size() == 1 ? QStringLiteral("lap ") : QStringLiteral("laps "))
        + numbers.join(QStringLiteral(", "));
}

void drawLegend(QPainter &painter, const PlotLaps &laps)
{
    const QRect box = LapPlot::legendBox();
    QFont entryFont = PlotStyle::font(16);
    const QFontMetricsF metrics(entryFont);
    const double numberRight
        = box.left() + 46 + metrics.horizontalAdvance(QStringLiteral("00/000"));
    const double timeLeft = numberRight + 14;
    constexpr double rowHeight = 28.0;

    double y = box.top() + 18;
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(16, true));
    const QFontMetricsF titleMetrics(painter.font());
    painter.drawText(
        QPointF(numberRight - titleMetrics.horizontalAdvance(QStringLiteral("Lap")), y),
        QStringLiteral("Lap"));
    painter.drawText(QPointF(timeLeft, y), QStringLiteral("Time"));
    y += 32;

    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        const LapHeader &header = laps.laps()[drawn.index]->header();
        const bool best = drawn.index == laps.reference();
        painter.setPen(QPen(laps.colour(drawn.index), best ? 5.0 : 3.0));
        painter.drawLine(QPointF(box.left(), y - 5), QPointF(box.left() + 34, y - 5));
        painter.setPen(PlotStyle::textColour());
        entryFont.setBold(best);
        painter.setFont(entryFont);
        const QString number = laps.shortName(drawn.index);
        painter.drawText(
            QPointF(numberRight - QFontMetricsF(entryFont).horizontalAdvance(number), y), number);
        painter.drawText(
            QPointF(timeLeft, y),
            LapTime::text(header.lapTime)
                + (best ? (laps.hasOtherFilesReference() ? QString() : QStringLiteral("  best"))
                        : QString()));
        y += rowHeight;
    }

    painter.setFont(PlotStyle::font(15));
    painter.setPen(PlotStyle::quietColour());
    const auto note = [&](const QString &text) {
        const QRectF area(box.left(), y - metrics.ascent(), box.width(), box.bottom() - y);
        QRectF used;
        painter.drawText(area, Qt::TextWordWrap, text, &used);
        y += used.height() + 10;
    };
    if (laps.moreLaps() > 0)
        note(QStringLiteral("+%1 more").arg(laps.moreLaps()));
    if (laps.longestShortLap() >= 0)
        note(QStringLiteral("No chosen lap covers a quarter of the track: drawn is the longest, "
                            "%1")
                 .arg(laps.name(laps.longestShortLap())));
    if (!laps.shortLaps().isEmpty())
        note(QStringLiteral("Left out, under a quarter of the track: %1")
                 .arg(lapNumbers(laps.laps(), laps.shortLaps())));
    if (!laps.blankLaps().isEmpty())
        note(QStringLiteral("Left out, without speed or distance: %1")
                 .arg(lapNumbers(laps.laps(), laps.blankLaps())));
}

void drawSummary(QPainter &painter, const PlotLaps &laps)
{
    const QRect box = LapPlot::summaryBox();
    painter.setPen(PlotStyle::textColour());
    painter.setFont(PlotStyle::font(19, true));
    painter.drawText(QPointF(box.left(), box.top() - 14), QStringLiteral("Session"));
    if (laps.fileLaps().isEmpty())
        return;
    double y = box.top();
    for (const SummaryText::Line &line :
         SummaryText::lines(SessionSummary::of(laps.fileLaps()), laps.fileLaps(), laps.units())) {
        painter.setFont(PlotStyle::font(16, true));
        painter.setPen(PlotStyle::textColour());
        painter.drawText(QRectF(box.left(), y, box.width(), 24), line.label);
        painter.setFont(PlotStyle::font(16));
        QRectF used;
        painter.drawText(QRectF(box.left(), y + 24, box.width(), box.bottom() - y - 24),
                         Qt::TextWordWrap, line.value, &used);
        y += 24 + used.height() + 16;
    }
}

} // namespace

QSize LapPlot::size(const Input &input)
{
    return {Width, input.laps.isEmpty() ? NoLapsHeight : Height};
}

void LapPlot::paint(QPainter &painter, const Input &input)
{
    painter.fillRect(QRect(QPoint(0, 0), size(input)), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    drawTitle(painter, input);
    if (input.laps.isEmpty()) {
        PlotPanel panel(painter, noLapsPanel(), {}, {});
        panel.drawFrame(QStringLiteral("Laps"), {}, {}, false);
        panel.drawNote(input.noLapsReason.isEmpty() ? QStringLiteral("no laps")
                                                    : input.noLapsReason);
        return;
    }

    const PlotLaps laps = PlotLaps::of(input.laps, input.chosen, input.compare, input.units,
                                       {input.reference, input.referenceName});
    const PlotAxis x = distanceAxis(laps);
    drawSpeed(painter, laps, x);
    drawLegend(painter, laps);
    drawDelta(painter, laps, x);
    drawInputs(painter, laps, x);
    drawTrackMap(painter, laps);
    drawSummary(painter, laps);
}

QImage LapPlot::render(const Input &input)
{
    QImage image(size(input), QImage::Format_RGB32);
    QPainter painter(&image);
    paint(painter, input);
    return image;
}
