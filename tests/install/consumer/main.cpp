// A host built against the installed data model: loads an import plug-in, imports one file
// and prints what it received, so that the test compares it with what ibt-laps shows.

#include "plugininterfaceimport.h"

#include <QCoreApplication>
#include <QMetaType>
#include <QPluginLoader>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (arguments.size() != 3) {
        err << "usage: zum-consumer PLUGIN FILE.ibt\n";
        return 2;
    }

    // The data model registers its types when it loads, for every host and plug-in alike.
    if (!QMetaType::fromName("ZUM::SDK::LapHeader").isValid()) {
        err << "the data model's types are not registered\n";
        return 1;
    }
    // Never unloaded: the laps' channels are freed by code that lives in the plug-in.
    QPluginLoader loader(arguments[1]);
    auto *plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    if (!plugin) {
        err << "not an import plug-in: " << arguments[1] << ": " << loader.errorString() << '\n';
        return 1;
    }
    const QList<QString> formats = plugin->availableImportFormats();
    const QList<QSharedPointer<ZUM::SDK::Lap>> laps
        = plugin->import(arguments[2], formats.value(0), {});
    out << "plug-in: " << plugin->pluginName() << ' ' << plugin->pluginVersion() << '\n'
        << "laps: " << laps.size() << '\n';
    qsizetype timed = 0;
    out << "samples:";
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        if (lap->header().lapTime != ZUM::SDK::UntimedLapTime)
            ++timed;
        out << ' ' << lap->size();
    }
    out << "\ntimed: " << timed << '\n';
    return 0;
}
