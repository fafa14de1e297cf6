#pragma once

#include <QString>

#include <optional>

// A file's identity by its contents, to tell a changed file from a touched one and to find a
// moved one again: BLAKE2b-256 of its size (as text) and every byte of it. Of the hashes Qt
// offers, SHA-1 and MD5 are faster, but pairs of files with the same SHA-1 or MD5 can be made
// on purpose, and a team's library takes files from many hands; BLAKE2b is the fastest of the
// others. A recording is hashed beside its import, so the time it takes is hidden there.
class FileHash
{
public:
    // In hex; null with *error set when the file cannot be read.
    static std::optional<QString> of(const QString &path, QString *error);
};
