#pragma once

#include "databaseaddress.h"
#include "sqldialect.h"
#include "storedfile.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QVariantList>

#include <functional>

class QSqlQuery;

// One connection to a lap library: opening it checks that it is one and of a version this
// tool knows (creating or migrating it when asked to write), then files are stored, replaced
// and removed, each in a transaction of its own. A database that is not a lap library, or one
// of a newer version, is refused and left as it was.
class Library
{
public:
    enum class Access { Read, Write };
    static constexpr int BusyWaitMilliseconds = 60000;

    // What the library knows of a file's identity, to tell whether it changed.
    struct KnownFile
    {
        qint64 id = 0;
        QString path;
        qint64 size = 0;
        QDateTime modified;
        QString hash;
        QString failure;
        // False for a file without laps stored before the library kept why it has none.
        bool explained = true;

        // From the columns id, path, size, modified, hash and failure of the table "files",
        // given in that order from the query's column `first` on.
        static KnownFile fromRow(const QSqlQuery &query, int first);
    };

    explicit Library(const DatabaseAddress &address);
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    // Write access creates a library that does not exist yet; read access wants one.
    bool open(Access access);
    QString errorString() const { return m_errorString; }
    // Called each time a write has to wait for another tool's, which holds the library's
    // write lock (SQLite has one writer at a time), before it waits.
    void setWaitNotice(std::function<void()> notice) { m_waitNotice = std::move(notice); }
    const DatabaseAddress &address() const { return m_address; }
    const SqlDialect &dialect() const { return m_dialect; }
    QSqlDatabase database() const;

    bool knownFiles(QList<KnownFile> *files);
    // Stores the file with its laps, replacing the file stored under its path or its
    // contents' hash, all or nothing.
    bool store(const StoredFile &file);
    // The same contents seen under another path or with another time stamp.
    bool updateIdentity(qint64 id, const QString &path, qint64 size, const QDateTime &modified);
    // Removes the files with their laps, all or none.
    bool remove(const QList<qint64> &ids);

    // After a failure: whether the connection to a server still answers (a file always
    // does), keeping errorString() as the failure left it.
    bool isConnected();
    // Connects again to a server whose connection was lost, trying for up to `seconds`;
    // false with errorString() set when it does not answer by then.
    bool reconnect(int seconds);

    // Prepares and runs one statement with its bound values; false with errorString() set.
    bool run(QSqlQuery &query, const QString &sql, const QVariantList &values = {});

private:
    bool connect(Access access);
    bool begin();
    bool failed(const QSqlQuery &query);
    bool checkSchema(Access access, bool retried);
    bool migrate(int fromVersion);
    // Version 1's rows get their session as a driver reads it, from what they hold.
    bool labelSessions();
    bool storeLaps(qint64 fileId, const QList<StoredLap> &laps);
    bool fail(const QString &what, const QString &detail);
    bool rollback(const QString &what);

    DatabaseAddress m_address;
    SqlDialect m_dialect;
    QString m_connectionName;
    QString m_errorString;
    bool m_busy = false; // the last query failed on another connection's lock
    std::function<void()> m_waitNotice;
};
