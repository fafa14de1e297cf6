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
    qsizetype rowCount() const { return m_rows.size(); }
    // The value in the row under the column of that key; invalid for an unknown key.
    QVariant value(qsizetype row, const QString &key) const;

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
