#include "filehash.h"

#include <QCryptographicHash>
#include <QFile>

std::optional<QString> FileHash::of(const QString &path, QString *error)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
        *error = file.errorString();
        return std::nullopt;
    }
    return QString::fromLatin1(hash.result().toHex());
}
