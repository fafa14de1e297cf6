#pragma once

// A whole .ibt file read into memory through the format's read side, in its parts, for
// feeding the reader record by record: the header, the descriptors, the session text as the
// import hands it on, and every whole record.

#include "ibtfile.h"
#include "irsdk.h"

#include <QByteArray>
#include <QTemporaryFile>

#include <vector>

class IbtImage
{
public:
    // An image of no parts when the read side cannot read the file.
    static IbtImage load(const QString &path)
    {
        IbtImage image;
        IbtFile file;
        if (file.open(path) != IbtFile::Status::Ok)
            return image;
        image.m_header = file.header();
        image.m_varHeaders.assign(file.varHeaders(), file.varHeaders() + file.varHeaderCount());
        image.m_sessionText = QByteArray(file.sessionText());
        image.m_recordCount = file.wholeRecords();
        image.m_records.resize(image.m_recordCount * qMax(file.recordLength(), 0));
        image.m_recordCount = file.readRecords(image.m_records.data(), image.m_recordCount);
        return image;
    }

    // The image of bytes that the tests wrote themselves.
    explicit IbtImage(const QByteArray &bytes)
    {
        QTemporaryFile file;
        if (file.open() && file.write(bytes) == bytes.size() && file.flush())
            *this = load(file.fileName());
    }

    const irsdk_header &header() const { return m_header; }
    const irsdk_varHeader *varHeaders() const { return m_varHeaders.data(); }
    // The session text as the import hands it on: its last stored byte made the terminator.
    const QByteArray &terminatedSessionText() const { return m_sessionText; }
    qsizetype recordCount() const { return m_recordCount; }
    const char *record(qsizetype index) const
    {
        return m_records.constData() + index * m_header.bufLen;
    }

private:
    IbtImage() = default;

    irsdk_header m_header {};
    std::vector<irsdk_varHeader> m_varHeaders;
    QByteArray m_sessionText;
    QByteArray m_records;
    qsizetype m_recordCount = 0;
};
