#pragma once

#include "lapfilter.h"
#include "rowoutput.h"

#include <QString>
#include <QStringList>

class QCommandLineParser;

// What ibt-library was asked to do: the command, the library's address, and the command's
// own options. --db may stand before or after the command's name.
struct CommandLine
{
    enum class Parse { Run, Exit };

    QString command;
    QString database; // the --db value; empty for IBT_LIBRARY or the default file
    QStringList paths; // add
    QString pluginPath; // add --plugin; empty for the one beside the tool
    int jobs = 0; // add --jobs; 0: one per core
    LapFilter filter;
    bool sortByTime = false; // laps --sort time
    QString plot; // progress and compare --plot
    QList<qint64> laps; // compare
    RowOutput::Format format = RowOutput::Format::Table;

    // Exit with `*status` for --help, --version and a wrong command line, whose message it
    // has written.
    Parse parse(const QStringList &arguments, int *status);

private:
    struct Options;
    // Takes --db and the command's name out of the arguments; the rest stays in *rest.
    Parse takeCommand(const QStringList &arguments, QStringList *rest, int *status);
    // The values of the command's options and arguments, checked.
    Parse readValues(const QCommandLineParser &parser, const Options &options, int *status);
};
