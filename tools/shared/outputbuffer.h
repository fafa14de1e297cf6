#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

class QIODevice;

// Gathers text for a device in reused blocks, so that exports of millions of numbers cost no
// allocation per value. A full block goes to the device on a writer thread of its own while
// the next one fills: handing bytes to the system costs about half as much as making them,
// and the two then overlap. The device is the writer's until flush() returns.
//
// Numbers are written in their shortest round-trip form: the shortest decimal text that
// reads back as exactly the same double, in the C locale, and "-0.0" for negative zero,
// whose shortest form "0" would lose the sign.
class OutputBuffer
{
public:
    explicit OutputBuffer(QIODevice *device);
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer &) = delete;
    OutputBuffer &operator=(const OutputBuffer &) = delete;

    void append(char c)
    {
        makeRoom(1);
        *m_end++ = c;
    }
    void append(const char *text, qsizetype size);
    void append(const QByteArray &text) { append(text.constData(), text.size()); }
    // Appends nothing and returns false for NaN and the infinities, which have no decimal
    // form.
    bool appendNumber(double value);
    void appendInteger(qint64 value);

    // Hands the block to the writer once it is full; cheap to call after every value.
    void flushWhenFull()
    {
        if (m_end - m_begin >= BlockSize)
            handOver();
    }
    // Hands everything written so far to the device and waits until it is there; false
    // once any write has failed.
    bool flush();

private:
    static constexpr qsizetype BlockSize = 1 << 20;
    // Room for the longest single value, a number or a short text, past a full block.
    static constexpr qsizetype Slack = 64;

    struct Block
    {
        std::unique_ptr<char[]> storage;
        qsizetype capacity = 0;
        qsizetype size = 0;
    };

    void makeRoom(qsizetype size)
    {
        if (m_end + size > m_limit)
            grow(size);
    }
    void grow(qsizetype size);
    void fillBlock(Block &block);
    // Gives the filled block to the writer and goes on in the other one, once the writer is
    // done with it.
    void handOver();
    void waitForWriter(std::unique_lock<std::mutex> &lock);
    void writeBlocks();

    QIODevice *m_device;
    Block m_blocks[2];
    int m_filling = 0;
    char *m_begin = nullptr;
    char *m_end = nullptr;
    char *m_limit = nullptr;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Block *m_pending = nullptr; // handed over, not yet written
    bool m_stopping = false;
    std::atomic<bool> m_error = false;
    std::thread m_writer;
};
