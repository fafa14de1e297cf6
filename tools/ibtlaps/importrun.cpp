#include "importrun.h"

#include "carsetup.h"
#include "lapcsv.h"
#include "lapjson.h"
#include "lapplot.h"
#include "lapranking.h"
#include "laptable.h"
#include "nolapsreason.h"
#include "plotfile.h"
#include "summarytext.h"

#include <QFileInfo>

namespace {

// Why a file cannot be written at path, found before anything is imported; empty when it can.
QString outputProblem(const QString &path)
{
    const QFileInfo file(path);
    const QString folder = file.absolutePath();
    if (file.isDir())
        return QStringLiteral("it is a directory");
    if (!QFileInfo(folder).isDir())
        return QStringLiteral("the folder %1 does not exist").arg(folder);
    if (!QFileInfo(folder).isWritable())
        return QStringLiteral("the folder %1 is not writable").arg(folder);
    return {};
}

// The first folder of path's chain that does not exist yet; empty when all do.
QString firstMissingFolder(const QString &path)
{
    QString missing;
    for (QFileInfo folder(QDir(path).absolutePath()); !folder.exists() && !folder.isRoot();
         folder = QFileInfo(folder.absolutePath()))
        missing = folder.absoluteFilePath();
    return missing;
}

} // namespace

ImportRun::ImportRun(const Options &options, Reporter &reporter, PluginHost &host)
    : m_options(options)
    , m_reporter(reporter)
    , m_host(host)
    , m_channels(options.channels)
{ }

