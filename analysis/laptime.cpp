#include "laptime.h"

#include <cmath>

using ZUM::SDK::UntimedLapTime;

bool LapTime::isTimed(const QTime &lapTime)
{
    return lapTime.isValid() && lapTime != UntimedLapTime;
}

bool LapTime::isTimedLap(const ZUM::SDK::LapHeader &header)
{
    return header.completed && isTimed(header.lapTime);
}

double LapTime::seconds(const QTime &lapTime)
{
    return lapTime.msecsSinceStartOfDay() / 1000.0;
}

QString LapTime::text(const QTime &lapTime)
{
    if (!lapTime.isValid())
        return QStringLiteral("-");
    if (!isTimed(lapTime))
        return QStringLiteral("no time");
    if (lapTime.hour() > 0)
        return lapTime.toString(QStringLiteral("h:mm:ss.zzz"));
    return lapTime.toString(QStringLiteral("m:ss.zzz"));
}

QString LapTime::text(double seconds)
{
    const qint64 milliseconds = std::llround(std::abs(seconds) * 1000.0);
    const QString sign = seconds < 0 && milliseconds > 0 ? QStringLiteral("-") : QString();
    if (milliseconds >= 3600000)
        return sign + clockText(milliseconds / 1000.0);
    return sign
        + QStringLiteral("%1:%2.%3")
              .arg(milliseconds / 60000)
              .arg(milliseconds / 1000 % 60, 2, 10, QLatin1Char('0'))
              .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

QString LapTime::clockText(double seconds)
{
    const qint64 milliseconds = std::llround(std::max(seconds, 0.0) * 1000.0);
    return QStringLiteral("%1:%2:%3.%4")
        .arg(milliseconds / 3600000)
        .arg(milliseconds / 60000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}
