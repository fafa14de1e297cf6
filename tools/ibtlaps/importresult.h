#pragma once

#include "lap.h"
#include "recordinginfo.h"

#include <QList>
#include <QSharedPointer>
#include <QString>

// What one import gave the host: the plug-in's log lines in the order they came, and the
// laps it returned.
struct ImportResult
{
    struct Message
    {
        int level = 0; // 0 information, -2 error, as the plug-in sends them
        QString text;
    };

    static constexpr int Information = 0;
    static constexpr int Error = -2;

    QString file; // the path as handed to the plug-in
    QList<Message> messages;
    QList<QSharedPointer<ZUM::SDK::Lap>> laps;
    bool failed = false; // an error line came, or the import ended by an exception

    // What the file says of itself, read beside the import.
    RecordingInfo recording;
};
