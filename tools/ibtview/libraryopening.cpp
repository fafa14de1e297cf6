#include "libraryopening.h"

#include "laptime.h"
#include "libraryfiles.h"

#include <QDir>
#include <QFileInfo>

#include <cmath>

namespace {

QString absolute(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// Why a file is not opened, and what the driver can do about it.
QString notOpened(const QString &path, LibraryFiles::Presence presence)
{
    const QString file = QDir::toNativeSeparators(path);
    if (presence == LibraryFiles::Presence::Vanished)
        return QStringLiteral("%1: not opened: the file is no longer where the lap library has "
                              "it (moved or deleted). ibt-library check lists such files; "
                              "ibt-library add on its new folder finds a moved file again.")
            .arg(file);
    return QStringLiteral("%1: not opened: the file has changed since it was added to the lap "
                          "library (its size or time differ). ibt-library add %1 stores it "
                          "again; ibt-library check lists every changed file.")
        .arg(file);
}

} // namespace

LibraryOpening::LibraryOpening(ViewModel &model)
    : m_model(model)
{ }

LibraryOpening::Plan LibraryOpening::open(const QList<LapPlace> &laps)
{
    Plan plan;
    m_chosen.clear();
    // The laps by file, in the order first chosen.
    QList<Pending> files;
    for (const LapPlace &lap : laps) {
        auto file = std::find_if(files.begin(), files.end(),
                                 [&](const Pending &f) { return f.path == lap.file.path; });
        if (file == files.end())
            files.append({lap.file.path, {lap}});
        else
            file->laps.append(lap);
    }
    for (const Pending &file : std::as_const(files)) {
        const LibraryFiles::Presence presence = LibraryFiles::presence(file.laps.first().file);
        if (presence != LibraryFiles::Presence::AsAdded) {
            plan.messages.append(notOpened(file.path, presence));
            continue;
        }
        qsizetype open = -1;
        for (qsizetype f = 0; f < m_model.files().size() && open < 0; ++f) {
            if (absolute(m_model.files()[f].result.file) == absolute(file.path))
                open = f;
        }
        if (open >= 0) {
            overlay(open, file.laps, false, &plan.messages);
            continue;
        }
        auto pending = std::find_if(m_pending.begin(), m_pending.end(),
                                    [&](const Pending &p) { return p.path == file.path; });
        // Asked for already: its import is under way.
        if (pending != m_pending.end()) {
            pending->laps += file.laps;
            continue;
        }
        m_pending.append(file);
        plan.imports.append(file.path);
    }
    chooseReference();
    return plan;
}

QStringList LibraryOpening::opened(qsizetype file)
{
    const QString path = m_model.files()[file].result.file;
    const auto pending = std::find_if(m_pending.begin(), m_pending.end(),
                                      [&](const Pending &p) { return p.path == path; });
    if (pending == m_pending.end())
        return {};
    const QList<LapPlace> laps = pending->laps;
    m_pending.erase(pending);
    QStringList messages;
    overlay(file, laps, true, &messages);
    chooseReference();
    return messages;
}

void LibraryOpening::failed(const QString &path)
{
    m_pending.removeIf([&](const Pending &p) { return p.path == path; });
}

QStringList LibraryOpening::pending() const
{
    QStringList paths;
    for (const Pending &p : m_pending)
        paths.append(p.path);
    return paths;
}

void LibraryOpening::overlay(qsizetype file, const QList<LapPlace> &laps, bool only,
                             QStringList *messages)
{
    const auto &fileLaps = m_model.files()[file].result.laps;
    QList<qsizetype> found;
    for (const LapPlace &lap : laps) {
        // The library knows a lap by the numbers of its header.
        const auto match = std::find_if(fileLaps.cbegin(), fileLaps.cend(), [&](const auto &l) {
            const ZUM::SDK::LapHeader &header = l->header();
            return header.lapNumber == lap.lapNumber && header.stint == lap.stint
                && header.lapInStint == lap.lapInStint;
        });
        if (match == fileLaps.cend()) {
            messages->append(QStringLiteral("%1: lap %2 of stint %3 of the lap library is not in "
                                            "the file any more; ibt-library add %1 stores the "
                                            "file again.")
                                 .arg(QDir::toNativeSeparators(lap.file.path))
                                 .arg(lap.lapNumber)
                                 .arg(lap.stint));
            continue;
        }
        found.append(match - fileLaps.cbegin());
    }
    if (only) {
        m_model.setOverlaidLaps(file, found);
    } else {
        for (const qsizetype lap : std::as_const(found))
            m_model.setOverlaid({file, lap}, true);
    }
    for (const qsizetype lap : std::as_const(found))
        m_chosen.append({file, lap});
}

void LibraryOpening::chooseReference()
{
    if (m_chosen.isEmpty())
        return;
    ViewModel::LapKey fastest = m_chosen.first();
    double fastestTime = INFINITY;
    for (const ViewModel::LapKey &key : std::as_const(m_chosen)) {
        const ZUM::SDK::LapHeader &header = m_model.lap(key).header();
        if (LapTime::isTimedLap(header) && LapTime::seconds(header.lapTime) < fastestTime) {
            fastestTime = LapTime::seconds(header.lapTime);
            fastest = key;
        }
    }
    m_model.setReference(fastest);
}
