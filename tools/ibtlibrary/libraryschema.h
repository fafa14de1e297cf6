#pragma once

#include "sqldialect.h"

#include <QString>
#include <QStringList>

// The library's tables and how a library of an older version is brought to the current one.
// The table "library_info" names the database as a lap library and holds its version; the
// lap index (files, laps, sectors) is kept apart from the bulky traces, so that listing and
// searching never read a trace.
class LibrarySchema
{
public:
    static constexpr int CurrentVersion = 2;
    // What library_info says of a lap library, to tell it from any other database.
    static QString libraryName() { return QStringLiteral("ibt-library"); }

    // The statements that take a library at `fromVersion` (0: an empty database) to the
    // current version, run in one transaction with the update of the version row (and, from
    // version 1, with Library's own filling of what version 2 adds to the rows already there).
    static QStringList migration(int fromVersion, const SqlDialect &dialect);
};
