#pragma once

#include "importresult.h"
#include "unitsystem.h"

#include <QList>
#include <QString>

// The text a person reads about one import: a summary of the recording and the session
// (file, start, track, car, driver, session, weather), a table of the chosen laps with
// aligned columns, and the session's numbers under it. With sectors, every lap's time through
// each of the track's sectors, the best of each marked with '*'.
class LapTable
{
public:
    struct Settings
    {
        Units units = Units::Metric;
        // Each lap's times through the track's own sectors, and the ideal lap of them.
        bool sectors = false;
        QString noLapsReason; // for a file without laps, why it has none
    };

    // chosen: indexes of the laps to list; the summary and the numbers are the whole
    // session's.
    static QString text(const ImportResult &result, const QList<qsizetype> &chosen,
                        const Settings &settings);
};
