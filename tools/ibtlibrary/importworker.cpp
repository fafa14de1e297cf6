#include "importworker.h"

#include "filehash.h"
#include "importedfile.h"
#include "pluginhost.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>
#ifdef Q_OS_WIN
#include <fcntl.h>
#include <io.h>
#endif

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
        QString path;
        requests >> path;
        if (requests.status() != QDataStream::Ok)
            return 0;
        const QFileInfo file(path);
        QString error;
        if (const std::optional<QString> hash = FileHash::of(path, &error)) {
            const RecordingInfo recording = RecordingInfo::read(path);
            ImportResult result = host.importFile(path);
            result.recording = recording;
            answers << ImportedFile::from(result, file, *hash);
        } else {
            answers << ImportedFile::failed(file, QString(),
                                            QStringLiteral("cannot be read: ") + error);
        }
        if (!output.flush())
            return 1;
    }
}
