#include "texttable.h"

#include <algorithm>

namespace {

const QString columnGap = QStringLiteral("  ");

} // namespace

TextTable::TextTable(QList<Column> columns)
    : m_columns(std::move(columns))
{ }

void TextTable::addRow(const QStringList &cells)
{
    m_rows.append(cells);
}

QString TextTable::text() const
{
    QList<qsizetype> widths;
    for (const Column &column : m_columns)
        widths.append(column.title.size());
    for (const QStringList &row : m_rows) {
        for (qsizetype i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }

    const auto line = [&](const QStringList &cells) {
        QStringList padded;
        for (qsizetype i = 0; i < cells.size() && i < widths.size(); ++i) {
            const int width = int(widths[i]);
            padded.append(m_columns[i].rightAligned ? cells[i].rightJustified(width)
                                                    : cells[i].leftJustified(width));
        }
        QString text = padded.join(columnGap);
        while (text.endsWith(QLatin1Char(' ')))
            text.chop(1);
        return text + QLatin1Char('\n');
    };

    QStringList titles;
    QStringList rules;
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        titles.append(m_columns[i].title);
        rules.append(QString(widths[i], QLatin1Char('-')));
    }
    QString text = line(titles) + line(rules);
    for (const QStringList &row : m_rows)
        text += line(row);
    return text;
}
