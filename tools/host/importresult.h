#pragma once

#include "lap.h"
#include "plugininterfaceimport.h"
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
        // PluginInterfaceImport::Information or Error, as the plug-in sends them.
        int level = ZUM::SDK::PluginInterfaceImport::Information;
        QString text;
    };

    QString file; // the path as handed to the plug-in
    QList<Message> messages;
    QList<QSharedPointer<ZUM::SDK::Lap>> laps;
    bool failed = false; // an error line came, or the import ended by an exception

    // What the file says of itself, read beside the import.
    RecordingInfo recording;
};
