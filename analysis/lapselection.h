#pragma once

#include "lapchannels.h"

#include <QList>
#include <QString>

#include <optional>

// Which laps a driver asked for: lap numbers and ranges ("3,5-7"), or laps of a stint as the
// table's Stint/lap column shows them ("2/3", "2/3-5": stint 2, its laps 3 to 5), since lap
// numbers repeat when a driver is reset to the pits; only the laps with a time; only the best
// lap. The conditions
// hold together; the best lap is the fastest of the laps that pass the others.
class LapSelection
{
public:
    // A lap named by its number, or by its stint and its lap in the stint.
    struct LapName
    {
        std::optional<qint32> stint;
        qint32 number = 0; // the lap number, or the lap in the stint with a stint

        // "3" or "2/3".
        QString text() const;
    };

    // Reads "3,5-7,2/3"; false with the reason in errorString for anything else.
    bool setNumbers(const QString &text, QString *errorString);
    void setTimedOnly(bool timedOnly) { m_timedOnly = timedOnly; }
    void setBestOnly(bool bestOnly) { m_bestOnly = bestOnly; }
    // False when every lap is selected.
    bool isActive() const { return !m_ranges.isEmpty() || m_timedOnly || m_bestOnly; }

    // Indexes of the selected laps, in lap order.
    QList<qsizetype> select(const Laps &laps) const;
    // Why select() gives no lap of laps, in a driver's words; empty when it gives some.
    QString nothingChosenText(const Laps &laps) const;

    // Reads one lap, "3" or "2/3"; null for anything else.
    static std::optional<LapName> lapName(const QString &text);
    // The indexes of the laps of that name, in lap order.
    static QList<qsizetype> named(const Laps &laps, const LapName &name);
    // "2/3" (stint and lap in it) when the lap's number is another lap's too, else the number.
    static QString shortName(const Laps &laps, qsizetype index);
    // Every lap of laps by its short name, runs as ranges: "0-5", "1/0, 2/0-1, 1-4".
    static QString namesText(const Laps &laps);

private:
    struct Range
    {
        std::optional<qint32> stint;
        qint32 first;
        qint32 last;
    };
    bool holds(const ZUM::SDK::LapHeader &header) const;

    QList<Range> m_ranges;
    QString m_rangesText;
    bool m_timedOnly = false;
    bool m_bestOnly = false;
};
