#pragma once

// Reads a whole .ibt file written by the tests into its parts, for feeding the reader
// record by record. Only for files the tests made themselves: lengths are trusted.

#include "irsdk.h"

#include <QByteArray>
#include <QFile>

#include <cstring>

class IbtFile
{
public:
    explicit IbtFile(const QByteArray &bytes)
        : m_bytes(bytes)
    {
        std::memcpy(&m_header, m_bytes.constData(), sizeof m_header);
    }

    static IbtFile load(const QString &path)
    {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        return IbtFile(file.readAll());
    }

    const irsdk_header &header() const { return m_header; }
    const irsdk_varHeader *varHeaders() const
    {
        return reinterpret_cast<const irsdk_varHeader *>(m_bytes.constData()
                                                         + m_header.varHeaderOffset);
    }
    QByteArray sessionText() const
    {
        return m_bytes.mid(m_header.sessionInfoOffset, m_header.sessionInfoLen);
    }
    // The session text as the import hands it on: its last stored byte made the terminator.
    QByteArray terminatedSessionText() const
    {
        QByteArray text = sessionText();
        if (!text.isEmpty())
            text[text.size() - 1] = '\0';
        return text;
    }
    qsizetype recordCount() const
    {
        return m_header.bufLen > 0
            ? (m_bytes.size() - m_header.varBuf[0].bufOffset) / m_header.bufLen
            : 0;
    }
    const char *record(qsizetype index) const
    {
        return m_bytes.constData() + m_header.varBuf[0].bufOffset + index * m_header.bufLen;
    }

private:
    QByteArray m_bytes;
    irsdk_header m_header;
};
