#include "filestable.h"

#include "laptime.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "texttable.h"

#include <QFileInfo>

#include <algorithm>

namespace {

QString trackText(const FilesTable::File &file)
{
    if (file.track.isEmpty())
        return QStringLiteral("-");
    return file.trackConfig.isEmpty() ? file.track
                                      : QStringLiteral("%1, %2").arg(file.track, file.trackConfig);
}

} // namespace

void FilesTable::add(const ImportResult &result)
{
    File file;
    file.path = result.file;
    file.start = result.recording.start();
    file.laps = result.laps.size();
    if (!result.laps.isEmpty()) {
        const ZUM::SDK::LapHeader &header = result.laps.first()->header();
        file.track = header.trackName;
        file.trackConfig = header.trackConfigName;
        file.car = header.carInfo.carName;
        file.session = sessionLabel(header);
    } else {
        file.track = result.recording.trackName();
        file.trackConfig = result.recording.trackConfigName();
        file.car = result.recording.carName();
        file.session = result.recording.sessionTypes();
    }
    const SessionSummary summary = SessionSummary::of(result.laps);
    file.timedLaps = summary.timedLaps;
    if (summary.best >= 0) {
        file.best = result.laps[summary.best]->header().lapTime;
        file.bestLapName = SummaryText::lapName(result.laps, summary.best);
        file.average = summary.average;
    }
    m_files.append(file);
}

QString FilesTable::text() const
{
    QList<File> files = m_files;
    // Files without a start go last, in the order given.
    std::stable_sort(files.begin(), files.end(), [](const File &a, const File &b) {
        return a.start.isValid() && (!b.start.isValid() || a.start < b.start);
    });

    TextTable table({
        {QStringLiteral("Recorded (UTC)"), false},
        {QStringLiteral("File"), false},
        {QStringLiteral("Track"), false},
        {QStringLiteral("Car"), false},
        {QStringLiteral("Session"), false},
        {QStringLiteral("Laps"), true},
        {QStringLiteral("Timed"), true},
        {QStringLiteral("Best"), true},
        {QStringLiteral("Average"), true},
    });
    // The best lap of each track, configuration and car, in the order they first come.
    QList<const File *> bests;
    const auto sameCombination = [](const File &a, const File &b) {
        return a.track == b.track && a.trackConfig == b.trackConfig && a.car == b.car;
    };
    for (const File &file : files) {
        const bool timed = file.best.isValid();
        table.addRow({
            file.start.isValid() ? file.start.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm"))
                                 : QStringLiteral("-"),
            QFileInfo(file.path).fileName(),
            trackText(file),
            file.car.isEmpty() ? QStringLiteral("-") : file.car,
            file.session.isEmpty() ? QStringLiteral("-") : file.session,
            QString::number(file.laps),
            QString::number(file.timedLaps),
            timed ? LapTime::text(file.best) : QStringLiteral("-"),
            timed ? LapTime::text(file.average) : QStringLiteral("-"),
        });
        if (!timed)
            continue;
        const auto same = std::find_if(bests.begin(), bests.end(), [&](const File *other) {
            return sameCombination(*other, file);
        });
        if (same == bests.end())
            bests.append(&file);
        else if (file.best < (*same)->best)
            *same = &file;
    }
    QString text = QStringLiteral("All files\n\n") + table.text() + QLatin1Char('\n');
    if (bests.isEmpty())
        return text + QStringLiteral("Best lap: no timed lap\n");
    for (const File *best : bests)
        text += QStringLiteral("Best lap, %1, %2: %3 on %4 of %5\n")
                    .arg(trackText(*best), best->car.isEmpty() ? QStringLiteral("-") : best->car,
                         LapTime::text(best->best), best->bestLapName, best->path);
    return text;
}
