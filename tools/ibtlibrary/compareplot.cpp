#include "compareplot.h"

#include "laptime.h"
#include "laptrace.h"
#include "library.h"
#include "picturefile.h"
#include "plotstyle.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSqlQuery>

#include <cmath>

namespace {

// The stored lap beside its row of the table.
struct ComparedLap
{
    std::optional<LapTrace> trace; // null: the lap has none
    // The points of the trace that the lap drove, first to last. A trace spans the whole
    // track and holds a lap's first and last values beyond where it drove (an out lap starts
    // after the line, a lap cut short ends before it): those stretches are not drawn.
    qsizetype first = 0;
    qsizetype last = -1;
    QString track;
    QString car;
    std::optional<double> trackLength;

    bool drove(qsizetype point) const { return point >= first && point <= last; }
};

// Where the held values end: the speed of a moving car is never the same at two points
// 2 m apart, to the last bit, except where the trace held it.
void findDriven(ComparedLap &lap)
{
    const LapTrace &trace = *lap.trace;
    lap.first = 0;
    lap.last = trace.size() - 1;
    const double start = trace.value(LapTrace::Speed, 0);
    while (lap.first + 1 < trace.size() && trace.value(LapTrace::Speed, lap.first + 1) == start)
        ++lap.first;
    const double end = trace.value(LapTrace::Speed, lap.last);
    while (lap.last - 1 > lap.first && trace.value(LapTrace::Speed, lap.last - 1) == end)
        --lap.last;
}

// The simulator records speed in m/s; the picture shows km/h.
const QString recordedSpeedUnit = QStringLiteral("m/s");

UnitSystem::Conversion speedConversion()
{
    return UnitSystem::conversion(recordedSpeedUnit, Units::Metric);
}

// A channel where the lap drove, NaN elsewhere.
std::vector<double> values(const ComparedLap &lap, LapTrace::Channel channel, double factor = 1.0)
{
    const LapTrace &trace = *lap.trace;
    std::vector<double> result(size_t(trace.size()), NAN);
    for (qsizetype k = lap.first; k <= lap.last; ++k)
        result[size_t(k)] = trace.value(channel, k) * factor;
    return result;
}

std::vector<double> distances(const LapTrace &trace)
{
    std::vector<double> result(size_t(trace.size()));
    for (qsizetype k = 0; k < trace.size(); ++k)
        result[size_t(k)] = double(k) * trace.step();
    return result;
}

QString recorded(const RowOutput &rows, qsizetype row)
{
    const QVariant start = rows.value(row, QStringLiteral("recordingStart"));
    return start.isNull() ? QString()
                          : QDateTime::fromMSecsSinceEpoch(start.toLongLong(), Qt::UTC)
                                .toString(QStringLiteral("yyyy-MM-dd hh:mm"));
}

bool isTimed(const RowOutput &rows, qsizetype row)
{
    return !rows.value(row, QStringLiteral("lapTimeSeconds")).isNull();
}

QString lapTime(const RowOutput &rows, qsizetype row)
{
    const QVariant time = rows.value(row, QStringLiteral("lapTimeSeconds"));
    return time.isNull() ? QStringLiteral("no time") : LapTime::text(time.toDouble());
}

QString fileName(const RowOutput &rows, qsizetype row)
{
    return QFileInfo(rows.value(row, QStringLiteral("file")).toString()).fileName();
}

// "lap 3, id 12": the lap of its file, and the library's id the command was given.
QString lapName(const RowOutput &rows, qsizetype row)
{
    return QStringLiteral("lap %1, id %2")
        .arg(rows.value(row, QStringLiteral("lapNumber")).toString(),
             rows.value(row, QStringLiteral("id")).toString());
}

LapPicture::Lap pictureLap(const RowOutput &rows, qsizetype row, const ComparedLap &stored,
                           const ComparedLap &first)
{
    LapPicture::Lap lap;
    lap.name = rows.value(row, QStringLiteral("lapNumber")).toString();
    lap.title = QStringLiteral("%1 (%2)").arg(lapName(rows, row), lapTime(rows, row));
    lap.time = lapTime(rows, row);
    lap.detail = QStringLiteral("%1\n%2, id %3")
                     .arg(fileName(rows, row), recorded(rows, row),
                          rows.value(row, QStringLiteral("id")).toString());
    lap.reference = row == 0;
    lap.colour = row == 0 ? PlotStyle::bestColour()
                          : PlotStyle::otherColour(int((row - 1) % PlotStyle::OtherColours));
    // The first lap is the reference, the second the one set against it, as ibt-laps draws
    // the inputs of the best lap and one other.
    lap.inputs = row < 2;
    if (!stored.trace)
        return lap;
    const LapTrace &trace = *stored.trace;
    const std::vector<double> distance = distances(trace);
    std::vector<double> speed = values(stored, LapTrace::Speed);
    const UnitSystem::Conversion conversion = speedConversion();
    for (double &value : speed)
        value = conversion(value);
    lap.speed = DistanceTrace::of(distance, speed);
    // A delta needs both laps timed from line to line: an out lap's time since the line is
    // no time it drove.
    if (row > 0 && first.trace && isTimed(rows, row) && isTimed(rows, 0)) {
        // Both traces count their time from the line at the same steps of distance.
        std::vector<double> lost;
        const qsizetype points = std::min(trace.size(), first.trace->size());
        for (qsizetype k = 0; k < points; ++k) {
            const double elapsed = trace.value(LapTrace::Elapsed, k);
            const double firstElapsed = first.trace->value(LapTrace::Elapsed, k);
            lost.push_back(stored.drove(k) && first.drove(k) ? elapsed - firstElapsed : NAN);
        }
        lap.delta = DistanceTrace::of(distance, lost);
    }
    if (lap.inputs) {
        // Pedals are stored as the share of the travel the simulator records.
        lap.throttle = DistanceTrace::of(distance, values(stored, LapTrace::Throttle, 100.0));
        lap.brake = DistanceTrace::of(distance, values(stored, LapTrace::Brake, 100.0));
        lap.gear = DistanceTrace::of(distance, values(stored, LapTrace::Gear));
    }
    return lap;
}

void setTrackMap(LapPicture::Input &picture, const RowOutput &rows,
                 const QList<ComparedLap> &stored)
{
    for (qsizetype row = 0; row < stored.size(); ++row) {
        if (!stored[row].trace)
            continue;
        const ComparedLap &lap = stored[row];
        picture.map = TrackProjection::of(
            values(lap, LapTrace::Latitude), values(lap, LapTrace::Longitude),
            values(lap, LapTrace::Speed), distances(*lap.trace), lap.trackLength);
        if (picture.map) {
            picture.mapLapName = lapName(rows, row);
            picture.mapSpeedUnit = recordedSpeedUnit;
            return;
        }
    }
    picture.mapNote = QStringLiteral("no positions stored for these laps");
}

// The compare table in words: each lap's time, its difference to the first and its sectors.
QList<SummaryText::Line> summary(const RowOutput &rows)
{
    QList<SummaryText::Line> lines;
    for (qsizetype row = 0; row < rows.rowCount(); ++row) {
        QStringList parts {fileName(rows, row), lapTime(rows, row)};
        const QVariant delta = rows.value(row, QStringLiteral("deltaSeconds"));
        if (row > 0 && !delta.isNull())
            parts.last() += QString::asprintf(" (%+.3f)", delta.toDouble());
        QStringList sectors;
        for (int s = 1;; ++s) {
            const QString key = QStringLiteral("sector%1Seconds").arg(s);
            const QVariant seconds = rows.value(row, key);
            if (!seconds.isValid())
                break;
            sectors.append(QStringLiteral("S%1 %2").arg(s).arg(
                seconds.isNull() ? QStringLiteral("-") : LapTime::text(seconds.toDouble())));
        }
        if (!sectors.isEmpty())
            parts.append(sectors.join(QStringLiteral("  ")));
        lines.append({QStringLiteral("%1: %2, %3")
                          .arg(lapName(rows, row), recorded(rows, row),
                               rows.value(row, QStringLiteral("driverName")).toString()),
                      parts.join(QStringLiteral("\n"))});
    }
    return lines;
}

} // namespace

