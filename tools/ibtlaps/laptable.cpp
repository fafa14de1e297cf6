#include "laptable.h"

#include "lapchannels.h"
#include "lapkind.h"
#include "laptime.h"
#include "sectortimes.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "texttable.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

QString line(const QString &label, const QString &value)
{
    return (label + QLatin1Char(':')).leftJustified(14) + value + QLatin1Char('\n');
}

QString textOrDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

QString trackText(const LapHeader &header, Units units)
{
    QString text = textOrDash(header.trackName);
    if (!header.trackConfigName.isEmpty())
        text += QStringLiteral(", ") + header.trackConfigName;
    if (const std::optional<double> length = LapChannels::headerTrackLength(header)) {
        const UnitSystem::Conversion conversion = UnitSystem::trackLength(units);
        text += QStringLiteral(" (%1)").arg(
            SummaryText::quantity(conversion(*length), 2, conversion.unit));
    }
    return text;
}

QString recordedText(const RecordingInfo &recording)
{
    if (!recording.start().isValid())
        return QStringLiteral("-");
    QString text = recording.start().toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
        + QStringLiteral(" UTC");
    if (const std::optional<double> sessionTime = recording.startSessionTime())
        text += QStringLiteral(", from session time ") + LapTime::clockText(*sessionTime);
    return text;
}

// The air and the track surface, in the units asked for.
QString weatherText(const LapHeader &header, Units units)
{
    QStringList parts;
    const std::pair<const char *, const char *> temperatures[] = {
        {"Air temperature", "air"},
        {"Track surface temperature", "track surface"},
    };
    for (const auto &[name, what] : temperatures) {
        const ZUM::SDK::Value *value = header.dynamicData.find(QLatin1String(name));
        if (!value || value->unit().isEmpty())
            continue;
        const UnitSystem::Conversion conversion = UnitSystem::conversion(value->unit(), units);
        parts.append(QLatin1String(what) + QLatin1Char(' ')
                     + SummaryText::quantity(conversion(value->toDouble()), 1, conversion.unit));
    }
    return parts.isEmpty() ? QStringLiteral("-") : parts.join(QStringLiteral(", "));
}

// A file without laps as its session text describes it.
QString summaryWithoutLaps(const RecordingInfo &recording, const QString &noLapsReason)
{
    QString track = textOrDash(recording.trackName());
    if (!recording.trackConfigName().isEmpty())
        track += QStringLiteral(", ") + recording.trackConfigName();
    return line(QStringLiteral("Track"), track)
        + line(QStringLiteral("Car"), textOrDash(recording.carName()))
        + line(QStringLiteral("Driver"), textOrDash(recording.driverName()))
        + line(QStringLiteral("Session"), textOrDash(recording.sessionTypes()))
        + line(QStringLiteral("Laps"),
               noLapsReason.isEmpty() ? QStringLiteral("no laps") : noLapsReason);
}

QString summary(const ImportResult &result, const QList<qsizetype> &chosen, Units units,
                const QString &noLapsReason)
{
    QString text = line(QStringLiteral("File"), result.file);
    text += line(QStringLiteral("Recorded"), recordedText(result.recording));
    if (result.laps.isEmpty())
        return text + summaryWithoutLaps(result.recording, noLapsReason);
    const LapHeader &header = result.laps.first()->header();
    text += line(QStringLiteral("Track"), trackText(header, units));
    text += line(QStringLiteral("Car"), textOrDash(header.carInfo.carName));
    text += line(QStringLiteral("Driver"), textOrDash(header.carInfo.driverName));
    text += line(QStringLiteral("Session"), sessionLabel(header));
    text += line(QStringLiteral("Weather"), weatherText(header, units));
    QString laps = QString::number(result.laps.size());
    if (chosen.size() != result.laps.size())
        laps += QStringLiteral(", %1 chosen").arg(chosen.size());
    return text + line(QStringLiteral("Laps"), laps);
}

// The times of each lap through the track's sectors, and the best of each sector.
struct SectorColumns
{
    QList<double> starts; // metres
    QList<std::optional<SectorTimes>> times; // one per lap
    QList<double> best; // one per sector

