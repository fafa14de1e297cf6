#pragma once

#include "rowoutput.h"

#include <QString>

// The picture of `progress`: a track and car's sessions over the days they were recorded,
// with each session's best, average and ideal lap. PNG (or another format Qt's image writers
// know), SVG or PDF, by the file's suffix.
class ProgressPlot
{
public:
    // From the rows of LibraryQueries::progress; false with *error set when the file cannot
    // be written.
    static bool write(const RowOutput &rows, const QString &path, QString *error);
};
