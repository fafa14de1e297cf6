#pragma once

#include "lap.h"
#include "sample.h"

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
    // Looks at the ticks, for the tests; each one unset by default.
    struct Hooks
    {
        // A tick's samples as they were decoded, before the reader runs them (it takes them
        // over: the cars keep or clear them as the tick's rules say).
        std::function<void(qint64 record, const QList<ZUM::SDK::Sample> &samples)> decoded;
        // A tick that the reader has just run, with the player's lap it handed over, already in
        // the laps, or null.
        std::function<void(qint64 record, const QSharedPointer<ZUM::SDK::Lap> &lap)> ran;
    };

    struct Result
    {
        QList<QSharedPointer<ZUM::SDK::Lap>> laps; // in the order they were handed over
        qint64 ticks = 0; // records run
        // The records held more values than a real file of this size can: reading stopped,
        // and the lap under way at that point was dropped.
        bool overBudget = false;
    };

    // Runs a reader that has seen no file yet over an open file's records; records count from 0.
    static Result run(IbtFile &file, iRTelemetryReader &reader, const Hooks &hooks = {});
};
