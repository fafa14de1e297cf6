#pragma once

#include "importresult.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QTime>

// One line per file across several files, in the order they were recorded, and the best
// lap of each track, configuration and car among them: times of different tracks or cars say
// nothing of each other. The simulator records a stint per file, so this is how a driver sees
// a day's sessions side by side.
class FilesTable
{
public:
    // Takes what the table needs of an import; the laps themselves are not kept.
    void add(const ImportResult &result);
    QString text() const;

    struct File
    {
        QString path;
        QDateTime start;
        QString track;
        QString trackConfig;
        QString car;
        QString session;
        qsizetype laps = 0;
        int timedLaps = 0;
        QTime best; // invalid without a timed lap
        QString bestLapName;
        double average = 0.0;
    };

private:
    QList<File> m_files;
};
