#pragma once

#include "lap.h"

#include <QList>
#include <QSharedPointer>
#include <QString>

#include <optional>
#include <vector>

using Laps = QList<QSharedPointer<ZUM::SDK::Lap>>;

// Reads a lap's channels the way the analysis needs them: by name in either set, as plain
// numbers with NaN wherever an entry holds no real value, and the lap's distance and time.
class LapChannels
{
public:
    // The recorded channel of that name, else the calculated one, else null.
    static QSharedPointer<ZUM::SDK::Channel> find(const ZUM::SDK::Lap &lap, const QString &name);

    // Every entry of the channel, NaN where it holds no real value (the invalid marker,
    // NaN, an infinity); empty when the lap has no such channel.
    static std::vector<double> values(const ZUM::SDK::Lap &lap, const QString &name);

    // The track length in metres from the header's "Track length", which the simulator
    // gives in km.
    static std::optional<double> headerTrackLength(const ZUM::SDK::LapHeader &header);
    // The length of a lap in metres as the laps measure it: "lapdist" over "lapdistpct"
    // far into a lap, which holds more digits than the header's rounded "Track length";
    // the header's value when no lap has both.
    static std::optional<double> trackLength(const Laps &laps);

    // Distance along the lap in metres per sample: "lapdist", or "lapdistpct" times the
    // track length when the lap has no distance channel. Empty when it has neither.
    static std::vector<double> distance(const ZUM::SDK::Lap &lap,
                                        std::optional<double> trackLength);
    // Seconds since the lap's first sample, per sample, from "sessiontime"; empty when the
    // lap has no session time.
    static std::vector<double> elapsed(const ZUM::SDK::Lap &lap);
    // The session time of the lap's first sample.
    static std::optional<double> startSessionTime(const ZUM::SDK::Lap &lap);
};
