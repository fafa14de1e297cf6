#pragma once

#include <QString>

#include <optional>

// A file's identity by its contents, to tell a changed file from a touched one and to find a
// moved one again: BLAKE2b-256 of its size and its contents, of a large file only its first
// and last megabyte and a 64 KiB block every 16 MiB between. A recording is written once,
// from front to back, so a file recorded again, cut short or grown differs there; reading a
// few megabytes of a recording of hundreds keeps hashing well below the import's own time,
// where hashing every byte took twice as long as the import.
class FileHash
{
public:
    static constexpr qint64 Edge = 1 << 20;
    static constexpr qint64 Stride = 16 << 20;
    static constexpr qint64 Block = 64 << 10;

    // In hex; null with *error set when the file cannot be read.
    static std::optional<QString> of(const QString &path, QString *error);
};
