#include "sessionheader.h"

#include "derivedchannels.h"
#include "lapkeys.h"
#include "sessioninfotables.h"

#include <QColor>
#include <QStringList>

#include <algorithm>
#include <cmath>

using ZUM::SDK::DynamicData;
using ZUM::SDK::LapHeader;
using ZUM::SDK::Session;

namespace {

// A text that is stored even when the session text lacks it: then empty, never null.
QString textOf(const QString &value)
{
    return value.isNull() ? QStringLiteral("") : value;
}

} // namespace

QUuid SessionHeader::sessionId(const QString &digits)
{
    // Only up to 32 decimal digits make a UUID; the UUID parser itself would also take hex
    // letters and ignore what follows the 32nd digit.
    const bool decimal = std::all_of(digits.cbegin(), digits.cend(),
                                     [](QChar c) { return c >= u'0' && c <= u'9'; });
    if (digits.size() > 32 || !decimal)
        return QUuid();
    QString text = digits.rightJustified(32, QLatin1Char('0'));
    for (int position : {8, 13, 18, 23})
        text.insert(position, QLatin1Char('-'));
    return QUuid::fromString(text);
}

quint64 SessionHeader::readTrack(const TStringTree &weekend, LapHeader &header)
{
    header.trackName = weekend.value("TrackDisplayName");
    const QString session = weekend.value("SessionID") + weekend.value("SubSessionID");
    header.sessionId = sessionId(session);
    header.trackConfigName = weekend.value("TrackConfigName");

    DynamicData &values = header.dynamicData;
    const QString empty = QStringLiteral("");
    for (const auto &[name, key] : SessionInfoTables::trackTexts)
        values.setValue(name, textOf(weekend.value(key)), empty);
    for (const auto &[name, path, keepsUnit] : SessionInfoTables::trackMeasures) {
        const QStringList pieces = weekend.pathValue(path).simplified().split(QLatin1Char(' '));
        const QString unit = keepsUnit && pieces.size() >= 2 ? pieces[1] : empty;
        values.setValue(name, pieces[0].toDouble(), unit);
    }
    return session.toULongLong();
}

void SessionHeader::readFuelAndSetup(const TStringTree &root, const TStringTree &driverInfo,
                                     DynamicData &values)
{
    const QString empty = QStringLiteral("");
    const double maxLitres = driverInfo.value("DriverCarFuelMaxLtr").toDouble();
    const double maxFraction = driverInfo.value("DriverCarMaxFuelPct").toDouble();
    const double kgPerLitre = driverInfo.value("DriverCarFuelKgPerLtr").toDouble();
    values.setValue(QStringLiteral("Maximum fuel level"), maxLitres * maxFraction,
                    QStringLiteral("l"));
    values.setValue(QStringLiteral("Maximum fuel percent"), maxFraction, QStringLiteral("pu"));
    if (std::abs(kgPerLitre) > DerivedChannels::NoFuelDensity) {
        values.setValue(LapKeys::kgPerFuelLitre, kgPerLitre, empty);
        values.setValue(QStringLiteral("Maximum fuel weight"), maxLitres * maxFraction * kgPerLitre,
                        QStringLiteral("kg"));
    }

    // The set-up's fuel level tells whether the driver thinks in litres or kilograms.
    const QString fuel = root.pathValue("CarSetup/Chassis/Rear/FuelLevel");
    if (!fuel.isEmpty()) {
        const QStringList pieces = fuel.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (pieces.size() == 2)
            values.setValue(QStringLiteral("Preferred fuel unit"),
                            pieces[1] == QLatin1String("kg") ? QStringLiteral("weight")
                                                             : QStringLiteral("volume"),
                            empty);
    }

    const TStringTree *aero = root.pathSub("CarSetup/TiresAero/AeroCalculator");
    if (!aero)
        aero = root.pathSub("CarSetup/TiresAero/AeroBalanceCalc");
    if (!aero)
        return;
    for (const QString &name : aero->valueKeys()) {
        const QString text = aero->value(name.toStdString()).trimmed();
        if (text.isEmpty())
            continue;
        const QStringList pieces = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        values.setValue(name, pieces[0], pieces.size() >= 2 ? pieces[1] : empty);
    }
}

void SessionHeader::readDriver(const TStringTree &driver, LapHeader &header)
{
    header.carInfo.driverName = driver.value("UserName");
    header.carInfo.carName = driver.value("CarScreenName");
    const QString empty = QStringLiteral("");
    for (const auto &[name, key] : SessionInfoTables::driverTexts)
        header.dynamicData.setValue(name, textOf(driver.value(key)), empty);
    // The colour parser wants "#rrggbb".
    const SessionInfoTables::Text &licence = SessionInfoTables::licenceColour;
    QString colour = driver.value(licence.key);
    colour.replace(QLatin1String("0x"), QLatin1String("#"));
    header.dynamicData.setValue(licence.name, QVariant::fromValue(QColor::fromString(colour)),
                                empty);
}

void SessionHeader::readSessionKind(const QString &sessionType, LapHeader &header)
{
    header.dynamicData.setValue(QStringLiteral("Session name"), textOf(sessionType),
                                QStringLiteral(""));
    if (const Session session = sessionKind(sessionType); session != Session::Unknown)
        header.session = session;
}

Session SessionHeader::sessionKind(const QString &type)
{
    for (const SessionInfoTables::SessionKind &kind : SessionInfoTables::sessionKinds) {
        if (type == kind.type)
            return kind.session;
    }
    return Session::Unknown;
}

void SessionHeader::correctNames(LapHeader &header)
{
    const QMap<QString, QString> &corrections = SessionInfoTables::nameCorrections;
    header.trackName = corrections.value(header.trackName, header.trackName);
    DynamicData &values = header.dynamicData;
    const QString city = values.value(QStringLiteral("Track city")).toString();
    if (const auto fix = corrections.constFind(city); fix != corrections.cend())
        values.setValue(QStringLiteral("Track city"), fix.value(), QStringLiteral(""));
}