std::optional<LapPicture::Input> ComparePlot::picture(Library &library, const RowOutput &rows)
{
    QSqlQuery query(library.database());
    QList<ComparedLap> stored;
    for (qsizetype row = 0; row < rows.rowCount(); ++row) {
        if (!library.run(query,
                         QStringLiteral("SELECT t.data, f.track_name, f.track_config, f.car_name, "
                                        "f.track_length FROM laps l "
                                        "JOIN files f ON f.id = l.file_id "
                                        "LEFT JOIN traces t ON t.lap_id = l.id WHERE l.id = ?"),
                         {rows.value(row, QStringLiteral("id"))}))
            return std::nullopt;
        ComparedLap lap;
        if (query.next()) {
            if (!query.value(0).isNull())
                lap.trace = LapTrace::unpack(query.value(0).toByteArray());
            if (lap.trace && lap.trace->size() > 0)
                findDriven(lap);
            else
                lap.trace.reset();
            lap.track = query.value(1).toString();
            if (!query.value(2).toString().isEmpty())
                lap.track += QStringLiteral(", ") + query.value(2).toString();
            lap.car = query.value(3).toString();
            if (!query.value(4).isNull())
                lap.trackLength = query.value(4).toDouble();
        }
        stored.append(lap);
    }

    LapPicture::Input picture;
    if (stored.isEmpty())
        return picture;
    picture.title = stored.first().track;
    QStringList cars;
    for (const ComparedLap &lap : stored) {
        if (!lap.car.isEmpty() && !cars.contains(lap.car))
            cars.append(lap.car);
    }
    picture.subtitle = (cars
                        + QStringList {QStringLiteral("%1 laps from the library, against "
                                                      "the first")
                                           .arg(rows.rowCount())})
                           .join(QStringLiteral("  \u00b7  "));
    picture.speedUnit = speedConversion().unit;
    picture.trackLength = stored.first().trackLength;
    for (qsizetype row = 0; row < stored.size(); ++row)
        picture.laps.append(pictureLap(rows, row, stored[row], stored.first()));
    picture.speedNote = QStringLiteral("no trace stored for these laps");
    picture.deltaHeading = QStringLiteral("Delta to the first lap, %1: above the line time lost, "
                                          "below time gained")
                               .arg(picture.laps.first().title);
    if (!stored.first().trace || !isTimed(rows, 0))
        picture.deltaNote = QStringLiteral("the first lap has no time to compare with");
    picture.inputsNote = QStringLiteral("no throttle or brake stored");
    picture.gearNote = QStringLiteral("no gear stored");
    setTrackMap(picture, rows, stored);
    picture.summaryHeading = QStringLiteral("Compared laps");
    picture.summary = summary(rows);
    return picture;
}

bool ComparePlot::write(Library &library, const RowOutput &rows, const QString &path,
                        QString *error)
{
    const std::optional<LapPicture::Input> input = picture(library, rows);
    if (!input) {
        *error = library.errorString();
        return false;
    }
    return PictureFile::write(
        path, LapPicture::size(*input),
        [&input](QPainter &painter) { LapPicture::paint(painter, *input); },
        QStringLiteral("Compared laps"), QStringLiteral("ibt-library"), error);
}
