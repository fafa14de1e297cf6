#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The units a driver reads quantities in. As the simulator records them, speeds are in m/s,
// temperatures in C, fuel in l, pressures in kPa, masses in kg, distances in m and km; a
// driver thinks in km/h or mph, C or F, l or gal, kPa or psi, kg or lb, m or ft, km or mi.
enum class Units { AsRecorded, Metric, Imperial };

// Converts those quantities into a system of units; every other quantity stays in the unit
// it came with. Channels in metres (lap distance, ride heights, shock travel) keep them; the
// picture's distance axis and the track's length read in feet and miles.
class UnitSystem
{
public:
    // value × factor + offset, in `unit`.
    struct Conversion
    {
        double factor = 1.0;
        double offset = 0.0;
        QString unit;

        double operator()(double value) const { return value * factor + offset; }
        bool changes() const { return factor != 1.0 || offset != 0.0; }
    };

    // "metric", "imperial"; null for any other name.
    static std::optional<Units> fromName(const QString &name);
    static QStringList names();

    // How a quantity in `unit` reads in the system; the unit unchanged for quantities the
    // system does not convert, and for Units::AsRecorded.
    static Conversion conversion(const QString &unit, Units units);
    // Lap distance from metres: m or ft.
    static Conversion distance(Units units);
    // The track's length from metres: km or mi.
    static Conversion trackLength(Units units);
    // The same for a channel: the wheels' and shocks' speeds are speeds too, but shock
    // velocities read in m/s whatever the system, so they stay.
    static Conversion channelConversion(const QString &name, const QString &unit, Units units);
};
