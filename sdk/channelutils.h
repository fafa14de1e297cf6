#pragma once

#include "zumsdk_global.h"

namespace ZUM::SDK {

class Channel;
class Lap;

// Repairs that post-processing applies to finished laps.
class ZUMSDK_EXPORT ChannelUtils
{
public:
    // Rewrites the start of a channel that should rise from the start of the lap but begins
    // with values left over from the previous lap, or with zeros, in proportion to the
    // reference channel (which has at least as many entries).
    static void normalizeChannelBeginning(Channel *channel, const Channel *reference);

    // Trims every recorded channel of the lap to the span over which ramp, one of the lap's
    // recorded channels going from near 0 to near 1, really ramps.
    static void enforceMonotonicRamp(Lap *lap, Channel *ramp);
};

} // namespace ZUM::SDK
