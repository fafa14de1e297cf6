#include "addcommand.h"

#include "importedfile.h"
#include "laptime.h"
#include "pluginhost.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>

namespace {

std::optional<QString> contentsHash(const QString &path, QString *error)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
        *error = file.errorString();
        return std::nullopt;
    }
    return QString::fromLatin1(hash.result().toHex());
}

QString absolutePath(const QFileInfo &file)
{
    return QDir::fromNativeSeparators(QDir::cleanPath(file.absoluteFilePath()));
}

} // namespace

AddCommand::AddCommand(Library &library, PluginHost &host, QTextStream &err, bool terminal)
    : m_library(library)
    , m_host(host)
    , m_err(err)
    , m_terminal(terminal)
{ }

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
    }

    const QStringList files = collect(paths);
    for (qsizetype i = 0; i < files.size(); ++i) {
        add(files[i]);
        progress(i + 1, files.size());
    }
    if (m_terminal && !files.isEmpty())
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

void AddCommand::add(const QString &path)
{
    const QFileInfo info(path);
    const QDateTime modified = info.lastModified().toUTC();
    const auto byPath = m_byPath.constFind(path);
    if (byPath != m_byPath.cend() && byPath->size == info.size()
        && byPath->modified.toMSecsSinceEpoch() == modified.toMSecsSinceEpoch()) {
        ++m_unchanged;
        if (!byPath->failure.isEmpty())
            m_failures.append(QStringLiteral("%1: %2 (unchanged since it failed)")
                                  .arg(QDir::toNativeSeparators(path), byPath->failure));
        return;
    }

    QString error;
    const std::optional<QString> hash = contentsHash(path, &error);
    if (!hash) {
        m_failures.append(
            QStringLiteral("%1: cannot be read: %2").arg(QDir::toNativeSeparators(path), error));
        return;
    }
    const auto byHash = m_byHash.constFind(*hash);
    if (byHash != m_byHash.cend()) {
        // The same contents: touched in place, or moved from a path that is gone; a copy
        // beside a file that is still there is not stored twice.
        if (byHash->path != path && QFileInfo::exists(byHash->path)) {
            ++m_unchanged;
            if (!m_terminal)
                m_err << QStringLiteral(
                             "note: %1 is the same as %2, which is already in the library")
                             .arg(QDir::toNativeSeparators(path),
                                  QDir::toNativeSeparators(byHash->path))
                      << Qt::endl;
            return;
        }
        if (!m_library.updateIdentity(byHash->id, path, info.size(), modified)) {
            m_failures.append(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path),
                                                           m_library.errorString()));
            return;
        }
        ++m_unchanged;
        return;
    }
    import(path, *hash);
}

void AddCommand::import(const QString &path, const QString &hash)
{
    const RecordingInfo recording = RecordingInfo::read(path);
    ImportResult result = m_host.importFile(path);
    result.recording = recording;
    const StoredFile stored = ImportedFile::from(result, QFileInfo(path), hash);
    if (!m_library.store(stored)) {
        m_failures.append(
            QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), m_library.errorString()));
        return;
    }
    if (!stored.failure.isEmpty()) {
        m_failures.append(
            QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), stored.failure));
        return;
    }
    ++m_imported;
    m_laps += stored.laps.size();
    if (!m_terminal)
        m_err << QStringLiteral("added %1: %2 laps")
                     .arg(QDir::toNativeSeparators(path))
                     .arg(stored.laps.size())
              << Qt::endl;
}

void AddCommand::progress(qsizetype done, qsizetype total)
{
    if (!m_terminal)
        return;
    constexpr int Width = 30;
    const int filled = int(Width * done / std::max<qsizetype>(total, 1));
    const double elapsed = m_clock.elapsed() / 1000.0;
    const double left = done > 0 ? elapsed * double(total - done) / double(done) : 0.0;
    m_err << '\r' << '[' << QString(filled, QLatin1Char('#'))
          << QString(Width - filled, QLatin1Char('.')) << "] " << done << '/' << total << " files, "
          << m_laps << " laps, " << LapTime::clockText(elapsed).section(QLatin1Char('.'), 0, 0)
          << " elapsed, " << LapTime::clockText(left).section(QLatin1Char('.'), 0, 0) << " left "
          << Qt::flush;
}
