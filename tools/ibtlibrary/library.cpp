#include "library.h"

#include "libraryschema.h"
#include "session.h"
#include "sessionlabel.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace {

QVariant nullable(const std::optional<double> &value)
{
    return value ? QVariant(*value) : QVariant(QMetaType::fromType<double>());
}

// Texts are never null in the library: a name the file does not give is empty.
QString text(const QString &value)
{
    return value.isNull() ? QStringLiteral("") : value;
}

// Names as the filters match them: in lower case, one per line.
QString searchText(const QStringList &names)
{
    return text(names.join(QLatin1Char('\n')).toLower());
}

QVariant millisecondsOf(const QDateTime &dateTime)
{
    return dateTime.isValid() ? QVariant(dateTime.toMSecsSinceEpoch())
                              : QVariant(QMetaType::fromType<qint64>());
}

QString errorText(const QSqlError &error)
{
    // The driver's text and the database's, without repeating one that is in the other, on
    // one line (libpq's texts run over several).
    const QString database = error.databaseText().simplified();
    const QString driver = error.driverText().simplified();
    if (database.isEmpty() || driver.contains(database))
        return driver;
    if (driver.isEmpty() || database.contains(driver))
        return database;
    return driver + QStringLiteral(": ") + database;
}

} // namespace

Library::Library(const DatabaseAddress &address)
    : m_address(address)
    , m_dialect(address.engine())
    , m_connectionName(QStringLiteral("ibt-library-%1").arg(quintptr(this)))
{ }

Library::~Library()
{
    if (QSqlDatabase::contains(m_connectionName)) {
        QSqlDatabase::database(m_connectionName, false).close();
        QSqlDatabase::removeDatabase(m_connectionName);
    }
}

QSqlDatabase Library::database() const
{
    return QSqlDatabase::database(m_connectionName, false);
}

bool Library::fail(const QString &what, const QString &detail)
{
    m_errorString = QStringLiteral("library %1: %2").arg(m_address.displayText(), what);
    if (!detail.isEmpty())
        m_errorString += QStringLiteral(": ") + detail;
    return false;
}

bool Library::rollback(const QString &what)
{
    const QString reason = m_errorString;
    database().rollback();
    m_errorString = reason.isEmpty() ? what : reason;
    return false;
}

bool Library::begin()
{
    QSqlDatabase db = database();
    const QString statement = m_dialect.beginStatement();
    if (statement.isEmpty()) {
        if (!db.transaction())
            return fail(QStringLiteral("cannot begin a transaction"), errorText(db.lastError()));
        return true;
    }
    // Tried at once first, so that a tool that has to wait for another one's write says so.
    QSqlQuery query(db);
    if (!run(query, m_dialect.lockWaitStatement(0)))
        return false;
    const bool began = run(query, statement);
    const bool busy = m_busy;
    const QString reason = m_errorString;
    if (!run(query, m_dialect.lockWaitStatement(BusyWaitMilliseconds)))
        return began ? rollback({}) : false;
    if (began)
        return true;
    if (!busy) {
        m_errorString = reason;
        return false;
    }
    if (m_waitNotice)
        m_waitNotice();
    return run(query, statement);
}

bool Library::run(QSqlQuery &query, const QString &sql, const QVariantList &values)
{
    // PostgreSQL prepares no schema statements: a statement without values runs as it is.
    if (values.isEmpty()) {
        if (!query.exec(sql))
            return failed(query);
        return true;
    }
    if (!query.prepare(sql))
        return fail(QStringLiteral("cannot prepare a query"), errorText(query.lastError()));
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!query.exec())
        return failed(query);
    return true;
}

bool Library::failed(const QSqlQuery &query)
{
    // SQLITE_BUSY and SQLITE_LOCKED: another connection holds the lock.
    const QString code = query.lastError().nativeErrorCode();
    m_busy = m_dialect.isSQLite() && (code == u"5" || code == u"6");
    return fail(QStringLiteral("a query failed"), errorText(query.lastError()));
}

