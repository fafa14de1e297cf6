#pragma once

#include <QString>

#include <optional>

// A file's identity by its contents, to tell a changed file from a touched one and to find
// a moved one again.
class FileHash
{
public:
    // SHA-256 in hex; null with *error set when the file cannot be read.
    static std::optional<QString> sha256(const QString &path, QString *error);
};
