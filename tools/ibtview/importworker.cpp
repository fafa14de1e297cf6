#include "importworker.h"

#include "pluginhost.h"

ImportWorker::ImportWorker(const QString &pluginPath)
    : m_pluginPath(pluginPath)
{ }

ImportWorker::~ImportWorker() = default;

void ImportWorker::importFile(const QString &path)
{
    emit started(path);
    if (!m_host) {
        m_host = std::make_unique<PluginHost>(m_pluginPath);
        m_loaded = m_host->load();
    }
    ImportResult result;
    if (m_loaded) {
        result = m_host->importFile(path);
    } else {
        result.file = path;
        result.failed = true;
        result.messages.append({ZUM::SDK::PluginInterfaceImport::Error, m_host->errorString()});
    }
    result.recording = RecordingInfo::read(path);
    emit finished(result);
}
