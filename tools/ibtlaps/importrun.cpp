#include "importrun.h"

#include "lapcsv.h"
#include "lapjson.h"
#include "lapplot.h"
#include "laptable.h"
#include "plotfile.h"

#include <QFileInfo>

ImportRun::ImportRun(const Options &options, Reporter &reporter, PluginHost &host)
    : m_options(options)
    , m_reporter(reporter)
    , m_host(host)
    , m_channels(options.channels)
{ }

int ImportRun::exec()
{
    if (!prepareOutputs())
        return Failure;
    if (!m_host.load()) {
        m_reporter.error(m_host.errorString());
        return Failure;
    }
    m_host.setMessageHandler(
        [this](const ImportResult::Message &message) { m_reporter.message(message); });

    const bool several = m_options.files.size() > 1;
    if (m_json.isOpen() && several)
        m_json.writer().beginArray();
    for (qsizetype i = 0; i < m_options.files.size(); ++i) {
        if (!processFile(i))
            return UsageError;
    }
    if (m_json.isOpen()) {
        if (several)
            m_json.writer().endArray();
        if (!m_json.close()) {
            m_reporter.error(QStringLiteral("cannot write JSON to %1").arg(m_options.json));
            m_failed = true;
        }
    }
    if (several && !m_options.jsonToStandardOutput() && !m_options.listChannels)
        m_reporter.out() << '\n' << m_filesTable.text() << Qt::flush;
    return m_failed ? Failure : Success;
}

bool ImportRun::prepareOutputs()
{
    if (!m_options.json.isEmpty() && !m_json.open(m_options.json)) {
        m_reporter.error(QStringLiteral("cannot write JSON to %1").arg(m_options.json));
        return false;
    }
    if (!m_options.csvDirectory.isEmpty()) {
        m_csvDirectory = QDir(m_options.csvDirectory);
        if (!QDir().mkpath(m_csvDirectory.path())) {
            m_reporter.error(
                QStringLiteral("cannot create the CSV folder %1").arg(m_csvDirectory.path()));
            return false;
        }
        if (!QFileInfo(m_csvDirectory.path()).isWritable()) {
            m_reporter.error(QStringLiteral("cannot write into the CSV folder %1: permission "
                                            "denied")
                                 .arg(m_csvDirectory.path()));
            return false;
        }
    }
    if (!m_options.plot.isEmpty()) {
        for (const QString &file : m_options.files) {
            if (!checkPlotPath(PlotFile::pathFor(m_options.plot, file, m_options.files.size() > 1)))
                return false;
        }
    }
    return true;
}

bool ImportRun::checkPlotPath(const QString &path)
{
    const QFileInfo file(path);
    const QString folder = file.absolutePath();
    QString reason;
    if (file.isDir())
        reason = QStringLiteral("it is a directory");
    else if (!QFileInfo(folder).isDir())
        reason = QStringLiteral("the folder %1 does not exist").arg(folder);
    else if (!QFileInfo(folder).isWritable())
        reason = QStringLiteral("the folder %1 is not writable").arg(folder);
    if (reason.isEmpty())
        return true;
    m_reporter.error(QStringLiteral("cannot write the picture %1: %2").arg(path, reason));
    return false;
}

bool ImportRun::processFile(qsizetype index)
{
    const QString &file = m_options.files[index];
    const RecordingInfo recording = RecordingInfo::read(file);
    ImportResult result = m_host.importFile(file);
    result.recording = recording;
    m_failed = m_failed || result.failed;
    reportFile(result);

    if (!m_channelsChecked && !m_channels.isAll() && !result.laps.isEmpty()) {
        const QString unknown = m_channels.unknownNamesText(result.laps);
        if (!unknown.isEmpty()) {
            m_reporter.usageError(unknown);
            return false;
        }
        m_channelsChecked = true;
    }

    const QList<qsizetype> chosen = m_options.selection.select(result.laps);
    if (!m_options.jsonToStandardOutput()) {
        QTextStream &out = m_reporter.out();
        if (index > 0)
            out << '\n';
        if (m_options.listChannels)
            out << "File:         " << file << "\n\n" << ChannelChoice::listText(result.laps);
        else
            out << LapTable::text(result, chosen, m_options.displayUnits());
        out.flush();
    }
    writeOutputs(result, chosen);
    m_filesTable.add(result);
    return true;
}

// The tool's own word on the file: why it could not be read, or that its records end short.
void ImportRun::reportFile(const ImportResult &result)
{
    const QString problem = result.recording.problem();
    if (!problem.isEmpty()) {
        const QString text = result.file + QStringLiteral(": ") + problem;
        if (result.failed)
            m_reporter.error(text);
        else
            m_reporter.note(text);
        return;
    }
    const QString records = result.recording.recordsNote();
    if (!records.isEmpty())
        m_reporter.note(result.file + QStringLiteral(": ") + records);
}

void ImportRun::writeOutputs(const ImportResult &result, const QList<qsizetype> &chosen)
{
    if (m_json.isOpen())
        LapJson::write(m_json.writer(), result, chosen, m_channels, m_options.jsonChannelValues);

    if (!m_options.csvDirectory.isEmpty()) {
        const LapCsv::Settings settings {m_csvDirectory, m_channels, m_options.csvUnits(),
                                         m_options.force};
        QStringList written;
        QString error;
        if (!LapCsv::write(result, chosen, settings, &written, &error)) {
            m_reporter.error(error);
            m_failed = true;
        }
        if (!written.isEmpty())
            m_reporter.info(QStringLiteral("wrote %1 CSV %2 to %3")
                                .arg(written.size())
                                .arg(written.size() == 1 ? u"file" : u"files")
                                .arg(QDir::toNativeSeparators(m_csvDirectory.absolutePath())));
    }

    if (!m_options.plot.isEmpty()) {
        const QString path
            = PlotFile::pathFor(m_options.plot, result.file, m_options.files.size() > 1);
        if (result.failed) {
            m_reporter.note(
                QStringLiteral("no picture for %1: it could not be imported").arg(result.file));
            return;
        }
        const LapPlot::Input input {result.file,
                                    result.laps,
                                    chosen,
                                    m_options.compareLap,
                                    m_options.displayUnits(),
                                    result.recording.start()};
        QString error;
        if (PlotFile::write(LapPlot::render(input), path, &error)) {
            m_reporter.info(QStringLiteral("wrote the picture %1").arg(path));
        } else {
            m_reporter.error(error);
            m_failed = true;
        }
    }
}
