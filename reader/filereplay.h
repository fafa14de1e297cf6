#pragma once

#include "lap.h"

#include <QList>
#include <QSharedPointer>

#include <functional>

class IbtFile;
class iRTelemetryReader;

// The reader run over an open file as the host's import runs it, the one replay of a file for
// the plug-in and for the tests: the session text and the car list first, then every record,
// decoded on a worker thread (TickStream), as one tick, the player's laps taken as
// PlayerLapReplay yields them and kept without the room their channels kept for growing.
class FileReplay
{
public:
    // A tick that the reader has just run: the cars hold its samples (iRTelemetryReader::sample(),
    // cars()), and the player's lap it handed over, if any, is already in the laps.
    struct Tick
    {
        qint64 record; // the tick's record, from 0
        const QSharedPointer<ZUM::SDK::Lap> &lap; // the player's lap it handed over, or null
    };
    using TickHook = std::function<void(const Tick &)>;

    struct Result
    {
        QList<QSharedPointer<ZUM::SDK::Lap>> laps; // in the order they were handed over
        qint64 ticks = 0; // records run
        // The records held more values than a real file of this size can: reading stopped,
        // and the lap under way at that point was dropped.
        bool overBudget = false;
    };

    // Runs a reader that has seen no file yet over an open file's records; onTick, when set,
    // looks at each tick after the reader has run it.
    static Result run(IbtFile &file, iRTelemetryReader &reader, const TickHook &onTick = {});
};
