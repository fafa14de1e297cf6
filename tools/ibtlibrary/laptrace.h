#pragma once

#include "lap.h"

#include <QByteArray>

#include <array>
#include <optional>
#include <vector>

// A lap reduced to what comparing laps needs, at fixed steps of lap distance from the line:
// the time since the line, speed, throttle, brake, gear, steering, and the
// position on the earth. Stored as one block of little-endian 32-bit floats, channel after
// channel; the position as offsets in degrees from an origin kept in double precision, which
// keeps it to millimetres.
class LapTrace
{
public:
    static constexpr double Step = 2.0; // metres

    enum Channel { Elapsed, Speed, Throttle, Brake, Gear, Steering, Latitude, Longitude, Count };

    // Null when the lap has fewer than two samples with a distance, or without a track length.
    static std::optional<LapTrace> of(const ZUM::SDK::Lap &lap, double trackLength);
    // Null for bytes that are not a trace of this version.
    static std::optional<LapTrace> unpack(const QByteArray &bytes);
    QByteArray pack() const;

    double step() const { return m_step; }
    qsizetype size() const { return qsizetype(m_values[Elapsed].size()); }
    // NaN where the lap has no value; the position in degrees.
    double value(Channel channel, qsizetype point) const;

private:
    double m_step = Step;
    double m_originLatitude = 0.0;
    double m_originLongitude = 0.0;
    std::array<std::vector<float>, Count> m_values;
};
