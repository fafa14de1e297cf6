// A plain main for a fuzz target: runs each input file once, without mutation, in the order
// given (the files of a folder by name). It lets the sanitizer build replay the seeds and the
// regression inputs with the compiler and flags of the other tests; fuzzing itself needs clang
// and libFuzzer (scripts/fuzz.sh).
//
//   fuzz_TARGET FILE_OR_FOLDER...

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

// The files under a folder, by name, or the path itself when it is no folder.
QStringList inputFiles(const QString &path)
{
    if (!QFileInfo(path).isDir())
        return {path};
    QStringList files;
    QDirIterator it(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...\n", argv[0]);
        return 2;
    }
    LLVMFuzzerInitialize(&argc, &argv);
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const QString &path : inputFiles(QString::fromLocal8Bit(argv[i]))) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "%s: cannot read %s\n", argv[0], qPrintable(path));
                return 1;
            }
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()),
                                   size_t(bytes.size()));
            ++replayed;
        }
    }
    std::printf("%s: replayed %d inputs\n", argv[0], replayed);
    return replayed > 0 ? 0 : 1;
}
