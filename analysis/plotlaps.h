#pragma once

#include "lapchannels.h"
#include "unitsystem.h"

#include <QColor>
#include <QList>
#include <QPolygonF>

#include <optional>

// Which of the chosen laps a picture draws and in which colours. A lap is drawn when it has
// speed and distance over at least a quarter of the track; of more than MostLaps such laps,
// the best, the last and the fastest others. The best lap of the session (whether chosen or
// not) is the reference of the delta and the inputs, always in the best lap's colour; the
// others take the remaining colours in lap order.
class PlotLaps
{
public:
    static constexpr int MostLaps = 8;

    struct Drawn
    {
        qsizetype index; // into the laps
        QList<QPolygonF> speed; // over distance, in the speed unit
    };

    // compareLap: the lap number to set against the best lap; without it the second
    // fastest timed lap.
    static PlotLaps of(const Laps &laps, const QList<qsizetype> &chosen,
                       std::optional<qint32> compareLap, Units units);

    const Laps &laps() const { return m_laps; }
    std::optional<double> trackLength() const { return m_trackLength; }
    qsizetype best() const { return m_best; }
    qsizetype compare() const { return m_compare; }
    const QList<Drawn> &drawn() const { return m_drawn; }
    // Chosen laps that cover less than a quarter of the track.
    const QList<qsizetype> &shortLaps() const { return m_shortLaps; }
    // Chosen laps without speed or distance.
    const QList<qsizetype> &blankLaps() const { return m_blankLaps; }
    // Laps long enough but left out to keep the picture readable.
    qsizetype moreLaps() const { return m_moreLaps; }
    QString speedUnit() const { return m_speedUnit; }
    Units units() const { return m_units; }

    QColor colour(qsizetype index) const;

private:
    Laps m_laps;
    std::optional<double> m_trackLength;
    qsizetype m_best = -1;
    qsizetype m_compare = -1;
    QList<Drawn> m_drawn;
    QList<qsizetype> m_shortLaps;
    QList<qsizetype> m_blankLaps;
    qsizetype m_moreLaps = 0;
    QString m_speedUnit;
    Units m_units = Units::Metric;
    QList<qsizetype> m_coloured; // laps in the order they take the other colours
};