    static SectorColumns of(const Laps &laps, const QList<double> &fractions)
    {
        SectorColumns columns;
        const std::optional<double> length = LapChannels::trackLength(laps);
        if (!length || fractions.isEmpty())
            return columns;
        columns.starts = SectorTimes::starts(*length, fractions);
        columns.best = QList<double>(columns.starts.size(), INFINITY);
        for (const QSharedPointer<Lap> &lap : laps) {
            columns.times.append(SectorTimes::of(*lap, *length, columns.starts));
            if (!columns.times.last())
                continue;
            for (qsizetype s = 0; s < columns.best.size(); ++s)
                columns.best[s] = std::min(columns.best[s], columns.times.last()->times()[s]);
        }
        return columns;
    }

    QStringList cells(qsizetype lap) const
    {
        QStringList cells;
        for (qsizetype s = 0; s < starts.size(); ++s) {
            if (!times[lap]) {
                cells.append(QStringLiteral("-"));
                continue;
            }
            const double time = times[lap]->times()[s];
            // Best by the time as shown, so that equal times shown are marked alike.
            const bool best = qRound64(time * 1000.0) == qRound64(this->best[s] * 1000.0);
            cells.append(QString::number(time, 'f', 3)
                         + (best ? QStringLiteral("*") : QStringLiteral(" ")));
        }
        return cells;
    }
};

QString idealOfSectorsText(const ImportResult &result)
{
    const QList<double> &starts = result.recording.sectorStarts();
    if (starts.isEmpty())
        return QStringLiteral("the session text lists no sectors of the track");
    const std::optional<IdealLap> ideal
        = IdealLap::of(result.laps, LapChannels::trackLength(result.laps), starts);
    if (!ideal)
        return QStringLiteral("no timed lap covers the track");
    return QStringLiteral("%1, the best of each of the track's %2 sectors over %3 timed %4")
        .arg(LapTime::text(ideal->time()))
        .arg(ideal->sectors().size())
        .arg(ideal->lapCount())
        .arg(ideal->lapCount() == 1 ? u"lap" : u"laps");
}

QStringList rowOf(const Lap &lap)
{
    const LapHeader &header = lap.header();
    const std::optional<double> start = LapChannels::startSessionTime(lap);
    return {
        QString::number(header.lapNumber),
        QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint),
        LapTime::text(header.lapTime),
        header.completed ? QStringLiteral("yes") : QStringLiteral("no"),
        lapKindLabel(header),
        sessionLabel(header),
        QString::number(lap.size()),
        start ? LapTime::clockText(*start) : QStringLiteral("-"),
    };
}

} // namespace

QString LapTable::text(const ImportResult &result, const QList<qsizetype> &chosen,
                       const Settings &settings)
{
    const Units units = settings.units;
    QString text = summary(result, chosen, units, settings.noLapsReason);
    if (result.laps.isEmpty())
        return text;

    const SectorColumns sectors = settings.sectors
        ? SectorColumns::of(result.laps, result.recording.sectorStarts())
        : SectorColumns();
    QList<TextTable::Column> columns({
        {QStringLiteral("Lap"), true},
        {QStringLiteral("Stint/lap"), true},
        {QStringLiteral("Lap time"), true},
        {QStringLiteral("Completed"), false},
        {QStringLiteral("Kind"), false},
        {QStringLiteral("Session"), false},
        {QStringLiteral("Samples"), true},
        {QStringLiteral("Start"), true},
    });
    for (qsizetype s = 0; s < sectors.starts.size(); ++s)
        columns.append({QStringLiteral("S%1").arg(s + 1), true});
    TextTable table(columns);
    for (const qsizetype index : chosen)
        table.addRow(rowOf(*result.laps[index]) + sectors.cells(index));
    text += QLatin1Char('\n') + table.text() + QLatin1Char('\n');
    const QList<SummaryText::Line> lines
        = SummaryText::lines(SessionSummary::of(result.laps), result.laps, units);
    for (const SummaryText::Line &summaryLine : lines) {
        text += line(summaryLine.label, summaryLine.value);
        if (settings.sectors && summaryLine.label == QLatin1String("Ideal lap"))
            text += line(QStringLiteral("Sector ideal"), idealOfSectorsText(result));
    }
    if (settings.sectors && std::none_of(lines.cbegin(), lines.cend(), [](const auto &l) {
            return l.label == QLatin1String("Ideal lap");
        }))
        text += line(QStringLiteral("Sector ideal"), idealOfSectorsText(result));
    return text;
}
