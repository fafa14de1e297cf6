#include "addcommand.h"
#include "commandline.h"
#include "compareplot.h"
#include "databaseaddress.h"
#include "importworker.h"
#include "library.h"
#include "libraryfiles.h"
#include "libraryqueries.h"
#include "pluginhost.h"
#include "progressplot.h"

#include <QGuiApplication>
#include <QTextStream>
#include <QThread>

#include <cstdio>
#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

bool standardErrorIsTerminal()
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stderr));
#else
    return isatty(fileno(stderr));
#endif
}

int list(Library &library, const CommandLine &commandLine)
{
    LibraryQueries queries(library);
    std::optional<RowOutput> rows;
    QString problem;
    if (commandLine.command == u"sessions")
        rows = queries.sessions(commandLine.filter);
    else if (commandLine.command == u"laps")
        rows = queries.laps(commandLine.filter,
                            commandLine.sortByTime ? LibraryQueries::LapOrder::Time
                                                   : LibraryQueries::LapOrder::Date);
    else if (commandLine.command == u"best")
        rows = queries.best(commandLine.filter);
    else if (commandLine.command == u"progress")
        rows = queries.progress(commandLine.filter);
    else if (commandLine.command == u"compare")
        rows = queries.compare(commandLine.laps, &problem);
    else
        rows = LibraryFiles(library).check();
    if (!rows) {
        QTextStream(stderr) << "error: " << (problem.isEmpty() ? library.errorString() : problem)
                            << Qt::endl;
        return 1;
    }
    QTextStream out(stdout);
    out.setEncoding(QStringConverter::Utf8);
    rows->write(out, commandLine.format);
    if (!commandLine.plot.isEmpty()) {
        QString error;
        const bool written = commandLine.command == u"compare"
            ? ComparePlot::write(library, *rows, commandLine.plot, &error)
            : ProgressPlot::write(*rows, commandLine.plot, &error);
        if (!written) {
            QTextStream(stderr) << "error: " << error << Qt::endl;
            return 1;
        }
    }
    return 0;
}

int removeFiles(Library &library, const QStringList &paths)
{
    QTextStream err(stderr);
    QStringList unknown;
    const qsizetype removed = LibraryFiles(library).remove(paths, &unknown);
    if (removed < 0) {
        err << "error: " << library.errorString() << Qt::endl;
        return 1;
    }
    err << QStringLiteral("removed %1 %2 from the library")
               .arg(removed)
               .arg(removed == 1 ? QStringLiteral("file") : QStringLiteral("files"))
        << Qt::endl;
    for (const QString &path : std::as_const(unknown))
        err << "error: " << path << ": no file of the library is there" << Qt::endl;
    return unknown.isEmpty() ? 0 : 1;
}

int addFiles(Library &library, const CommandLine &commandLine, QTextStream &err)
{
    const QString pluginPath = commandLine.pluginPath.isEmpty() ? PluginHost::defaultPluginPath()
                                                                : commandLine.pluginPath;
    const AddCommand::Settings settings {
        pluginPath, commandLine.jobs > 0 ? commandLine.jobs : QThread::idealThreadCount(),
        standardErrorIsTerminal()};
    AddCommand command(library, settings, err);
    if (!library.open(Library::Access::Write)) {
        err << "error: " << library.errorString() << Qt::endl;
        return 1;
    }
    // The plug-in is loaded here once, before any worker starts, for a clear message when it
    // cannot be.
    PluginHost host(pluginPath);
    if (!host.load()) {
        err << "error: " << host.errorString() << Qt::endl;
        return 1;
    }
    return command.exec(commandLine.paths);
}

// Qt's own notes (a missing runtime folder of the offscreen platform, say) are not the tool's
// to pass on; its messages go to standard error directly.
void dropQtMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtFatalMsg || type == QtCriticalMsg)
        QTextStream(stderr) << message << Qt::endl;
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(dropQtMessages);
    // A worker imports and draws nothing: the lighter application will do.
    if (argc == 3 && QString::fromLocal8Bit(argv[1]) == ImportWorker::argument()) {
        QCoreApplication app(argc, argv);
        return ImportWorker::run(QString::fromLocal8Bit(argv[2]));
    }
    // Pictures are drawn off screen; no display is ever needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Read before QGuiApplication takes its own options out of them, among which "-plugin",
    // which would swallow add's --plugin.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ibt-library"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUM_VERSION));

    CommandLine commandLine;
    int status = 0;
    if (commandLine.parse(arguments, &status) == CommandLine::Parse::Exit)
        return status;

    QTextStream err(stderr);
    QString error;
    const std::optional<DatabaseAddress> address
        = DatabaseAddress::resolve(commandLine.database, &error);
    if (!address) {
        err << "error: " << error << Qt::endl;
        return 2;
    }
    const bool add = commandLine.command == u"add";
    const bool remove = commandLine.command == u"remove";
    Library library(*address);
    if (add)
        return addFiles(library, commandLine, err);
    if (!library.open(remove ? Library::Access::Write : Library::Access::Read)) {
        err << "error: " << library.errorString() << Qt::endl;
        return 1;
    }
    if (remove)
        return removeFiles(library, commandLine.paths);
    return list(library, commandLine);
}
