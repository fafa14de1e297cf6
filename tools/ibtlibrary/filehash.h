#pragma once

#include <QString>

#include <optional>

// A file's identity by its contents, to tell a changed file from a touched one and to find
// a moved one again.
class FileHash
{
public:
    // BLAKE2b-256 in hex, which Qt computes faster than SHA-256; null with *error set when the
    // file cannot be read.
    static std::optional<QString> of(const QString &path, QString *error);
};
