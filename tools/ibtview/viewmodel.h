#pragma once

#include "importresult.h"
#include "sectortimes.h"
#include "unitsystem.h"

#include <QList>
#include <QObject>

#include <optional>

// What the viewer shows, without any widget: the open files and their laps, which laps are
// overlaid, the reference lap the others are compared with, the cursor and the visible
// stretch of the lap on the distance axis, and the units. Every view reads it and changes it
// through it, and redraws on its signals.
class ViewModel : public QObject
{
    Q_OBJECT

public:
    // One lap of one open file.
    struct LapKey
    {
        qsizetype file = -1;
        qsizetype lap = -1;

        bool isValid() const { return file >= 0 && lap >= 0; }
        friend bool operator==(const LapKey &, const LapKey &) = default;
    };

    struct OpenFile
    {
        ImportResult result;
        std::optional<double> trackLength; // metres, as the laps measure it
        QList<double> sectorStarts; // metres, the track's own sectors; empty when none
        // Per lap, its sector times; null when it has none.
        QList<std::optional<SectorTimes>> sectorTimes;
        qsizetype best = -1; // the fastest timed lap
        QList<qsizetype> bestSectors; // per sector, the lap that drove it fastest
    };

    // The shortest stretch of track a zoom shows.
    static constexpr double NarrowestRange = 10.0; // metres

    explicit ViewModel(QObject *parent = nullptr);

    // Opens the laps of an import with the file's best lap overlaid; until a reference is
    // chosen, the fastest lap of all open files is the reference. Returns the file's index.
    qsizetype addFile(const ImportResult &result);
    const QList<OpenFile> &files() const { return m_files; }
    // Every lap of every open file, file by file in lap order.
    QList<LapKey> laps() const;
    const ZUM::SDK::Lap &lap(LapKey key) const;
    // "lap 3", with the stint when the file has more than one ("lap 3 of stint 2"), and the
    // file's name before it when several files are open.
    QString lapName(LapKey key) const;

    bool isOverlaid(LapKey key) const;
    void setOverlaid(LapKey key, bool overlaid);
    // The file's overlaid laps become exactly these.
    void setOverlaidLaps(qsizetype file, const QList<qsizetype> &laps);
    // The overlaid laps in list order.
    QList<LapKey> overlaid() const;

    // The fastest timed lap of all open files; invalid when none is timed.
    LapKey best() const;
    LapKey reference() const { return m_reference; }
    // Any lap of any open file; it is overlaid as well.
    void setReference(LapKey key);

    // Lap distance in metres of the whole axis: from the line to the reference's track
    // length (or the longest of the open files).
    double fullLow() const { return 0.0; }
    double fullHigh() const;
    // The track length of the reference's file, when it has one.
    std::optional<double> trackLength() const;

    double cursor() const { return m_cursor; }
    // Within the axis; the visible range follows when the cursor leaves it.
    void setCursor(double distance);
    // Moves the cursor by a two-hundredth of the visible range per step, so that a key
    // press moves it the same few pixels at any zoom.
    void stepCursor(int steps);

    double visibleLow() const { return m_visibleLow; }
    double visibleHigh() const { return m_visibleHigh; }
    // The stretch between the two distances, in either order, within the axis and at least
    // NarrowestRange wide.
    void setVisibleRange(double from, double to);
    // Narrows (factor < 1) or widens the visible range around a distance that stays where
    // it is on the screen.
    void zoom(double around, double factor);
    void resetZoom();
    bool isZoomed() const { return m_visibleLow > fullLow() || m_visibleHigh < fullHigh(); }

    Units units() const { return m_units; }
    void setUnits(Units units);

signals:
    void lapsChanged();
    void overlayChanged();
    void referenceChanged();
    void cursorChanged();
    void rangeChanged();
    void unitsChanged();

private:
    void fitRange(double low, double high);

    QList<OpenFile> m_files;
    QList<LapKey> m_overlaid; // in the order they were ticked
    LapKey m_reference;
    bool m_referenceChosen = false;
    double m_cursor = 0.0;
    double m_visibleLow = 0.0;
    double m_visibleHigh = 1.0;
    Units m_units = Units::Metric;
};