bool Library::open(Access access)
{
    if (!connect(access))
        return false;
    // SQLite answers "busy" at once, without waiting, while another tool switches a new
    // library to write-ahead logging; the check is tried again until it has.
    QElapsedTimer waited;
    waited.start();
    while (!checkSchema(access, false)) {
        if (!m_busy || waited.elapsed() > BusyWaitMilliseconds)
            return false;
        if (m_waitNotice)
            m_waitNotice();
        QThread::msleep(50);
    }
    return true;
}

bool Library::connect(Access access)
{
    if (m_dialect.isSQLite()) {
        const QFileInfo file(m_address.databaseName());
        if (file.isDir())
            return fail(QStringLiteral("it is a directory"), {});
        if (!file.exists()) {
            if (access == Access::Read)
                return fail(QStringLiteral("there is no library there yet; add files to it "
                                           "with: ibt-library add PATH..."),
                            {});
            if (!QDir().mkpath(file.absolutePath()))
                return fail(QStringLiteral("cannot create the folder %1")
                                .arg(QDir::toNativeSeparators(file.absolutePath())),
                            {});
        } else if (access == Access::Write
                   && (!file.isWritable()
                       || !(file.permissions()
                            & (QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther)))) {
            // A library without any write permission is kept as it is, even for root.
            return fail(QStringLiteral("the file is read-only"), {});
        }
    }
    QSqlDatabase db = QSqlDatabase::addDatabase(m_dialect.driverName(), m_connectionName);
    if (!db.isValid())
        return fail(QStringLiteral("Qt's %1 driver is not installed").arg(m_dialect.driverName()),
                    {});
    db.setDatabaseName(m_address.databaseName());
    db.setHostName(m_address.host());
    db.setPort(m_address.port());
    db.setUserName(m_address.userName());
    db.setConnectOptions(m_dialect.connectOptions(m_address));
    if (!db.open())
        return fail(QStringLiteral("cannot connect"), errorText(db.lastError()));
    return true;
}

bool Library::isConnected()
{
    if (m_dialect.isSQLite())
        return true;
    const QString reason = m_errorString;
    QSqlQuery query(database());
    const bool answered = query.exec(QStringLiteral("SELECT 1"));
    m_errorString = reason;
    return answered;
}

bool Library::reconnect(int seconds)
{
    QElapsedTimer waited;
    waited.start();
    QSqlDatabase db = database();
    for (;;) {
        db.close();
        if (db.open())
            return true;
        if (waited.elapsed() >= seconds * 1000)
            return fail(QStringLiteral("cannot connect again within %1 s").arg(seconds),
                        errorText(db.lastError()));
        QThread::msleep(500);
    }
}

bool Library::checkSchema(Access access, bool retried)
{
    m_busy = false;
    QSqlQuery query(database());
    // Reading the list of tables also tells a damaged file or one that is no database at all.
    if (!run(query, m_dialect.tablesQuery()))
        return fail(QStringLiteral("cannot be read as a database"), errorText(query.lastError()));
    QStringList tables;
    while (query.next())
        tables.append(query.value(0).toString());

    int version = 0;
    if (tables.contains(QStringLiteral("library_info"))) {
        if (!run(query, QStringLiteral("SELECT name, version FROM library_info")))
            return false;
        if (!query.next() || query.value(0).toString() != LibrarySchema::libraryName())
            return fail(QStringLiteral("it is not a lap library"), {});
        version = query.value(1).toInt();
        if (version > LibrarySchema::CurrentVersion)
            return fail(QStringLiteral("it was written by a newer ibt-library (library version "
                                       "%1; this one knows up to %2): update ibt-library")
                            .arg(version)
                            .arg(LibrarySchema::CurrentVersion),
                        {});
    } else if (!tables.isEmpty()) {
        tables.sort();
        return fail(QStringLiteral("it is not a lap library: it holds other tables (%1)")
                        .arg(tables.join(QStringLiteral(", "))),
                    {});
    }
    query.finish();

    if (version < LibrarySchema::CurrentVersion) {
        if (access == Access::Read) {
            return fail(version == 0 ? QStringLiteral("it is empty; add files to it with: "
                                                      "ibt-library add PATH...")
                                     : QStringLiteral("it is of an older version; any "
                                                      "ibt-library add brings it up to date"),
                        {});
        }
    }
    for (const QString &statement : m_dialect.sessionSetup()) {
        if (!run(query, statement))
            return false;
    }
    if (version == LibrarySchema::CurrentVersion || migrate(version))
        return true;
    // Another tool that opened the library at the same moment may have created or migrated
    // it first; then its version is the current one now.
    const QString reason = m_errorString;
    if (!retried && checkSchema(access, true))
        return true;
    m_errorString = reason;
    return false;
}

