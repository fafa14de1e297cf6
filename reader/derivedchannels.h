#pragma once

#include "lap.h"

// Channels of a finished lap derived from its recorded ones and its header, in place. Entries
// without a value are shifted, multiplied and differenced like any other.
namespace DerivedChannels {

// A fuel density this close to zero is none: no fuel weight is stored or derived from it.
inline constexpr double NoFuelDensity = 1e-12;

// Adds the header's north offset to every entry of the heading, then drops the offset from
// the header, so that it cannot apply twice.
void applyYawOffset(ZUM::SDK::Lap &lap);
// "fuelweight" in kg: the fuel level times the header's fuel density, when there are both.
void addFuelWeight(ZUM::SDK::Lap &lap);
// Rebuilds the timing from the session clock: the time steps "dt", and the lap clock when the
// lap begins at the line. With withDistanceAndSpeed, and a track length in the header, also
// the distance from the lap fraction and the speed from distance and time steps.
void rebuildTiming(ZUM::SDK::Lap &lap, bool withDistanceAndSpeed);

} // namespace DerivedChannels
