#pragma once

// Reads back the bytes of a written .ibt file for the tests: whole structures copied out of
// the file image, values decoded by their descriptors. No checks beyond what a test needs.

#include "irsdk.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <cstring>

class WrittenFile
{
public:
    static WrittenFile load(const QString &path)
    {
        WrittenFile file;
        QFile f(path);
        if (f.open(QIODevice::ReadOnly))
            file.bytes = f.readAll();
        return file;
    }

    static WrittenFile fromBytes(const QByteArray &bytes)
    {
        WrittenFile file;
        file.bytes = bytes;
        return file;
    }

    QByteArray bytes;

    qint64 size() const { return bytes.size(); }

    template<typename T>
    T at(qint64 offset) const
    {
        T value {};
        if (offset >= 0 && offset + qint64(sizeof(T)) <= bytes.size())
            std::memcpy(&value, bytes.constData() + offset, sizeof(T));
        return value;
    }

    irsdk_header header() const { return at<irsdk_header>(0); }
    irsdk_diskSubHeader subHeader() const
    {
        return at<irsdk_diskSubHeader>(irsdk_diskSubHeaderOffset);
    }

    QList<irsdk_varHeader> varHeaders() const
    {
        const irsdk_header h = header();
        QList<irsdk_varHeader> list;
        for (int i = 0; i < h.numVars; ++i)
            list.append(
                at<irsdk_varHeader>(h.varHeaderOffset + qint64(i) * sizeof(irsdk_varHeader)));
        return list;
    }

    QByteArray sessionInfo() const
    {
        const irsdk_header h = header();
        return bytes.mid(h.sessionInfoOffset, h.sessionInfoLen);
    }

    // Whole records only, as a reader sees them.
    qint64 recordCount() const
    {
        const irsdk_header h = header();
        if (h.bufLen <= 0 || bytes.size() < h.varBuf[0].bufOffset)
            return 0;
        return (bytes.size() - h.varBuf[0].bufOffset) / h.bufLen;
    }

    int indexOf(const char *name) const
    {
        const QList<irsdk_varHeader> vars = varHeaders();
        for (int i = 0; i < vars.size(); ++i) {
            if (std::strncmp(vars[i].name, name, IRSDK_MAX_STRING) == 0)
                return i;
        }
        return -1;
    }

    // The element as a double; 0 for an unknown name.
    double value(const char *name, qint64 record, int element = 0) const
    {
        const int index = indexOf(name);
        if (index < 0)
            return 0.0;
        return value(varHeaders().at(index), record, element);
    }

    double value(const irsdk_varHeader &var, qint64 record, int element = 0) const
    {
        const irsdk_header h = header();
        const qint64 offset = h.varBuf[0].bufOffset + record * h.bufLen + var.offset
            + qint64(element) * irsdk_varTypeSize(var.type);
        switch (var.type) {
        case irsdk_char:
            return at<int8_t>(offset);
        case irsdk_bool:
            return at<uint8_t>(offset) != 0 ? 1.0 : 0.0;
        case irsdk_int:
        case irsdk_bitField:
            return at<int32_t>(offset);
        case irsdk_float:
            return at<float>(offset);
        case irsdk_double:
            return at<double>(offset);
        default:
            return 0.0;
        }
    }

    // Every record's value of one variable, decoded once.
    QList<double> series(const char *name, int element = 0) const
    {
        QList<double> values;
        const int index = indexOf(name);
        if (index < 0)
            return values;
        const irsdk_varHeader var = varHeaders().at(index);
        const qint64 count = recordCount();
        values.reserve(count);
        for (qint64 r = 0; r < count; ++r)
            values.append(value(var, r, element));
        return values;
    }
};