bool Library::migrate(int fromVersion)
{
    QSqlDatabase db = database();
    if (!begin())
        return false;
    QSqlQuery query(db);
    for (const QString &statement : LibrarySchema::migration(fromVersion, m_dialect)) {
        if (!run(query, statement))
            return rollback({});
    }
    if (fromVersion == 1 && !labelSessions())
        return rollback({});
    const bool versioned = fromVersion == 0
        ? run(query, QStringLiteral("INSERT INTO library_info (name, version) VALUES (?, ?)"),
              {LibrarySchema::libraryName(), LibrarySchema::CurrentVersion})
        : run(query, QStringLiteral("UPDATE library_info SET version = ?"),
              {LibrarySchema::CurrentVersion});
    if (!versioned)
        return rollback({});
    query.finish();
    if (!db.commit())
        return fail(QStringLiteral("cannot commit"), errorText(db.lastError()));
    return true;
}

bool Library::labelSessions()
{
    QSqlQuery query(database());
    if (!run(query, QStringLiteral("SELECT id, session_kind, session_name FROM files")))
        return false;
    QList<std::pair<qint64, QString>> labels;
    while (query.next()) {
        // The import's kind and the session text's name are what a version 1 row holds of
        // the header's session.
        const QString kind = query.value(1).toString();
        QString label = kind;
        if (kind == ZUM::SDK::sessionName(ZUM::SDK::Session::Unknown)) {
            ZUM::SDK::LapHeader header;
            header.dynamicData.setValue(QStringLiteral("Session name"), query.value(2), QString());
            label = sessionLabel(header);
        }
        labels.append({query.value(0).toLongLong(), label});
    }
    for (const auto &[id, label] : std::as_const(labels)) {
        if (!run(query, QStringLiteral("UPDATE files SET session_label = ? WHERE id = ?"),
                 {label, id}))
            return false;
    }
    return true;
}

bool Library::knownFiles(QList<KnownFile> *files)
{
    QSqlQuery query(database());
    query.setForwardOnly(true);
    if (!run(query,
             QStringLiteral("SELECT id, path, size, modified, hash, failure, "
                            "CASE WHEN note IS NULL THEN 0 ELSE 1 END FROM files")))
        return false;
    while (query.next()) {
        KnownFile file = KnownFile::fromRow(query, 0);
        file.explained = query.value(6).toInt() == 1;
        files->append(file);
    }
    return true;
}

Library::KnownFile Library::KnownFile::fromRow(const QSqlQuery &query, int first)
{
    return {query.value(first).toLongLong(),
            query.value(first + 1).toString(),
            query.value(first + 2).toLongLong(),
            QDateTime::fromMSecsSinceEpoch(query.value(first + 3).toLongLong(), Qt::UTC),
            query.value(first + 4).toString(),
            query.value(first + 5).toString()};
}

