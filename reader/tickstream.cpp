#include "tickstream.h"

#include "boundedchannel.h"

#include "ibtfile.h"

#include <algorithm>
#include <memory>
#include <utility>

using ZUM::SDK::Sample;

namespace {

// Ticks per read of the file: few enough that a batch is still in the processor's cache when
// the lap building reads it (64 made a five-minute session 10 to 30 % slower, 256 twice as
// slow), many enough that the hand-over costs little per tick.
constexpr qint64 ticksPerBatch = 32;
constexpr qint64 bytesPerRead = qint64(1) << 20;

} // namespace

struct TickStream::Channels
{
    Channel<Batch, 4> decoded; // worker to importer
    Channel<Batch, 8> spent; // importer to worker, to be refilled
};

TickStream::TickStream(IbtFile &file, TickDecoding decoding)
    : m_file(file)
    , m_decoding(std::move(decoding))
    , m_channels(std::make_unique<Channels>())
{
    m_worker = std::thread(&TickStream::decode, this);
}

TickStream::~TickStream()
{
    stop();
    m_worker.join();
}

void TickStream::decode()
{
    try {
        // A read never asks for more than the file holds, whatever the record length says.
        const qint64 length = m_file.recordLength();
        const qint64 perRead = std::min(
            {ticksPerBatch, std::max<qint64>(1, bytesPerRead / std::max<qint64>(length, 1)),
             m_file.wholeRecords()});
        if (perRead > 0) {
            const auto buffer = std::make_unique_for_overwrite<char[]>(size_t(perRead * length));
            const int samplesPerTick = m_decoding.samplesPerTick();
            while (!m_stopping) {
                const qint64 records = m_file.readRecords(buffer.get(), perRead);
                if (records == 0)
                    break;
                Batch batch;
                m_channels->spent.tryPop(batch);
                if (qint64(batch.ticks.size()) < records)
                    batch.ticks.resize(size_t(records), QList<Sample>(samplesPerTick));
                for (qint64 r = 0; r < records; ++r) {
                    QList<Sample> &tick = batch.ticks[size_t(r)];
                    m_decoding.recycle(tick);
                    m_decoding.decode(buffer.get() + r * length, tick);
                }
                batch.count = records;
                m_channels->decoded.push(std::move(batch));
            }
        }
    } catch (...) {
        m_failure = std::current_exception();
    }
    m_channels->decoded.close();
}

void TickStream::giveBack()
{
    if (!m_current.ticks.empty())
        m_channels->spent.tryPush(m_current); // a batch that finds no room is simply released
    m_current = Batch();
    m_position = 0;
}

QList<Sample> *TickStream::next()
{
    if (m_position < m_current.count) {
        ++m_ticks;
        return &m_current.ticks[size_t(m_position++)];
    }
    giveBack();
    if (m_ended || !m_channels->decoded.pop(m_current)) {
        m_ended = true;
        if (m_failure)
            std::rethrow_exception(std::exchange(m_failure, nullptr));
        return nullptr;
    }
    ++m_ticks;
    m_position = 1;
    return &m_current.ticks[0];
}

void TickStream::stop()
{
    m_stopping = true;
    m_ended = true;
    m_current = Batch();
    m_position = 0;
    // The worker may wait for room in the channel: make room until it has seen the stop.
    Batch discarded;
    while (m_channels->decoded.pop(discarded)) { }
}
