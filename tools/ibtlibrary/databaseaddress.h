#pragma once

#include <QString>

#include <optional>

// Where a library lives: a SQLite file, or a PostgreSQL database named by a URL
// "postgresql://user@host:port/dbname?sslmode=require". The password of a server never comes
// from the command line: libpq takes it from PGPASSWORD, ~/.pgpass or a service file, as
// PostgreSQL's own tools do.
class DatabaseAddress
{
public:
    enum class Engine { SQLite, PostgreSQL };

    // From the --db value when given, else the IBT_LIBRARY environment variable, else the
    // default file. Null with *error set for a URL that cannot be used.
    static std::optional<DatabaseAddress> resolve(const QString &given, QString *error);
    // The same for one text, without the fallbacks.
    static std::optional<DatabaseAddress> parse(const QString &text, QString *error);
    // The user's own library file, the same for every tool that reads it:
    // "ibt-library/library.sqlite" under the user's data folder (~/.local/share on Linux,
    // AppData/Local on Windows, ~/Library/Application Support on macOS).
    static QString defaultFile();

    Engine engine() const { return m_engine; }
    // SQLite: the file; PostgreSQL: the database name.
    QString databaseName() const { return m_databaseName; }
    QString host() const { return m_host; }
    int port() const { return m_port; } // -1: libpq's default
    QString userName() const { return m_userName; }
    // libpq's connection options from the URL's query, "sslmode=require;connect_timeout=5".
    QString connectOptions() const { return m_connectOptions; }

    // How messages name the library: the file, or the URL (which never holds a password).
    QString displayText() const;

private:
    Engine m_engine = Engine::SQLite;
    QString m_databaseName;
    QString m_host;
    int m_port = -1;
    QString m_userName;
    QString m_connectOptions;
};
