#pragma once

// The reader run over a file exactly as the import runs it (FileReplay): the tests' replays go
// through the host's own path.

#include "filereplay.h"
#include "ibtfile.h"
#include "ibtimage.h"
#include "irtelemetryreader.h"

#include <QString>

namespace ReaderReplay {

// Every record of the file at path, run by the reader, the hooks looking at each tick. No tick
// runs when the file cannot be opened.
inline FileReplay::Result run(iRTelemetryReader &reader, const QString &path,
                              const FileReplay::Hooks &hooks = {})
{
    IbtFile file;
    if (file.open(path) != IbtFile::Status::Ok)
        return {};
    return FileReplay::run(file, reader, hooks);
}

inline FileReplay::Result run(iRTelemetryReader &reader, const IbtImage &image,
                              const FileReplay::Hooks &hooks = {})
{
    return run(reader, image.path(), hooks);
}

} // namespace ReaderReplay
