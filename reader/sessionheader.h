#pragma once

#include "tstringtree.h"

#include "lapheader.h"

#include <QString>
#include <QUuid>

// Fills a lap's header from the session-information tree, as SessionInfoTables lays out.
namespace SessionHeader {

// The track's names and the session's identity, and the track's texts and measures, from
// "WeekendInfo". Gives the session's number: its SessionID followed by its SubSessionID.
quint64 readTrack(const TStringTree &weekend, ZUM::SDK::LapHeader &header);
// The player's fuel limits and density from "DriverInfo", and from the set-up below the root
// the preferred fuel unit and the aerodynamic calculator's values.
void readFuelAndSetup(const TStringTree &root, const TStringTree &driverInfo,
                      ZUM::SDK::DynamicData &values);
// The names and texts of one entry of "DriverInfo/Drivers".
void readDriver(const TStringTree &driver, ZUM::SDK::LapHeader &header);
// Stores the session type text as "Session name" and sets the kind it names, if any.
void readSessionKind(const QString &sessionType, ZUM::SDK::LapHeader &header);
// The kind a session type text names; Unknown for any other text.
ZUM::SDK::Session sessionKind(const QString &type);
// Restores the accented letters of track names and cities that arrive without them.
void correctNames(ZUM::SDK::LapHeader &header);
// The simulator's numeric session identity as a UUID of its digits.
QUuid sessionId(const QString &digits);

} // namespace SessionHeader
