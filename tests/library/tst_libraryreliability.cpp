// What the library keeps when things go wrong: an add killed at any moment, a worker process
// killed while it imports, two adds at once, a library file that is damaged, read-only or no
// library at all, a server that is not there, refuses the login or restarts. Run on SQLite
// and on a PostgreSQL server like the other tests of the library.

#include "databaseaddress.h"
#include "library.h"
#include "pluginhost.h"
#include "sessiongenerator.h"
#include "testlibrary.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTest>

#ifdef Q_OS_LINUX
#include <signal.h>
#endif

using TestLibrary::run;

class TestLibraryReliability : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void killedAdd_data();
    void killedAdd();
    void workerKilled();
    void twoAddsAtOnce();
    void waitingAddSaysSo();
    void readOnlyLibrary();
    void damagedLibrary();
    void serverNotThere();
    void loginRefused();
    void sslModeReachesTheServer();
    void serverRestarts_data();
    void serverRestarts();

private:
    // Every session the library lists has all its laps; the number of sessions listed.
    qsizetype checkComplete(const QString &address);
    QStringList arguments(const QString &command, const QString &address) const
    {
        return {command, QStringLiteral("--db"), address};
    }
    // An add of all the sessions, its standard error to read while it runs.
    bool startAdd(QProcess &add, const QString &address) const
    {
        add.setReadChannel(QProcess::StandardError);
        add.start(QStringLiteral(IBT_LIBRARY_PATH),
                  arguments(QStringLiteral("add"), address) + QStringList {m_dir.path()});
        return add.waitForStarted();
    }

    QTemporaryDir m_dir;
    QMap<QString, qsizetype> m_lapCounts; // by file, as the plug-in gives them
};

void TestLibraryReliability::initTestCase()
{
    QVERIFY(m_dir.isValid());
    PluginHost host(QStringLiteral(ZUM_PLUGIN_PATH));
    QVERIFY2(host.load(), qPrintable(host.errorString()));
    for (int i = 0; i < 8; ++i) {
        SessionGenerator::Options options;
        // Long enough that an import takes a moment, to kill the tool in between.
        options.trackLength = 4000.0;
        options.lapTime = 90.0;
        options.laps = 5;
        options.otherCars = 5;
        options.startDate += i * 86400;
        const QString path = m_dir.filePath(QStringLiteral("session %1; 'ü'.ibt").arg(i));
        QVERIFY(SessionGenerator(options).write(path));
        m_lapCounts[QFileInfo(path).absoluteFilePath()] = host.importFile(path).laps.size();
        QVERIFY(m_lapCounts.last() > 0);
    }
}

qsizetype TestLibraryReliability::checkComplete(const QString &address)
{
    const TestLibrary::Run listed = run(arguments(QStringLiteral("sessions"), address)
                                        + QStringList {QStringLiteral("--json")});
    if (listed.exitCode != 0)
        return -1;
    const QJsonArray rows = QJsonDocument::fromJson(listed.out).array();
    QSet<QString> files;
    for (const QJsonValue &value : rows) {
        const QJsonObject row = value.toObject();
        const QString file = row[u"file"].toString();
        if (!m_lapCounts.contains(file) || row[u"laps"].toInteger() != m_lapCounts[file]
            || files.contains(file)) {
            qWarning() << "stored wrongly:" << file << row[u"laps"].toInteger();
            return -1;
        }
        files.insert(file);
    }
    return rows.size();
}

void TestLibraryReliability::killedAdd_data()
{
    QTest::addColumn<int>("storedBeforeKill");
    QTest::newRow("at the start") << 0;
    QTest::newRow("after the first file") << 1;
    QTest::newRow("half way") << 4;
    QTest::newRow("before the last file") << 7;
}

void TestLibraryReliability::killedAdd()
{
    QFETCH(int, storedBeforeKill);
    TestLibrary::Fresh library;
    QVERIFY2(library.isReady(), qPrintable(library.error()));
    QProcess add;
    QVERIFY(startAdd(add, library.address()));
    QByteArray err;
    while (err.count("\nadded ") + err.startsWith("added ") < storedBeforeKill
           && add.state() == QProcess::Running) {
        add.waitForReadyRead(1000);
        err += add.readAllStandardError();
    }
    add.kill(); // SIGKILL: no clean-up of any kind
    add.waitForFinished();
    QCOMPARE(add.exitStatus(), QProcess::CrashExit);

    // What was committed is whole; a library killed before it was created is not listed.
    const qsizetype stored = checkComplete(library.address());
    if (storedBeforeKill > 0)
        QVERIFY2(stored >= storedBeforeKill, qPrintable(QString::number(stored)));
    else
        QVERIFY(stored >= -1);

    const TestLibrary::Run again
        = run(arguments(QStringLiteral("add"), library.address()) + QStringList {m_dir.path()});
    QCOMPARE(again.exitCode, 0);
    QCOMPARE(checkComplete(library.address()), m_lapCounts.size());
}

