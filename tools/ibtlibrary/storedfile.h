#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// What the library keeps of one lap: its index entry, its times through the track's own
// sectors and its compact trace by distance (LapTrace::pack).
struct StoredLap
{
    int lapNumber = 0;
    int stint = 0;
    int lapInStint = 0;
    std::optional<double> lapTime; // seconds; none for a lap the simulator did not time
    bool completed = false;
    int kind = -1; // the header's flyingLap: -1 not known, 0 out lap, 1 flying lap
    bool timed = false; // completed with a time: the laps that times are compared over
    std::optional<double> startSessionTime;
    std::optional<double> fuelUsed; // litres
    std::optional<double> topSpeed; // m/s
    QList<double> sectorTimes; // seconds, adding up to the lap time; empty when unknown
    QByteArray trace;
};

// What the library keeps of one file: its identity on disk, what it says of its session, the
// import's messages, and its laps. A file that could not be imported keeps its identity, the
// messages and the reason, and no laps.
struct StoredFile
{
    QString path; // absolute, with '/' separators
    qint64 size = 0;
    QDateTime modified;
    QString hash; // of the contents (FileHash); empty when they could not be read

    QDateTime recordingStart; // UTC; invalid when the file holds no date
    QString sessionKind; // the import's kind of session ("Practice")
    QString sessionName; // the session text's own name of it ("Offline Testing")
    // As a driver reads it (sessionLabel): "Practice", "Unknown session (Offline Testing)";
    // for a file without laps the session text's types ("Practice, Qualify, Race").
    QString sessionLabel;
    QString trackName;
    QString trackConfigName;
    std::optional<double> trackLength; // metres
    QString carName;
    QString driverName;
    QString skies;
    std::optional<double> airTemperature; // as the simulator gives it, C
    QString messages; // the plug-in's lines, one per line, errors marked "error: "
    QString failure; // empty for a file that was imported
    // The tool's own word on a file that was imported: why it gives no laps ("no laps: the car
    // stayed in the pit stall for all 899 records"), or what is odd in its header or records.
    QString note;

    QList<StoredLap> laps;
};

class QDataStream;

// How a worker process hands a stored file to the tool that started it.
QDataStream &operator<<(QDataStream &stream, const StoredFile &file);
QDataStream &operator>>(QDataStream &stream, StoredFile &file);
