#pragma once

#include "outputbuffer.h"

#include <QList>
#include <QString>

class QIODevice;

// Streams JSON text to a device, so that laps with millions of samples never have to sit in
// memory as a document. Numbers are written in their shortest round-trip form (see
// OutputBuffer); NaN and the infinities, which JSON cannot hold, become null, and so
// do null strings.
//
// Containers are either indented, one element per line, or inline, all on one line; an
// inline container keeps everything inside it on its line.
class JsonWriter
{
public:
    enum class Layout { Indented, Inline };

    explicit JsonWriter(QIODevice *device);
    JsonWriter(const JsonWriter &) = delete;
    JsonWriter &operator=(const JsonWriter &) = delete;

    void beginObject(Layout layout = Layout::Indented);
    void endObject();
    void beginArray(Layout layout = Layout::Indented);
    void endArray();

    // The name of the next member of the current object.
    void key(const QString &name);

    void string(const QString &text);
    void number(double value);
    void integer(qint64 value);
    void boolean(bool value);
    void null();

    // Hands everything written so far to the device; false once any write has failed.
    bool flush() { return m_output.flush(); }

private:
    struct Level
    {
        bool object;
        Layout layout;
        bool empty = true;
    };

    void beforeValue();
    // The separator and line break before a member or an array element.
    void startElement();
    void endContainer(char bracket);
    Layout nestedLayout(Layout wanted) const;
    void newLine(qsizetype depth);
    void appendString(const QString &text);

    OutputBuffer m_output;
    QList<Level> m_levels;
    bool m_afterKey = false;
};
