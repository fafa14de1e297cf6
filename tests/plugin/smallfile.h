#pragma once

// A little file with a real session text and a few driving variables, a lap a second at 60
// ticks per second: small enough that any damage to its header imports in a moment, a damaged
// record length of one byte included.

#include "ibtwriter.h"
#include "sessiongenerator.h"

#include <QString>

inline bool writeSmallFile(const QString &path, int records,
                           const IbtWriter::Overrides &overrides = {}, qint64 truncateAt = -1)
{
    IbtWriter writer;
    writer.setSessionInfo(SessionGenerator().sessionInfo());
    const int time = writer.addVariable("SessionTime", irsdk_double, 1, "s");
    const int tick = writer.addVariable("SessionTick", irsdk_int);
    const int lap = writer.addVariable("Lap", irsdk_int);
    const int pct = writer.addVariable("LapDistPct", irsdk_float, 1, "%");
    const int onTrack = writer.addVariable("IsOnTrack", irsdk_bool);
    const int speed = writer.addVariable("Speed", irsdk_float, 1, "m/s");
    writer.addVariable("CarIdxLap", irsdk_int, IRSDK_MAX_CARS);
    writer.setOverrides(overrides);
    writer.setTruncateAt(truncateAt);
    if (!writer.open(path))
        return false;
    for (int i = 0; i < records; ++i) {
        writer.setValue(time, i / 60.0);
        writer.setValue(tick, i);
        writer.setValue(lap, 1 + i / 60);
        writer.setValue(pct, (i % 60) / 60.0);
        writer.setValue(onTrack, 1);
        writer.setValue(speed, 50);
        writer.appendRecord();
    }
    return writer.finish();
}
