#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// A table of text with aligned columns, a rule under the titles and no blanks at the ends of
// lines, for a terminal.
class TextTable
{
public:
    struct Column
    {
        QString title;
        bool rightAligned;
    };

    explicit TextTable(QList<Column> columns);
    void addRow(const QStringList &cells);
    QString text() const;

private:
    QList<Column> m_columns;
    QList<QStringList> m_rows;
};
