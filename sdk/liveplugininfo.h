#pragma once

#include "carinfo.h"
#include "zumsdk_global.h"

#include <QDataStream>
#include <QList>
#include <QMetaType>
#include <QString>

namespace ZUM::SDK {

// The car list that a live plug-in sends with sendCarListChanged.
class ZUMSDK_EXPORT LivePluginInfo
{
public:
    QList<CarInfo> carInfoList;
    QString sourceName; // where the list comes from, as the sending plug-in names it
    QString pluginName; // the plug-in that sent the list
};

// Stream format: the plug-in name, the source name, a 32-bit car count, then the cars.
ZUMSDK_EXPORT QDataStream &operator<<(QDataStream &stream, const LivePluginInfo &info);
ZUMSDK_EXPORT QDataStream &operator>>(QDataStream &stream, LivePluginInfo &info);

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(ZUM::SDK::LivePluginInfo)