#ifdef Q_OS_LINUX
// The processes whose parent is `parent`, from the kernel's own list.
static QList<qint64> childrenOf(qint64 parent)
{
    QList<qint64> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
        if (!isPid || !stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (name) state ppid ...": the name may hold spaces and parentheses.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1 && fields[1].toLongLong() == parent)
            children.append(pid);
    }
    return children;
}
#endif

void TestLibraryReliability::workerKilled()
{
#ifndef Q_OS_LINUX
    QSKIP("finds the worker process through /proc");
#else
    TestLibrary::Fresh library;
    QVERIFY2(library.isReady(), qPrintable(library.error()));
    QProcess add;
    add.setReadChannel(QProcess::StandardError);
    add.start(QStringLiteral(IBT_LIBRARY_PATH),
              arguments(QStringLiteral("add"), library.address())
                  + QStringList {QStringLiteral("--jobs"), QStringLiteral("1"), m_dir.path()});
    QVERIFY(add.waitForStarted());
    // Once the first file is in, the one worker imports the next.
    QByteArray err;
    while (!err.contains("added ") && add.state() == QProcess::Running) {
        add.waitForReadyRead(1000);
        err += add.readAllStandardError();
    }
    const QList<qint64> workers = childrenOf(add.processId());
    QCOMPARE(workers.size(), 1);
    QCOMPARE(::kill(pid_t(workers.first()), SIGKILL), 0);
    QVERIFY(add.waitForFinished(120000));
    err += add.readAllStandardError();
    const QByteArray out = add.readAllStandardOutput();

    // That file failed with the reason; a new worker imported all the others.
    QCOMPARE(add.exitStatus(), QProcess::NormalExit);
    QCOMPARE(add.exitCode(), 1);
    QCOMPARE(err.count("added "), m_lapCounts.size() - 1);
    QVERIFY2(err.contains(QStringLiteral("%1 of %2 files imported")
                              .arg(m_lapCounts.size() - 1)
                              .arg(m_lapCounts.size())
                              .toUtf8()
                          + " ("),
             err.constData());
    QCOMPARE(err.count("\nerror: "), 1);
    QVERIFY2(err.contains(".ibt: the import crashed its worker process\n"), err.constData());
#endif
}

void TestLibraryReliability::twoAddsAtOnce()
{
    TestLibrary::Fresh library;
    QVERIFY2(library.isReady(), qPrintable(library.error()));
    // Both create the library at once too.
    QProcess first;
    QProcess second;
    first.start(QStringLiteral(IBT_LIBRARY_PATH),
                arguments(QStringLiteral("add"), library.address()) + QStringList {m_dir.path()});
    second.start(QStringLiteral(IBT_LIBRARY_PATH),
                 arguments(QStringLiteral("add"), library.address()) + QStringList {m_dir.path()});
    QVERIFY(first.waitForFinished(300000));
    QVERIFY(second.waitForFinished(300000));
    QVERIFY2(first.exitCode() == 0, first.readAllStandardError().constData());
    QVERIFY2(second.exitCode() == 0, second.readAllStandardError().constData());
    QCOMPARE(checkComplete(library.address()), m_lapCounts.size());
}

void TestLibraryReliability::waitingAddSaysSo()
{
    if (TestLibrary::onServer())
        QSKIP("a SQLite file has one writer at a time; a server stores two adds side by side");
    TestLibrary::Fresh library;
    QVERIFY2(library.isReady(), qPrintable(library.error()));
    QCOMPARE(run(arguments(QStringLiteral("add"), library.address())
                 + QStringList {m_lapCounts.firstKey()})
                 .exitCode,
             0);
    const QByteArray waiting
        = "waiting for another ibt-library add to finish writing to " + library.address().toUtf8();
    {
        // Another writer holds the library's write lock until this test lets go.
        QSqlDatabase db
            = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other writer"));
        db.setDatabaseName(library.address());
        QVERIFY(db.open());
        QSqlQuery hold(db);
        QVERIFY(hold.exec(QStringLiteral("BEGIN IMMEDIATE")));

        QProcess add;
        QVERIFY(startAdd(add, library.address()));
        QByteArray err;
        const QDeadlineTimer deadline(120000);
        while (!err.contains(waiting) && add.state() == QProcess::Running
               && !deadline.hasExpired()) {
            add.waitForReadyRead(1000);
            err += add.readAllStandardError();
        }
        QVERIFY2(err.contains(waiting), err.constData());
        QCOMPARE(add.state(), QProcess::Running);
        QVERIFY2(!err.contains("added "), err.constData());

        QVERIFY(hold.exec(QStringLiteral("COMMIT")));
        QVERIFY(add.waitForFinished(300000));
        err += add.readAllStandardError();
        QVERIFY2(add.exitCode() == 0, err.constData());
        QCOMPARE(err.count(waiting), 1);
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("other writer"));
    QCOMPARE(checkComplete(library.address()), m_lapCounts.size());
}

