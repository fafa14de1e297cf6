#include "libraryfiles.h"

#include "filehash.h"

#include <QDir>
#include <QFileInfo>

LibraryFiles::LibraryFiles(Library &library)
    : m_library(library)
{ }

LibraryFiles::Presence LibraryFiles::presence(const Library::KnownFile &file)
{
    const QFileInfo info(file.path);
    if (!info.isFile())
        return Presence::Vanished;
    if (info.size() != file.size
        || info.lastModified().toMSecsSinceEpoch() != file.modified.toMSecsSinceEpoch())
        return Presence::Different;
    return Presence::AsAdded;
}

std::optional<RowOutput> LibraryFiles::check()
{
    QList<Library::KnownFile> files;
    if (!m_library.knownFiles(&files))
        return std::nullopt;
    std::sort(
        files.begin(), files.end(),
        [](const Library::KnownFile &a, const Library::KnownFile &b) { return a.path < b.path; });
    RowOutput rows({
        {QStringLiteral("status"), QStringLiteral("Status"), RowOutput::Kind::Text},
        {QStringLiteral("file"), QStringLiteral("File"), RowOutput::Kind::Text},
    });
    for (const Library::KnownFile &file : std::as_const(files)) {
        const Presence presence = LibraryFiles::presence(file);
        QString status;
        if (presence == Presence::Vanished) {
            status = QStringLiteral("vanished");
        } else if (presence == Presence::Different) {
            QString error;
            const std::optional<QString> hash = FileHash::of(file.path, &error);
            status = !hash           ? QStringLiteral("unreadable: ") + error
                : *hash == file.hash ? QStringLiteral("touched")
                                     : QStringLiteral("changed");
        }
        if (!status.isEmpty())
            rows.addRow({status, QDir::toNativeSeparators(file.path)});
    }
    return rows;
}

qsizetype LibraryFiles::remove(const QStringList &paths, QStringList *unknown)
{
    QList<Library::KnownFile> files;
    if (!m_library.knownFiles(&files))
        return -1;
    QList<qint64> ids;
    for (const QString &given : paths) {
        const QString path
            = QDir::fromNativeSeparators(QDir::cleanPath(QFileInfo(given).absoluteFilePath()));
        const QString folder = path.endsWith(u'/') ? path : path + u'/';
        bool found = false;
        for (const Library::KnownFile &file : std::as_const(files)) {
            if ((file.path == path || file.path.startsWith(folder)) && !ids.contains(file.id)) {
                ids.append(file.id);
                found = true;
            }
        }
        if (!found)
            unknown->append(given);
    }
    if (!ids.isEmpty() && !m_library.remove(ids))
        return -1;
    return ids.size();
}
