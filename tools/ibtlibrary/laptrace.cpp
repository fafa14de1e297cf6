#include "laptrace.h"

#include "lapchannels.h"
#include "timeatdistance.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr quint8 Version = 1;
constexpr qsizetype HeaderBytes = 4 + 4 + 4 + 8 + 8;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// The samples of the longest stretch over which the distance rises: the next lap's counter
// showing at the end, or the last lap's at the start, falls back and is left out, and so are
// samples where the car did not move on.
std::vector<size_t> risingSamples(const std::vector<double> &distance)
{
    std::vector<size_t> longest;
    std::vector<size_t> current;
    const auto covered = [&distance](const std::vector<size_t> &run) {
        return run.empty() ? -1.0 : distance[run.back()] - distance[run.front()];
    };
    for (size_t i = 0; i < distance.size(); ++i) {
        if (!std::isfinite(distance[i]))
            continue;
        if (!current.empty() && distance[i] <= distance[current.back()]) {
            if (distance[i] == distance[current.back()])
                continue;
            if (covered(current) > covered(longest))
                longest = std::move(current);
            current.clear();
        }
        current.push_back(i);
    }
    return covered(current) > covered(longest) ? current : longest;
}

// A channel over the kept samples at one distance: linear between samples, or the sample at
// or before it (a gear is held, not blended); the nearest sample beyond either end.
double valueAt(const std::vector<double> &keptDistance, const std::vector<double> &values,
               double distance, bool held)
{
    if (values.empty())
        return NaN;
    const auto upper = std::upper_bound(keptDistance.begin(), keptDistance.end(), distance);
    if (upper == keptDistance.begin())
        return values.front();
    if (upper == keptDistance.end())
        return values.back();
    const size_t i = size_t(upper - keptDistance.begin());
    if (held)
        return values[i - 1];
    const double share = (distance - keptDistance[i - 1]) / (keptDistance[i] - keptDistance[i - 1]);
    return values[i - 1] + share * (values[i] - values[i - 1]);
}

} // namespace

std::optional<LapTrace> LapTrace::of(const ZUM::SDK::Lap &lap, double trackLength)
{
    if (!(trackLength > 0.0))
        return std::nullopt;
    const std::vector<double> distance = LapChannels::distance(lap, trackLength);
    const std::vector<size_t> kept = risingSamples(distance);
    const std::optional<TimeAtDistance> time = TimeAtDistance::of(lap, trackLength);
    if (kept.size() < 2 || !time)
        return std::nullopt;
    // Time is counted from the line, where the lap's time starts, not from its first sample.
    const double lineTime = time->at(0.0);

    std::vector<double> keptDistance;
    keptDistance.reserve(kept.size());
    for (const size_t i : kept)
        keptDistance.push_back(distance[i]);
    const auto keptValues = [&lap, &kept](const char *name) {
        const std::vector<double> all = LapChannels::values(lap, QLatin1String(name));
        std::vector<double> values;
        if (all.empty())
            return values;
        values.reserve(kept.size());
        for (const size_t i : kept)
            values.push_back(i < all.size() ? all[i] : NaN);
        return values;
    };
    const std::vector<double> channels[] = {
        keptValues("speed"), keptValues("throttle"),           keptValues("brake"),
        keptValues("gear"),  keptValues("steeringwheelangle"), keptValues("lat"),
        keptValues("lon"),
    };

    LapTrace trace;
    const auto origin = [](const std::vector<double> &values) {
        const auto first = std::find_if(values.begin(), values.end(),
                                        [](double value) { return std::isfinite(value); });
        return first == values.end() ? 0.0 : *first;
    };
    trace.m_originLatitude = origin(channels[Latitude - 1]);
    trace.m_originLongitude = origin(channels[Longitude - 1]);
    const double origins[Count]
        = {0, 0, 0, 0, 0, 0, trace.m_originLatitude, trace.m_originLongitude};

    const size_t points = size_t(std::floor(trackLength / Step)) + 1;
    for (auto &values : trace.m_values)
        values.reserve(points);
    for (size_t k = 0; k < points; ++k) {
        const double d = double(k) * Step;
        trace.m_values[Elapsed].push_back(float(time->at(d) - lineTime));
        for (int channel = Speed; channel < Count; ++channel) {
            const double value = valueAt(keptDistance, channels[channel - 1], d, channel == Gear);
            trace.m_values[channel].push_back(float(value - origins[channel]));
        }
    }
    return trace;
}

double LapTrace::value(Channel channel, qsizetype point) const
{
    const double value = m_values[channel][size_t(point)];
    if (channel == Latitude)
        return m_originLatitude + value;
    if (channel == Longitude)
        return m_originLongitude + value;
    return value;
}

QByteArray LapTrace::pack() const
{
    const quint32 points = quint32(size());
    QByteArray bytes(HeaderBytes + qsizetype(points) * Count * 4, Qt::Uninitialized);
    uchar *out = reinterpret_cast<uchar *>(bytes.data());
    out[0] = Version;
    out[1] = Count;
    out[2] = out[3] = 0;
    qToLittleEndian(float(m_step), out + 4);
    qToLittleEndian(points, out + 8);
    qToLittleEndian(m_originLatitude, out + 12);
    qToLittleEndian(m_originLongitude, out + 20);
    out += HeaderBytes;
    for (const std::vector<float> &values : m_values) {
        qToLittleEndian<float>(values.data(), qsizetype(values.size()), out);
        out += values.size() * 4;
    }
    return bytes;
}

std::optional<LapTrace> LapTrace::unpack(const QByteArray &bytes)
{
    if (bytes.size() < HeaderBytes)
        return std::nullopt;
    const uchar *in = reinterpret_cast<const uchar *>(bytes.constData());
    if (in[0] != Version || in[1] != Count)
        return std::nullopt;
    const quint32 points = qFromLittleEndian<quint32>(in + 8);
    if (bytes.size() != HeaderBytes + qsizetype(points) * Count * 4)
        return std::nullopt;
    LapTrace trace;
    trace.m_step = qFromLittleEndian<float>(in + 4);
    trace.m_originLatitude = qFromLittleEndian<double>(in + 12);
    trace.m_originLongitude = qFromLittleEndian<double>(in + 20);
    in += HeaderBytes;
    for (std::vector<float> &values : trace.m_values) {
        values.resize(points);
        qFromLittleEndian<float>(in, points, values.data());
        in += points * 4;
    }
    return trace;
}
