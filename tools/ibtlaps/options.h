#pragma once

#include "lapselection.h"
#include "unitsystem.h"

#include <QString>
#include <QStringList>

#include <optional>

// What the command line asks ibt-laps to do.
struct Options
{
    QString pluginPath;
    QStringList files;

    QString json; // empty: no JSON; "-": standard output
    bool jsonChannelValues = true;
    QString csvDirectory; // empty: no CSV
    bool force = false; // overwrite CSV files of the same name
    QString plot; // empty: no picture
    std::optional<LapSelection::LapName> compareLap;
    QString referenceFile; // empty: the file's own best lap is the reference
    std::optional<LapSelection::LapName> referenceLap; // none: the best lap of referenceFile

    LapSelection selection;
    QStringList channels; // empty: every channel
    bool listChannels = false;
    bool sectors = false; // the track's sectors in the table
    bool setup = false; // the car's set-up after the table
    bool setupDiff = false; // what differs from the first file's set-up
    // Not given: the table and the picture in metric units, the CSV as recorded.
    std::optional<Units> units;
    bool quiet = false;
    // Options given without the output they apply to: one line each, for the notes.
    QStringList ignored;

    bool jsonToStandardOutput() const { return json == QLatin1String("-"); }
    Units displayUnits() const { return units.value_or(Units::Metric); }
    Units csvUnits() const { return units.value_or(Units::AsRecorded); }
};
