#pragma once

#include "distancetrace.h"
#include "lapchannels.h"
#include "unitsystem.h"

#include <QColor>
#include <QList>

#include <optional>

// Which of the chosen laps a picture draws and in which colours. A lap is drawn when it has
// speed and distance over at least a quarter of the track; of more than MostLaps such laps,
// the best, the last and the fastest others. The best lap of the session (whether chosen or
// not) is the reference of the delta and the inputs, always in the best lap's colour, unless
// a lap of another file is given as the reference, which then takes that colour; every
// other lap takes its colour from its place among the file's laps, the same in every picture
// of the file. When no chosen lap covers a quarter of the track, the longest is drawn.
class PlotLaps
{
public:
    static constexpr int MostLaps = 8;

    struct Drawn
    {
        qsizetype index; // into the laps
        DistanceTrace speed; // in the speed unit
    };

    // A lap of another file of the same track that the delta and the inputs are drawn
    // against instead of the best lap.
    struct Reference
    {
        QSharedPointer<ZUM::SDK::Lap> lap; // null: the best lap of the file
        QString name; // "lap 7 of monday.ibt"
    };

    // compare: the index of the lap to set against the reference, drawn whether chosen or
    // not; -1 for the second fastest timed lap, or the best with a reference of another file.
    static PlotLaps of(const Laps &laps, const QList<qsizetype> &chosen, qsizetype compare,
                       Units units, const Reference &reference = {});

    // The file's laps and, last, a reference lap of another file.
    const Laps &laps() const { return m_laps; }
    // The file's laps alone.
    const Laps &fileLaps() const { return m_fileLaps; }
    // The lap the delta and the inputs are drawn against: the best lap, or the reference.
    qsizetype reference() const { return m_reference; }
    bool hasOtherFilesReference() const { return m_reference >= m_fileLaps.size(); }
    // "lap 3", "lap 3 of stint 2", or the reference's own name.
    QString name(qsizetype index) const;
    // As the legend shows a lap: its number, stint/lap where numbers repeat, "ref".
    QString shortName(qsizetype index) const;
    std::optional<double> trackLength() const { return m_trackLength; }
    qsizetype best() const { return m_best; }
    qsizetype compare() const { return m_compare; }
    const QList<Drawn> &drawn() const { return m_drawn; }
    // Chosen laps that cover less than a quarter of the track.
    const QList<qsizetype> &shortLaps() const { return m_shortLaps; }
    // The lap drawn although short, because no chosen lap covers a quarter of the track; -1
    // when none is.
    qsizetype longestShortLap() const { return m_longestShortLap; }
    // Chosen laps without speed or distance.
    const QList<qsizetype> &blankLaps() const { return m_blankLaps; }
    // Laps long enough but left out to keep the picture readable.
    qsizetype moreLaps() const { return m_moreLaps; }
    QString speedUnit() const { return m_speedUnit; }
    Units units() const { return m_units; }

    QColor colour(qsizetype index) const;

private:
    Laps m_laps;
    Laps m_fileLaps;
    qsizetype m_reference = -1;
    QString m_referenceName;
    std::optional<double> m_trackLength;
    qsizetype m_best = -1;
    qsizetype m_compare = -1;
    QList<Drawn> m_drawn;
    QList<qsizetype> m_shortLaps;
    QList<qsizetype> m_blankLaps;
    qsizetype m_moreLaps = 0;
    QString m_speedUnit;
    Units m_units = Units::Metric;
    qsizetype m_longestShortLap = -1;
};
