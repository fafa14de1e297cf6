#pragma once

#include "lapchannels.h"
#include "lappicture.h"
#include "unitsystem.h"

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>

// The lap picture of one file, as a driver reads a session from it at a glance: the chosen
// laps' speed, the delta to the best lap, the inputs of the best lap and the one compared
// with it, the track map coloured by speed and the session summary (LapPicture's layout).
// Needs a QGuiApplication for its fonts.
class LapPlot
{
public:
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

    // The laps and texts the picture draws; LapPicture paints it into any device.
    static LapPicture::Input picture(const Input &input);
    static QImage render(const Input &input);
};
