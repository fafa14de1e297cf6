#pragma once

#include "importresult.h"

#include <QDir>
#include <QString>
#include <QStringList>

// Writes every lap of an import as a CSV file of its own: a header row of channel names with
// their units ("speed [m/s]"), recorded channels in name order and then calculated ones, and
// one row per sample. Entries without a real value are empty cells; numbers are written in
// their shortest round-trip form. Existing files are never overwritten: a name already taken
// gets a counter ("practice_lap3_1.csv").
class LapCsv
{
public:
    // The files written are appended to written; false with errorString set at the first
    // file that cannot be written.
    static bool write(const ImportResult &result, const QDir &dir, QStringList *written,
                      QString *errorString);
};
