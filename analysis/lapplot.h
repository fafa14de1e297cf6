#pragma once

#include "lapchannels.h"
#include "unitsystem.h"

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

class QPainter;

// The picture a driver reads a session from at a glance, one per file: speed, the delta to
// the best lap, throttle and brake, and gear over lap distance, one above the other on the
// same distance axis; a legend of the laps beside them; the track map coloured by speed and
// the session summary below. Needs a QGuiApplication for its fonts.
class LapPlot
{
public:
    static constexpr int Width = 1600;
    static constexpr int Height = 2250;

    struct Input
    {
        QString file; // named in the subtitle
        Laps laps; // every lap of the file
        QList<qsizetype> chosen; // the laps to draw, indexes into laps
        qsizetype compare = -1; // index of the lap set against the best; -1: the second fastest
        Units units = Units::Metric;
        QDateTime recordingStart; // invalid when not known
        // What the file names, for a file without laps, and why it has none.
        QString track;
        QString trackConfig;
        QString car;
        QString driver;
        QString session;
        QString noLapsReason;
        // A lap of another file of the same track to draw the delta and inputs against.
        QSharedPointer<ZUM::SDK::Lap> reference;
        QString referenceName; // "lap 7 of monday.ibt"
    };

    // The picture's size: the full layout, or only the title and one panel without laps.
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
    // The one panel of a file without laps.
    static QRect noLapsPanel() { return {120, 130, 1460, 160}; }
    static constexpr int NoLapsHeight = 330;
};
