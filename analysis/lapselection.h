#pragma once

#include "lapchannels.h"

#include <QList>
#include <QString>

#include <utility>

// Which laps a driver asked for: lap numbers and ranges ("3,5-7"), only the laps with a time,
// only the best lap. The conditions hold together; the best lap is the fastest of the laps
// that pass the others.
class LapSelection
{
public:
    // Reads "3,5-7"; false with the reason in errorString for anything else.
    bool setNumbers(const QString &text, QString *errorString);
    void setTimedOnly(bool timedOnly) { m_timedOnly = timedOnly; }
    void setBestOnly(bool bestOnly) { m_bestOnly = bestOnly; }
    // False when every lap is selected.
    bool isActive() const { return !m_ranges.isEmpty() || m_timedOnly || m_bestOnly; }

    // Indexes of the selected laps, in lap order.
    QList<qsizetype> select(const Laps &laps) const;

private:
    bool holdsNumber(qint32 lapNumber) const;

    QList<std::pair<qint32, qint32>> m_ranges; // first and last lap number
    bool m_timedOnly = false;
    bool m_bestOnly = false;
};
