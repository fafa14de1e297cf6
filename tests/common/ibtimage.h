#pragma once

// A written or recorded .ibt file in memory, for the tests. Two views of the same bytes:
// - as stored: the header, the sub-header, the descriptors and the session text copied out of
//   the bytes, whatever the header claims;
// - as the import reads them, through the format's read side: the session text as the import
//   hands it on, every whole record, and each variable's values decoded by the import's own
//   decode plan and decoding (none when the read side refuses the file).
// The file stays on disk as long as the image, for replaying it as the import does.

#include "ibtfile.h"
#include "irsdk.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <QTemporaryFile>

#include <cstring>
#include <memory>

class IbtImage
{
public:
    static IbtImage load(const QString &path)
    {
        IbtImage image;
        image.m_path = path;
        QFile raw(path);
        if (raw.open(QIODevice::ReadOnly))
            image.m_bytes = raw.readAll();
        image.m_header = image.at<irsdk_header>(0);
        image.m_varHeaders = image.storedVarHeaders();

        IbtFile file;
        if (file.open(path) != IbtFile::Status::Ok)
            return image;
        image.m_sessionText = QByteArray(file.sessionText());
        image.m_variables = file.variables();
        image.m_recordCount = file.wholeRecords();
        image.m_records.resize(image.m_recordCount * qMax(file.recordLength(), 0));
        image.m_recordCount = file.readRecords(image.m_records.data(), image.m_recordCount);
        return image;
    }

    // The image of bytes that the tests wrote themselves, in a temporary file that lives as
    // long as the image.
    static IbtImage fromBytes(const QByteArray &bytes)
    {
        const auto file = std::make_shared<QTemporaryFile>();
        if (!file->open() || file->write(bytes) != bytes.size() || !file->flush())
            return {};
        IbtImage image = load(file->fileName());
        image.m_temporary = file;
        return image;
    }

    // The file the image was read from.
    const QString &path() const { return m_path; }

    // As stored.
    const QByteArray &bytes() const { return m_bytes; }
    qint64 size() const { return m_bytes.size(); }
    // The bytes at an offset as a T; zeros where they would lie outside the file.
    template<typename T>
    T at(qint64 offset) const
    {
        T value {};
        if (offset >= 0 && offset + qint64(sizeof(T)) <= m_bytes.size())
            std::memcpy(&value, m_bytes.constData() + offset, sizeof(T));
        return value;
    }
    const irsdk_header &header() const { return m_header; }
    irsdk_diskSubHeader subHeader() const
    {
        return at<irsdk_diskSubHeader>(irsdk_diskSubHeaderOffset);
    }
    // The descriptors the header counts, as far as the file holds them.
    const QList<irsdk_varHeader> &varHeaders() const { return m_varHeaders; }
    QByteArray sessionInfo() const
    {
        return m_bytes.mid(m_header.sessionInfoOffset, m_header.sessionInfoLen);
    }
    int indexOf(const char *name) const
    {
        for (int i = 0; i < m_varHeaders.size(); ++i) {
            if (std::strncmp(m_varHeaders[i].name, name, IRSDK_MAX_STRING) == 0)
                return i;
        }
        return -1;
    }
    // The element of a whole record as a double, decoded as the import decodes it; 0 for an
    // unknown name or one that no record can hold, and past the records or the elements.
    double value(const char *name, qint64 record, int element = 0) const
    {
        const IbtVariable *variable = variableOf(indexOf(name));
        return variable ? valueOf(*variable, record, element) : 0.0;
    }
    // Every whole record's value of one variable.
    QList<double> series(const char *name, int element = 0) const
    {
        QList<double> values;
        const IbtVariable *variable = variableOf(indexOf(name));
        if (!variable)
            return values;
        values.reserve(m_recordCount);
        for (qint64 r = 0; r < m_recordCount; ++r)
            values.append(valueOf(*variable, r, element));
        return values;
    }

    // As the import reads them.
    // The session text as the import hands it on: its last stored byte made the terminator.
    const QByteArray &terminatedSessionText() const { return m_sessionText; }
    qint64 recordCount() const { return m_recordCount; }
    const char *record(qint64 index) const
    {
        return m_records.constData() + index * m_header.bufLen;
    }

private:
    // The decode plan's variable of a descriptor, or null.
    const IbtVariable *variableOf(int descriptor) const
    {
        for (const IbtVariable &variable : m_variables) {
            if (variable.descriptor == descriptor)
                return &variable;
        }
        return nullptr;
    }

    double valueOf(const IbtVariable &variable, qint64 record, int element) const
    {
        if (record < 0 || record >= m_recordCount || element < 0 || element >= variable.count)
            return 0.0;
        return IbtVariable::visit(variable.type, variable.element(this->record(record), element),
                                  [](auto value) { return double(value); });
    }

    QList<irsdk_varHeader> storedVarHeaders() const
    {
        const qint64 room = (size() - m_header.varHeaderOffset) / qint64(sizeof(irsdk_varHeader));
        const qint64 count = qMax<qint64>(0, qMin<qint64>(m_header.numVars, room));
        QList<irsdk_varHeader> list;
        for (qint64 i = 0; i < count; ++i)
            list.append(
                at<irsdk_varHeader>(m_header.varHeaderOffset + i * sizeof(irsdk_varHeader)));
        return list;
    }

    QByteArray m_bytes;
    irsdk_header m_header {};
    QList<irsdk_varHeader> m_varHeaders;
    QString m_path;
    std::shared_ptr<QTemporaryFile> m_temporary;
    QByteArray m_sessionText;
    QList<IbtVariable> m_variables;
    QByteArray m_records;
    qint64 m_recordCount = 0;
};
