#include "storedfile.h"

#include <QDataStream>

namespace {

QDataStream &operator<<(QDataStream &stream, const std::optional<double> &value)
{
    return stream << value.has_value() << value.value_or(0.0);
}

QDataStream &operator>>(QDataStream &stream, std::optional<double> &value)
{
    bool present = false;
    double number = 0.0;
    stream >> present >> number;
    value = present ? std::optional<double>(number) : std::nullopt;
    return stream;
}

QDataStream &operator<<(QDataStream &stream, const StoredLap &lap)
{
    return stream << qint32(lap.lapNumber) << qint32(lap.stint) << qint32(lap.lapInStint)
                  << lap.lapTime << lap.completed << qint32(lap.kind) << lap.timed
                  << lap.startSessionTime << lap.fuelUsed << lap.topSpeed << lap.sectorTimes
                  << lap.trace;
}

QDataStream &operator>>(QDataStream &stream, StoredLap &lap)
{
    qint32 lapNumber = 0;
    qint32 stint = 0;
    qint32 lapInStint = 0;
    qint32 kind = 0;
    stream >> lapNumber >> stint >> lapInStint >> lap.lapTime >> lap.completed >> kind >> lap.timed
        >> lap.startSessionTime >> lap.fuelUsed >> lap.topSpeed >> lap.sectorTimes >> lap.trace;
    lap.lapNumber = lapNumber;
    lap.stint = stint;
    lap.lapInStint = lapInStint;
    lap.kind = kind;
    return stream;
}

} // namespace

QDataStream &operator<<(QDataStream &stream, const StoredFile &file)
{
    stream << file.path << qint64(file.size) << file.modified << file.hash << file.recordingStart
           << file.sessionKind << file.sessionName << file.sessionLabel << file.trackName
           << file.trackConfigName << file.trackLength << file.carName << file.driverName
           << file.skies << file.airTemperature << file.messages << file.failure << file.note
           << qint64(file.laps.size());
    for (const StoredLap &lap : file.laps)
        stream << lap;
    return stream;
}

QDataStream &operator>>(QDataStream &stream, StoredFile &file)
{
    qint64 size = 0;
    qint64 laps = 0;
    stream >> file.path >> size >> file.modified >> file.hash >> file.recordingStart
        >> file.sessionKind >> file.sessionName >> file.sessionLabel >> file.trackName
        >> file.trackConfigName >> file.trackLength >> file.carName >> file.driverName >> file.skies
        >> file.airTemperature >> file.messages >> file.failure >> file.note >> laps;
    file.size = size;
    file.laps.clear();
    // A damaged stream stops at its end rather than at a count it claims.
    for (qint64 i = 0; i < laps && stream.status() == QDataStream::Ok; ++i) {
        StoredLap lap;
        stream >> lap;
        file.laps.append(std::move(lap));
    }
    return stream;
}
