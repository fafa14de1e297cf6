#include "importworker.h"

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
        QString hash;
        requests >> path >> hash;
        if (requests.status() != QDataStream::Ok)
            return 0;
        const RecordingInfo recording = RecordingInfo::read(path);
        ImportResult result = host.importFile(path);
        result.recording = recording;
        answers << ImportedFile::from(result, QFileInfo(path), hash);
        if (!output.flush())
            return 1;
    }
}
