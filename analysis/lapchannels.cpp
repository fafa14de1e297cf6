#include "lapchannels.h"

#include <cmath>
#include <limits>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

constexpr double noValue = std::numeric_limits<double>::quiet_NaN();

const QString lapDistanceName = QStringLiteral("lapdist");
const QString lapFractionName = QStringLiteral("lapdistpct");
const QString sessionTimeName = QStringLiteral("sessiontime");

// Far enough into a lap that the ratio of distance to fraction has all its digits.
constexpr double farIntoLap = 0.5;

bool isReal(double value)
{
    return ZUM::SDK::isValidValue(value) && std::isfinite(value);
}

} // namespace

QSharedPointer<Channel> LapChannels::find(const Lap &lap, const QString &name)
{
    const QSharedPointer<Channel> recorded = lap.channel(name);
    return recorded ? recorded : lap.calculatedChannel(name);
}

std::vector<double> LapChannels::values(const Lap &lap, const QString &name)
{
    const QSharedPointer<Channel> channel = find(lap, name);
    if (!channel)
        return {};
    std::vector<double> result(size_t(channel->size()));
    const double *data = channel->constData();
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = isReal(data[i]) ? data[i] : noValue;
    return result;
}

std::optional<double> LapChannels::headerTrackLength(const LapHeader &header)
{
    const ZUM::SDK::Value *value = header.dynamicData.find(QStringLiteral("Track length"));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const double length = value->toDouble(&ok);
    if (!ok || !(length > 0.0) || !std::isfinite(length))
        return std::nullopt;
    if (value->unit() == QLatin1String("m"))
        return length;
    if (value->unit() == QLatin1String("mi"))
        return length * 1609.344;
    return length * 1000.0;
}

std::optional<double> LapChannels::trackLength(const Laps &laps)
{
    for (const QSharedPointer<Lap> &lap : laps) {
        const std::vector<double> distance = values(*lap, lapDistanceName);
        const std::vector<double> fraction = values(*lap, lapFractionName);
        const size_t count = std::min(distance.size(), fraction.size());
        for (size_t i = count; i-- > 0;) {
            if (fraction[i] > farIntoLap && fraction[i] <= 1.0 && distance[i] > 0.0)
                return distance[i] / fraction[i];
        }
    }
    for (const QSharedPointer<Lap> &lap : laps) {
        if (const std::optional<double> length = headerTrackLength(lap->header()))
            return length;
    }
    return std::nullopt;
}

std::vector<double> LapChannels::distance(const Lap &lap, std::optional<double> trackLength)
{
    if (find(lap, lapDistanceName))
        return values(lap, lapDistanceName);
    if (!trackLength)
        trackLength = headerTrackLength(lap.header());
    if (!trackLength)
        return {};
    std::vector<double> result = values(lap, lapFractionName);
    for (double &value : result)
        value *= *trackLength;
    return result;
}

std::vector<double> LapChannels::elapsed(const Lap &lap)
{
    std::vector<double> result = values(lap, sessionTimeName);
    const std::optional<double> start = startSessionTime(lap);
    for (double &value : result)
        value -= start.value_or(noValue);
    return result;
}

std::optional<double> LapChannels::startSessionTime(const Lap &lap)
{
    const QSharedPointer<Channel> channel = find(lap, sessionTimeName);
    if (!channel || channel->isEmpty() || !isReal(channel->value(0)))
        return std::nullopt;
    return channel->value(0);
}
