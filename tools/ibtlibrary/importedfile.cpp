#include "importedfile.h"

#include "lapchannels.h"
#include "laptime.h"
#include "laptrace.h"
#include "nolapsreason.h"
#include "sectortimes.h"
#include "session.h"
#include "sessionlabel.h"

#include <QDir>

#include <algorithm>
#include <cmath>

using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

std::optional<double> firstAndLastDifference(const std::vector<double> &values)
{
    const auto valid = [](double value) {
        return std::isfinite(value);
    };
    const auto first = std::find_if(values.begin(), values.end(), valid);
    const auto last = std::find_if(values.rbegin(), values.rend(), valid);
    if (first == values.end())
        return std::nullopt;
    return *first - *last;
}

std::optional<double> maximum(const std::vector<double> &values)
{
    std::optional<double> top;
    for (const double value : values) {
        if (std::isfinite(value) && (!top || value > *top))
            top = value;
    }
    return top;
}

QString messagesText(const QList<ImportResult::Message> &messages)
{
    QStringList lines;
    for (const ImportResult::Message &message : messages) {
        lines.append(message.level == ZUM::SDK::PluginInterfaceImport::Error
                         ? QStringLiteral("error: ") + message.text
                         : message.text);
    }
    return lines.join(QLatin1Char('\n'));
}

StoredLap storedLap(const Lap &lap, std::optional<double> trackLength,
                    const QList<double> &sectorStarts)
{
    const LapHeader &header = lap.header();
    StoredLap stored;
    stored.lapNumber = header.lapNumber;
    stored.stint = header.stint;
    stored.lapInStint = header.lapInStint;
    if (LapTime::isTimed(header.lapTime))
        stored.lapTime = LapTime::seconds(header.lapTime);
    stored.completed = header.completed;
    stored.kind = header.flyingLap;
    stored.timed = LapTime::isTimedLap(header);
    stored.startSessionTime = LapChannels::startSessionTime(lap);
    stored.fuelUsed = firstAndLastDifference(LapChannels::values(lap, QStringLiteral("fuellevel")));
    stored.topSpeed = maximum(LapChannels::values(lap, QStringLiteral("speed")));
    if (trackLength) {
        if (const auto sectors = SectorTimes::of(lap, *trackLength, sectorStarts))
            stored.sectorTimes = sectors->times();
        if (const std::optional<LapTrace> trace = LapTrace::of(lap, *trackLength))
            stored.trace = trace->pack();
    }
    return stored;
}

} // namespace

StoredFile ImportedFile::identity(const QFileInfo &file, const QString &hash)
{
    StoredFile stored;
    stored.path = QDir::fromNativeSeparators(file.absoluteFilePath());
    stored.size = file.size();
    stored.modified = file.lastModified().toUTC();
    stored.hash = hash;
    return stored;
}

StoredFile ImportedFile::failed(const QFileInfo &file, const QString &hash, const QString &reason)
{
    StoredFile stored = identity(file, hash);
    stored.failure = reason;
    return stored;
}

StoredFile ImportedFile::from(const ImportResult &result, const QFileInfo &file,
                              const QString &hash)
{
    StoredFile stored = identity(file, hash);
    stored.recordingStart = result.recording.start().toUTC();
    stored.messages = messagesText(result.messages);

    if (result.failed) {
        QStringList reasons;
        if (!result.recording.problem().isEmpty())
            reasons.append(result.recording.problem());
        for (const ImportResult::Message &message : result.messages) {
            if (message.level == ZUM::SDK::PluginInterfaceImport::Error)
                reasons.append(message.text);
        }
        if (reasons.isEmpty())
            reasons.append(QStringLiteral("the import failed"));
        // The laps read before the error are kept with it.
        stored.failure = reasons.join(QStringLiteral("; "));
    }
    const RecordingInfo &recording = result.recording;
    if (result.laps.isEmpty()) {
        // What the session text says, as ibt-laps shows a file without laps, and why.
        stored.trackName = recording.trackName();
        stored.trackConfigName = recording.trackConfigName();
        stored.carName = recording.carName();
        stored.driverName = recording.driverName();
        stored.sessionLabel = recording.sessionTypes();
        if (!result.failed)
            stored.note = NoLapsReason::of(result.file);
        return stored;
    }
    QStringList notes {recording.headerProblem(), recording.recordsNote()};
    notes.removeAll(QString());
    stored.note = notes.join(QStringLiteral("; "));

    const LapHeader &header = result.laps.first()->header();
    stored.sessionKind = ZUM::SDK::sessionName(header.session);
    stored.sessionLabel = sessionLabel(header);
    const auto text = [&header](const char *name) {
        const ZUM::SDK::Value *value = header.dynamicData.find(QLatin1String(name));
        return value ? value->toString().trimmed() : QString();
    };
    stored.sessionName = text("Session name");
    stored.trackName = header.trackName;
    stored.trackConfigName = header.trackConfigName;
    stored.carName = header.carInfo.carName;
    stored.driverName = header.carInfo.driverName;
    stored.skies = text("Skies");
    if (const ZUM::SDK::Value *air = header.dynamicData.find(QStringLiteral("Air temperature")))
        stored.airTemperature = air->toDouble();

    const std::optional<double> trackLength = LapChannels::trackLength(result.laps);
    stored.trackLength = trackLength;
    const QList<double> sectorStarts = trackLength
        ? SectorTimes::starts(*trackLength, result.recording.sectorStarts())
        : QList<double>();
    for (const QSharedPointer<Lap> &lap : result.laps)
        stored.laps.append(storedLap(*lap, trackLength, sectorStarts));
    return stored;
}
