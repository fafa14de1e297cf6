#pragma once

#include "importresult.h"
#include "unitsystem.h"

#include <QList>
#include <QString>

// The text a person reads about one import: a summary of the recording and the session
// (file, start, track, car, driver, session, weather), a table of the chosen laps with
// aligned columns, and the session's numbers under it.
class LapTable
{
public:
    // chosen: indexes of the laps to list; the summary and the numbers are the whole
    // session's.
    static QString text(const ImportResult &result, const QList<qsizetype> &chosen, Units units);
};
