#include "outputbuffer.h"

#include <QIODevice>

#include <charconv>
#include <cmath>
#include <cstring>

OutputBuffer::OutputBuffer(QIODevice *device)
    : m_device(device)
{
    for (Block &block : m_blocks) {
        block.capacity = BlockSize + Slack;
        block.storage.reset(new char[size_t(block.capacity)]);
    }
    fillBlock(m_blocks[0]);
    m_writer = std::thread(&OutputBuffer::writeBlocks, this);
}

OutputBuffer::~OutputBuffer()
{
    flush();
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_writer.join();
}

void OutputBuffer::append(const char *text, qsizetype size)
{
    makeRoom(size);
    std::memcpy(m_end, text, size_t(size));
    m_end += size;
}

bool OutputBuffer::appendNumber(double value)
{
    if (!std::isfinite(value))
        return false;
    if (value == 0.0 && std::signbit(value)) {
        append("-0.0", 4);
        return true;
    }
    // The longest shortest form of a double, "-2.2250738585072014e-308", has 24 characters.
    makeRoom(32);
    m_end = std::to_chars(m_end, m_end + 32, value).ptr;
    return true;
}

void OutputBuffer::appendInteger(qint64 value)
{
    makeRoom(24);
    m_end = std::to_chars(m_end, m_end + 24, value).ptr;
}

bool OutputBuffer::flush()
{
    if (m_end > m_begin)
        handOver();
    std::unique_lock lock(m_mutex);
    waitForWriter(lock);
    return !m_error;
}

void OutputBuffer::grow(qsizetype size)
{
    handOver();
    if (m_begin + size <= m_limit)
        return;
    // A text longer than a whole block gets a block of its own size.
    Block &block = m_blocks[m_filling];
    block.capacity = size + Slack;
    block.storage.reset(new char[size_t(block.capacity)]);
    fillBlock(block);
}

void OutputBuffer::fillBlock(Block &block)
{
    m_begin = m_end = block.storage.get();
    m_limit = m_begin + block.capacity;
}

void OutputBuffer::handOver()
{
    Block &filled = m_blocks[m_filling];
    filled.size = m_end - m_begin;
    m_filling = 1 - m_filling;
    {
        std::unique_lock lock(m_mutex);
        // The writer may still be writing the block that is to be filled next.
        waitForWriter(lock);
        m_pending = &filled;
    }
    m_changed.notify_all();
    fillBlock(m_blocks[m_filling]);
}

void OutputBuffer::waitForWriter(std::unique_lock<std::mutex> &lock)
{
    m_changed.wait(lock, [this] { return m_pending == nullptr; });
}

void OutputBuffer::writeBlocks()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_pending != nullptr || m_stopping; });
        if (!m_pending)
            return;
        Block *block = m_pending;
        lock.unlock();
        if (block->size > 0 && !m_error
            && m_device->write(block->storage.get(), block->size) != block->size)
            m_error = true;
        lock.lock();
        m_pending = nullptr;
        m_changed.notify_all();
    }
}
