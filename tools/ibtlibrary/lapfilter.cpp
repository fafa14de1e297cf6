#include "lapfilter.h"

namespace {

// A LIKE pattern that finds the text anywhere, its own '%' and '_' taken literally.
QString containing(const QString &text)
{
    QString escaped = text.toLower();
    escaped.replace(QLatin1Char('!'), QStringLiteral("!!"))
        .replace(QLatin1Char('%'), QStringLiteral("!%"))
        .replace(QLatin1Char('_'), QStringLiteral("!_"));
    return QLatin1Char('%') + escaped + QLatin1Char('%');
}

} // namespace

void LapFilter::setSinceDay(QDate day)
{
    since = QDateTime(day, QTime(0, 0), Qt::UTC);
}

void LapFilter::setUntilDay(QDate day)
{
    until = QDateTime(day.addDays(1), QTime(0, 0), Qt::UTC);
}

QString LapFilter::conditions(QVariantList *values, bool withLaps) const
{
    QString sql;
    const auto text = [&](const QString &given, const char *column) {
        if (given.isEmpty())
            return;
        sql += QStringLiteral(" AND f.%1 LIKE ? ESCAPE '!'").arg(QLatin1String(column));
        values->append(containing(given));
    };
    text(track, "track_search");
    text(car, "car_search");
    text(driver, "driver_search");
    text(kind, "session_search");
    if (since.isValid()) {
        sql += QStringLiteral(" AND f.recording_start >= ?");
        values->append(since.toMSecsSinceEpoch());
    }
    if (until.isValid()) {
        sql += QStringLiteral(" AND f.recording_start < ?");
        values->append(until.toMSecsSinceEpoch());
    }
    if (withLaps && timedOnly)
        sql += QStringLiteral(" AND l.timed = 1");
    return sql;
}