int ImportRun::exec()
{
    for (const QString &ignored : m_options.ignored)
        m_reporter.note(ignored);
    if (!prepareOutputs())
        return Failure;
    if (!m_host.load()) {
        m_reporter.error(m_host.errorString());
        return Failure;
    }
    m_host.setMessageHandler(
        [this](const ImportResult::Message &message) { m_reporter.message(message); });
    if (const std::optional<int> failed = loadReference()) {
        removeCreatedFolders();
        return *failed;
    }

    const bool several = m_options.files.size() > 1;
    if (m_json.isOpen() && several)
        m_json.writer().beginArray();
    for (qsizetype i = 0; i < m_options.files.size(); ++i) {
        if (!processFile(i)) {
            removeCreatedFolders();
            return UsageError;
        }
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
    if (!m_options.json.isEmpty()) {
        QString problem
            = m_options.jsonToStandardOutput() ? QString() : outputProblem(m_options.json);
        if (problem.isEmpty() && !m_json.open(m_options.json, &problem) && problem.isEmpty())
            problem = QStringLiteral("it cannot be opened");
        if (!problem.isEmpty()) {
            m_reporter.error(
                QStringLiteral("cannot write JSON to %1: %2").arg(m_options.json, problem));
            return false;
        }
    }
    if (!m_options.csvDirectory.isEmpty()) {
        m_csvDirectory = QDir(m_options.csvDirectory);
        m_createdFolder = firstMissingFolder(m_csvDirectory.path());
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

// A run that stops before its files leaves nothing behind: the CSV folders made for it go
// again, as long as they are still empty.
void ImportRun::removeCreatedFolders()
{
    if (m_createdFolder.isEmpty())
        return;
    for (QFileInfo folder(m_csvDirectory.absolutePath());;
         folder = QFileInfo(folder.absolutePath())) {
        const QString name = folder.absoluteFilePath();
        if (!QDir().rmdir(name) || name == m_createdFolder)
            break;
    }
}

bool ImportRun::checkPlotPath(const QString &path)
{
    const QString reason = outputProblem(path);
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
    const QString noLapsReason = result.laps.isEmpty() && recording.problem().isEmpty()
        ? NoLapsReason::of(file)
        : QString();

    if (!m_channelsChecked && !m_channels.isAll() && !result.laps.isEmpty()) {
        const QString unknown = m_channels.unknownNamesText(result.laps);
        if (!unknown.isEmpty()) {
            m_reporter.usageError(unknown);
            return false;
        }
        m_channelsChecked = true;
    }

    const QList<qsizetype> chosen = m_options.selection.select(result.laps);
    const QString nothingChosen = m_options.selection.nothingChosenText(result.laps);
    if (!nothingChosen.isEmpty())
        m_reporter.note(file + QStringLiteral(": ") + nothingChosen);
    qsizetype compare = -1;
    if (!m_options.plot.isEmpty() && !result.laps.isEmpty()
        && (!findCompared(result, &compare) || !checkReferenceTrack(result)))
        return false;
    if (!m_options.jsonToStandardOutput()) {
        QTextStream &out = m_reporter.out();
        if (index > 0)
            out << '\n';
        if (m_options.listChannels)
            out << "File:         " << file << "\n\n" << ChannelChoice::listText(result.laps);
        else
            out << LapTable::text(result, chosen,
                                  {m_options.displayUnits(), m_options.sectors, noLapsReason});
        out << setupText(result, index);
        out.flush();
    }
    writeOutputs(result, chosen, compare, noLapsReason);
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
    const QString header = result.recording.headerProblem();
    if (!header.isEmpty()) {
        m_reporter.note(result.file + QStringLiteral(": ") + header);
        return;
    }
    const QString records = result.recording.recordsNote();
    if (!records.isEmpty())
        m_reporter.note(result.file + QStringLiteral(": ") + records);
}

QString ImportRun::setupText(const ImportResult &result, qsizetype index)
{
    if (!m_options.setup && !m_options.setupDiff)
        return {};
    const CarSetup setup = CarSetup::of(result.recording.sessionText());
    QString text;
    if (m_options.setup)
        text += setup.isEmpty() ? QStringLiteral("\nSet-up:       none in the session text\n")
                                : QStringLiteral("\nSet-up\n\n") + setup.text();
    if (m_options.setupDiff && m_options.files.size() > 1) {
        if (index == 0) {
            m_firstSetup = setup;
        } else {
            const QString differences = CarSetup::differences(m_firstSetup, setup);
            const QString first = m_options.files.first();
            text += differences.isEmpty()
                ? QStringLiteral("\nSet-up:       the same as in %1\n").arg(first)
                : QStringLiteral("\nSet-up changes from %1\n\n").arg(first) + differences;
        }
    }
    return text;
}

namespace {

QString trackOf(const ZUM::SDK::LapHeader &header)
{
    return header.trackConfigName.isEmpty()
        ? header.trackName
        : QStringLiteral("%1, %2").arg(header.trackName, header.trackConfigName);
}

} // namespace

std::optional<int> ImportRun::loadReference()
{
    if (m_options.referenceFile.isEmpty() || m_options.plot.isEmpty())
        return std::nullopt;
    const QString &file = m_options.referenceFile;
    const RecordingInfo recording = RecordingInfo::read(file);
    const ImportResult result = m_host.importFile(file);
    if (result.failed || !recording.problem().isEmpty()) {
        m_reporter.error(QStringLiteral("--reference: %1: %2")
                             .arg(file,
                                  recording.problem().isEmpty()
                                      ? QStringLiteral("it could not be imported")
                                      : recording.problem()));
        return Failure;
    }
    qsizetype index = -1;
    if (m_options.referenceLap) {
        const QList<qsizetype> named = LapSelection::named(result.laps, *m_options.referenceLap);
        if (named.size() != 1) {
            m_reporter.usageError(QStringLiteral("--reference: %1 has %2 lap %3; its laps are %4")
                                      .arg(file, named.isEmpty() ? u"no" : u"more than one",
                                           m_options.referenceLap->text(),
                                           result.laps.isEmpty()
                                               ? QStringLiteral("none")
                                               : LapSelection::namesText(result.laps)));
            return UsageError;
        }
        index = named.first();
    } else {
        index = LapRanking::best(result.laps);
        if (index < 0) {
            m_reporter.usageError(QStringLiteral("--reference: %1 has no timed lap; name one "
                                                 "as %1:LAP")
                                      .arg(file));
            return UsageError;
        }
    }
    m_reference = result.laps[index];
    m_referenceName
        = QStringLiteral("%1 of %2")
              .arg(SummaryText::lapName(result.laps, index), QFileInfo(file).fileName());
    return std::nullopt;
}

bool ImportRun::checkReferenceTrack(const ImportResult &result)
{
    if (!m_reference)
        return true;
    const QString track = trackOf(result.laps.first()->header());
    const QString referenceTrack = trackOf(m_reference->header());
    if (track == referenceTrack)
        return true;
    m_reporter.usageError(QStringLiteral("--reference: %1 is of %2, but %3 of %4; a reference "
                                         "lap must be of the same track")
                              .arg(result.file, track, m_options.referenceFile, referenceTrack));
    return false;
}

bool ImportRun::findCompared(const ImportResult &result, qsizetype *compare)
{
    if (!m_options.compareLap)
        return true;
    const LapSelection::LapName &name = *m_options.compareLap;
    const QList<qsizetype> named = LapSelection::named(result.laps, name);
    if (named.size() == 1) {
        *compare = named.first();
        return true;
    }
    if (named.isEmpty()) {
        m_reporter.usageError(
            QStringLiteral("--compare: %1 has no lap %2; its laps are %3")
                .arg(result.file, name.text(), LapSelection::namesText(result.laps)));
        return false;
    }
    QStringList which;
    for (const qsizetype index : named)
        which.append(LapSelection::shortName(result.laps, index));
    m_reporter.usageError(QStringLiteral("--compare: lap %1 of %2 names %3 laps, %4; say "
                                         "which as stint/lap")
                              .arg(name.text(), result.file)
                              .arg(named.size())
                              .arg(which.mid(0, which.size() - 1).join(QStringLiteral(", "))
                                   + QStringLiteral(" and ") + which.last()));
    return false;
}

void ImportRun::writeOutputs(const ImportResult &result, const QList<qsizetype> &chosen,
                             qsizetype compare, const QString &noLapsReason)
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
        LapPlot::Input input;
        input.file = result.file;
        input.laps = result.laps;
        input.chosen = chosen;
        input.compare = compare;
        input.units = m_options.displayUnits();
        input.recordingStart = result.recording.start();
        input.track = result.recording.trackName();
        input.trackConfig = result.recording.trackConfigName();
        input.car = result.recording.carName();
        input.driver = result.recording.driverName();
        input.session = result.recording.sessionTypes();
        input.noLapsReason = noLapsReason;
        input.reference = m_reference;
        input.referenceName = m_referenceName;
        QString error;
        if (PlotFile::write(input, path, &error)) {
            m_reporter.info(QStringLiteral("wrote the picture %1").arg(path));
        } else {
            m_reporter.error(error);
            m_failed = true;
        }
    }
}
