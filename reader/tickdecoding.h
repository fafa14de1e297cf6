#pragma once

#include "recorddecoder.h"

#include "sample.h"

#include <QList>

#include <memory>

// Everything that decoding a record into a tick needs, as a value: the file's decode plan,
// which nothing changes once it is learnt, the player's car slot and where the player's values
// come from. The reader makes it once it has read the session text and learnt the variables; a
// thread that decodes with it shares nothing with the reader that the reader may change.
class TickDecoding
{
public:
    TickDecoding(std::shared_ptr<const RecordDecoder> decoder, int myCarIdx, bool myCarOnly,
                 bool playerFromScalars, int maxCars);

    // Samples in a tick: the player's car alone, or one per car slot.
    int samplesPerTick() const { return m_myCarOnly ? 1 : m_maxCars; }
    // One record into the tick's samples.
    void decode(const char *record, QList<ZUM::SDK::Sample> &samples) const;
    // Readies samples that tick processing gave back for decoding the next record into them:
    // as good as new, but keeping the storage of their values.
    void recycle(QList<ZUM::SDK::Sample> &samples) const { m_decoder->recycle(samples); }

private:
    std::shared_ptr<const RecordDecoder> m_decoder;
    int m_myCarIdx;
    bool m_myCarOnly;
    bool m_playerFromScalars;
    int m_maxCars;
};
