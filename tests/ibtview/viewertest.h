#pragma once

// The sessions the viewer's tests open, written by the session generator, and their import
// through the plug-in as the viewer does it.

#include "pluginhost.h"
#include "sessiongenerator.h"

#include <QTemporaryDir>

namespace ViewerTest {

struct Sessions
{
    SessionGenerator::Options practiceOptions; // the default practice session: five laps
    SessionGenerator::Options shortOptions;
    QString practice;
    QString shortOne; // two flying laps on a short track, quicker than the practice's
    QString noPlayer; // a session without the player's car: no laps
    QString damaged; // a file cut inside its header
    QString missing; // a path with no file

    bool write(const QTemporaryDir &dir)
    {
        practice = dir.filePath(QStringLiteral("practice.ibt"));
        shortOptions.trackLength = 1500.0;
        shortOptions.lapTime = 40.0;
        shortOptions.laps = 2;
        shortOptions.otherCars = 1;
        shortOne = dir.filePath(QStringLiteral("short.ibt"));
        noPlayer = dir.filePath(QStringLiteral("no-player.ibt"));
        damaged = dir.filePath(QStringLiteral("damaged.ibt"));
        missing = dir.filePath(QStringLiteral("missing.ibt"));
        if (!SessionGenerator(practiceOptions).write(practice)
            || !SessionGenerator(shortOptions).write(shortOne))
            return false;
        SessionGenerator::Options noPlayerOptions = shortOptions;
        noPlayerOptions.player = false;
        if (!SessionGenerator(noPlayerOptions).write(noPlayer))
            return false;
        QFile source(shortOne), cut(damaged);
        if (!source.open(QIODevice::ReadOnly) || !cut.open(QIODevice::WriteOnly))
            return false;
        return cut.write(source.read(100)) == 100;
    }
};

inline PluginHost &host()
{
    // One plug-in per process, as the application loads it.
    static PluginHost pluginHost(QStringLiteral(ZUM_PLUGIN_PATH));
    static const bool loaded = pluginHost.load();
    Q_UNUSED(loaded);
    return pluginHost;
}

} // namespace ViewerTest
