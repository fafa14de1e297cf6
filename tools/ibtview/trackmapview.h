#pragma once

#include "viewmodel.h"

#include <QPixmap>
#include <QPointF>
#include <QWidget>

class LapTraces;

// The track as the reference lap drove it, seen from above with north up, coloured by a
// chosen channel from dark (low) to light (high), with each overlaid lap's position at the
// cursor marked in its colour. A click on the track moves the cursor to that point of it.
class TrackMapView : public QWidget
{
    Q_OBJECT

public:
    // Points along the path drawn.
    static constexpr int PathPoints = 800;

    TrackMapView(ViewModel &model, LapTraces &traces, QWidget *parent = nullptr);

    QString colourChannel() const { return m_colourChannel; }
    void setColourChannel(const QString &channel);

    // Where the path passes a lap distance of the reference lap, in the view; null without
    // a path there.
    std::optional<QPointF> placeOf(double distance) const;
    // Where a lap is at the cursor, in the view; null when it has no position there.
    std::optional<QPointF> lapAtCursor(ViewModel::LapKey key) const;

    // The map into any painter over a view of that size: the screen, a picture.
    void paint(QPainter &painter, const QSize &size);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    struct PathPoint
    {
        double distance;
        QPointF ground; // metres east and north of the path's first point
        double value; // of the colour channel, NaN where it has none
    };

    void rebuildPath();
    // The coloured path, which changes with the reference, the colour channel and the size.
    void drawPath(QPainter &painter, const QSize &size) const;
    // The laps where the cursor is, which changes all the time.
    void drawMarkers(QPainter &painter, const QSize &size) const;
    std::optional<QPointF> ground(ViewModel::LapKey key, double distance) const;
    QPointF place(const QPointF &ground, const QSize &size) const;

    ViewModel &m_model;
    LapTraces &m_traces;
    QString m_colourChannel = QStringLiteral("speed");
    QList<PathPoint> m_path;
    QPointF m_origin; // longitude and latitude of the first point, degrees
    QRectF m_bounds; // of the path on the ground
    QPixmap m_pathPicture; // drawPath at the widget's size; null when to be drawn again
};
