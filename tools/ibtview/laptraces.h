#pragma once

#include "distancetrace.h"
#include "unitsystem.h"
#include "viewmodel.h"

#include <QColor>
#include <QHash>
#include <QString>

// The channels of the open laps over lap distance, read once and kept while the laps stay
// open, in the units the view shows; shared by the charts, the values table and the map.
// "delta" is the time a lap lost to the reference on the way to each distance.
class LapTraces
{
public:
    static inline const QString Delta = QStringLiteral("delta");

    explicit LapTraces(const ViewModel &model);

    // A lap's colour in every part of the view: the reference in the best lap's colour,
    // the other overlaid laps in the others' in list order.
    static QColor colour(const ViewModel &model, ViewModel::LapKey key);

    // Empty when the lap has no such channel.
    const DistanceTrace &trace(ViewModel::LapKey key, const QString &channel);
    // How the lap's channel reads in the view's units.
    UnitSystem::Conversion conversion(ViewModel::LapKey key, const QString &channel) const;
    // The value of the lap's channel at a distance, in the view's units; NaN where it has
    // none. Gears and other counts are held between samples, not interpolated.
    double valueAt(ViewModel::LapKey key, const QString &channel, double distance);

    // After the laps or the reference changed.
    void clear() { m_traces.clear(); }
    void clearDelta();

private:
    DistanceTrace deltaTrace(ViewModel::LapKey key) const;

    const ViewModel &m_model;
    QHash<QString, DistanceTrace> m_traces; // by lap and channel
};
