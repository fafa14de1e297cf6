#include "plugininterfaceimport.h"

namespace ZUM::SDK {

PluginInterfaceImport::~PluginInterfaceImport() = default;

void PluginInterfaceImport::message(const QString &text, int level)
{
    Q_EMIT m_dataEmitter.sendMessage(
        QLatin1Char('[') + pluginName() + QLatin1String(" plugin] ") + text, level);
}

} // namespace ZUM::SDK
