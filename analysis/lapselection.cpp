#include "lapselection.h"

#include "lapranking.h"
#include "laptime.h"

#include <QRegularExpression>

bool LapSelection::setNumbers(const QString &text, QString *errorString)
{
    static const QRegularExpression range(QStringLiteral("^\\s*(\\d+)\\s*(?:-\\s*(\\d+)\\s*)?$"));
    QList<std::pair<qint32, qint32>> ranges;
    for (const QString &part : text.split(QLatin1Char(','))) {
        const QRegularExpressionMatch match = range.match(part);
        bool firstOk = false;
        bool lastOk = true;
        const qint32 first = match.captured(1).toInt(&firstOk);
        const qint32 last = match.hasCaptured(2) ? match.captured(2).toInt(&lastOk) : first;
        if (!match.hasMatch() || !firstOk || !lastOk || last < first) {
            *errorString = QStringLiteral("'%1' is not a lap number or a range of them such as "
                                          "3,5-7")
                               .arg(part.trimmed());
            return false;
        }
        ranges.append({first, last});
    }
    m_ranges = ranges;
    return true;
}

QList<qsizetype> LapSelection::select(const Laps &laps) const
{
    QList<qsizetype> selected;
    Laps passing;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        if ((m_ranges.isEmpty() || holdsNumber(header.lapNumber))
            && (!m_timedOnly || LapTime::isTimedLap(header))) {
            selected.append(i);
            passing.append(laps[i]);
        }
    }
    if (!m_bestOnly)
        return selected;
    const qsizetype best = LapRanking::best(passing);
    return best < 0 ? QList<qsizetype>() : QList<qsizetype> {selected[best]};
}

bool LapSelection::holdsNumber(qint32 lapNumber) const
{
    for (const auto &[first, last] : m_ranges) {
        if (lapNumber >= first && lapNumber <= last)
            return true;
    }
    return false;
}