QByteArray fileHash(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
}

void TestLibraryReliability::readOnlyLibrary()
{
    if (TestLibrary::onServer())
        QSKIP("a read-only file is the embedded library's case");
    TestLibrary::Fresh library;
    const QString one = m_lapCounts.firstKey();
    QCOMPARE(run(arguments(QStringLiteral("add"), library.address()) + QStringList {one}).exitCode,
             0);
    QVERIFY(QFile::setPermissions(library.address(),
                                  QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    const QByteArray before = fileHash(library.address());

    const TestLibrary::Run refused
        = run(arguments(QStringLiteral("add"), library.address()) + QStringList {m_dir.path()});
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.err.contains("the file is read-only"), refused.err.constData());
    QCOMPARE(fileHash(library.address()), before);
    // It can still be read.
    QCOMPARE(checkComplete(library.address()), 1);
}

void TestLibraryReliability::damagedLibrary()
{
    if (TestLibrary::onServer())
        QSKIP("a damaged file is the embedded library's case");
    TestLibrary::Fresh library;
    QCOMPARE(run(arguments(QStringLiteral("add"), library.address())
                 + QStringList {m_lapCounts.firstKey()})
                 .exitCode,
             0);
    {
        // The table of tables, on the first page after the file header, overwritten.
        QFile file(library.address());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.seek(100));
        file.write(QByteArray(900, '\xff'));
    }
    const QByteArray before = fileHash(library.address());
    for (const QString &command : {QStringLiteral("add"), QStringLiteral("laps")}) {
        QStringList args = arguments(command, library.address());
        if (command == u"add")
            args.append(m_dir.path());
        const TestLibrary::Run refused = run(args);
        QCOMPARE(refused.exitCode, 1);
        QVERIFY2(refused.err.startsWith("error: library " + library.address().toUtf8()
                                        + ": cannot be read as a database"),
                 refused.err.constData());
        QCOMPARE(fileHash(library.address()), before);
    }
}

void TestLibraryReliability::serverNotThere()
{
    // Nothing listens on port 1.
    const QString url = QStringLiteral("postgresql://driver@127.0.0.1:1/laps?connect_timeout=5");
    const TestLibrary::Run refused
        = run(arguments(QStringLiteral("add"), url) + QStringList {m_dir.path()});
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.err.startsWith("error: library " + url.toUtf8() + ": cannot connect"),
             refused.err.constData());
}

void TestLibraryReliability::loginRefused()
{
    if (!TestLibrary::onServer())
        QSKIP("needs the PostgreSQL server of the run");
    const QString url = QStringLiteral("postgresql://nobody_here@%1:%2/postgres")
                            .arg(qEnvironmentVariable("PGHOST"), qEnvironmentVariable("PGPORT"));
    const TestLibrary::Run refused = run(arguments(QStringLiteral("sessions"), url));
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.err.startsWith("error: library " + url.toUtf8() + ": cannot connect"),
             refused.err.constData());
    // The password of the run's own user, which libpq offers, never shows.
    QVERIFY(!refused.err.contains(qgetenv("PGPASSWORD")));
}

void TestLibraryReliability::sslModeReachesTheServer()
{
    if (!TestLibrary::onServer())
        QSKIP("needs the PostgreSQL server of the run");
    // A certificate to check the server against that does not exist: libpq refuses to connect
    // only if it was given the URL's sslmode, whether or not the server offers SSL.
    const QString url = TestLibrary::serverUrl(QStringLiteral("postgres"))
        + QStringLiteral("?sslmode=verify-full&sslrootcert=/nonexistent/root.crt");
    const TestLibrary::Run refused = run(arguments(QStringLiteral("sessions"), url));
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.err.startsWith("error: library "), refused.err.constData());
    QVERIFY2(refused.err.contains("cannot connect"), refused.err.constData());
    QVERIFY2(refused.err.contains("/nonexistent/root.crt") || refused.err.contains("SSL"),
             refused.err.constData());
}

