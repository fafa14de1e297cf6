// The whole import, as a host runs it: the bytes become a file on disk, handed to the
// plug-in's import with its own format, on a thread with a small stack.

#include "dropqtmessages.h"
#include "plugininterfaceimport.h"
#include "smallstackthread.h"

#include <QCoreApplication>
#include <QFile>
#include <QPluginLoader>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

ZUM::SDK::PluginInterfaceImport *plugin = nullptr;
QString inputPath;
SmallStackThread *importThread = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static int argc = 1;
    static char name[] = "fuzz_import";
    static char *argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    dropQtMessages();

    // Loaded before the first input, so that the fuzzer sees the plug-in's coverage.
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    static QTemporaryDir folder;
    if (!plugin || !folder.isValid()) {
        std::fprintf(stderr, "fuzz_import: %s\n",
                     plugin ? "no temporary folder" : qPrintable(loader.errorString()));
        std::abort();
    }
    inputPath = folder.filePath(QStringLiteral("input.ibt"));
    static SmallStackThread thread;
    importThread = &thread;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QFile file(inputPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(reinterpret_cast<const char *>(data), qint64(size)) != qint64(size)) {
        std::fprintf(stderr, "fuzz_import: cannot write %s\n", qPrintable(inputPath));
        std::abort();
    }
    file.close();

    auto importInput = [] {
        try {
            plugin->import(inputPath, plugin->availableImportFormats().first(), {});
        } catch (const std::bad_alloc &) {
            // A negative length asks for an impossible buffer: the one exception that may
            // leave the import, for the host to report.
        }
    };
    importThread->run(importInput);
    return 0;
}
