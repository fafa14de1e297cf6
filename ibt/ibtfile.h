#pragma once

#include "ibtvariable.h"
#include "irsdk.h"

#include <QList>
#include <QString>

#include <cstdio>
#include <memory>

// Reads a disk telemetry file: the header, the disk sub-header, the session text and the
// variable descriptors, in that order, each length and offset checked against the file
// before any memory is given to it; then the sample records, in order, in whole records.
//
// open() stops at the first part that cannot be read and says which. A negative length
// asks for a buffer no file can fill: the import reports that as an allocation failure.
// After open() the fixed parts are read-only; readRecords() is for one thread at a time.
class IbtFile
{
public:
    enum class Status {
        Ok,
        CannotOpen,
        ShortHeader,
        ShortDiskSubHeader,
        ShortSessionText,
        ShortVarHeaders,
        ImpossibleLength, // a negative length of the session text, descriptors or records
    };

    IbtFile();
    ~IbtFile();
    IbtFile(const IbtFile &) = delete;
    IbtFile &operator=(const IbtFile &) = delete;

    Status open(const QString &path);
    Status status() const { return m_status; }
    // What the import says of a part that could not be read; empty for Ok and CannotOpen.
    static QString errorText(Status status);

    const irsdk_header &header() const { return m_header; }
    const irsdk_diskSubHeader &diskSubHeader() const { return m_diskSubHeader; }
    // The session text as the import hands it on: its last stored byte is made the
    // terminator, so the text is one byte shorter than stored.
    const char *sessionText() const { return m_sessionText.get(); }
    const irsdk_varHeader *varHeaders() const { return m_varHeaders.get(); }
    qint32 varHeaderCount() const { return m_status == Status::Ok ? m_header.numVars : 0; }
    // The decode plan: every variable that a record can hold, in descriptor order. Built on
    // first use.
    const QList<IbtVariable> &variables() const;

    qint64 fileSize() const { return m_fileSize; }
    qint32 recordLength() const { return m_header.bufLen; }
    // Where the first record starts: the header's offset, or, when that cannot be sought,
    // right after the descriptors, where reading stands then.
    qint64 recordOffset() const { return m_recordOffset; }
    qint64 wholeRecords() const;
    qint64 partialRecordBytes() const;

    // Reads the next records, at most maxRecords, into buffer (recordLength() bytes each) and
    // returns how many whole ones it read. The first read that comes up short ends the
    // records: a partial last record is dropped, and every later call returns 0.
    qint64 readRecords(char *buffer, qint64 maxRecords);

private:
    Status fail(Status status);
    Status readSessionText();
    Status readVarHeaders();
    bool readAt(qint64 offset, char *into, qint64 bytes);

    struct Closer
    {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> m_file;
    Status m_status = Status::CannotOpen;
    irsdk_header m_header {};
    irsdk_diskSubHeader m_diskSubHeader {};
    std::unique_ptr<char[]> m_sessionText;
    std::unique_ptr<irsdk_varHeader[]> m_varHeaders;
    mutable QList<IbtVariable> m_variables;
    mutable bool m_planned = false;
    qint64 m_fileSize = 0;
    qint64 m_recordOffset = 0;
    bool m_recordsStarted = false;
    bool m_recordsEnded = false;
};
