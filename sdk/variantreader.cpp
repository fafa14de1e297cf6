#include "variantreader.h"

#include "sample.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>
#include <QIODevice>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QtDebug>

namespace ZUM::SDK {

void VariantReader::read(QDataStream &stream, QVariantMap &map)
{
    if (stream.version() < QDataStream::Qt_5_0)
        stream >> map;
    else
        VariantReader(stream).read(map);
}

namespace {

// A type's number in a stream of Qt 5 as Qt 6 numbers it: Qt 6 moved the user types, the
// graphical types and the size policy.
quint32 typeIdOfQt5(quint32 typeId)
{
    constexpr quint32 userType = 1024;
    constexpr quint32 firstGuiType = 64;
    constexpr quint32 lastGuiType = 87;
    constexpr quint32 sizePolicy = 121;
    constexpr quint32 regExp = 27;
    if (typeId == userType)
        return QMetaType::User;
    if (typeId >= firstGuiType && typeId <= lastGuiType)
        return typeId + (QMetaType::FirstGuiType - firstGuiType);
    if (typeId == sizePolicy)
        return QMetaType::QSizePolicy;
    if (typeId == regExp)
        return quint32(QMetaType::fromName("QRegExp").id());
    return typeId;
}

} // namespace

// As QVariant::load reads a variant of a stream of version 5.0 or later.
void VariantReader::read(QVariant &value)
{
    value = QVariant();
    quint32 typeId = 0;
    m_stream >> typeId;
    if (m_stream.version() < QDataStream::Qt_6_0)
        typeId = typeIdOfQt5(typeId);
    qint8 null = 0;
    m_stream >> null;
    if (typeId == QMetaType::User) {
        QByteArray name;
        m_stream >> name;
        typeId = QMetaType::fromName(name).id();
        if (typeId == QMetaType::UnknownType) {
            m_stream.setStatus(QDataStream::ReadCorruptData);
            qWarning("QVariant::load: unknown user type with name %s.", name.constData());
            return;
        }
    }
    value = QVariant(QMetaType(int(typeId)));
    if (!value.isValid())
        return;
    // A variant created empty is null; one that is written into is not. The stored flag is
    // kept as a one-bit field keeps it: its lowest bit.
    void *data = (null & 1) != 0 ? const_cast<void *>(value.constData()) : value.data();
    if (!load(value.metaType(), data)) {
        m_stream.setStatus(QDataStream::ReadCorruptData);
        qWarning("QVariant::load: unable to load type %d.", int(typeId));
    }
}

// The types whose own readers read variants are read here, so that a bit array inside them
// is read here too.
bool VariantReader::load(QMetaType type, void *data)
{
    switch (type.id()) {
    case QMetaType::QBitArray:
        // Before Qt 6 a bit array's length is stored unsigned: Qt reads it safely.
        if (m_stream.version() < QDataStream::Qt_6_0)
            return type.load(m_stream, data);
        read(*static_cast<QBitArray *>(data));
        return true;
    case QMetaType::QVariantList:
        // The smallest variant: its type and its null flag.
        readList(*static_cast<QVariantList *>(data), 5, [this](QVariant &v) { read(v); });
        return true;
    case QMetaType::QStringList:
        // The smallest string or byte array: its length.
        readList(*static_cast<QStringList *>(data), 4, [this](QString &s) { m_stream >> s; });
        return true;
    case QMetaType::QByteArrayList:
        readList(*static_cast<QByteArrayList *>(data), 4, [this](QByteArray &b) { m_stream >> b; });
        return true;
    case QMetaType::QVariantMap:
        read(*static_cast<QVariantMap *>(data));
        return true;
    case QMetaType::QVariantHash:
        read(*static_cast<QVariantHash *>(data));
        return true;
    case QMetaType::QVariantPair: {
        auto &pair = *static_cast<QVariantPair *>(data);
        read(pair.first);
        read(pair.second);
        return true;
    }
    default:
        // The data model's own list of samples, registered by name; the smallest sample is
        // a map without keys: its count.
        if (type == QMetaType::fromType<QList<Sample>>()) {
            readList(*static_cast<QList<Sample> *>(data), 4, [this](Sample &s) { m_stream >> s; });
            return true;
        }
        return type.load(m_stream, data);
    }
}

// As Qt reads a bit array, but for a negative length.
void VariantReader::read(QBitArray &bits)
{
    bits.clear();
    quint64 stored = 0;
    m_stream >> stored;
    const qint64 length = qint64(stored);
    if (length == 0)
        return;
    if (length < 0) {
        m_stream.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    // In blocks, so that a length the stream cannot hold fails before it is all allocated.
    constexpr qint64 step = 8 * 1024 * 1024;
    const qint64 totalBytes = length / 8 + (length % 8 != 0 ? 1 : 0);
    QByteArray bytes;
    while (bytes.size() < totalBytes) {
        const qsizetype at = bytes.size();
        const qint64 block = qMin(step, totalBytes - at);
        bytes.resize(at + block);
        if (m_stream.readRawData(bytes.data() + at, int(block)) != block) {
            m_stream.setStatus(QDataStream::ReadPastEnd);
            return;
        }
    }
    // Bits past the length in the last byte must be clear.
    const qint64 paddingMask = ~((0x1 << (length & 0x7)) - 1);
    if (paddingMask != ~0x0 && (bytes.back() & paddingMask) != 0) {
        m_stream.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    bits = QBitArray::fromBits(bytes.constData(), length);
}

// As Qt reads a list (an array-based container), but for how much it reserves.
template<typename List, typename ReadElement>
void VariantReader::readList(List &list, qint64 smallestElementBytes, ReadElement readElement)
{
    // The status as Qt's own container readers leave it, by the class they use.
    QtPrivate::StreamStateSaver keeper(&m_stream);
    list.clear();
    quint32 count = 0;
    m_stream >> count;
    // A sequential device tells only what it has buffered: the list may grow past that.
    const QIODevice *device = m_stream.device();
    const qint64 bytesLeft = device == nullptr ? 0
        : device->isSequential()               ? device->bytesAvailable()
                                               : device->size() - device->pos();
    list.reserve(qsizetype(qMin(qint64(count), qMax(bytesLeft, qint64(0)) / smallestElementBytes)));
    for (quint32 i = 0; i < count; ++i) {
        typename List::value_type element;
        readElement(element);
        if (m_stream.status() != QDataStream::Ok) {
            list.clear();
            break;
        }
        list.append(element);
    }
}

// As Qt reads a map or a hash of variants by name.
template<typename Map>
void VariantReader::read(Map &map)
{
    // The status as Qt's own container readers leave it, by the class they use.
    QtPrivate::StreamStateSaver keeper(&m_stream);
    map.clear();
    quint32 count = 0;
    m_stream >> count;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QVariant value;
        m_stream >> key;
        read(value);
        if (m_stream.status() != QDataStream::Ok) {
            map.clear();
            break;
        }
        map.insert(key, value);
    }
}

} // namespace ZUM::SDK
