#pragma once

#include "carsetup.h"
#include "channelchoice.h"
#include "filestable.h"
#include "importresult.h"
#include "jsonoutput.h"
#include "options.h"
#include "pluginhost.h"
#include "reporter.h"

#include <QDir>
#include <QList>

#include <optional>

// One run of ibt-laps over its input files: the outputs checked before any import, the
// plug-in loaded, then each file imported in turn and shown and written as the options
// ask. A failing file does not stop the others.
class ImportRun
{
public:
    static constexpr int Success = 0;
    static constexpr int Failure = 1;
    static constexpr int UsageError = 2;

    ImportRun(const Options &options, Reporter &reporter, PluginHost &host);

    // The exit status.
    int exec();

private:
    bool prepareOutputs();
    // Imports the reference file and finds its lap; the exit status when that fails.
    std::optional<int> loadReference();
    // False, with a usage error, when the file's track is not the reference's.
    bool checkReferenceTrack(const ImportResult &result);
    bool checkPlotPath(const QString &path);
    void removeCreatedFolders();
    // False for a usage error found in the file's laps.
    bool processFile(qsizetype index);
    void reportFile(const ImportResult &result);
    // The set-up, or what it changes from the first file's, as the options ask.
    QString setupText(const ImportResult &result, qsizetype index);
    // The lap --compare names, when it names exactly one; else a usage error and false.
    bool findCompared(const ImportResult &result, qsizetype *compare);
    void writeOutputs(const ImportResult &result, const QList<qsizetype> &chosen, qsizetype compare,
                      const QString &noLapsReason);

    const Options &m_options;
    Reporter &m_reporter;
    PluginHost &m_host;
    ChannelChoice m_channels;
    JsonOutput m_json;
    QDir m_csvDirectory;
    QString m_createdFolder; // the first folder of the CSV path this run made, if any
    FilesTable m_filesTable;
    CarSetup m_firstSetup;
    QSharedPointer<ZUM::SDK::Lap> m_reference;
    QString m_referenceName;
    bool m_channelsChecked = false;
    bool m_failed = false;
};
