#pragma once

#include "sample.h"
#include "tickdecoding.h"

#include <QList>

#include <atomic>
#include <exception>
#include <memory>
#include <thread>
#include <vector>

class IbtFile;

// The records of a file, decoded on a worker thread and handed over tick by tick, in order.
//
// Ticks travel in batches, a read of the file each. A batch that the lap building is done
// with goes back to the worker, which decodes the next records into the same samples: once
// the first batches have gone round, decoding allocates nothing.
//
// Threads: the worker owns the file's records, the record buffer, the batches it fills and its
// TickDecoding, a value made before it starts (the decode plan, which nothing changes once
// learnt, the player's car slot and the simulation mode's choice of the player's values). The
// importing thread owns the reader, the laps and the batch it is reading. Besides the decode
// plan, which neither changes, the two share only the channels.
class TickStream
{
public:
    // Starts the worker. The file must be open and stay so until the stream is destroyed.
    TickStream(IbtFile &file, TickDecoding decoding);
    // Stops the worker and waits for it.
    ~TickStream();
    TickStream(const TickStream &) = delete;
    TickStream &operator=(const TickStream &) = delete;

    // The next tick's samples, or null after the last record. They are the caller's until the
    // next call: iRTelemetryReader::processTick() may swap them for the cars' previous ones.
    // An exception of the worker is thrown here.
    QList<ZUM::SDK::Sample> *next();
    // Ends the stream before the end of the file; next() returns null from now on.
    void stop();
    // Records handed over so far.
    qint64 ticks() const { return m_ticks; }

private:
    struct Batch
    {
        std::vector<QList<ZUM::SDK::Sample>> ticks;
        qsizetype count = 0; // ticks in use; the rest wait for a longer read
    };

    void decode();
    void giveBack();

    struct Channels;

    IbtFile &m_file;
    const TickDecoding m_decoding;
    const std::unique_ptr<Channels> m_channels;
    std::atomic<bool> m_stopping {false};
    std::exception_ptr m_failure; // the worker's, read after its channel closed
    Batch m_current;
    qsizetype m_position = 0;
    qint64 m_ticks = 0;
    bool m_ended = false;
    std::thread m_worker;
};
