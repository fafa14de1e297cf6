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
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const qint64 size = file.size();
    constexpr qint64 Block = 1 << 20;
    QByteArray block(Block, Qt::Uninitialized);
    qint64 read = 0;
    for (qint64 got; (got = file.read(block.data(), Block)) > 0; read += got)
        hash.addData(QByteArrayView(block.constData(), got));
    if (read != size) {
        *error = file.errorString().isEmpty() ? QStringLiteral("it changed while being read")
                                              : file.errorString();
        return std::nullopt;
    }
    return QString::fromLatin1(hash.result().toHex());
}
