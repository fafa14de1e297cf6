#pragma once

#include "distancetrace.h"
#include "summarytext.h"
#include "trackprojection.h"
#include "unitsystem.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

class QPainter;

// The picture of a few laps on one track: speed, the delta to a reference lap, throttle and
// brake, and gear over lap distance, one above the other on the same distance axis, each
// drawn by the charts the viewer draws with over the whole lap and without a cursor; a legend
// of the laps beside them; the track map coloured by speed and a box of facts below. Drawn
// from traces and texts, so that a file's laps and a library's stored laps give the same
// picture. Needs a QGuiApplication for its fonts.
class LapPicture
{
public:
    static constexpr int Width = 1600;
    static constexpr int Height = 2250;

    struct Lap
    {
        QString name; // the legend's: "3", "2/1", "ref"
        QString title; // the inputs key's: "lap 3 (1:39.700)"
        QString time; // the legend's: "1:39.700  best"
        QString detail; // a line under the legend's entry: where and when it was driven
        QColor colour;
        bool reference = false; // drawn wider and on top, bold in the legend
        bool inputs = false; // its throttle, brake and gear drawn
        DistanceTrace speed; // in the picture's speed unit
        DistanceTrace delta; // seconds lost to the reference; empty without one
        DistanceTrace throttle; // per cent
        DistanceTrace brake; // per cent
        DistanceTrace gear;
    };

    struct Input
    {
        QString title; // track, configuration and driver
        QString subtitle; // car, session, date, file
        // Set: the picture is only the title and one panel that says why there are no laps.
        QString noLaps;
        QList<Lap> laps; // in the legend's order
        Units units = Units::Metric; // of the distance axis
        QString speedUnit;
        std::optional<double> trackLength; // the distance axis when no lap is drawn
        // In the middle of a panel that has no lines; empty where it has some.
        QString speedNote;
        QString deltaHeading;
        QString deltaNote;
        QString inputsNote;
        QString gearNote;
        QStringList legendNotes; // under the legend's laps
        std::optional<TrackProjection> map;
        QString mapLapName; // "lap 3"
        QString mapSpeedUnit; // of the projection's speeds
        QString mapNote; // why there is no map
        QString summaryHeading; // "Session"
        QList<SummaryText::Line> summary;
    };

    static QSize size(const Input &input);
    // Paints the picture into any device (image, SVG, PDF) whose painter spans size().
    static void paint(QPainter &painter, const Input &input);
    static QImage render(const Input &input);

    // Where the layout puts each part of the picture.
    static QRect speedPanel() { return {120, 190, 1180, 380}; }
    static QRect legendBox() { return {1340, 190, 240, 730}; }
    static QRect deltaPanel() { return {120, 680, 1180, 240}; }
    static QRect inputsPanel() { return {120, 1030, 1180, 200}; }
    static QRect inputsKeyBox() { return {1340, 1030, 240, 200}; }
    static QRect gearPanel() { return {120, 1340, 1180, 120}; }
    static QRect trackMapPanel() { return {120, 1570, 620, 620}; }
    static QRect speedScale() { return {780, 1570, 26, 620}; }
    static QRect summaryBox() { return {990, 1570, 590, 620}; }
    // The one panel of a picture without laps.
    static QRect noLapsPanel() { return {120, 130, 1460, 160}; }
    static constexpr int NoLapsHeight = 330;

    static constexpr double LapWidth = 1.8;
    static constexpr double ReferenceWidth = 3.2;
};
