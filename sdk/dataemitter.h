#pragma once

#include "lap.h"
#include "lapheader.h"
#include "liveplugininfo.h"
#include "sample.h"
#include "sessioninfo.h"
#include "zumsdk_global.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace ZUM::SDK {

// The signals through which a plug-in talks back to the host. The declaration order is part
// of the host's contract: hosts connect by method index.
class ZUMSDK_EXPORT DataEmitter : public QObject
{
    Q_OBJECT

public:
    explicit DataEmitter(QObject *parent = nullptr);

Q_SIGNALS:
    void sendConnected();
    void sendDisconnected();
    void sendNotConnected();
    void sendConnectivityAvailable(bool available);
    void sendTelemetryLap(QSharedPointer<ZUM::SDK::Lap> lap);
    void sendTelemetryLapHeader(const ZUM::SDK::LapHeader &header);
    void sendCarListChanged(const ZUM::SDK::LivePluginInfo &pluginInfo);
    void sendSample(const ZUM::SDK::Sample &sample);
    void sendSessionInfo(ZUM::SDK::SessionInfo sessionInfo);
    void sendMessage(const QString &message, int verbose);
    void sendProgress(int percent);
};

} // namespace ZUM::SDK
