#include "irpluginimport.h"

#include "ibtfile.h"
#include "irtelemetryreader.h"
#include "playerlapreplay.h"
#include "tickstream.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTime>

#include <new>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::Sample;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

const QString importFormat = QStringLiteral("iRacing binary telemetry (*.ibt)");
const QString readError = QStringLiteral("IBT import error:  ");

// A record yields at most one value per byte when its variables do not overlap, so the laps of
// any real file hold about as many entries as the file has bytes, besides a few derived
// channels. Twice that is out of reach for a real file; a damaged one that asks for more (tiny
// records read by many overlapping variables, quadratic in the file's size) is stopped there.
constexpr qint64 valuesPerFileByte = 2;

struct Replay
{
    Laps laps;
    bool overBudget = false;
    qint64 ticks = 0;
};

// A finished lap keeps its channels for as long as the host does: without the room they kept
// for growing, which would otherwise add up to half the laps' size again. A channel that
// reserved about its lap's length keeps its little room rather than be copied once more.
void shrink(Channel &channel)
{
    if (channel.capacity() - channel.size() > channel.size() / 8)
        channel.shrinkToFit();
}

void append(Laps &laps, const QSharedPointer<Lap> &lap)
{
    if (!lap)
        return;
    for (const QString &name : lap->getAvailableRecordedChannels())
        shrink(*lap->channel(name));
    for (const QString &name : lap->getAvailableCalculatedChannels())
        shrink(*lap->calculatedChannel(name));
    laps.append(lap);
}

// Runs the reader over every record of the file and collects the player's laps.
Replay replay(IbtFile &file, iRTelemetryReader &reader)
{
    Replay result;
    const qint64 budget = valuesPerFileByte * file.fileSize();
    qint64 values = 0;
    // The variables are learnt here, on the importing thread, before the worker starts.
    reader.prepareRawData(file);
    TickStream ticks(file, reader.tickDecoding());
    PlayerLapReplay laps(reader);
    while (QList<Sample> *tick = ticks.next()) {
        for (const Sample &sample : std::as_const(*tick))
            values += sample.dynamicData.size();
        if (values > budget) {
            ticks.stop();
            result.overBudget = true;
            break;
        }
        append(result.laps, laps.tick(*tick));
    }
    result.ticks = ticks.ticks();

    // The lap under way when the file ended; none when reading stopped over the budget.
    if (!result.overBudget)
        append(result.laps, laps.finish());
    return result;
}

// The last lap ends when the file was last written; each lap before starts its own duration,
// in whole seconds, before the next.
void setStartTimes(const Laps &laps, const QString &fileName)
{
    if (!QFile::exists(fileName))
        return;
    const QDateTime end = QFileInfo(fileName).fileTime(QFileDevice::FileModificationTime);
    qint64 total = 0;
    for (qsizetype i = laps.size() - 1; i >= 0; --i) {
        total += QTime(0, 0, 0, 0).secsTo(laps[i]->header().lapTime);
        laps[i]->header().dateTime = end.addSecs(-total);
    }
}

} // namespace

QString iRPluginImport::pluginName() const
{
    return QStringLiteral("ZUM iRacing ibt import plugin");
}

QString iRPluginImport::sourceName() const
{
    return QStringLiteral("iRacing");
}

QString iRPluginImport::pluginVersion() const
{
    return QStringLiteral("0.2");
}

QList<QString> iRPluginImport::availableImportFormats() const
{
    return {importFormat};
}

Laps iRPluginImport::import(const QString &fileName, const QString &format,
                            const QMap<QString, QVariant> &options)
{
    Q_UNUSED(options);
    message(QStringLiteral("Importing file ") + fileName + QStringLiteral(" ..."), Information);
    message(QStringLiteral("Using format ") + format, Information);
    QElapsedTimer elapsed;
    elapsed.start();

    if (format != importFormat) {
        message(QStringLiteral("Unknown format"), Error);
        return {};
    }

    IbtFile file;
    switch (const IbtFile::Status status = file.open(fileName)) {
    case IbtFile::Status::Ok:
        break;
    case IbtFile::Status::CannotOpen:
        message(QStringLiteral("Can't open file ") + fileName, Error);
        return {};
    case IbtFile::Status::ImpossibleLength:
        // No buffer can have a negative length: the host hears of it as an allocation failure.
        throw std::bad_alloc();
    default:
        message(readError + IbtFile::errorText(status), Error);
        return {};
    }

    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml(file.sessionText());
    reader.updateCarList();
    Replay result = replay(file, reader);
    if (result.overBudget)
        message(readError
                    + QStringLiteral("the records hold more values than a file of %1 bytes can; "
                                     "reading stopped after %2 records, the laps completed "
                                     "before are kept")
                          .arg(file.fileSize())
                          .arg(result.ticks - 1),
                Error);
    setStartTimes(result.laps, fileName);

    message(QStringLiteral("Done in ") + QString::number(elapsed.elapsed())
                + QStringLiteral(" ms; Laps readed ") + QString::number(result.laps.size()),
            Information);
    for (const QSharedPointer<Lap> &lap : std::as_const(result.laps)) {
        lap->header().carInfo.sourceName = sourceName();
        lap->header().carInfo.pluginName = pluginName();
    }
    return result.laps;
}
