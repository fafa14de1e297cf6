#include "trackprojection.h"

#include "lapchannels.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// A lap whose samples come no nearer to the line than this share of a lap does not pass it.
constexpr double nearLine = 0.02;

// The mean radius of the earth in metres.
constexpr double earthRadius = 6371008.8;

// Degrees from the channel's values, which the simulator gives in degrees or radians.
std::vector<double> degrees(const ZUM::SDK::Lap &lap, const QString &name, const QString &unit)
{
    std::vector<double> values = LapChannels::values(lap, name);
    if (unit == QLatin1String("rad")) {
        for (double &value : values)
            value *= 180.0 / std::numbers::pi;
    }
    return values;
}

// A longitude as the nearest turn to a reference, so a track across the date line stays
// in one piece.
double unwrapped(double longitude, double reference)
{
    return longitude
        - 2.0 * std::numbers::pi * std::round((longitude - reference) / (2.0 * std::numbers::pi));
}

} // namespace

std::optional<TrackProjection> TrackProjection::of(const ZUM::SDK::Lap &lap,
                                                   std::optional<double> trackLength)
{
    const QString latitudeName = QStringLiteral("lat");
    const QString longitudeName = QStringLiteral("lon");
    const QSharedPointer<ZUM::SDK::Channel> latitudeChannel = LapChannels::find(lap, latitudeName);
    const QSharedPointer<ZUM::SDK::Channel> longitudeChannel
        = LapChannels::find(lap, longitudeName);
    if (!latitudeChannel || !longitudeChannel)
        return std::nullopt;
    return of(degrees(lap, latitudeName, latitudeChannel->unit()),
              degrees(lap, longitudeName, longitudeChannel->unit()),
              LapChannels::values(lap, QStringLiteral("speed")),
              LapChannels::distance(lap, std::nullopt), trackLength);
}

std::optional<TrackProjection> TrackProjection::of(const std::vector<double> &latitude,
                                                   const std::vector<double> &longitude,
                                                   const std::vector<double> &speed,
                                                   const std::vector<double> &distance,
                                                   std::optional<double> trackLength)
{
    struct Position
    {
        double latitude;
        double longitude;
        size_t sample;
    };
    QList<Position> positions;
    double latitudeSum = 0.0;
    double longitudeSum = 0.0;
    for (size_t i = 0; i < std::min(latitude.size(), longitude.size()); ++i) {
        if (std::isnan(latitude[i]) || std::isnan(longitude[i])
            || (latitude[i] == 0.0 && longitude[i] == 0.0))
            continue;
        const double phi = latitude[i] * std::numbers::pi / 180.0;
        double lambda = longitude[i] * std::numbers::pi / 180.0;
        if (!positions.isEmpty())
            lambda = unwrapped(lambda, positions.first().longitude);
        positions.append({phi, lambda, i});
        latitudeSum += phi;
        longitudeSum += lambda;
    }
    if (positions.size() < 2)
        return std::nullopt;

    const double meanLatitude = latitudeSum / positions.size();
    const double meanLongitude = longitudeSum / positions.size();
    const double east = earthRadius * std::cos(meanLatitude);
    TrackProjection projection;
    // The line lies at lap distance 0, which is also one track length on: a lap whose first
    // samples come after the line passes it again at its end.
    double length = trackLength.value_or(0.0);
    if (!(length > 0.0)) {
        for (const double d : distance)
            length = std::isnan(d) ? length : std::max(length, d);
    }
    double leastDistance = nearLine * length;
    for (const Position &position : positions) {
        const double d = position.sample < distance.size() ? distance[position.sample] : NAN;
        const double fromLine = std::min(std::abs(d), std::abs(length - d));
        if (fromLine <= leastDistance) {
            leastDistance = fromLine;
            projection.m_startFinish = projection.m_points.size();
        }
        projection.m_points.append({east * (position.longitude - meanLongitude),
                                    earthRadius * (position.latitude - meanLatitude)});
        projection.m_speeds.append(position.sample < speed.size() ? speed[position.sample] : NAN);
    }
    return projection;
}

QRectF TrackProjection::bounds() const
{
    double left = INFINITY;
    double right = -INFINITY;
    double bottom = INFINITY;
    double top = -INFINITY;
    for (const QPointF &point : m_points) {
        left = std::min(left, point.x());
        right = std::max(right, point.x());
        bottom = std::min(bottom, point.y());
        top = std::max(top, point.y());
    }
    return QRectF(QPointF(left, bottom), QPointF(right, top));
}
