#include "carinfo.h"

#include "variantreader.h"

#include <QMap>
#include <QVariant>

namespace ZUM::SDK {

namespace {

const QString carIdKey = QStringLiteral("carId");
const QString sourceNameKey = QStringLiteral("sourceName");
const QString pluginNameKey = QStringLiteral("pluginName");
const QString carNameKey = QStringLiteral("carName");
const QString classNameKey = QStringLiteral("className");
const QString driverNameKey = QStringLiteral("driverName");
const QString teamNameKey = QStringLiteral("teamName");
const QString statusKey = QStringLiteral("status");
const QString detailedTelemetryKey = QStringLiteral("detailedTelemetry");

} // namespace

QDataStream &operator<<(QDataStream &stream, const CarInfo &carInfo)
{
    const QMap<QString, QVariant> fields = {
        {carIdKey, carInfo.carId},
        {sourceNameKey, carInfo.sourceName},
        {pluginNameKey, carInfo.pluginName},
        {carNameKey, carInfo.carName},
        {classNameKey, carInfo.className},
        {driverNameKey, carInfo.driverName},
        {teamNameKey, carInfo.teamName},
        {statusKey, carInfo.status},
        {detailedTelemetryKey, carInfo.detailedTelemetry},
    };
    return stream << fields;
}

QDataStream &operator>>(QDataStream &stream, CarInfo &carInfo)
{
    QMap<QString, QVariant> fields;
    VariantReader::read(stream, fields);
    // A missing key reads as an empty text, 0 or false: the stream has no defaults of its own.
    carInfo.carId = fields.value(carIdKey).toString();
    carInfo.sourceName = fields.value(sourceNameKey).toString();
    carInfo.pluginName = fields.value(pluginNameKey).toString();
    carInfo.carName = fields.value(carNameKey).toString();
    carInfo.className = fields.value(classNameKey).toString();
    carInfo.driverName = fields.value(driverNameKey).toString();
    carInfo.teamName = fields.value(teamNameKey).toString();
    carInfo.status = fields.value(statusKey).toInt();
    carInfo.detailedTelemetry = fields.value(detailedTelemetryKey).toBool();
    return stream;
}

} // namespace ZUM::SDK
