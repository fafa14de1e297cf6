#include "lapplot.h"

#include "lapdelta.h"
#include "laptime.h"
#include "plotlaps.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "timeatdistance.h"
#include "trackprojection.h"

#include <QFileInfo>

using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

QString lapNameAndTime(const PlotLaps &laps, qsizetype index)
{
    return QStringLiteral("%1 (%2)").arg(laps.name(index),
                                         LapTime::text(laps.laps()[index]->header().lapTime));
}

void setTitle(LapPicture::Input &picture, const LapPlot::Input &input)
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
    picture.title = track;
    picture.subtitle = facts.join(QStringLiteral("  \u00b7  "));
}

// The laps whose throttle, brake and gear are drawn: the reference and the one compared with
// it; without either (a file of untimed laps), the drawn lap that covers the most track.
QList<qsizetype> inputLaps(const PlotLaps &laps)
{
    QList<qsizetype> result;
    for (const qsizetype index : {laps.reference(), laps.compare()}) {
        if (index >= 0)
            result.append(index);
    }
    if (!result.isEmpty())
        return result;
    double longest = -1.0;
    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        const double covered = drawn.speed.lastDistance() - drawn.speed.firstDistance();
        if (covered > longest) {
            longest = covered;
            result = {drawn.index};
        }
    }
    return result;
}

// Throttle or brake of a lap in per cent over distance; the import gives them as a share.
DistanceTrace pedal(const PlotLaps &laps, qsizetype index, const QString &name)
{
    const Lap &lap = *laps.laps()[index];
    const QSharedPointer<ZUM::SDK::Channel> channel = LapChannels::find(lap, name);
    if (!channel)
        return {};
    std::vector<double> values = LapChannels::values(lap, name);
    const double factor = channel->unit() == QLatin1String("%") ? 1.0 : 100.0;
    for (double &value : values)
        value *= factor;
    return DistanceTrace::of(LapChannels::distance(lap, laps.trackLength()), values);
}

void setLaps(LapPicture::Input &picture, const PlotLaps &laps)
{
    const std::optional<TimeAtDistance> reference = laps.reference() < 0
        ? std::nullopt
        : TimeAtDistance::of(*laps.laps()[laps.reference()], laps.trackLength());
    const QList<qsizetype> inputs = inputLaps(laps);
    for (const PlotLaps::Drawn &drawn : laps.drawn()) {
        const Lap &lap = *laps.laps()[drawn.index];
        LapPicture::Lap picked;
        picked.name = laps.shortName(drawn.index);
        picked.title = lapNameAndTime(laps, drawn.index);
        picked.reference = drawn.index == laps.reference();
        picked.time = LapTime::text(lap.header().lapTime)
            + (picked.reference && !laps.hasOtherFilesReference() ? QStringLiteral("  best")
                                                                  : QString());
        picked.colour = laps.colour(drawn.index);
        picked.speed = drawn.speed;
        if (reference && !picked.reference && LapTime::isTimedLap(lap.header())) {
            if (const std::optional<TimeAtDistance> times
                = TimeAtDistance::of(lap, laps.trackLength())) {
                std::vector<double> distance, delta;
                for (const QPointF &point : LapDelta::of(*times, *reference, *laps.trackLength())) {
                    distance.push_back(point.x());
                    delta.push_back(point.y());
                }
                picked.delta = DistanceTrace::of(distance, delta);
            }
        }
        picked.inputs = inputs.contains(drawn.index);
        if (picked.inputs) {
            picked.throttle = pedal(laps, drawn.index, QStringLiteral("throttle"));
            picked.brake = pedal(laps, drawn.index, QStringLiteral("brake"));
            picked.gear = DistanceTrace::of(lap, QStringLiteral("gear"), laps.trackLength());
        }
        picture.laps.append(std::move(picked));
    }

    if (laps.laps().isEmpty())
        picture.speedNote = QStringLiteral("no laps");
    else if (laps.drawn().isEmpty())
        picture.speedNote
            = QStringLiteral("no chosen lap has speed and distance over a quarter of the track");
    const QString to = laps.hasOtherFilesReference() ? QStringLiteral("the reference lap")
                                                     : QStringLiteral("the best lap");
    picture.deltaHeading = reference
        ? QStringLiteral("Delta to %1, %2: above the line time lost, below time gained")
              .arg(to, lapNameAndTime(laps, laps.reference()))
        : QStringLiteral("Delta to %1").arg(to);
    if (!reference)
        picture.deltaNote = QStringLiteral("no timed lap to compare with");
    const QString noInputs = inputs.isEmpty() ? QStringLiteral("no lap drawn") : QString();
    picture.inputsNote
        = noInputs.isEmpty() ? QStringLiteral("no throttle or brake recorded") : noInputs;
    picture.gearNote = noInputs.isEmpty() ? QStringLiteral("no gear recorded") : noInputs;
}

