// The data model's stream formats: a car, a car list or a sample read from arbitrary bytes.
// What reads cleanly must write back to a stream that reads back the same.

#include "carinfo.h"
#include "dropqtmessages.h"
#include "liveplugininfo.h"
#include "sample.h"

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

using ZUM::SDK::CarInfo;
using ZUM::SDK::LivePluginInfo;
using ZUM::SDK::Sample;

namespace {

// The host's own version, and the oldest that a saved stream of the data model may carry.
constexpr QDataStream::Version versions[]
    = {QDataStream::Qt_DefaultCompiledVersion, QDataStream::Qt_5_15, QDataStream::Qt_6_0};
constexpr int versionCount = int(std::size(versions));

bool same(const CarInfo &a, const CarInfo &b)
{
    return a.carId == b.carId && a.sourceName == b.sourceName && a.pluginName == b.pluginName
        && a.carName == b.carName && a.className == b.className && a.driverName == b.driverName
        && a.teamName == b.teamName && a.status == b.status
        && a.detailedTelemetry == b.detailedTelemetry;
}

bool same(const LivePluginInfo &a, const LivePluginInfo &b)
{
    if (a.sourceName != b.sourceName || a.pluginName != b.pluginName
        || a.carInfoList.size() != b.carInfoList.size())
        return false;
    for (qsizetype i = 0; i < a.carInfoList.size(); ++i) {
        if (!same(a.carInfoList[i], b.carInfoList[i]))
            return false;
    }
    return true;
}

// Reads a record of the type; one that reads cleanly must survive a write and a read back.
template<typename Record>
void readAndWriteBack(const QByteArray &bytes, QDataStream::Version version)
{
    QDataStream in(bytes);
    in.setVersion(version);
    Record record;
    in >> record;
    if (in.status() != QDataStream::Ok)
        return;

    QByteArray written;
    QDataStream out(&written, QIODevice::WriteOnly);
    out.setVersion(version);
    out << record;
    QDataStream again(written);
    again.setVersion(version);
    Record readBack;
    again >> readBack;
    if (again.status() != QDataStream::Ok || !same(record, readBack)) {
        std::fprintf(stderr, "fuzz_streams: a record does not read back as it was written\n");
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    dropQtMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    // The first byte picks the record type and the stream version; the rest is the stream.
    const int choice = data[0];
    const QDataStream::Version version = versions[(choice / 3) % versionCount];
    const QByteArray bytes
        = QByteArray::fromRawData(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    // Nothing is caught and no allocation is capped: a few bytes must never claim gigabytes.
    switch (choice % 3) {
    case 0:
        readAndWriteBack<CarInfo>(bytes, version);
        break;
    case 1:
        readAndWriteBack<LivePluginInfo>(bytes, version);
        break;
    default:
        readAndWriteBack<Sample>(bytes, version);
        break;
    }
    return 0;
}
