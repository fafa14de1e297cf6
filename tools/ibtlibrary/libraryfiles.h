#pragma once

#include "library.h"
#include "rowoutput.h"

#include <QStringList>

#include <optional>

// The library's files against the disk: which of them changed, moved away or vanished since
// they were added (`check`), and taking files out of the library (`remove`).
class LibraryFiles
{
public:
    // A stored file against the disk by its size and time alone, without reading it.
    enum class Presence { AsAdded, Vanished, Different };

    explicit LibraryFiles(Library &library);

    static Presence presence(const Library::KnownFile &file);

    // One row per file that is not as it was added: "changed" (other contents), "touched"
    // (the same contents, another time stamp) or "vanished" (not at its path: moved or
    // deleted; `add` of its new folder finds a moved file again). Null when the library
    // cannot be read.
    std::optional<RowOutput> check();

    // Removes the files stored under each path (a file, or a folder and all below it), with
    // their laps, in one transaction. Paths that hold no stored file are named in *unknown.
    // The number of files removed, or -1 when the library cannot be changed.
    qsizetype remove(const QStringList &paths, QStringList *unknown);

private:
    Library &m_library;
};
