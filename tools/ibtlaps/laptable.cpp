#include "laptable.h"

#include "lapchannels.h"
#include "laptime.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "texttable.h"

#include <QStringList>

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

QString flyingLapText(qint32 flyingLap)
{
    switch (flyingLap) {
    case 0:
        return QStringLiteral("out");
    case 1:
        return QStringLiteral("flying");
    default:
        return QStringLiteral("-");
    }
}

QString trackText(const LapHeader &header)
{
    QString text = textOrDash(header.trackName);
    if (!header.trackConfigName.isEmpty())
        text += QStringLiteral(", ") + header.trackConfigName;
    if (const std::optional<double> length = LapChannels::headerTrackLength(header))
        text += QStringLiteral(" (%1 km)").arg(*length / 1000.0, 0, 'f', 2);
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

QString summary(const ImportResult &result, const QList<qsizetype> &chosen, Units units)
{
    QString text = line(QStringLiteral("File"), result.file);
    text += line(QStringLiteral("Recorded"), recordedText(result.recording));
    if (result.laps.isEmpty())
        return text + line(QStringLiteral("Laps"), QStringLiteral("no laps"));
    const LapHeader &header = result.laps.first()->header();
    text += line(QStringLiteral("Track"), trackText(header));
    text += line(QStringLiteral("Car"), textOrDash(header.carInfo.carName));
    text += line(QStringLiteral("Driver"), textOrDash(header.carInfo.driverName));
    text += line(QStringLiteral("Session"), sessionLabel(header));
    text += line(QStringLiteral("Weather"), weatherText(header, units));
    QString laps = QString::number(result.laps.size());
    if (chosen.size() != result.laps.size())
        laps += QStringLiteral(", %1 chosen").arg(chosen.size());
    return text + line(QStringLiteral("Laps"), laps);
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
        flyingLapText(header.flyingLap),
        sessionLabel(header),
        QString::number(lap.size()),
        start ? LapTime::clockText(*start) : QStringLiteral("-"),
    };
}

} // namespace

QString LapTable::text(const ImportResult &result, const QList<qsizetype> &chosen, Units units)
{
    QString text = summary(result, chosen, units);
    if (result.laps.isEmpty())
        return text;

    TextTable table({
        {QStringLiteral("Lap"), true},
        {QStringLiteral("Stint/lap"), true},
        {QStringLiteral("Lap time"), true},
        {QStringLiteral("Completed"), false},
        {QStringLiteral("Kind"), false},
        {QStringLiteral("Session"), false},
        {QStringLiteral("Samples"), true},
        {QStringLiteral("Start"), true},
    });
    for (const qsizetype index : chosen)
        table.addRow(rowOf(*result.laps[index]));
    text += QLatin1Char('\n') + table.text() + QLatin1Char('\n');
    for (const SummaryText::Line &summaryLine :
         SummaryText::lines(SessionSummary::of(result.laps), result.laps, units))
        text += line(summaryLine.label, summaryLine.value);
    return text;
}
