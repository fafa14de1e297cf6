#include "filestable.h"

#include "laptime.h"
#include "sessionlabel.h"
#include "sessionsummary.h"
#include "summarytext.h"
#include "texttable.h"

#include <QFileInfo>

#include <algorithm>

void FilesTable::add(const ImportResult &result)
{
    File file;
    file.path = result.file;
    file.start = result.recording.start();
    file.laps = result.laps.size();
    if (!result.laps.isEmpty()) {
        const ZUM::SDK::LapHeader &header = result.laps.first()->header();
        file.track = header.trackName;
        file.car = header.carInfo.carName;
        file.session = sessionLabel(header);
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
    const File *best = nullptr;
    for (const File &file : files) {
        const bool timed = file.best.isValid();
        table.addRow({
            file.start.isValid() ? file.start.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm"))
                                 : QStringLiteral("-"),
            QFileInfo(file.path).fileName(),
            file.track.isEmpty() ? QStringLiteral("-") : file.track,
            file.car.isEmpty() ? QStringLiteral("-") : file.car,
            file.session.isEmpty() ? QStringLiteral("-") : file.session,
            QString::number(file.laps),
            QString::number(file.timedLaps),
            timed ? LapTime::text(file.best) : QStringLiteral("-"),
            timed ? LapTime::text(file.average) : QStringLiteral("-"),
        });
        if (timed && (!best || file.best < best->best))
            best = &file;
    }
    QString text = QStringLiteral("All files\n\n") + table.text() + QLatin1Char('\n');
    if (!best)
        return text + QStringLiteral("Best lap overall: no timed lap\n");
    return text
        + QStringLiteral("Best lap overall: %1 on %2 of %3\n")
              .arg(LapTime::text(best->best), best->bestLapName, best->path);
}
