#pragma once

#include "zumsdk_global.h"

#include <QDir>
#include <QString>

namespace ZUM::SDK {

// An absolute path in dir for a file named like fileName that no file there has yet:
// "base.suffix", else "base_1.suffix", "base_2.suffix" and so on. Only the base name (up to
// the first dot) and the last suffix are kept. Nothing is created on disk.
ZUMSDK_EXPORT QString generateUniqueFileName(const QDir &dir, const QString &fileName);

} // namespace ZUM::SDK
