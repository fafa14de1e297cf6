#include "laptraces.h"

#include "lapchannels.h"
#include "plotstyle.h"
#include "timeatdistance.h"

#include <algorithm>
#include <cmath>

namespace {

QString cacheKey(ViewModel::LapKey key, const QString &channel)
{
    return QStringLiteral("%1/%2/%3").arg(key.file).arg(key.lap).arg(channel);
}

// Channels whose values step from one to the next rather than change smoothly.
bool isHeld(const QString &channel)
{
    return channel == QLatin1String("gear") || channel.endsWith(QLatin1String("flags"))
        || channel.startsWith(QLatin1String("is"));
}

} // namespace

LapTraces::LapTraces(const ViewModel &model)
    : m_model(model)
{ }

QColor LapTraces::colour(const ViewModel &model, ViewModel::LapKey key)
{
    if (key == model.reference())
        return PlotStyle::bestColour();
    qsizetype index = 0;
    for (const ViewModel::LapKey &other : model.overlaid()) {
        if (other == key)
            break;
        if (other != model.reference())
            ++index;
    }
    return PlotStyle::otherColour(int(index % PlotStyle::OtherColours));
}

const DistanceTrace &LapTraces::trace(ViewModel::LapKey key, const QString &channel)
{
    const QString name = cacheKey(key, channel);
    auto it = m_traces.find(name);
    if (it == m_traces.end()) {
        const std::optional<double> length = m_model.files()[key.file].trackLength;
        it = m_traces.insert(name,
                             channel == Delta
                                 ? deltaTrace(key)
                                 : DistanceTrace::of(m_model.lap(key), channel, length));
    }
    return *it;
}

UnitSystem::Conversion LapTraces::conversion(ViewModel::LapKey key, const QString &channel) const
{
    if (channel == Delta)
        return {1.0, 0.0, QStringLiteral("s")};
    const QSharedPointer<ZUM::SDK::Channel> found = LapChannels::find(m_model.lap(key), channel);
    // Pedals read in per cent; the import gives them as a share.
    const bool pedal = channel == QLatin1String("throttle") || channel == QLatin1String("brake")
        || channel == QLatin1String("clutch");
    if (pedal && found && found->unit() != QLatin1String("%"))
        return {100.0, 0.0, QStringLiteral("%")};
    return UnitSystem::channelConversion(channel, found ? found->unit() : QString(),
                                         m_model.units());
}

double LapTraces::valueAt(ViewModel::LapKey key, const QString &channel, double distance)
{
    const DistanceTrace &values = trace(key, channel);
    const double value = isHeld(channel) ? values.heldAt(distance) : values.at(distance);
    return conversion(key, channel)(value);
}

void LapTraces::clearDelta()
{
    for (auto it = m_traces.begin(); it != m_traces.end();) {
        if (it.key().endsWith(QLatin1Char('/') + Delta))
            it = m_traces.erase(it);
        else
            ++it;
    }
}

DistanceTrace LapTraces::deltaTrace(ViewModel::LapKey key) const
{
    const ViewModel::LapKey reference = m_model.reference();
    if (!reference.isValid())
        return {};
    const std::optional<double> length = m_model.files()[key.file].trackLength;
    const std::optional<TimeAtDistance> lap = TimeAtDistance::of(m_model.lap(key), length);
    const std::optional<TimeAtDistance> against
        = TimeAtDistance::of(m_model.lap(reference), m_model.files()[reference.file].trackLength);
    if (!lap || !against)
        return {};
    // Time from the line to each of the lap's own distances, where both laps drove.
    const double low = std::max(lap->firstDistance(), against->firstDistance());
    const double high = std::min(lap->lastDistance(), against->lastDistance());
    const double lapStart = lap->at(0.0);
    const double referenceStart = against->at(0.0);
    std::vector<double> distance, delta;
    for (const double d : LapChannels::distance(m_model.lap(key), length)) {
        if (d >= low && d <= high) {
            distance.push_back(d);
            delta.push_back((lap->at(d) - lapStart) - (against->at(d) - referenceStart));
        }
    }
    return DistanceTrace::of(distance, delta);
}
