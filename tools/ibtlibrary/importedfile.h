#pragma once

#include "importresult.h"
#include "storedfile.h"

#include <QFileInfo>

// Turns one import, with what the file says of itself, into what the library stores of the
// file: its session from the first lap's header, and per lap its index entry, its times
// through the track's own sectors and its trace.
class ImportedFile
{
public:
    // A file the import failed on keeps, as its failure, the tool's word on the file (why it
    // cannot be read) and the plug-in's error lines, beside the laps read before the error.
    static StoredFile from(const ImportResult &result, const QFileInfo &file, const QString &hash);
    // The file's identity alone, for contents the library holds already.
    static StoredFile identity(const QFileInfo &file, const QString &hash);
    // A file that could not be imported at all, for that reason.
    static StoredFile failed(const QFileInfo &file, const QString &hash, const QString &reason);
};
