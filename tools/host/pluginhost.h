#pragma once

#include "importresult.h"

#include <QPluginLoader>
#include <QString>

#include <functional>

namespace ZUM::SDK {
class PluginInterfaceImport;
}

// Loads the import plug-in the way the desktop application does and runs imports on it,
// gathering the log lines the plug-in sends and the laps it returns.
class PluginHost
{
public:
    using MessageHandler = std::function<void(const ImportResult::Message &)>;

    explicit PluginHost(const QString &pluginPath);

    // The plug-in beside the running executable: in plugins/ when the tool runs from the
    // build folder, else in the plug-in folder of the install it runs from (any prefix).
    static QString defaultPluginPath();

    // Loads the library and asks it for the import interface; false with errorString() set
    // when either fails or the plug-in offers no format.
    bool load();
    QString errorString() const { return m_errorString; }

    QString format() const { return m_format; }
    // The loaded plug-in's own name and version.
    QString pluginName() const;
    QString pluginVersion() const;

    // Called for every log line as it arrives, before the import returns.
    void setMessageHandler(MessageHandler handler) { m_messageHandler = std::move(handler); }

    // One import of one file in the plug-in's first format. An exception that leaves the
    // plug-in is caught and reported as an error line of the result.
    ImportResult importFile(const QString &path);

private:
    // The library is never unloaded: the laps' channels are freed by code that lives in it.
    QPluginLoader m_loader;
    QString m_path;
    ZUM::SDK::PluginInterfaceImport *m_plugin = nullptr;
    QString m_format;
    QString m_errorString;
    MessageHandler m_messageHandler;
};
