#pragma once

#include "channelchoice.h"
#include "importresult.h"
#include "unitsystem.h"

#include <QDir>
#include <QList>
#include <QString>
#include <QStringList>

// Writes every chosen lap of an import as a CSV file of its own, named
// "<input>_stint<S>_lap<N>.csv". The first three columns place a sample in the session and
// the lap: the session time, the time since the lap's first sample and the lap distance;
// the other channels follow, recorded ones in name order and then calculated ones, each
// titled with its unit ("speed [km/h]"). One row per sample; an entry without a real value
// is an empty cell; numbers in their shortest round-trip form.
class LapCsv
{
public:
    struct Settings
    {
        QDir directory;
        ChannelChoice channels;
        Units units = Units::AsRecorded;
        // Overwrite a file of the same name; otherwise the name gets a counter.
        bool force = false;
    };

    // The files written are appended to written; false with errorString set at the first
    // file that cannot be written.
    static bool write(const ImportResult &result, const QList<qsizetype> &chosen,
                      const Settings &settings, QStringList *written, QString *errorString);
};
