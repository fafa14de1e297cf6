#pragma once

// Where the track lies on the earth: the line at the track's latitude and longitude, the
// track's frame turned so that a heading in it (the simulator's Yaw) and the compass bearing
// add up to the track's north offset, as in the simulator's files. Metres become degrees by
// the equirectangular approximation around the line.
class TrackPlacement
{
public:
    static constexpr double EarthRadius = 6371000.0; // metres, the mean radius

    struct Position
    {
        double latitude; // degrees
        double longitude;
    };

    TrackPlacement(double latitude, double longitude, double northOffset);

    // The point x metres along the first straight and y metres to its left of the line.
    Position at(double x, double y) const;

private:
    double m_latitude;
    double m_longitude;
    double m_cos; // of the angle from east to the track's x axis
    double m_sin;
    double m_metresPerDegreeNorth;
    double m_metresPerDegreeEast;
};
