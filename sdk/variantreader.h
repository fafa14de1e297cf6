#pragma once

#include <QBitArray>
#include <QDataStream>
#include <QMetaType>
#include <QVariant>

namespace ZUM::SDK {

// Reads a map of variants from a data stream exactly as QDataStream's own operators read it,
// with one exception: a bit array whose stored length is negative. Qt 6.4 reads such a length
// from a stream of version 6.0 or later and then writes through an empty array (a crash); here
// it ends the read as corrupt data, as any other damage does. A stream of an older version
// stores bit array lengths unsigned and goes to Qt's operators unchanged.
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
    void read(QVariantList &list);
    template<typename Map>
    void read(Map &map);

    QDataStream &m_stream;
};

} // namespace ZUM::SDK
