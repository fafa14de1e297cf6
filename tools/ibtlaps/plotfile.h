#pragma once

#include "lapplot.h"

#include <QByteArray>
#include <QString>

// Where and in which format a picture goes: the format follows the file's suffix, PNG when it
// has none; with several input files every file gets a picture of its own. SVG and PDF are
// painted as vectors, the same painting as the pixels of the other formats.
class PlotFile
{
public:
    // "png", "jpg", ...: the suffix in lower case.
    static QByteArray format(const QString &path);
    // Whether Qt's image writers know the format, or it is svg or pdf.
    static bool isWritable(const QByteArray &format);
    static QString writableFormats();

    // "laps.png" for input "practice.ibt" becomes "laps_practice.png" when several files
    // share one --plot argument.
    static QString pathFor(const QString &plot, const QString &input, bool several);

    // False with errorString set when the picture cannot be written.
    static bool write(const LapPlot::Input &input, const QString &path, QString *errorString);
};
