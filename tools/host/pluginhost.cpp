#include "pluginhost.h"

#include "dataemitter.h"
#include "plugininterfaceimport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QObject>

#include <exception>

PluginHost::PluginHost(const QString &pluginPath)
    : m_loader(pluginPath)
    , m_path(pluginPath)
{ }

QString PluginHost::defaultPluginPath()
{
    const QDir toolDir(QCoreApplication::applicationDirPath());
    const auto beside = [&toolDir](const QString &folder) {
        return QDir::cleanPath(toolDir.absoluteFilePath(folder + QLatin1Char('/')
                                                        + QStringLiteral(ZUM_PLUGIN_FILE_NAME)));
    };
    // The build folder: the tool in bin/, the plug-in in plugins/.
    const QString built = beside(QStringLiteral("../plugins"));
    if (QFileInfo::exists(built))
        return built;
    // An install under any prefix; also the path an error names when the plug-in is missing.
    return beside(QStringLiteral(ZUM_INSTALLED_PLUGIN_DIR));
}

bool PluginHost::load()
{
    QObject *instance = m_loader.instance();
    if (!instance) {
        m_errorString = QStringLiteral("cannot load the import plug-in %1: %2")
                            .arg(m_path, m_loader.errorString());
        return false;
    }
    m_plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(instance);
    if (!m_plugin) {
        m_errorString = QStringLiteral("%1 is not an import plug-in: it does not offer %2")
                            .arg(m_path, QLatin1String(ZUM_SDK_PluginInterfaceImport_iid));
        return false;
    }
    const QList<QString> formats = m_plugin->availableImportFormats();
    if (formats.isEmpty()) {
        m_errorString = QStringLiteral("the import plug-in %1 offers no format").arg(m_path);
        m_plugin = nullptr;
        return false;
    }
    m_format = formats.first();
    return true;
}

QString PluginHost::pluginName() const
{
    return m_plugin ? m_plugin->pluginName() : QString();
}

QString PluginHost::pluginVersion() const
{
    return m_plugin ? m_plugin->pluginVersion() : QString();
}

ImportResult PluginHost::importFile(const QString &path)
{
    ImportResult result;
    result.file = path;
    if (!m_plugin) {
        result.failed = true;
        return result;
    }

    const auto receive = [this, &result](const ImportResult::Message &message) {
        result.messages.append(message);
        if (message.level == ZUM::SDK::PluginInterfaceImport::Error)
            result.failed = true;
        if (m_messageHandler)
            m_messageHandler(message);
    };
    // The plug-in sends on the thread that calls import, so a direct connection delivers
    // every line before import returns.
    ZUM::SDK::DataEmitter *emitter = m_plugin->dataEmitter();
    const QMetaObject::Connection connection = QObject::connect(
        emitter, &ZUM::SDK::DataEmitter::sendMessage, emitter,
        [&receive](const QString &text, int level) {
            receive({level, text});
        },
        Qt::DirectConnection);

    QString exceptionText;
    try {
        result.laps = m_plugin->import(path, m_format, {});
    } catch (const std::exception &exception) {
        exceptionText = QStringLiteral("the import ended by an exception: %1")
                            .arg(QString::fromLocal8Bit(exception.what()));
    } catch (...) {
        exceptionText = QStringLiteral("the import ended by an unknown exception");
    }
    QObject::disconnect(connection);

    if (!exceptionText.isEmpty())
        receive({ZUM::SDK::PluginInterfaceImport::Error, exceptionText});
    return result;
}
