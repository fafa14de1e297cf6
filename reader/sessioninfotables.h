#pragma once

#include "session.h"

#include <QMap>
#include <QString>

#include <span>

// What the extraction of session information copies from the session text into a lap's
// header, and how it maps and corrects what it reads.
namespace SessionInfoTables {

// A text stored under `name` as it stands under `key`.
struct Text
{
    QLatin1String name;
    const char *key;
};

// A number followed by the simulator's own unit after a blank, such as "3.70 km", stored
// under `name` as a number, with the unit unless keepsUnit is false.
struct Measure
{
    QLatin1String name;
    const char *path;
    bool keepsUnit;
};

// The session kind that a session type text names.
struct SessionKind
{
    QLatin1String type;
    ZUM::SDK::Session session;
};

// Below "WeekendInfo": the track and its weather.
extern const std::span<const Text> trackTexts;
extern const std::span<const Measure> trackMeasures;
// Below the driver's entry of "DriverInfo/Drivers".
extern const std::span<const Text> driverTexts;
// Written "0xrrggbb".
extern const Text licenceColour;
// Texts of "SessionType"; any other leaves the kind as it was.
extern const std::span<const SessionKind> sessionKinds;
// Track names and cities that arrive with a blank where an accented letter belongs.
extern const QMap<QString, QString> nameCorrections;

} // namespace SessionInfoTables
