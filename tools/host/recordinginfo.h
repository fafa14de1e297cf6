#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// What the file itself says of the recording, read with the project's read side of .ibt files
// and never through the import: when the recording started, how many whole records it holds,
// its session text and the track's sectors in it, and, for a file that cannot be read, the
// reason in words a user acts on.
class RecordingInfo
{
public:
    static RecordingInfo read(const QString &path);

    // Empty when the file can be read; else why not: "does not exist", "is a directory",
    // "permission denied", "is empty", or what in it cannot be read.
    QString problem() const { return m_problem; }

    // When the recording started, from the disk sub-header; invalid when it holds no date.
    QDateTime start() const { return m_start; }
    // The session time of the first record.
    std::optional<double> startSessionTime() const { return m_startSessionTime; }

    // The session-information text (Latin-1) as the import hands it on; empty when there is none.
    QByteArray sessionText() const { return m_sessionText; }
    // Where the track's own sectors start, as fractions of a lap from the line, rising, the
    // first 0: the session text's SplitTimeInfo/Sectors. Empty when it lists none that make
    // sense.
    QList<double> sectorStarts() const { return m_sectorStarts; }

    // What the session text names: the track and its configuration, the player's car and
    // driver, the sessions' types ("Practice", or "Practice, Qualify, Race"). Empty where it
    // names none.
    QString trackName() const { return m_trackName; }
    QString trackConfigName() const { return m_trackConfigName; }
    QString carName() const { return m_carName; }
    QString driverName() const { return m_driverName; }
    QString sessionTypes() const { return m_sessionTypes; }

    // The header's format version; the simulator writes 1 (until 2016) and 2.
    qint32 version() const { return m_version; }
    // What is wrong with a header the simulator cannot have written; empty when nothing is.
    QString headerProblem() const;

    qint64 wholeRecords() const { return m_wholeRecords; }
    qint64 partialRecordBytes() const { return m_partialRecordBytes; }
    // "no records", or how many whole records were read and how many bytes of a partial one
    // were dropped; empty for a file of whole records.
    QString recordsNote() const;

private:
    QString m_problem;
    QDateTime m_start;
    std::optional<double> m_startSessionTime;
    QByteArray m_sessionText;
    QList<double> m_sectorStarts;
    QString m_trackName;
    QString m_trackConfigName;
    QString m_carName;
    QString m_driverName;
    QString m_sessionTypes;
    qint32 m_version = 0;
    qint64 m_wholeRecords = 0;
    qint64 m_partialRecordBytes = 0;
};
