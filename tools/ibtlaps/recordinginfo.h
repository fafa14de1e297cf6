#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// What the file itself says of the recording, read with the project's read side of .ibt files
// and never through the import: when the recording started, how many whole records it holds,
// and, for a file that cannot be read, the reason in words a user acts on.
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

    qint64 wholeRecords() const { return m_wholeRecords; }
    qint64 partialRecordBytes() const { return m_partialRecordBytes; }
    // "no records", or how many whole records were read and how many bytes of a partial one
    // were dropped; empty for a file of whole records.
    QString recordsNote() const;

private:
    QString m_problem;
    QDateTime m_start;
    std::optional<double> m_startSessionTime;
    qint64 m_wholeRecords = 0;
    qint64 m_partialRecordBytes = 0;
};
