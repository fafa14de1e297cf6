#pragma once

#include "zumsdk_global.h"

#include <QDataStream>
#include <QMetaType>
#include <QString>

namespace ZUM::SDK {

// One car of a session as the host's car list shows it.
class ZUMSDK_EXPORT CarInfo
{
public:
    QString carId;
    QString sourceName;
    QString pluginName;
    QString carName;
    QString className;
    QString driverName;
    QString teamName;
    int status = 0; // a CarStatus value
    bool detailedTelemetry = true;
};

// A car streams as a map of its nine fields by name, and nothing else.
ZUMSDK_EXPORT QDataStream &operator<<(QDataStream &stream, const CarInfo &carInfo);
ZUMSDK_EXPORT QDataStream &operator>>(QDataStream &stream, CarInfo &carInfo);

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(ZUM::SDK::CarInfo)
