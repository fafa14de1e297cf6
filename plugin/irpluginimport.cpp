#include "irpluginimport.h"

QString iRPluginImport::pluginName() const
{
    return QStringLiteral("ZUM iRacing ibt import plugin");
}

QString iRPluginImport::sourceName() const
{
    return QStringLiteral("iRacing");
}

QString iRPluginImport::pluginVersion() const
{
    return QStringLiteral("0.2");
}

QList<QString> iRPluginImport::availableImportFormats() const
{
    return {QStringLiteral("iRacing binary telemetry (*.ibt)")};
}

QList<QSharedPointer<ZUM::SDK::Lap>> iRPluginImport::import(const QString &filePath,
                                                             const QString &format,
                                                             const QMap<QString, QVariant> &options)
{
    Q_UNUSED(format);
    Q_UNUSED(options);
    message(QStringLiteral("Importing laps from files is not available in this build: ")
                + filePath,
            -2);
    return {};
}
