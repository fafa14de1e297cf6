#pragma once

#include "lapchannels.h"
#include "sessionsummary.h"
#include "unitsystem.h"

#include <QList>
#include <QString>

// The session summary in words and numbers a driver reads, the same under the lap table and
// in the picture.
class SummaryText
{
public:
    struct Line
    {
        QString label;
        QString value;
    };

    // Best lap, average and spread, ideal lap, top speed and fuel per lap; speeds in the
    // units asked for.
    static QList<Line> lines(const SessionSummary &summary, const Laps &laps, Units units);

    // "lap 3", or "lap 3 of stint 2" when the laps come from more than one stint, where lap
    // numbers can repeat.
    static QString lapName(const Laps &laps, qsizetype index);
    // A number with a fixed count of decimals and its unit: "243.1 km/h".
    static QString quantity(double value, int decimals, const QString &unit);
};
