#pragma once

#include "library.h"

#include <QElapsedTimer>
#include <QHash>
#include <QStringList>

class PluginHost;
class QTextStream;

// ibt-library add: finds the .ibt files under the paths given, imports those that are new or
// changed since they were last added and stores each in a transaction of its own. An
// unchanged file (same path, size and modification time) is not read again; a suspected
// change is confirmed by the contents' hash, which also recognises a moved file. A file that
// cannot be imported is stored with the reasons, listed at the end, and does not stop the
// others.
class AddCommand
{
public:
    AddCommand(Library &library, PluginHost &host, QTextStream &err, bool terminal);

    // The exit status: 0, or 1 when a file failed or could not be stored.
    int exec(const QStringList &paths);

private:
    QStringList collect(const QStringList &paths);
    void add(const QString &path);
    void import(const QString &path, const QString &hash);
    void progress(qsizetype done, qsizetype total);

    Library &m_library;
    PluginHost &m_host;
    QTextStream &m_err;
    bool m_terminal;
    QHash<QString, Library::KnownFile> m_byPath;
    QHash<QString, Library::KnownFile> m_byHash;
    QStringList m_failures; // "path: reason"
    QElapsedTimer m_clock;
    qsizetype m_laps = 0;
    qsizetype m_imported = 0;
    qsizetype m_unchanged = 0;
};
