#include "filereplay.h"

#include "ibtfile.h"
#include "irtelemetryreader.h"
#include "playerlapreplay.h"
#include "tickstream.h"

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::Sample;

namespace {

// A record yields at most one value per byte when its variables do not overlap, so the laps of
// any real file hold about as many entries as the file has bytes, besides a few derived
// channels. Twice that is out of reach for a real file; a damaged one that asks for more (tiny
// records read by many overlapping variables, quadratic in the file's size) is stopped there.
constexpr qint64 valuesPerFileByte = 2;

// A finished lap keeps its channels for as long as the host does: without the room they kept
// for growing, which would otherwise add up to half the laps' size again. A channel that
// reserved about its lap's length keeps its little room rather than be copied once more.
void shrink(Channel &channel)
{
    if (channel.capacity() - channel.size() > channel.size() / 8)
        channel.shrinkToFit();
}

void append(QList<QSharedPointer<Lap>> &laps, const QSharedPointer<Lap> &lap)
{
    if (!lap)
        return;
    for (const QString &name : lap->getAvailableRecordedChannels())
        shrink(*lap->channel(name));
    for (const QString &name : lap->getAvailableCalculatedChannels())
        shrink(*lap->calculatedChannel(name));
    laps.append(lap);
}

} // namespace

FileReplay::Result FileReplay::run(IbtFile &file, iRTelemetryReader &reader, const Hooks &hooks)
{
    Result result;
    reader.setYaml(file.sessionText());
    reader.updateCarList();
    // The variables are learnt here, on this thread, before the worker starts.
    reader.prepareRawData(file);

    const qint64 budget = valuesPerFileByte * file.fileSize();
    qint64 values = 0;
    TickStream ticks(file, reader.tickDecoding());
    PlayerLapReplay laps(reader);
    while (QList<Sample> *tick = ticks.next()) {
        for (const Sample &sample : std::as_const(*tick))
            values += sample.dynamicData.size();
        if (values > budget) {
            ticks.stop();
            result.overBudget = true;
            break;
        }
        if (hooks.decoded)
            hooks.decoded(ticks.ticks() - 1, *tick);
        const QSharedPointer<Lap> lap = laps.tick(*tick);
        append(result.laps, lap);
        if (hooks.ran)
            hooks.ran(ticks.ticks() - 1, lap);
    }
    result.ticks = ticks.ticks();

    // The lap under way when the file ended; none when reading stopped over the budget.
    if (!result.overBudget)
        append(result.laps, laps.finish());
    return result;
}
