#include "filehash.h"

#include <QFile>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <memory>

std::optional<QString> FileHash::of(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return std::nullopt;
    }
    const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(),
                                                                         &XXH3_freeState);
    if (!state || XXH3_128bits_reset(state.get()) != XXH_OK) {
        *error = QStringLiteral("out of memory");
        return std::nullopt;
    }
    const qint64 size = file.size();
    constexpr qint64 Block = 1 << 20;
    QByteArray block(Block, Qt::Uninitialized);
    qint64 read = 0;
    for (qint64 got; (got = file.read(block.data(), Block)) > 0; read += got)
        XXH3_128bits_update(state.get(), block.constData(), size_t(got));
    if (read != size) {
        *error = file.errorString().isEmpty() ? QStringLiteral("it changed while being read")
                                              : file.errorString();
        return std::nullopt;
    }
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(state.get()));
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(canonical.digest), sizeof canonical.digest)
            .toHex());
}
