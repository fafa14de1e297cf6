#include "unitsystem.h"

namespace {

constexpr double metresPerSecondInKmh = 3.6;
constexpr double kmhInMph = 1.0 / 1.609344;

constexpr double litresInGallon = 3.785411784; // US gallon
constexpr double kilopascalsInPsi = 6.894757293168;
constexpr double kilogramsInPound = 0.45359237;
constexpr double metresInFoot = 0.3048;
constexpr double kilometresInMile = 1.609344;

const QString metresPerSecond = QStringLiteral("m/s");
const QString kilometresPerHour = QStringLiteral("km/h");
const QString milesPerHour = QStringLiteral("mph");
const QString celsius = QStringLiteral("C");
const QString fahrenheit = QStringLiteral("F");

UnitSystem::Conversion speed(const QString &unit, Units units)
{
    const double toKmh = unit == metresPerSecond ? metresPerSecondInKmh
        : unit == milesPerHour                   ? 1.0 / kmhInMph
                                                 : 1.0;
    if (units == Units::Metric)
        return {toKmh, 0.0, kilometresPerHour};
    return {toKmh * kmhInMph, 0.0, milesPerHour};
}

UnitSystem::Conversion temperature(const QString &unit, Units units)
{
    if (units == Units::Metric)
        return unit == celsius ? UnitSystem::Conversion {1.0, 0.0, celsius}
                               : UnitSystem::Conversion {1.0 / 1.8, -32.0 / 1.8, celsius};
    return unit == fahrenheit ? UnitSystem::Conversion {1.0, 0.0, fahrenheit}
                              : UnitSystem::Conversion {1.8, 32.0, fahrenheit};
}

// Quantities a driver reads in one unit in either system, their metric and imperial units and
// how many metric units make one imperial.
struct Pair
{
    const char *metric;
    const char *imperial;
    double metricPerImperial;
};

const Pair pairs[] = {
    {"l", "gal", litresInGallon},
    {"kPa", "psi", kilopascalsInPsi},
    {"kg", "lb", kilogramsInPound},
    {"km", "mi", kilometresInMile},
};

std::optional<UnitSystem::Conversion> paired(const QString &unit, Units units)
{
    for (const Pair &pair : pairs) {
        const bool metric = unit == QLatin1String(pair.metric);
        if (!metric && unit != QLatin1String(pair.imperial))
            continue;
        if (units == Units::Metric)
            return metric
                ? UnitSystem::Conversion {1.0, 0.0, unit}
                : UnitSystem::Conversion {pair.metricPerImperial, 0.0, QLatin1String(pair.metric)};
        return metric ? UnitSystem::Conversion {1.0 / pair.metricPerImperial, 0.0,
                                                QLatin1String(pair.imperial)}
                      : UnitSystem::Conversion {1.0, 0.0, unit};
    }
    return std::nullopt;
}

} // namespace

std::optional<Units> UnitSystem::fromName(const QString &name)
{
    if (name == QLatin1String("metric"))
        return Units::Metric;
    if (name == QLatin1String("imperial"))
        return Units::Imperial;
    return std::nullopt;
}

QStringList UnitSystem::names()
{
    return {QStringLiteral("metric"), QStringLiteral("imperial")};
}

UnitSystem::Conversion UnitSystem::conversion(const QString &unit, Units units)
{
    if (units == Units::AsRecorded)
        return {1.0, 0.0, unit};
    if (unit == metresPerSecond || unit == kilometresPerHour || unit == milesPerHour)
        return speed(unit, units);
    if (unit == celsius || unit == fahrenheit)
        return temperature(unit, units);
    if (const std::optional<Conversion> conversion = paired(unit, units))
        return *conversion;
    return {1.0, 0.0, unit};
}

UnitSystem::Conversion UnitSystem::distance(Units units)
{
    if (units == Units::Imperial)
        return {1.0 / metresInFoot, 0.0, QStringLiteral("ft")};
    return {1.0, 0.0, QStringLiteral("m")};
}

UnitSystem::Conversion UnitSystem::trackLength(Units units)
{
    if (units == Units::Imperial)
        return {1.0 / (1000.0 * kilometresInMile), 0.0, QStringLiteral("mi")};
    return {1.0 / 1000.0, 0.0, QStringLiteral("km")};
}

UnitSystem::Conversion UnitSystem::channelConversion(const QString &name, const QString &unit,
                                                     Units units)
{
    if (name.endsWith(QLatin1String("shockvel")))
        return {1.0, 0.0, unit};
    return conversion(unit, units);
}
