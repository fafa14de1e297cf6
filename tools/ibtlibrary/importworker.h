#pragma once

#include <QString>
#include <QStringList>

// The worker side of `add`: a process of its own, started by the tool, that loads the
// plug-in once and hashes and imports the files the tool sends on standard input, one at a
// time, each answered on standard output with what the library stores of it (a binary QDataStream
// both ways). A file that crashes the import ends only its worker.
class ImportWorker
{
public:
    // One file to do: its path, and the hashes of the library's files of its size. With
    // none, the file is new and hashed while it is imported; else it may be one of those,
    // touched, moved or copied, and is hashed first and imported only when it is not.
    struct Request
    {
        QString path;
        QStringList sameSizeHashes;
    };

    // The first argument of the tool that makes it a worker.
    static QString argument() { return QStringLiteral("--import-worker"); }

    // Runs until standard input ends; the exit status.
    static int run(const QString &pluginPath);
};

class QDataStream;

QDataStream &operator<<(QDataStream &stream, const ImportWorker::Request &request);
QDataStream &operator>>(QDataStream &stream, ImportWorker::Request &request);
