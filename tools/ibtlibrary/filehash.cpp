#include "filehash.h"

#include <QCryptographicHash>
#include <QFile>

std::optional<QString> FileHash::of(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return std::nullopt;
    }
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    const qint64 size = file.size();
    // The size as text, the same on every system.
    const QByteArray sizeBytes = QByteArray::number(size);
    hash.addData(sizeBytes);
    const auto add = [&](qint64 at, qint64 length) {
        if (!file.seek(at))
            return false;
        const QByteArray bytes = file.read(length);
        hash.addData(bytes);
        return bytes.size() == length;
    };
    bool read = true;
    if (size <= 2 * Edge + Stride) {
        read = add(0, size);
    } else {
        read = add(0, Edge);
        for (qint64 at = Stride; read && at + Block < size - Edge; at += Stride)
            read = add(at, Block);
        read = read && add(size - Edge, Edge);
    }
    if (!read) {
        *error = file.errorString().isEmpty() ? QStringLiteral("it ended while being read")
                                              : file.errorString();
        return std::nullopt;
    }
    return QString::fromLatin1(hash.result().toHex());
}
