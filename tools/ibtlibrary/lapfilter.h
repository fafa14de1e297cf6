#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantList>

// What the listing commands narrow the library down to. Texts match where the stored name
// contains them, whatever the case of their letters; dates bound the recording's start.
struct LapFilter
{
    QString track;
    QString car;
    QString driver;
    QString kind; // the session's kind or its own name
    QDateTime since; // inclusive
    QDateTime until; // exclusive
    bool timedOnly = false;

    // Whole days, UTC: from the start of the first, through the end of the last.
    void setSinceDay(QDate day);
    void setUntilDay(QDate day);

    // " AND ..." conditions on the tables "files f" and, with laps, "laps l", each value
    // appended to `values` in the order of its placeholder.
    QString conditions(QVariantList *values, bool withLaps) const;
};
