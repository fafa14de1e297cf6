#pragma once

#include <QString>

// Names under which a lap holds what both the reader and the derivation of its channels use:
// channels recorded from the simulator's variables (their names in lower case) and values of
// the lap header.
namespace LapKeys {

inline constexpr QLatin1String sessionTime("sessiontime");
inline constexpr QLatin1String sessionTick("sessiontick");
inline constexpr QLatin1String lapDistPct("lapdistpct");
inline constexpr QLatin1String lapDist("lapdist");
inline constexpr QLatin1String speed("speed");
inline constexpr QLatin1String lapCurrentLapTime("lapcurrentlaptime");

inline constexpr QLatin1String trackLength("Track length"); // a number of kilometres
inline constexpr QLatin1String kgPerFuelLitre("Kg per fuel litre");

} // namespace LapKeys
