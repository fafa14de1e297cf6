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
    std::optional<qint32> compareLap;

    LapSelection selection;
    QStringList channels; // empty: every channel
    bool listChannels = false;
    // Not given: the table and the picture in metric units, the CSV as recorded.
    std::optional<Units> units;
    bool quiet = false;

    bool jsonToStandardOutput() const { return json == QLatin1String("-"); }
    Units displayUnits() const { return units.value_or(Units::Metric); }
    Units csvUnits() const { return units.value_or(Units::AsRecorded); }
};
