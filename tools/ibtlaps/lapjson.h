#pragma once

#include "channelchoice.h"
#include "importresult.h"

#include <QDateTime>
#include <QString>

class JsonWriter;

// Writes one import as JSON: the file, when the recording started, the plug-in's log lines,
// and every chosen lap with its whole header and its recorded and calculated channels, as
// the host received them. README.md ("ibt-laps JSON") describes the layout.
class LapJson
{
public:
    // chosen: indexes of the laps to write; channels: the channels to write.
    // withChannelValues false keeps the channels' names and units and leaves out their
    // "values" arrays.
    static void write(JsonWriter &writer, const ImportResult &result,
                      const QList<qsizetype> &chosen, const ChannelChoice &channels,
                      bool withChannelValues);

    // ISO 8601 with milliseconds and the UTC offset, "2026-11-21T05:06:49.123+01:00"; a
    // null string for an invalid date-time.
    static QString dateTimeText(const QDateTime &dateTime);
};
