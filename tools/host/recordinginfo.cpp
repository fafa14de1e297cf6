#include "recordinginfo.h"

#include "ibtfile.h"
#include "tyamltree.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace {

const QString notIbt = QStringLiteral(": not a valid .ibt file");

// Live-memory dumps and other files that are no recordings hold anything here; a start
// outside these years is not a date.
constexpr int firstYear = 2000;
constexpr int lastYear = 2200;

QString unreadable(const QFileInfo &file)
{
    if (!file.exists())
        return QStringLiteral("does not exist");
    if (file.isDir())
        return QStringLiteral("is a directory");
    if (!file.isReadable())
        return QStringLiteral("permission denied");
    return {};
}

QString problemOf(IbtFile::Status status, qint64 fileSize)
{
    switch (status) {
    case IbtFile::Status::Ok:
        return {};
    case IbtFile::Status::CannotOpen:
        return QStringLiteral("cannot be opened");
    case IbtFile::Status::ShortHeader:
        if (fileSize == 0)
            return QStringLiteral("is empty") + notIbt;
        return QStringLiteral("is shorter than a header (%1 of %2 bytes)")
                   .arg(fileSize)
                   .arg(sizeof(irsdk_header))
            + notIbt;
    case IbtFile::Status::ShortDiskSubHeader:
        return QStringLiteral("ends inside its disk sub-header") + notIbt;
    case IbtFile::Status::ShortSessionText:
        return QStringLiteral("ends before the end of its session text") + notIbt;
    case IbtFile::Status::ShortVarHeaders:
        return QStringLiteral("ends before the end of its variable descriptors") + notIbt;
    case IbtFile::Status::ImpossibleLength:
        return QStringLiteral("has a length in its header that cannot be allocated") + notIbt;
    }
    return {};
}

// The starts of the track's sectors: each list item's SectorStartPct, in rising order, the line
// first. A list that does not begin at the line, or whose starts repeat or leave the lap, is no
// division of the lap that times can be given for.
QList<double> sectorStartsOf(const TYamlTree &session)
{
    const TStringTree *sectors = session.pathSub("SplitTimeInfo/Sectors");
    if (!sectors)
        return {};
    QList<double> starts;
    for (const QString &key : sectors->subTreesKeys()) {
        bool ok = false;
        const double start = sectors->sub(key.toStdString())->value("SectorStartPct").toDouble(&ok);
        if (!ok || !(start >= 0.0 && start < 1.0))
            return {};
        starts.append(start);
    }
    std::sort(starts.begin(), starts.end());
    if (starts.isEmpty() || starts.front() != 0.0
        || std::adjacent_find(starts.cbegin(), starts.cend()) != starts.cend())
        return {};
    return starts;
}

// The session types in the order of the sessions' numbers.
QString sessionTypesOf(const TYamlTree &session)
{
    const TStringTree *sessions = session.pathSub("SessionInfo/Sessions");
    if (!sessions)
        return {};
    QList<std::pair<int, QString>> types;
    for (const QString &key : sessions->subTreesKeys()) {
        const TStringTree *one = sessions->sub(key.toStdString());
        const QString type = one->value("SessionType").trimmed();
        if (!type.isEmpty())
            types.append({one->value("SessionNum").toInt(), type});
    }
    std::sort(types.begin(), types.end());
    QStringList names;
    for (const auto &[number, type] : types) {
        if (!names.contains(type))
            names.append(type);
    }
    return names.join(QStringLiteral(", "));
}

} // namespace

RecordingInfo RecordingInfo::read(const QString &path)
{
    RecordingInfo info;
    const QFileInfo file(path);
    info.m_problem = unreadable(file);
    if (!info.m_problem.isEmpty())
        return info;

    IbtFile ibt;
    const IbtFile::Status status = ibt.open(path);
    info.m_problem = problemOf(status, file.size());
    if (status != IbtFile::Status::Ok)
        return info;

    // Copied out first: the packed sub-header's fields are not aligned for a reference.
    const qint64 startDate = ibt.diskSubHeader().sessionStartDate;
    const double startTime = ibt.diskSubHeader().sessionStartTime;
    const QDateTime start = QDateTime::fromSecsSinceEpoch(startDate, Qt::UTC);
    if (start.isValid() && start.date().year() >= firstYear && start.date().year() <= lastYear)
        info.m_start = start;
    if (info.m_start.isValid() && std::isfinite(startTime) && startTime >= 0.0)
        info.m_startSessionTime = startTime;
    info.m_wholeRecords = ibt.wholeRecords();
    info.m_partialRecordBytes = ibt.partialRecordBytes();
    info.m_sessionText = QByteArray(ibt.sessionText());
    TYamlTree session;
    session.setYaml(ibt.sessionText());
    info.m_sectorStarts = sectorStartsOf(session);
    info.m_version = ibt.header().ver;
    info.m_trackName = session.pathValue("WeekendInfo/TrackDisplayName").trimmed();
    if (info.m_trackName.isEmpty())
        info.m_trackName = session.pathValue("WeekendInfo/TrackName").trimmed();
    info.m_trackConfigName = session.pathValue("WeekendInfo/TrackConfigName").trimmed();
    bool ok = false;
    const int player = session.pathValue("DriverInfo/DriverCarIdx").toInt(&ok);
    if (ok) {
        const std::string driver = "DriverInfo/Drivers/" + std::to_string(player);
        if (const TStringTree *entry = session.pathSub(driver)) {
            info.m_carName = entry->value("CarScreenName").trimmed();
            info.m_driverName = entry->value("UserName").trimmed();
        }
    }
    info.m_sessionTypes = sessionTypesOf(session);
    return info;
}

QString RecordingInfo::headerProblem() const
{
    if (!m_problem.isEmpty() || m_version == 1 || m_version == 2)
        return {};
    return QStringLiteral("its header's version is %1, which the simulator never writes (it "
                          "writes 1 and 2): not a telemetry recording")
        .arg(m_version);
}

QString RecordingInfo::recordsNote() const
{
    if (!m_problem.isEmpty())
        return {};
    const QString dropped
        = QStringLiteral("%1 bytes of a partial record dropped").arg(m_partialRecordBytes);
    if (m_wholeRecords == 0)
        return m_partialRecordBytes > 0 ? QStringLiteral("no records, ") + dropped
                                        : QStringLiteral("no records");
    if (m_partialRecordBytes == 0)
        return {};
    return QStringLiteral("%1 whole records read, ").arg(m_wholeRecords) + dropped;
}
