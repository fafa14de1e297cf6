#include "trackplacement.h"

#include <cmath>
#include <numbers>

TrackPlacement::TrackPlacement(double latitude, double longitude, double northOffset)
    : m_latitude(latitude)
    , m_longitude(longitude)
    , m_cos(std::cos(0.5 * std::numbers::pi - northOffset))
    , m_sin(std::sin(0.5 * std::numbers::pi - northOffset))
    , m_metresPerDegreeNorth(EarthRadius * std::numbers::pi / 180.0)
    , m_metresPerDegreeEast(m_metresPerDegreeNorth * std::cos(latitude * std::numbers::pi / 180.0))
{ }

TrackPlacement::Position TrackPlacement::at(double x, double y) const
{
    const double east = x * m_cos - y * m_sin;
    const double north = x * m_sin + y * m_cos;
    return {m_latitude + north / m_metresPerDegreeNorth,
            m_longitude + east / m_metresPerDegreeEast};
}
