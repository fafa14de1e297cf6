#include "laptable.h"

#include "session.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>

using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

// A lap the simulator did not time carries this marker as its lap time.
const QTime untimedLap(0, 59, 59, 0);

const QString columnGap = QStringLiteral("  ");

struct Column
{
    QString title;
    bool rightAligned;
};

QString flyingLapText(qint32 flyingLap)
{
    switch (flyingLap) {
    case 0:
        return QStringLiteral("out");
    case 1:
        return QStringLiteral("flying");
    default:
        return QStringLiteral("-");
    }
}

QString textOrDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

QString trackText(const LapHeader &header)
{
    if (header.trackConfigName.isEmpty())
        return textOrDash(header.trackName);
    return textOrDash(header.trackName) + QStringLiteral(", ") + header.trackConfigName;
}

QString summary(const ImportResult &result)
{
    QStringList lines {QStringLiteral("File:     ") + result.file};
    if (result.laps.isEmpty()) {
        lines.append(QStringLiteral("          no laps"));
        return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    }
    const LapHeader &header = result.laps.first()->header();
    lines.append(QStringLiteral("Track:    ") + trackText(header));
    lines.append(QStringLiteral("Car:      ") + textOrDash(header.carInfo.carName));
    lines.append(QStringLiteral("Driver:   ") + textOrDash(header.carInfo.driverName));
    lines.append(QStringLiteral("Session:  ") + ZUM::SDK::sessionName(header.session));
    lines.append(QStringLiteral("Laps:     ") + QString::number(result.laps.size()));
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QStringList rowOf(const Lap &lap)
{
    const LapHeader &header = lap.header();
    return {
        QString::number(header.lapNumber),
        QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint),
        LapTable::lapTimeText(header.lapTime),
        header.completed ? QStringLiteral("yes") : QStringLiteral("no"),
        flyingLapText(header.flyingLap),
        ZUM::SDK::sessionName(header.session),
        QString::number(lap.size()),
        header.dateTime.isValid()
            ? header.dateTime.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
            : QStringLiteral("-"),
    };
}

QString table(const QList<Column> &columns, const QList<QStringList> &rows)
{
    QList<qsizetype> widths;
    for (const Column &column : columns)
        widths.append(column.title.size());
    for (const QStringList &row : rows) {
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }

    const auto line = [&](const QStringList &cells) {
        QStringList padded;
        for (qsizetype i = 0; i < cells.size(); ++i) {
            const int width = int(widths[i]);
            padded.append(columns[i].rightAligned ? cells[i].rightJustified(width)
                                                  : cells[i].leftJustified(width));
        }
        // No blanks after the last column.
        QString text = padded.join(columnGap);
        while (text.endsWith(QLatin1Char(' ')))
            text.chop(1);
        return text;
    };

    QStringList titles;
    QStringList rules;
    for (qsizetype i = 0; i < columns.size(); ++i) {
        titles.append(columns[i].title);
        rules.append(QString(widths[i], QLatin1Char('-')));
    }
    QString text = line(titles) + QLatin1Char('\n') + rules.join(columnGap) + QLatin1Char('\n');
    for (const QStringList &row : rows)
        text += line(row) + QLatin1Char('\n');
    return text;
}

} // namespace

QString LapTable::text(const ImportResult &result)
{
    QString text = summary(result);
    if (result.laps.isEmpty())
        return text;

    const QList<Column> columns = {
        {QStringLiteral("Lap"), true},      {QStringLiteral("Stint/lap"), true},
        {QStringLiteral("Lap time"), true}, {QStringLiteral("Completed"), false},
        {QStringLiteral("Kind"), false},    {QStringLiteral("Session"), false},
        {QStringLiteral("Samples"), true},  {QStringLiteral("Start"), false},
    };
    QList<QStringList> rows;
    for (const QSharedPointer<Lap> &lap : result.laps)
        rows.append(rowOf(*lap));
    return text + QLatin1Char('\n') + table(columns, rows);
}

QString LapTable::lapTimeText(const QTime &lapTime)
{
    if (!lapTime.isValid())
        return QStringLiteral("-");
    if (!isTimed(lapTime))
        return QStringLiteral("no time");
    if (lapTime.hour() > 0)
        return lapTime.toString(QStringLiteral("h:mm:ss.zzz"));
    return lapTime.toString(QStringLiteral("m:ss.zzz"));
}

bool LapTable::isTimed(const QTime &lapTime)
{
    return lapTime.isValid() && lapTime != untimedLap;
}
