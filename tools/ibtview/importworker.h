#pragma once

#include "importresult.h"

#include <QObject>
#include <QString>

#include <memory>

class PluginHost;

// Imports files one after another on the thread it lives on, through the one plug-in of
// the process, which it loads there on the first import: the plug-in's messages come on
// the thread that calls it.
class ImportWorker : public QObject
{
    Q_OBJECT

public:
    explicit ImportWorker(const QString &pluginPath);
    ~ImportWorker() override;

public slots:
    void importFile(const QString &path);

signals:
    void started(const QString &path);
    // Every import ends here, a failed one with the plug-in's messages and the recording's
    // problem; a plug-in that cannot be loaded fails every file with the reason.
    void finished(const ImportResult &result);

private:
    QString m_pluginPath;
    std::unique_ptr<PluginHost> m_host;
    bool m_loaded = false;
};
