#include "jsonwriter.h"

#include "numbertext.h"

#include <QIODevice>

namespace {

// Bytes gathered before they go to the device.
constexpr qsizetype bufferLimit = 1 << 20;

} // namespace

JsonWriter::JsonWriter(QIODevice *device)
    : m_device(device)
{
    m_buffer.reserve(bufferLimit + 4096);
}

JsonWriter::~JsonWriter()
{
    flush();
}

void JsonWriter::beginObject(Layout layout)
{
    beforeValue();
    m_buffer += '{';
    m_levels.append({true, nestedLayout(layout)});
}

void JsonWriter::endObject()
{
    endContainer('}');
}

void JsonWriter::beginArray(Layout layout)
{
    beforeValue();
    m_buffer += '[';
    m_levels.append({false, nestedLayout(layout)});
}

void JsonWriter::endArray()
{
    endContainer(']');
}

void JsonWriter::key(const QString &name)
{
    startElement();
    appendString(name);
    m_buffer += ": ";
    m_afterKey = true;
}

void JsonWriter::string(const QString &text)
{
    beforeValue();
    if (text.isNull())
        m_buffer += "null";
    else
        appendString(text);
    flushWhenFull();
}

void JsonWriter::number(double value)
{
    beforeValue();
    const QByteArray text = shortestNumberText(value);
    m_buffer += text.isEmpty() ? QByteArrayLiteral("null") : text;
    flushWhenFull();
}

void JsonWriter::integer(qint64 value)
{
    beforeValue();
    m_buffer += QByteArray::number(value);
}

void JsonWriter::boolean(bool value)
{
    beforeValue();
    m_buffer += value ? "true" : "false";
}

void JsonWriter::null()
{
    beforeValue();
    m_buffer += "null";
}

bool JsonWriter::flush()
{
    if (!m_buffer.isEmpty() && !m_error) {
        if (m_device->write(m_buffer) != m_buffer.size())
            m_error = true;
    }
    m_buffer.clear();
    return !m_error;
}

void JsonWriter::beforeValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_levels.isEmpty())
        startElement();
}

void JsonWriter::startElement()
{
    Level &level = m_levels.last();
    if (!level.empty)
        m_buffer += ',';
    if (level.layout == Layout::Indented)
        newLine(m_levels.size());
    else if (!level.empty)
        m_buffer += ' ';
    level.empty = false;
}

JsonWriter::Layout JsonWriter::nestedLayout(Layout wanted) const
{
    return !m_levels.isEmpty() && m_levels.last().layout == Layout::Inline ? Layout::Inline
                                                                           : wanted;
}

void JsonWriter::endContainer(char bracket)
{
    const Level level = m_levels.takeLast();
    if (level.layout == Layout::Indented && !level.empty)
        newLine(m_levels.size());
    m_buffer += bracket;
    if (m_levels.isEmpty())
        m_buffer += '\n';
    flushWhenFull();
}

void JsonWriter::newLine(qsizetype depth)
{
    m_buffer += '\n';
    m_buffer.append(depth * 2, ' ');
}

void JsonWriter::appendString(const QString &text)
{
    static const char hex[] = "0123456789abcdef";
    const QByteArray utf8 = text.toUtf8();
    m_buffer += '"';
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
            m_buffer += "\\\"";
            break;
        case '\\':
            m_buffer += "\\\\";
            break;
        case '\n':
            m_buffer += "\\n";
            break;
        case '\r':
            m_buffer += "\\r";
            break;
        case '\t':
            m_buffer += "\\t";
            break;
        default:
            if (byte < 0x20) {
                m_buffer += "\\u00";
                m_buffer += hex[byte >> 4];
                m_buffer += hex[byte & 0xf];
            } else {
                m_buffer += c;
            }
        }
    }
    m_buffer += '"';
}

void JsonWriter::flushWhenFull()
{
    if (m_buffer.size() >= bufferLimit)
        flush();
}
