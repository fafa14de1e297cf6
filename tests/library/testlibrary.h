#pragma once

// A fresh library for each test, on the engine the run was started for: a SQLite file in a
// folder of the test's own, or, when IBT_LIBRARY_TEST_ENGINE is "postgresql", a database of
// its own on the server that the PG* variables name (pg_virtualenv sets them for a throwaway
// cluster). And the tool, run as a user runs it.

#include "toolprocess.h"

#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUuid>

namespace TestLibrary {

inline bool onServer()
{
    return qEnvironmentVariable("IBT_LIBRARY_TEST_ENGINE") == u"postgresql";
}

inline QString serverUrl(const QString &database)
{
    return QStringLiteral("postgresql://%1@%2:%3/%4")
        .arg(qEnvironmentVariable("PGUSER"), qEnvironmentVariable("PGHOST"),
             qEnvironmentVariable("PGPORT"), database);
}

// Runs one statement on the server's own database, for creating and dropping the tests'.
inline bool administer(const QString &statement, QString *error)
{
    bool ok = false;
    {
        QSqlDatabase db
            = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), QStringLiteral("admin"));
        db.setHostName(qEnvironmentVariable("PGHOST"));
        db.setPort(qEnvironmentVariable("PGPORT").toInt());
        db.setUserName(qEnvironmentVariable("PGUSER"));
        db.setDatabaseName(qEnvironmentVariable("PGDATABASE", QStringLiteral("postgres")));
        if (db.open()) {
            QSqlQuery query(db);
            ok = query.exec(statement);
            *error = query.lastError().text();
        } else {
            *error = db.lastError().text();
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("admin"));
    return ok;
}

// One library: its address for --db, gone with the object.
class Fresh
{
public:
    Fresh()
    {
        if (!onServer()) {
            m_address = m_dir.filePath(QStringLiteral("library.sqlite"));
            m_ready = m_dir.isValid();
            return;
        }
        m_database = QStringLiteral("lib_") + QUuid::createUuid().toString(QUuid::Id128).left(16);
        m_address = serverUrl(m_database);
        m_ready = administer(QStringLiteral("CREATE DATABASE ") + m_database, &m_error);
    }
    ~Fresh()
    {
        if (!m_database.isEmpty())
            administer(QStringLiteral("DROP DATABASE IF EXISTS ") + m_database, &m_error);
    }
    Fresh(const Fresh &) = delete;
    Fresh &operator=(const Fresh &) = delete;

    bool isReady() const { return m_ready; }
    QString error() const { return m_error; }
    QString address() const { return m_address; }

private:
    QTemporaryDir m_dir;
    QString m_database;
    QString m_address;
    QString m_error;
    bool m_ready = false;
};

using Run = ToolProcess::Run;

inline Run run(const QStringList &arguments)
{
    return ToolProcess::run(QStringLiteral(IBT_LIBRARY_PATH), arguments);
}

} // namespace TestLibrary
