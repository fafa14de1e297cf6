#pragma once

#include "databaseaddress.h"

#include <QString>
#include <QStringList>

// Where SQLite and PostgreSQL differ for the library: the Qt driver and how it is set up, the
// type of a generated key and of raw bytes, and how a database lists its tables. Every other
// statement is the same text on both engines.
class SqlDialect
{
public:
    explicit SqlDialect(DatabaseAddress::Engine engine);

    QString driverName() const;
    // The driver's connection options for the address.
    QString connectOptions(const DatabaseAddress &address) const;
    // Run once per connection before anything else is written.
    QStringList sessionSetup() const;

    // Run first in a transaction that stores a file, so that two tools adding the same file
    // at once store it one after the other rather than both; empty where the first write
    // does that already (SQLite has one writer at a time).
    QString storeLock() const;

    // How a transaction that writes begins, where the driver's own way does not do: SQLite
    // takes the write lock at once, waiting for another writer to finish, since a transaction
    // that reads before it writes fails at once when another one wrote in between.
    QString beginStatement() const;
    // How long a statement waits for another connection's lock before it fails; empty where
    // the engine has no such setting (PostgreSQL waits for a lock as long as it takes).
    QString lockWaitStatement(int milliseconds) const;

    // A table's own generated key, "id ...".
    QString keyColumn() const;
    QString bytesType() const;
    // A query for the names of the tables of the database (or of the current schema).
    QString tablesQuery() const;

    bool isSQLite() const { return m_engine == DatabaseAddress::Engine::SQLite; }

private:
    DatabaseAddress::Engine m_engine;
};
