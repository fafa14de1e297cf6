#include "jsonwriter.h"

JsonWriter::JsonWriter(QIODevice *device)
    : m_output(device)
{ }

void JsonWriter::beginObject(Layout layout)
{
    beforeValue();
    m_output.append('{');
    m_levels.append({true, nestedLayout(layout)});
}

void JsonWriter::endObject()
{
    endContainer('}');
}

void JsonWriter::beginArray(Layout layout)
{
    beforeValue();
    m_output.append('[');
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
    m_output.append(": ", 2);
    m_afterKey = true;
}

void JsonWriter::string(const QString &text)
{
    beforeValue();
    if (text.isNull())
        m_output.append("null", 4);
    else
        appendString(text);
    m_output.flushWhenFull();
}

void JsonWriter::number(double value)
{
    beforeValue();
    if (!m_output.appendNumber(value))
        m_output.append("null", 4);
    m_output.flushWhenFull();
}

void JsonWriter::integer(qint64 value)
{
    beforeValue();
    m_output.appendInteger(value);
}

void JsonWriter::boolean(bool value)
{
    beforeValue();
    if (value)
        m_output.append("true", 4);
    else
        m_output.append("false", 5);
}

void JsonWriter::null()
{
    beforeValue();
    m_output.append("null", 4);
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
        m_output.append(',');
    if (level.layout == Layout::Indented)
        newLine(m_levels.size());
    else if (!level.empty)
        m_output.append(' ');
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
    m_output.append(bracket);
    if (m_levels.isEmpty())
        m_output.append('\n');
    m_output.flushWhenFull();
}

void JsonWriter::newLine(qsizetype depth)
{
    m_output.append('\n');
    for (qsizetype i = 0; i < depth; ++i)
        m_output.append("  ", 2);
}

void JsonWriter::appendString(const QString &text)
{
    static const char hex[] = "0123456789abcdef";
    const QByteArray utf8 = text.toUtf8();
    m_output.append('"');
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
            m_output.append("\\\"", 2);
            break;
        case '\\':
            m_output.append("\\\\", 2);
            break;
        case '\n':
            m_output.append("\\n", 2);
            break;
        case '\r':
            m_output.append("\\r", 2);
            break;
        case '\t':
            m_output.append("\\t", 2);
            break;
        default:
            if (byte < 0x20) {
                const char escape[] = {'\\', 'u', '0', '0', hex[byte >> 4], hex[byte & 0xf]};
                m_output.append(escape, sizeof escape);
            } else {
                m_output.append(c);
            }
        }
    }
    m_output.append('"');
}
