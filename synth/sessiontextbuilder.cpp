#include "sessiontextbuilder.h"

QString SessionTextBuilder::number(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

void SessionTextBuilder::line(int indent, const QString &text)
{
    m_text += QString(indent, u' ') + text + u'\n';
}

void SessionTextBuilder::section(int indent, const QString &name)
{
    line(indent, name + u':');
}

void SessionTextBuilder::value(int indent, const QString &key, const QString &value)
{
    line(indent, key + QStringLiteral(": ") + value);
}

void SessionTextBuilder::values(int indent, std::initializer_list<Entry> entries)
{
    for (const Entry &entry : entries)
        value(indent, QLatin1String(entry.key), entry.value);
}

void SessionTextBuilder::item(int indent, const QString &key, const QString &value)
{
    line(indent, QStringLiteral("- ") + key + QStringLiteral(": ") + value);
}

void SessionTextBuilder::blank()
{
    m_text += u'\n';
}
