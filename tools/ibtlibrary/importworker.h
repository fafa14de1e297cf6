#pragma once

#include <QString>

// The worker side of `add`: a process of its own, started by the tool, that loads the
// plug-in once and hashes and imports the files the tool sends on standard input, one at a
// time, each answered on standard output with what the library stores of it (a binary QDataStream
// both ways). A file that crashes the import ends only its worker.
class ImportWorker
{
public:
    // The first argument of the tool that makes it a worker.
    static QString argument() { return QStringLiteral("--import-worker"); }

    // Runs until standard input ends; the exit status.
    static int run(const QString &pluginPath);
};
