#pragma once

#include "plugininterfaceimport.h"

#include <QObject>

// The object the host obtains from the plug-in library: names the plug-in, its version and
// the one format it reads, and imports .ibt files into laps.
class iRPluginImport : public QObject, public ZUM::SDK::PluginInterfaceImport
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZUM_SDK_PluginInterfaceImport_iid)
    Q_INTERFACES(ZUM::SDK::PluginInterfaceImport)

public:
    QString pluginName() const override;
    QString sourceName() const override;
    QString pluginVersion() const override;
    QList<QString> availableImportFormats() const override;
    QList<QSharedPointer<ZUM::SDK::Lap>> import(const QString &filePath, const QString &format,
                                                const QMap<QString, QVariant> &options) override;
};
