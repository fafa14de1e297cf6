#include "tickdecoding.h"

#include <utility>

TickDecoding::TickDecoding(std::shared_ptr<const RecordDecoder> decoder, int myCarIdx,
                           bool myCarOnly, bool playerFromScalars, int maxCars)
    : m_decoder(std::move(decoder))
    , m_myCarIdx(myCarIdx)
    , m_myCarOnly(myCarOnly)
    , m_playerFromScalars(playerFromScalars)
    , m_maxCars(maxCars)
{ }

void TickDecoding::decode(const char *record, QList<ZUM::SDK::Sample> &samples) const
{
    if (m_myCarOnly) {
        if (!samples.isEmpty() && m_myCarIdx >= 0)
            m_decoder->decodeMyCar(record, samples[0]);
        return;
    }
    m_decoder->decodeAllCars(record, samples, m_myCarIdx, m_playerFromScalars);
}
