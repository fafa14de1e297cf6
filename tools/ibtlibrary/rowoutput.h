#pragma once

#include <QList>
#include <QString>
#include <QVariantList>

class QTextStream;

// Rows the listing commands print, as a table for a person, or as JSON (an array of one flat
// object per row) or CSV for other programs. A null value is "-" in the table, null in JSON
// and an empty field in CSV.
class RowOutput
{
public:
    enum class Format { Table, Json, Csv };
    // Seconds a lap time, Delta a difference of times ("+0.312").
    enum class Kind { Text, Integer, Boolean, Seconds, Delta, DateTime };

    struct Column
    {
        QString key; // the JSON field and CSV title
        QString title; // the table's
        Kind kind;
    };

    explicit RowOutput(QList<Column> columns);
    void addRow(QVariantList values);
    const QList<Column> &columns() const { return m_columns; }
    qsizetype rowCount() const { return m_rows.size(); }
    // The index of the column of that key; -1 for an unknown key.
    qsizetype columnOf(const QString &key) const;
    // The value in the row under the column of that key; invalid for an unknown key.
    QVariant value(qsizetype row, const QString &key) const;
    // A cell as the table shows it: "1:39.612", "2024-06-01 12:34", "yes", "-" for null.
    QString text(qsizetype row, qsizetype column) const;
    // Numbers and times, which the table aligns to the right.
    static bool isNumeric(Kind kind);

    void write(QTextStream &out, Format format) const;

    // "2024-06-01T12:34:56.000+00:00" from milliseconds since the epoch, as ibt-laps writes
    // a recording's start.
    static QString dateTimeText(qint64 milliseconds);

private:
    QString tableText() const;
    QString jsonText() const;
    QString csvText() const;

    QList<Column> m_columns;
    QList<QVariantList> m_rows;
};
