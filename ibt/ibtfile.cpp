#include "ibtfile.h"

#include <QFileInfo>

#include <limits>

IbtFile::IbtFile() = default;
IbtFile::~IbtFile() = default;

QString IbtFile::errorText(Status status)
{
    switch (status) {
    case Status::ShortHeader:
        return QStringLiteral("Error reading irsdk_header");
    case Status::ShortDiskSubHeader:
        return QStringLiteral("Error reading irsdk_diskSubHeader");
    case Status::ShortSessionText:
        return QStringLiteral("Failed to read sessionInfoString");
    case Status::ShortVarHeaders:
        return QStringLiteral("Failed to read irsdk_varHeader");
    case Status::Ok:
    case Status::CannotOpen:
    case Status::ImpossibleLength:
        break;
    }
    return {};
}

IbtFile::Status IbtFile::fail(Status status)
{
    m_file.reset();
    m_status = status;
    return status;
}

IbtFile::Status IbtFile::open(const QString &path)
{
    m_file.reset(std::fopen(path.toLocal8Bit().constData(), "rb"));
    if (!m_file)
        return fail(Status::CannotOpen);
    m_fileSize = QFileInfo(path).size();

    if (std::fread(&m_header, 1, sizeof m_header, m_file.get()) != sizeof m_header)
        return fail(Status::ShortHeader);
    // Read whole and used by no import: the record count is not trusted to bound the records.
    if (std::fread(&m_diskSubHeader, 1, sizeof m_diskSubHeader, m_file.get())
        != sizeof m_diskSubHeader)
        return fail(Status::ShortDiskSubHeader);
    if (const Status status = readSessionText(); status != Status::Ok)
        return fail(status);
    if (const Status status = readVarHeaders(); status != Status::Ok)
        return fail(status);
    if (m_header.bufLen < 0)
        return fail(Status::ImpossibleLength);

    // An offset that cannot be sought leaves reading where the descriptors ended.
    m_recordOffset = m_header.varBuf[0].bufOffset >= 0
        ? qint64(m_header.varBuf[0].bufOffset)
        : qint64(m_header.varHeaderOffset) + qint64(m_header.numVars) * sizeof(irsdk_varHeader);
    m_status = Status::Ok;
    return m_status;
}

// A part of the file at an offset from the header. Offsets are 32-bit values from the file; one
// that cannot be sought, or a part that passes the end of the file, is a short read.
bool IbtFile::readAt(qint64 offset, char *into, qint64 bytes)
{
    if (offset < 0 || std::fseek(m_file.get(), long(offset), SEEK_SET) != 0)
        return false;
    return bytes == 0 || std::fread(into, 1, size_t(bytes), m_file.get()) == size_t(bytes);
}

IbtFile::Status IbtFile::readSessionText()
{
    const qint32 length = m_header.sessionInfoLen;
    if (length < 0)
        return Status::ImpossibleLength;
    if (length > 0 && qint64(m_header.sessionInfoOffset) + length > m_fileSize)
        return Status::ShortSessionText;
    // Not zeroed: only what is read is used.
    m_sessionText = std::make_unique_for_overwrite<char[]>(size_t(length) + 1);
    if (!readAt(m_header.sessionInfoOffset, m_sessionText.get(), length))
        return Status::ShortSessionText;
    // The last stored byte becomes the terminator; a text of no bytes is empty.
    m_sessionText[length] = '\0';
    if (length > 0)
        m_sessionText[length - 1] = '\0';
    return Status::Ok;
}

IbtFile::Status IbtFile::readVarHeaders()
{
    if (m_header.numVars < 0)
        return Status::ImpossibleLength;
    // The descriptors are read in one go of at most 2 GiB, as file offsets are 32-bit: more of
    // them than that cannot be in the file.
    const qint64 bytes = qint64(m_header.numVars) * qint64(sizeof(irsdk_varHeader));
    if (bytes > std::numeric_limits<qint32>::max()
        || (bytes > 0 && qint64(m_header.varHeaderOffset) + bytes > m_fileSize))
        return Status::ShortVarHeaders;
    m_varHeaders = std::make_unique_for_overwrite<irsdk_varHeader[]>(size_t(m_header.numVars));
    if (!readAt(m_header.varHeaderOffset, reinterpret_cast<char *>(m_varHeaders.get()), bytes))
        return Status::ShortVarHeaders;
    return Status::Ok;
}

const QList<IbtVariable> &IbtFile::variables() const
{
    if (!m_planned && m_status == Status::Ok)
        m_variables = IbtVariable::plan(m_varHeaders.get(), m_header.numVars, m_header.bufLen);
    m_planned = true;
    return m_variables;
}

qint64 IbtFile::wholeRecords() const
{
    if (m_status != Status::Ok || recordLength() <= 0 || m_recordOffset >= m_fileSize)
        return 0;
    return (m_fileSize - m_recordOffset) / recordLength();
}

qint64 IbtFile::partialRecordBytes() const
{
    if (m_status != Status::Ok || recordLength() <= 0 || m_recordOffset >= m_fileSize)
        return 0;
    return (m_fileSize - m_recordOffset) % recordLength();
}

qint64 IbtFile::readRecords(char *buffer, qint64 maxRecords)
{
    // A record of no bytes would "read" successfully for ever.
    if (!m_file || m_recordsEnded || recordLength() <= 0 || maxRecords <= 0)
        return 0;
    if (!m_recordsStarted) {
        m_recordsStarted = true;
        if (std::fseek(m_file.get(), long(m_recordOffset), SEEK_SET) != 0) {
            m_recordsEnded = true;
            return 0;
        }
    }
    const size_t wanted = size_t(maxRecords) * size_t(recordLength());
    const size_t got = std::fread(buffer, 1, wanted, m_file.get());
    if (got < wanted)
        m_recordsEnded = true;
    return qint64(got / size_t(recordLength()));
}
