#include "addcommand.h"

#include "filehash.h"
#include "importedfile.h"
#include "importworker.h"
#include "importworkers.h"
#include "laptime.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>

namespace {

QString absolutePath(const QFileInfo &file)
{
    return QDir::fromNativeSeparators(QDir::cleanPath(file.absoluteFilePath()));
}

} // namespace

AddCommand::AddCommand(Library &library, const Settings &settings, QTextStream &err)
    : m_library(library)
    , m_settings(settings)
    , m_err(err)
{
    m_library.setWaitNotice([this] { sayWaiting(); });
}

QStringList AddCommand::collect(const QStringList &paths)
{
    QStringList files;
    for (const QString &path : paths) {
        const QFileInfo info(path);
        if (info.isDir()) {
            QStringList found;
            QDirIterator it(path, {QStringLiteral("*.ibt")}, QDir::Files | QDir::Readable,
                            QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
            while (it.hasNext())
                found.append(absolutePath(QFileInfo(it.next())));
            std::sort(found.begin(), found.end());
            files += found;
        } else if (info.exists()) {
            files.append(absolutePath(info));
        } else {
            m_failures.append(QStringLiteral("%1: does not exist").arg(path));
        }
    }
    files.removeDuplicates();
    return files;
}

int AddCommand::exec(const QStringList &paths)
{
    m_clock.start();
    QList<Library::KnownFile> known;
    if (!m_library.knownFiles(&known)) {
        m_err << "error: " << m_library.errorString() << Qt::endl;
        return 1;
    }
    for (const Library::KnownFile &file : known) {
        m_byPath.insert(file.path, file);
        m_byHash.insert(file.hash, file);
        // A file without laps stored before the library kept why is read again, wherever it is.
        if (file.explained)
            m_hashesBySize.insert(file.size, file.hash);
    }

    const QStringList files = collect(paths);
    struct Import
    {
        ImportWorker::Request request;
        qint64 size = 0;
    };
    QList<Import> imports;
    m_total = files.size();
    for (const QString &file : files) {
        if (isUnchanged(file)) {
            ++m_done;
            progress();
        } else {
            const qint64 size = QFileInfo(file).size();
            imports.append({{file, m_hashesBySize.values(size)}, size});
        }
    }
    // The largest first, so that the longest import does not start last while the other
    // workers stand idle.
    std::stable_sort(imports.begin(), imports.end(),
                     [](const Import &a, const Import &b) { return a.size > b.size; });
    QList<ImportWorker::Request> requests;
    for (const Import &import : std::as_const(imports))
        requests.append(import.request);
    ImportWorkers workers(QCoreApplication::applicationFilePath(),
                          {ImportWorker::argument(), m_settings.pluginPath}, m_settings.jobs);
    workers.run(requests, [&](const StoredFile &file) {
        if (!m_disconnected)
            store(file);
        ++m_done;
        progress();
        return !m_disconnected;
    });
    if (m_settings.terminal && !files.isEmpty())
        m_err << '\n';
    m_err << QStringLiteral("%1 of %2 files imported (%3 laps), %4 unchanged, %5 failed")
                 .arg(m_imported)
                 .arg(files.size())
                 .arg(m_laps)
                 .arg(m_unchanged)
                 .arg(m_failures.size())
          << Qt::endl;
    for (const QString &failure : std::as_const(m_failures))
        m_err << "error: " << failure << '\n';
    m_err.flush();
    return m_failures.isEmpty() ? 0 : 1;
}

bool AddCommand::isUnchanged(const QString &path)
{
    const QFileInfo info(path);
    const auto known = m_byPath.constFind(path);
    if (known == m_byPath.cend() || !known->explained || known->size != info.size()
        || known->modified.toMSecsSinceEpoch() != info.lastModified().toUTC().toMSecsSinceEpoch())
        return false;
    ++m_unchanged;
    if (!known->failure.isEmpty())
        m_failures.append(QStringLiteral("%1: %2 (unchanged since it failed)")
                              .arg(QDir::toNativeSeparators(path), known->failure));
    return true;
}

bool AddCommand::isKnownContents(const StoredFile &file)
{
    const auto known = m_byHash.constFind(file.hash);
    if (known == m_byHash.cend() || !known->explained)
        return false;
    const QString path = QDir::toNativeSeparators(file.path);
    ++m_unchanged;
    // A copy beside a file that is still there is not stored twice.
    if (known->path != file.path && QFileInfo::exists(known->path)) {
        if (!m_settings.terminal)
            m_err << QStringLiteral("note: %1 is the same as %2, which is already in the library")
                         .arg(path, QDir::toNativeSeparators(known->path))
                  << Qt::endl;
        return true;
    }
    // Touched in place, or moved from a path that is gone: the stored rows stay, under the
    // file's new path and time stamp.
    if (!write([&] {
            return m_library.updateIdentity(known->id, file.path, file.size, file.modified);
        }))
        failWrite(path);
    return true;
}

void AddCommand::store(StoredFile stored)
{
    const QString path = QDir::toNativeSeparators(stored.path);
    if (stored.hash.isEmpty()) {
        // The file could not be read, or its import ended its worker: the failure is stored
        // when the contents can be told apart, so that the next add does not try again.
        QString error;
        const std::optional<QString> hash = FileHash::of(stored.path, &error);
        if (!hash) {
            m_failures.append(QStringLiteral("%1: %2").arg(path, stored.failure));
            return;
        }
        stored.hash = *hash;
    }
    if (isKnownContents(stored))
        return;
    if (!write([&] { return m_library.store(stored); })) {
        failWrite(path);
        return;
    }
    if (!stored.failure.isEmpty()) {
        m_failures.append(QStringLiteral("%1: %2").arg(path, stored.failure));
        return;
    }
    ++m_imported;
    m_laps += stored.laps.size();
    if (m_settings.terminal)
        return;
    // A file without laps says why instead of "0 laps".
    QString what = stored.laps.isEmpty() && !stored.note.isEmpty()
        ? stored.note
        : QStringLiteral("%1 laps").arg(stored.laps.size());
    if (!stored.laps.isEmpty() && !stored.note.isEmpty())
        what += QStringLiteral("; ") + stored.note;
    m_err << QStringLiteral("added %1: %2").arg(path, what) << Qt::endl;
}

void AddCommand::progress()
{
    if (!m_settings.terminal)
        return;
    constexpr int Width = 30;
    const int filled = int(Width * m_done / std::max<qsizetype>(m_total, 1));
    const double elapsed = m_clock.elapsed() / 1000.0;
    const double left = m_done > 0 ? elapsed * double(m_total - m_done) / double(m_done) : 0.0;
    const QString line = QLatin1Char('[') + QString(filled, QLatin1Char('#'))
        + QString(Width - filled, QLatin1Char('.'))
        + QStringLiteral("] %1/%2 files, %3 laps, ").arg(m_done).arg(m_total).arg(m_laps)
        + LapTime::clockText(elapsed).section(QLatin1Char('.'), 0, 0) + QStringLiteral(" elapsed, ")
        + LapTime::clockText(left).section(QLatin1Char('.'), 0, 0) + QStringLiteral(" left ");
    m_progressWidth = line.size();
    m_err << '\r' << line << Qt::flush;
}

bool AddCommand::write(const std::function<bool()> &statements)
{
    if (statements())
        return true;
    if (m_library.isConnected())
        return false;
    // A server that restarts ends the connection; the transaction under way is rolled back
    // with it, so the file is stored again whole once the server answers.
    say(QStringLiteral("note: lost the connection to the library (%1); connecting again…")
            .arg(m_library.errorString()));
    if (!m_library.reconnect(ReconnectSeconds)) {
        m_disconnected = true;
        return false;
    }
    say(QStringLiteral("note: connected again to library %1")
            .arg(m_library.address().displayText()));
    return statements();
}

void AddCommand::failWrite(const QString &path)
{
    if (!m_disconnected) {
        m_failures.append(QStringLiteral("%1: %2").arg(path, m_library.errorString()));
        return;
    }
    m_failures.append(QStringLiteral("%1; the files stored before are kept, and the next add "
                                     "adds the rest")
                          .arg(m_library.errorString()));
}

void AddCommand::sayWaiting()
{
    if (m_saidWaiting)
        return;
    m_saidWaiting = true;
    say(QStringLiteral("waiting for another ibt-library add to finish writing to %1…")
            .arg(m_library.address().displayText()));
}

void AddCommand::say(const QString &line)
{
    if (!m_settings.terminal) {
        m_err << line << Qt::endl;
        return;
    }
    // On its own line above the progress bar, which is drawn again below it.
    m_err << '\r' << line.leftJustified(m_progressWidth) << '\n';
    if (m_progressWidth > 0)
        progress();
    m_err.flush();
}
