#include "importworker.h"

#include "filehash.h"
#include "importedfile.h"
#include "pluginhost.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>
#include <future>
#ifdef Q_OS_WIN
#include <fcntl.h>
#include <io.h>
#endif

namespace {

StoredFile unreadable(const QFileInfo &file, const QString &error)
{
    return ImportedFile::failed(file, QString(), QStringLiteral("cannot be read: ") + error);
}

StoredFile import(PluginHost &host, const QFileInfo &file, const QString &hash)
{
    const QString path = file.filePath();
    const RecordingInfo recording = RecordingInfo::read(path);
    ImportResult result = host.importFile(path);
    result.recording = recording;
    return ImportedFile::from(result, file, hash);
}

StoredFile answer(PluginHost &host, const ImportWorker::Request &request)
{
    const QFileInfo file(request.path);
    QString error;
    if (!request.sameSizeHashes.isEmpty()) {
        const std::optional<QString> hash = FileHash::of(request.path, &error);
        if (!hash)
            return unreadable(file, error);
        // Contents the library holds: the tool settles it without the import.
        if (request.sameSizeHashes.contains(*hash))
            return ImportedFile::identity(file, *hash);
        return import(host, file, *hash);
    }
    // The hash reads the whole file on a thread of its own while the import reads it too,
    // so that its time hides in the import's.
    std::future<std::optional<QString>> hashing = std::async(
        std::launch::async, [&request, &error] { return FileHash::of(request.path, &error); });
    StoredFile imported = import(host, file, QString());
    const std::optional<QString> hash = hashing.get();
    if (!hash)
        return unreadable(file, error);
    imported.hash = *hash;
    return imported;
}

} // namespace

QDataStream &operator<<(QDataStream &stream, const ImportWorker::Request &request)
{
    return stream << request.path << request.sameSizeHashes;
}

QDataStream &operator>>(QDataStream &stream, ImportWorker::Request &request)
{
    return stream >> request.path >> request.sameSizeHashes;
}

int ImportWorker::run(const QString &pluginPath)
{
#ifdef Q_OS_WIN
    // The answers are bytes, not text.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    PluginHost host(pluginPath);
    if (!host.load()) {
        QTextStream(stderr) << "error: " << host.errorString() << Qt::endl;
        return 1;
    }
    QFile input;
    QFile output;
    if (!input.open(stdin, QIODevice::ReadOnly) || !output.open(stdout, QIODevice::WriteOnly))
        return 1;
    QDataStream requests(&input);
    QDataStream answers(&output);
    for (;;) {
        Request request;
        requests >> request;
        if (requests.status() != QDataStream::Ok)
            return 0;
        answers << answer(host, request);
        if (!output.flush())
            return 1;
    }
}
