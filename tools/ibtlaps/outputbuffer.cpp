#include "outputbuffer.h"

#include <QIODevice>

#include <charconv>
#include <cmath>
#include <cstring>

OutputBuffer::OutputBuffer(QIODevice *device)
    : m_device(device)
    , m_storage(new char[BlockSize + Slack])
    , m_begin(m_storage.get())
    , m_end(m_begin)
    , m_limit(m_begin + BlockSize + Slack)
{ }

OutputBuffer::~OutputBuffer()
{
    flush();
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
    const qsizetype size = m_end - m_begin;
    if (size > 0 && !m_error && m_device->write(m_begin, size) != size)
        m_error = true;
    m_end = m_begin;
    return !m_error;
}

void OutputBuffer::grow(qsizetype size)
{
    // A text longer than the slack: the block goes first, and a text longer than a whole
    // block gets a block of its own.
    flush();
    if (m_begin + size <= m_limit)
        return;
    m_storage.reset(new char[size_t(size + Slack)]);
    m_begin = m_end = m_storage.get();
    m_limit = m_begin + size + Slack;
}
