#include "unitsystem.h"

namespace {

constexpr double metresPerSecondInKmh = 3.6;
constexpr double kmhInMph = 1.0 / 1.609344;

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
    return {1.0, 0.0, unit};
}

UnitSystem::Conversion UnitSystem::channelConversion(const QString &name, const QString &unit,
                                                     Units units)
{
    if (name.endsWith(QLatin1String("shockvel")))
        return {1.0, 0.0, unit};
    return conversion(unit, units);
}
