#pragma once

#include "dataemitter.h"
#include "lap.h"
#include "zumsdk_global.h"

#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QtPlugin>

// The identifier under which import plug-ins declare this interface.
#define ZUM_SDK_PluginInterfaceImport_iid "com.zumtelemetry.PluginInterfaceImport/0.2"

namespace ZUM::SDK {

// What the host asks of a plug-in that imports laps from files.
class ZUMSDK_EXPORT PluginInterfaceImport
{
public:
    PluginInterfaceImport() = default;
    PluginInterfaceImport(const PluginInterfaceImport &) = delete;
    PluginInterfaceImport &operator=(const PluginInterfaceImport &) = delete;
    virtual ~PluginInterfaceImport();

    virtual QString pluginName() const = 0;
    virtual QString sourceName() const = 0;
    virtual QString pluginVersion() const = 0;
    virtual QList<QString> availableImportFormats() const = 0;
    virtual QList<QSharedPointer<Lap>> import(const QString &filePath, const QString &format,
                                              const QMap<QString, QVariant> &options)
        = 0;

    // The levels of the log lines that message() sends.
    static constexpr int Information = 0;
    static constexpr int Error = -2;

    DataEmitter *dataEmitter() { return &m_dataEmitter; }

    // Sends one log line to the host: "[" + pluginName() + " plugin] " + text, at the level
    // Information or Error.
    void message(const QString &text, int level);

private:
    DataEmitter m_dataEmitter;
};

} // namespace ZUM::SDK

Q_DECLARE_INTERFACE(ZUM::SDK::PluginInterfaceImport, ZUM_SDK_PluginInterfaceImport_iid)
