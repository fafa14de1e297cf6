#include "databaseaddress.h"

#include <QDir>
#include <QStandardPaths>
#include <QUrl>
#include <QUrlQuery>

namespace {

QString passwordRefusal()
{
    return QStringLiteral(
        "the library URL holds a password: leave it out and give it where PostgreSQL's own "
        "tools take it from, the PGPASSWORD environment variable, ~/.pgpass or a service file "
        "(PGSERVICE)");
}

bool isServerUrl(const QString &text)
{
    return text.startsWith(u"postgresql://") || text.startsWith(u"postgres://");
}

} // namespace

std::optional<DatabaseAddress> DatabaseAddress::resolve(const QString &given, QString *error)
{
    QString text = given;
    if (text.isEmpty())
        text = qEnvironmentVariable("IBT_LIBRARY");
    if (text.isEmpty())
        text = defaultFile();
    return parse(text, error);
}

QString DatabaseAddress::defaultFile()
{
    // Not the application-data folder, which Qt names after the program asking: every tool
    // that reads the library (ibt-library, ibt-view) must find the same file.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/ibt-library/library.sqlite");
}

std::optional<DatabaseAddress> DatabaseAddress::parse(const QString &text, QString *error)
{
    DatabaseAddress address;
    if (!isServerUrl(text)) {
        address.m_databaseName = QDir::cleanPath(QDir::current().absoluteFilePath(text));
        return address;
    }

    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid()) {
        // Qt's own message would repeat the URL, password and all.
        *error = QStringLiteral("the library address is not a valid PostgreSQL URL "
                                "(postgresql://user@host:port/dbname)");
        return std::nullopt;
    }
    if (!url.password().isEmpty()) {
        *error = passwordRefusal();
        return std::nullopt;
    }
    address.m_engine = Engine::PostgreSQL;
    address.m_host = url.host();
    address.m_port = url.port(-1);
    address.m_userName = url.userName();
    address.m_databaseName = url.path().mid(1);
    QStringList options;
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    for (const auto &[key, value] : items) {
        if (key == u"password") {
            *error = passwordRefusal();
            return std::nullopt;
        }
        options.append(key + QLatin1Char('=') + value);
    }
    address.m_connectOptions = options.join(QLatin1Char(';'));
    return address;
}

QString DatabaseAddress::displayText() const
{
    if (m_engine == Engine::SQLite)
        return QDir::toNativeSeparators(m_databaseName);
    QUrl url;
    url.setScheme(QStringLiteral("postgresql"));
    url.setUserName(m_userName);
    url.setHost(m_host);
    url.setPort(m_port);
    url.setPath(QLatin1Char('/') + m_databaseName);
    if (!m_connectOptions.isEmpty())
        url.setQuery(QString(m_connectOptions).replace(QLatin1Char(';'), QLatin1Char('&')));
    return url.toString();
}
