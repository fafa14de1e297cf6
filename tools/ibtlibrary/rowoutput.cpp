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

QVariant RowOutput::value(qsizetype row, const QString &key) const
{
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        if (m_columns[i].key == key)
            return m_rows[row][i];
    }
    return {};
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

QString RowOutput::tableText() const
{
    QList<TextTable::Column> columns;
    for (const Column &column : m_columns)
        columns.append({column.title,
                        column.kind == Kind::Integer || column.kind == Kind::Seconds
                            || column.kind == Kind::Delta});
    TextTable table(columns);
    for (const QVariantList &row : m_rows) {
        QStringList cells;
        for (qsizetype i = 0; i < m_columns.size(); ++i) {
            const QVariant &value = row[i];
            if (value.isNull()) {
                cells.append(QStringLiteral("-"));
                continue;
            }
            switch (m_columns[i].kind) {
            case Kind::Seconds:
                cells.append(LapTime::text(value.toDouble()));
                break;
            case Kind::Delta:
                cells.append(QString::asprintf("%+.3f", value.toDouble()));
                break;
            case Kind::DateTime:
                cells.append(QDateTime::fromMSecsSinceEpoch(value.toLongLong(), Qt::UTC)
                                 .toString(QStringLiteral("yyyy-MM-dd hh:mm")));
                break;
            case Kind::Boolean:
                cells.append(value.toBool() ? QStringLiteral("yes") : QStringLiteral("no"));
                break;
            default:
                cells.append(value.toString());
            }
        }
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
