#include "sessioninfotables.h"

#include "lapkeys.h"

using ZUM::SDK::Session;

namespace {

using Text = SessionInfoTables::Text;
using Measure = SessionInfoTables::Measure;
using SessionKind = SessionInfoTables::SessionKind;

constexpr Text trackTextRows[] = {
    {QLatin1String("Track short name"), "TrackDisplayShortName"},
    {QLatin1String("Track city"), "TrackCity"},
    {QLatin1String("Track country"), "TrackCountry"},
    {QLatin1String("Track turns"), "TrackNumTurns"},
    {QLatin1String("Skies"), "TrackSkies"},
    {QLatin1String("Official"), "Official"},
    {QLatin1String("Category"), "Category"},
};

constexpr Measure trackMeasureRows[] = {
    {LapKeys::trackLength, "TrackLength", true},
    {QLatin1String("Track surface temperature"), "TrackSurfaceTemp", true},
    {QLatin1String("Air temperature"), "TrackAirTemp", true},
    {QLatin1String("Weekend temperature"), "WeekendOptions/WeatherTemp", true},
    // Deliberately "YawOffset", which post-processing does not read ("yawOffset"): the
    // heading channel keeps the simulator's values, and the offset stands beside it.
    {QLatin1String("YawOffset"), "TrackNorthOffset", false},
};

constexpr Text driverTextRows[] = {
    {QLatin1String("Team"), "TeamName"},
    {QLatin1String("Driver abbreviation"), "AbbrevName"},
    {QLatin1String("iRating"), "IRating"},
    {QLatin1String("License"), "LicString"},
    {QLatin1String("Driver initials"), "Initials"},
    {QLatin1String("iRacing UserID"), "UserID"},
    {QLatin1String("iRacing car path"), "CarPath"},
    {QLatin1String("iRacing car class ID"), "CarClassID"},
    {QLatin1String("iRacing car ID"), "CarID"},
    {QLatin1String("Class"), "CarClassShortName"},
    {QLatin1String("Club"), "ClubName"},
    {QLatin1String("Division"), "DivisionName"},
};

constexpr SessionKind sessionKindRows[] = {
    {QLatin1String("Race"), Session::Race},
    // Deliberately not the simulator's "Offline Testing": test sessions keep the kind
    // Unknown that their laps have always carried.
    {QLatin1String("Offline testing"), Session::Test},
    {QLatin1String("Qualify"), Session::Qualify},
    {QLatin1String("Practice"), Session::Practice},
    {QLatin1String("Warmup"), Session::Warmup},
};

} // namespace

const std::span<const Text> SessionInfoTables::trackTexts = trackTextRows;
const std::span<const Measure> SessionInfoTables::trackMeasures = trackMeasureRows;
const std::span<const Text> SessionInfoTables::driverTexts = driverTextRows;
const Text SessionInfoTables::licenceColour = {QLatin1String("Licence color"), "LicColor"};
const std::span<const SessionKind> SessionInfoTables::sessionKinds = sessionKindRows;

const QMap<QString, QString> SessionInfoTables::nameCorrections = {
    {QStringLiteral("Aut dromo Jos  Carlos Pace"), QStringLiteral("Autódromo José Carlos Pace")},
    {QStringLiteral("S o Paulo"), QStringLiteral("São Paulo")},
};
