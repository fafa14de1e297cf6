#pragma once

#include "library.h"
#include "storedfile.h"

#include <QElapsedTimer>
#include <QHash>
#include <QStringList>

class QTextStream;

// ibt-library add: finds the .ibt files under the paths given, imports those that are new or
// changed since they were last added and stores each in a transaction of its own. An
// unchanged file (same path, size and modification time) is not read again; a suspected
// change is confirmed by the contents' hash, which also recognises a moved file. The
// workers hash and import side by side, so that a moved or touched file is imported before
// its hash shows that it need not be stored: rare, and cheaper than hashing every suspected
// file before any import starts. A file that
// cannot be imported is stored with the reasons, listed at the end, and does not stop the
// others. The imports run in worker processes side by side, one per core by default.
class AddCommand
{
public:
    struct Settings
    {
        QString pluginPath;
        int jobs = 1; // worker processes
        bool terminal = false; // a progress bar rather than a line per file
    };

    AddCommand(Library &library, const Settings &settings, QTextStream &err);

    // The exit status: 0, or 1 when a file failed or could not be stored.
    int exec(const QStringList &paths);

private:
    QStringList collect(const QStringList &paths);
    // Same path, size and time stamp as stored: not read again.
    bool isUnchanged(const QString &path);
    // Contents the library holds already, touched, moved or copied: settled without storing
    // the import again.
    bool isKnownContents(const StoredFile &file);
    void store(StoredFile file);
    void progress(qsizetype done, qsizetype total);

    Library &m_library;
    Settings m_settings;
    QTextStream &m_err;
    QHash<QString, Library::KnownFile> m_byPath;
    QHash<QString, Library::KnownFile> m_byHash;
    QStringList m_failures; // "path: reason"
    QElapsedTimer m_clock;
    qsizetype m_laps = 0;
    qsizetype m_imported = 0;
    qsizetype m_unchanged = 0;
};
