#pragma once

#include "lapplot.h"

#include <QString>

// Where the picture of a file's laps goes: the format follows the file's suffix (PictureFile);
// with several input files every file gets a picture of its own.
class PlotFile
{
public:
    // "laps.png" for input "practice.ibt" becomes "laps_practice.png" when several files
    // share one --plot argument.
    static QString pathFor(const QString &plot, const QString &input, bool several);

    // False with errorString set when the picture cannot be written.
    static bool write(const LapPlot::Input &input, const QString &path, QString *errorString);
};