bool Library::store(const StoredFile &file)
{
    QSqlDatabase db = database();
    if (!begin())
        return false;
    QSqlQuery query(db);
    const QString lock = m_dialect.storeLock();
    if (!lock.isEmpty() && !run(query, lock))
        return rollback({});
    // The laps, sectors and trace of a replaced file go with it.
    if (!run(query, QStringLiteral("DELETE FROM files WHERE path = ? OR hash = ?"),
             {file.path, file.hash}))
        return rollback({});
    const QVariantList values {file.path,
                               file.size,
                               file.modified.toMSecsSinceEpoch(),
                               file.hash,
                               millisecondsOf(file.recordingStart),
                               text(file.sessionKind),
                               text(file.sessionName),
                               text(file.sessionLabel),
                               text(file.trackName),
                               text(file.trackConfigName),
                               nullable(file.trackLength),
                               text(file.carName),
                               text(file.driverName),
                               text(file.skies),
                               nullable(file.airTemperature),
                               text(file.messages),
                               text(file.failure),
                               text(file.note),
                               searchText({file.trackName, file.trackConfigName}),
                               searchText({file.carName}),
                               searchText({file.driverName}),
                               searchText({file.sessionKind, file.sessionName, file.sessionLabel})};
    if (!run(query,
             QStringLiteral(
                 "INSERT INTO files (path, size, modified, hash, recording_start, session_kind, "
                 "session_name, session_label, track_name, track_config, track_length, car_name, "
                 "driver_name, skies, air_temperature, messages, failure, note, track_search, "
                 "car_search, driver_search, session_search) "
                 "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
                 "RETURNING id"),
             values)
        || !query.next())
        return rollback(QStringLiteral("cannot store the file"));
    const qint64 fileId = query.value(0).toLongLong();
    query.finish();
    if (!storeLaps(fileId, file.laps))
        return rollback({});
    if (!db.commit())
        return fail(QStringLiteral("cannot commit"), errorText(db.lastError()));
    return true;
}

bool Library::storeLaps(qint64 fileId, const QList<StoredLap> &laps)
{
    QSqlDatabase db = database();
    QSqlQuery lapQuery(db);
    QSqlQuery sectorQuery(db);
    QSqlQuery traceQuery(db);
    const QString lapSql = QStringLiteral(
        "INSERT INTO laps (file_id, lap_number, stint, lap_in_stint, lap_time, completed, kind, "
        "timed, start_session_time, fuel_used, top_speed) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) RETURNING id");
    const QString sectorSql
        = QStringLiteral("INSERT INTO sectors (lap_id, sector, seconds) VALUES (?, ?, ?)");
    const QString traceSql = QStringLiteral("INSERT INTO traces (lap_id, data) VALUES (?, ?)");
    std::optional<std::pair<double, qint64>> best; // the first of the fastest timed laps
    for (const StoredLap &lap : laps) {
        if (!run(lapQuery, lapSql,
                 {fileId, lap.lapNumber, lap.stint, lap.lapInStint, nullable(lap.lapTime),
                  int(lap.completed), lap.kind, int(lap.timed), nullable(lap.startSessionTime),
                  nullable(lap.fuelUsed), nullable(lap.topSpeed)})
            || !lapQuery.next())
            return false;
        const qint64 lapId = lapQuery.value(0).toLongLong();
        lapQuery.finish();
        if (lap.timed && lap.lapTime && (!best || *lap.lapTime < best->first))
            best = std::pair(*lap.lapTime, lapId);
        for (qsizetype sector = 0; sector < lap.sectorTimes.size(); ++sector) {
            if (!run(sectorQuery, sectorSql, {lapId, int(sector), lap.sectorTimes[sector]}))
                return false;
        }
        if (!lap.trace.isEmpty() && !run(traceQuery, traceSql, {lapId, lap.trace}))
            return false;
    }
    if (!best)
        return true;
    return run(lapQuery,
               QStringLiteral("UPDATE files SET best_lap_id = ?, best_lap_time = ? WHERE id = ?"),
               {best->second, best->first, fileId});
}

bool Library::updateIdentity(qint64 id, const QString &path, qint64 size, const QDateTime &modified)
{
    QSqlQuery query(database());
    return run(query,
               QStringLiteral("UPDATE files SET path = ?, size = ?, modified = ? WHERE id = ?"),
               {path, size, modified.toMSecsSinceEpoch(), id});
}

bool Library::remove(const QList<qint64> &ids)
{
    QSqlDatabase db = database();
    if (!begin())
        return false;
    QSqlQuery query(db);
    for (const qint64 id : ids) {
        if (!run(query, QStringLiteral("DELETE FROM files WHERE id = ?"), {id}))
            return rollback({});
    }
    if (!db.commit())
        return fail(QStringLiteral("cannot commit"), errorText(db.lastError()));
    return true;
}
