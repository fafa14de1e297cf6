#pragma once

#include "unitsystem.h"

#include <QRectF>
#include <QString>

class QPainter;
class TrackProjection;

// The track map of the lap picture: the lap's path seen from above, north up, with the
// proportions of the ground, coloured by speed on a labelled scale beside it, and the
// start/finish line marked.
class TrackMapPanel
{
public:
    // lapName names the lap drawn in the heading; speedUnit is the unit of the projection's
    // speeds, converted into `units` for the scale.
    static void draw(QPainter &painter, const QRectF &map, const QRectF &scale,
                     const TrackProjection &projection, const QString &lapName,
                     const QString &speedUnit, Units units);
    // The panel with its heading and the reason there is no map.
    static void drawEmpty(QPainter &painter, const QRectF &map, const QString &reason);
};
