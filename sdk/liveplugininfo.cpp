#include "liveplugininfo.h"

namespace ZUM::SDK {

QDataStream &operator<<(QDataStream &stream, const LivePluginInfo &info)
{
    // The text fields go out in the reverse of their declaration order: that is the format.
    stream << info.pluginName << info.sourceName << qint32(info.carInfoList.size());
    for (const CarInfo &carInfo : info.carInfoList)
        stream << carInfo;
    return stream;
}

QDataStream &operator>>(QDataStream &stream, LivePluginInfo &info)
{
    qint32 count = 0;
    stream >> info.pluginName >> info.sourceName;
    info.carInfoList.clear();
    stream >> count;
    CarInfo carInfo;
    // A damaged count must not make us read (and append) far past the end of the stream.
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        stream >> carInfo;
        info.carInfoList.append(carInfo);
    }
    return stream;
}

} // namespace ZUM::SDK
