#pragma once

#include <QString>

#include <initializer_list>

// Writes the session text in the simulator's dialect: one space per level, a list item's
// continuation lines two spaces past the item's own indentation, numbers with fixed decimals.
class SessionTextBuilder
{
public:
    // A key and its value, as written after the key and its colon.
    struct Entry
    {
        const char *key;
        QString value;
    };

    static QString number(double value, int decimals);

    void line(int indent, const QString &text);
    void section(int indent, const QString &name);
    void value(int indent, const QString &key, const QString &value);
    // One line per entry, in order.
    void values(int indent, std::initializer_list<Entry> entries);
    void item(int indent, const QString &key, const QString &value);
    void blank();

    const QString &text() const { return m_text; }

private:
    QString m_text;
};