QString lapNumbers(const Laps &laps, const QList<qsizetype> &indexes)
{
    QStringList numbers;
    for (const qsizetype index : indexes)
        numbers.append(QString::number(laps[index]->header().lapNumber));
    return (indexes.size() == 1 ? QStringLiteral("lap ") : QStringLiteral("laps "))
        + numbers.join(QStringLiteral(", "));
}

void setLegendNotes(LapPicture::Input &picture, const PlotLaps &laps)
{
    if (laps.moreLaps() > 0)
        picture.legendNotes.append(QStringLiteral("+%1 more").arg(laps.moreLaps()));
    if (laps.longestShortLap() >= 0)
        picture.legendNotes.append(
            QStringLiteral("No chosen lap covers a quarter of the track: drawn is the longest, %1")
                .arg(laps.name(laps.longestShortLap())));
    if (!laps.shortLaps().isEmpty())
        picture.legendNotes.append(QStringLiteral("Left out, under a quarter of the track: %1")
                                       .arg(lapNumbers(laps.laps(), laps.shortLaps())));
    if (!laps.blankLaps().isEmpty())
        picture.legendNotes.append(QStringLiteral("Left out, without speed or distance: %1")
                                       .arg(lapNumbers(laps.laps(), laps.blankLaps())));
}

void setTrackMap(LapPicture::Input &picture, const PlotLaps &laps)
{
    // The best lap's path, or else the first drawn lap that has positions.
    QList<qsizetype> candidates;
    if (laps.best() >= 0)
        candidates.append(laps.best());
    for (const PlotLaps::Drawn &drawn : laps.drawn())
        candidates.append(drawn.index);
    for (const qsizetype index : candidates) {
        const Lap &lap = *laps.laps()[index];
        picture.map = TrackProjection::of(lap, laps.trackLength());
        if (picture.map) {
            const QSharedPointer<ZUM::SDK::Channel> speed
                = LapChannels::find(lap, QStringLiteral("speed"));
            picture.mapLapName = laps.name(index);
            picture.mapSpeedUnit = speed ? speed->unit() : QString();
            return;
        }
    }
    bool anyPositions = false;
    for (const QSharedPointer<Lap> &lap : laps.laps())
        anyPositions = anyPositions || LapChannels::find(*lap, QStringLiteral("lat"));
    picture.mapNote = anyPositions ? QStringLiteral("no positions in the laps drawn")
                                   : QStringLiteral("no positions (lat, lon) in this file");
}

} // namespace

LapPicture::Input LapPlot::picture(const Input &input)
{
    LapPicture::Input picture;
    setTitle(picture, input);
    picture.units = input.units;
    if (input.laps.isEmpty()) {
        picture.noLaps
            = input.noLapsReason.isEmpty() ? QStringLiteral("no laps") : input.noLapsReason;
        return picture;
    }
    const PlotLaps laps = PlotLaps::of(input.laps, input.chosen, input.compare, input.units,
                                       {input.reference, input.referenceName});
    picture.speedUnit = laps.speedUnit();
    picture.trackLength = laps.trackLength();
    setLaps(picture, laps);
    setLegendNotes(picture, laps);
    setTrackMap(picture, laps);
    picture.summaryHeading = QStringLiteral("Session");
    picture.summary
        = SummaryText::lines(SessionSummary::of(laps.fileLaps()), laps.fileLaps(), laps.units());
    return picture;
}

QImage LapPlot::render(const Input &input)
{
    return LapPicture::render(picture(input));
}