// pg_virtualenv's cluster, as root and as any other user: version PGVERSION, named "regress"
// (as another user, pg_ctlcluster finds it through PG_CLUSTER_CONF_ROOT, which pg_virtualenv
// sets too).
static bool controlServer(const QStringList &action)
{
    QProcess control;
    control.setProcessChannelMode(QProcess::ForwardedChannels);
    control.start(QStandardPaths::findExecutable(QStringLiteral("pg_ctlcluster")),
                  QStringList {qEnvironmentVariable("PGVERSION"), QStringLiteral("regress")}
                      + action);
    return control.waitForFinished(120000) && control.exitStatus() == QProcess::NormalExit
        && control.exitCode() == 0;
}

void TestLibraryReliability::serverRestarts_data()
{
    QTest::addColumn<bool>("comesBack"); // within the time add tries to connect again
    QTest::newRow("restarted: add connects again and goes on") << true;
    QTest::newRow("stopped: add stops, a re-run adds the rest") << false;
}

void TestLibraryReliability::serverRestarts()
{
    QFETCH(bool, comesBack);
    if (!TestLibrary::onServer())
        QSKIP("needs the PostgreSQL server of the run");
    if (qEnvironmentVariableIsEmpty("PGVERSION")
        || QStandardPaths::findExecutable(QStringLiteral("pg_ctlcluster")).isEmpty())
        QSKIP("the server cannot be restarted here: pg_virtualenv gave no PGVERSION, or "
              "pg_ctlcluster is not installed");
    TestLibrary::Fresh library;
    QVERIFY2(library.isReady(), qPrintable(library.error()));
    const QString first = m_lapCounts.firstKey();
    QCOMPARE(
        run(arguments(QStringLiteral("add"), library.address()) + QStringList {first}).exitCode, 0);

    QString error;
    const DatabaseAddress address = *DatabaseAddress::parse(library.address(), &error);
    QProcess add;
    {
        // Another add's transaction holds the files table, so that this one waits in the
        // middle of storing its first file when the server goes.
        Library holder(address);
        QVERIFY2(holder.open(Library::Access::Read), qPrintable(holder.errorString()));
        QSqlQuery hold(holder.database());
        QVERIFY(holder.run(hold, QStringLiteral("BEGIN")));
        QVERIFY(holder.run(hold, QStringLiteral("LOCK TABLE files IN SHARE ROW EXCLUSIVE MODE")));
        QVERIFY(startAdd(add, library.address()));
        Library observer(address);
        QVERIFY(observer.open(Library::Access::Read));
        QSqlQuery waiting(observer.database());
        const QDeadlineTimer deadline(120000);
        for (;;) {
            QVERIFY(observer.run(
                waiting, QStringLiteral("SELECT COUNT(*) FROM pg_locks WHERE NOT granted")));
            QVERIFY(waiting.next());
            if (waiting.value(0).toInt() > 0)
                break;
            QVERIFY2(!deadline.hasExpired() && add.state() == QProcess::Running,
                     add.readAllStandardError().constData());
            QTest::qWait(100);
        }
        QVERIFY(controlServer(comesBack ? QStringList {QStringLiteral("restart"),
                                                       QStringLiteral("-m"), QStringLiteral("fast")}
                                        : QStringList {QStringLiteral("stop"), QStringLiteral("-m"),
                                                       QStringLiteral("fast")}));
    }
    // A stopped server is started again whatever the checks below find.
    bool stopped = !comesBack;
    const auto startAgain = qScopeGuard([&] {
        if (stopped)
            controlServer({QStringLiteral("start")});
    });
    QVERIFY(add.waitForFinished(300000));
    const QByteArray err = add.readAllStandardError();
    QVERIFY(!err.contains(qgetenv("PGPASSWORD")));
    QVERIFY2(err.contains("note: lost the connection to the library (library "
                          + library.address().toUtf8() + ": "),
             err.constData());
    if (comesBack) {
        QVERIFY2(add.exitCode() == 0, err.constData());
        QVERIFY2(err.contains("note: connected again to library " + library.address().toUtf8()),
                 err.constData());
        QCOMPARE(checkComplete(library.address()), m_lapCounts.size());
        return;
    }
    QCOMPARE(add.exitCode(), 1);
    QVERIFY2(err.contains(QStringLiteral("error: library %1: cannot connect again within %2 s")
                              .arg(library.address())
                              .arg(15)
                              .toUtf8()),
             err.constData());
    QVERIFY2(err.contains("the files stored before are kept, and the next add adds the rest"),
             err.constData());
    QVERIFY(controlServer({QStringLiteral("start")}));
    stopped = false;
    // The file stored before is whole, and a re-run adds the rest.
    QCOMPARE(checkComplete(library.address()), 1);
    QCOMPARE(run(arguments(QStringLiteral("add"), library.address()) + QStringList {m_dir.path()})
                 .exitCode,
             0);
    QCOMPARE(checkComplete(library.address()), m_lapCounts.size());
}

QTEST_GUILESS_MAIN(TestLibraryReliability)
#include "tst_libraryreliability.moc"
