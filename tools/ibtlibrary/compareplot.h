#pragma once

#include "lappicture.h"
#include "rowoutput.h"

#include <QString>

#include <optional>

class Library;

// The picture of `compare`: the picture ibt-laps draws of a file's laps, drawn from what the
// library keeps of each lap (its trace by distance and its times) without the files. Speed
// and the delta to the first lap given, the inputs of the first two, the track map of the
// first lap that has positions, each lap named with its file and date, and the compare
// table's times in the box below.
class ComparePlot
{
public:
    // From the rows of LibraryQueries::compare, in the order the laps were given. Null with
    // the library's errorString() set when a query fails.
    static std::optional<LapPicture::Input> picture(Library &library, const RowOutput &rows);
    // PNG (or another format Qt's image writers know), SVG or PDF by the file's suffix; false
    // with *error set when it cannot be drawn or written.
    static bool write(Library &library, const RowOutput &rows, const QString &path, QString *error);
};
