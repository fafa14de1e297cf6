#pragma once

#include "importresult.h"

#include <QDateTime>
#include <QString>

class JsonWriter;

// Writes one import as JSON: the file, the plug-in's log lines, and every lap with its whole
// header and its recorded and calculated channels. README.md ("ibt-laps JSON") describes
// the layout.
class LapJson
{
public:
    // withChannelValues false keeps the channels' names and units and leaves out their
    // "values" arrays.
    static void write(JsonWriter &writer, const ImportResult &result, bool withChannelValues);

    // ISO 8601 with milliseconds and the UTC offset, "2026-11-21T05:06:49.123+01:00"; a
    // null string for an invalid date-time.
    static QString dateTimeText(const QDateTime &dateTime);
};
