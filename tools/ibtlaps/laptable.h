#pragma once

#include "importresult.h"

#include <QString>
#include <QTime>

// The text a person reads about one import: a summary of the session (file, track, car,
// driver, session) and a table of its laps with aligned columns.
class LapTable
{
public:
    static QString text(const ImportResult &result);

    // "1:39.612"; "no time" for the marker of an untimed lap (59:59.000), "-" when there is
    // no time at all. Lap times of an hour or more get their hours in front.
    static QString lapTimeText(const QTime &lapTime);
    // False for no time and for the plug-in's marker of a lap the simulator did not time.
    static bool isTimed(const QTime &lapTime);
};
