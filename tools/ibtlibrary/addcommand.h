#pragma once

#include "library.h"
#include "storedfile.h"

#include <QElapsedTimer>
#include <QHash>
#include <QStringList>

#include <functional>

class QTextStream;

// ibt-library add: finds the .ibt files under the paths given, imports those that are new or
// changed since they were last added and stores each in a transaction of its own. An
// unchanged file (same path, size and modification time) is not read again. A file of a size
// that one of the library's files has may be that one, touched, moved or copied: its worker
// hashes it first and imports it only when the hash is new. Any other file is hashed while it
// is imported. A file that cannot be imported is stored with the reasons, listed at the end,
// and does not stop the others. The imports run in worker processes side by side, one per
// core by default.
class AddCommand
{
public:
    struct Settings
    {
        QString pluginPath;
        int jobs = 1; // worker processes
        bool terminal = false; // a progress bar rather than a line per file
    };

    // Constructed before the library is opened, so that a wait for another tool's write,
    // opening it too, is told.
    AddCommand(Library &library, const Settings &settings, QTextStream &err);

    // How long a lost connection to a server is tried again before add stops.
    static constexpr int ReconnectSeconds = 15;

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
    void progress();
    // Runs the library's statements; when they fail because the connection to the server
    // was lost, connects again and runs them once more.
    bool write(const std::function<bool()> &statements);
    // Records the failure of a write for the file; once the server is gone, one failure
    // for all the files left.
    void failWrite(const QString &path);
    // Said once, when the first write has to wait for another tool's.
    void sayWaiting();
    // A line of its own: above the progress bar on a terminal.
    void say(const QString &line);

    Library &m_library;
    Settings m_settings;
    QTextStream &m_err;
    QHash<QString, Library::KnownFile> m_byPath;
    QHash<QString, Library::KnownFile> m_byHash;
    QMultiHash<qint64, QString> m_hashesBySize;
    QStringList m_failures; // "path: reason"
    QElapsedTimer m_clock;
    qsizetype m_laps = 0;
    qsizetype m_imported = 0;
    qsizetype m_unchanged = 0;
    qsizetype m_done = 0; // files settled, of
    qsizetype m_total = 0;
    qsizetype m_progressWidth = 0; // of the progress line last drawn
    bool m_saidWaiting = false;
    bool m_disconnected = false; // the server did not answer again: nothing more is stored
};
