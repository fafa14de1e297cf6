#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <memory>

class QIODevice;

// Gathers text for a device in one reused block and hands it over a block at a time, so that
// exports of millions of numbers cost no allocation per value. Numbers are written in their
// shortest round-trip form: the shortest decimal text that reads back as exactly the same
// double, in the C locale, and "-0.0" for negative zero, whose shortest form "0" would lose
// the sign.
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

    // Hands the block to the device once it is full; cheap to call after every value.
    void flushWhenFull()
    {
        if (m_end - m_begin >= BlockSize)
            flush();
    }
    // Hands everything written so far to the device; false once any write has failed.
    bool flush();
    bool hasError() const { return m_error; }

private:
    static constexpr qsizetype BlockSize = 1 << 20;
    // Room for the longest single value, a number or a short text, past a full block.
    static constexpr qsizetype Slack = 64;

    void makeRoom(qsizetype size)
    {
        if (m_end + size > m_limit)
            grow(size);
    }
    void grow(qsizetype size);

    QIODevice *m_device;
    std::unique_ptr<char[]> m_storage;
    char *m_begin;
    char *m_end;
    char *m_limit;
    bool m_error = false;
};
