#include "channelutils.h"

#include "channel.h"
#include "lap.h"

#include <cmath>

namespace ZUM::SDK {

namespace {

constexpr double zeroTolerance = 1e-12;
constexpr double rampStartLimit = 0.95; // a lap-fraction this high belongs to the previous lap
constexpr double rampEndLimit = 0.05; // and one this low to the next

// A channel that a sample left one entry short can run out before the ramp does.
void popEach(Lap *lap, const QList<QString> &names, void (Channel::*pop)())
{
    for (const QString &name : names) {
        Channel *channel = lap->channel(name).data();
        if (!channel->isEmpty())
            (channel->*pop)();
    }
}

} // namespace

void ChannelUtils::normalizeChannelBeginning(Channel *channel, const Channel *reference)
{
    const int count = int(channel->size());
    if (count - 2 < 0)
        return;

    // The first good entry after the bad stretch anchors the proportional rule; -1 is unset.
    double anchorValue = -1.0;
    double anchorReference = -1.0;
    for (int i = count - 2; i >= 0; --i) {
        const double current = channel->value(i);
        const double next = channel->value(i + 1);
        const bool leftOver = current > next;
        const bool zero = std::abs(current) <= zeroTolerance;
        if (!leftOver && !zero)
            continue;
        if (anchorValue < 0) {
            anchorValue = channel->value(i + 1);
            anchorReference = reference->value(i + 1);
        }
        if (std::abs(anchorValue) <= zeroTolerance)
            return;
        channel->setValue(i, anchorValue * reference->value(i) / anchorReference);
    }
}

void ChannelUtils::enforceMonotonicRamp(Lap *lap, Channel *ramp)
{
    const QList<QString> names = lap->getAvailableRecordedChannels();

    // Trimming only ends because ramp loses entries with the others: a ramp that is not one
    // of the lap's recorded channels would never shrink.
    bool rampIsRecorded = false;
    for (const QString &name : names)
        rampIsRecorded = rampIsRecorded || lap->channel(name).data() == ramp;
    if (!rampIsRecorded)
        return;

    bool trimmed = false;
    while (!ramp->isEmpty() && ramp->value(0) > rampStartLimit) {
        trimmed = true;
        popEach(lap, names, &Channel::popFront);
    }
    while (!ramp->isEmpty() && ramp->value(ramp->size() - 1) < rampEndLimit) {
        trimmed = true;
        popEach(lap, names, &Channel::popBack);
    }
    if (trimmed) {
        for (const QString &name : names)
            lap->channel(name)->shrinkToFit();
    }
}

} // namespace ZUM::SDK
