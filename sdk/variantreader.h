#pragma once

#include <QBitArray>
#include <QDataStream>
#include <QMetaType>
#include <QVariant>

namespace ZUM::SDK {

// Reads a map of variants from a data stream exactly as QDataStream's own operators read it,
// with one exception: a bit array whose stored length is negative. Qt 6.4 reads such a length
// from a stream of version 6.0 or later and then writes through an empty array (a crash); here
// it ends the read as corrupt data, as any other damage does. A stream of Qt 5 stores bit array
// lengths unsigned, and Qt reads those itself; a stream older than Qt 5 goes to Qt's operators
// unchanged.
//
// The lists that a map may hold are read here too: Qt reserves room for the count a list
// claims before it reads a single element, so a few damaged bytes could claim gigabytes. Here
// a list reserves no more elements than the bytes left in the stream can hold; what is read
// stays exactly what Qt reads.
class VariantReader
{
public:
    static void read(QDataStream &stream, QVariantMap &map);

private:
    explicit VariantReader(QDataStream &stream)
        : m_stream(stream)
    { }

    void read(QVariant &value);
    bool load(QMetaType type, void *data);
    void read(QBitArray &bits);
    template<typename List, typename ReadElement>
    void readList(List &list, qint64 smallestElementBytes, ReadElement readElement);
    template<typename Map>
    void read(Map &map);

    QDataStream &m_stream;
};

} // namespace ZUM::SDK
