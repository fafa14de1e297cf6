#include "rowoutput.h"

#include "laptime.h"
#include "texttable.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

RowOutput::RowOutput(QList<Column> columns)
    : m_columns(std::move(columns))
{ }

void RowOutput::addRow(QVariantList values)
{
    m_rows.append(std::move(values));
}

qsizetype RowOutput::columnOf(const QString &key) const
{
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        if (m_columns[i].key == key)
            return i;
    }
    return -1;
}

QVariant RowOutput::value(qsizetype row, const QString &key) const
{
    const qsizetype column = columnOf(key);
    return column >= 0 ? m_rows[row][column] : QVariant();
}

void RowOutput::write(QTextStream &out, Format format) const
{
    switch (format) {
    case Format::Table:
        out << tableText();
        break;
    case Format::Json:
        out << jsonText();
        break;
    case Format::Csv:
        out << csvText();
        break;
    }
    out.flush();
}

QString RowOutput::dateTimeText(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-ddThh:mm:ss.zzz"))
        + QStringLiteral("+00:00");
}

QString RowOutput::text(qsizetype row, qsizetype column) const
{
    const QVariant &value = m_rows[row][column];
    if (value.isNull())
        return QStringLiteral("-");
    switch (m_columns[column].kind) {
    case Kind::Seconds:
        return LapTime::text(value.toDouble());
    case Kind::Delta:
        return QString::asprintf("%+.3f", value.toDouble());
    case Kind::DateTime:
        return QDateTime::fromMSecsSinceEpoch(value.toLongLong(), Qt::UTC)
            .toString(QStringLiteral("yyyy-MM-dd hh:mm"));
    case Kind::Boolean:
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    default:
        return value.toString();
    }
}

bool RowOutput::isNumeric(Kind kind)
{
    return kind == Kind::Integer || kind == Kind::Seconds || kind == Kind::Delta;
}

QString RowOutput::tableText() const
{
    QList<TextTable::Column> columns;
    for (const Column &column : m_columns)
        columns.append({column.title, isNumeric(column.kind)});
    TextTable table(columns);
    for (qsizetype row = 0; row < m_rows.size(); ++row) {
        QStringList cells;
        for (qsizetype column = 0; column < m_columns.size(); ++column)
            cells.append(text(row, column));
        table.addRow(cells);
    }
    return table.text();
}

QString RowOutput::jsonText() const
{
    QJsonArray array;
    for (const QVariantList &row : m_rows) {
        QJsonObject object;
        for (qsizetype i = 0; i < m_columns.size(); ++i) {
            const QVariant &value = row[i];
            QJsonValue json;
            if (!value.isNull()) {
                switch (m_columns[i].kind) {
                case Kind::Integer:
                    json = value.toLongLong();
                    break;
                case Kind::Boolean:
                    json = value.toBool();
                    break;
                case Kind::Seconds:
                case Kind::Delta:
                    json = value.toDouble();
                    break;
                case Kind::DateTime:
                    json = dateTimeText(value.toLongLong());
                    break;
                case Kind::Text:
                    json = value.toString();
                }
            }
            object.insert(m_columns[i].key, json);
        }
        array.append(object);
    }
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented));
}

QString RowOutput::csvText() const
{
    // RFC 4180: a field with a comma, a quote or a line break is quoted, its quotes doubled.
    const auto field = [](QString text) {
        if (text.contains(QLatin1Char(',')) || text.contains(QLatin1Char('"'))
            || text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r')))
            text = QLatin1Char('"') + text.replace(QLatin1Char('"'), QStringLiteral("\"\""))
                + QLatin1Char('"');
        return text;
    };
    QStringList lines;
    QStringList titles;
    for (const Column &column : m_columns)
        titles.append(column.key);
    lines.append(titles.join(QLatin1Char(',')));
    for (const QVariantList &row : m_rows) {
        QStringList cells;
        for (qsizetype i = 0; i < m_columns.size(); ++i) {
            const QVariant &value = row[i];
            if (value.isNull())
                cells.append(QString());
            else if (m_columns[i].kind == Kind::DateTime)
                cells.append(dateTimeText(value.toLongLong()));
            else if (m_columns[i].kind == Kind::Boolean)
                cells.append(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
            else if (m_columns[i].kind == Kind::Seconds || m_columns[i].kind == Kind::Delta)
                cells.append(
                    QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
            else
                cells.append(field(value.toString()));
        }
        lines.append(cells.join(QLatin1Char(',')));
    }
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}
