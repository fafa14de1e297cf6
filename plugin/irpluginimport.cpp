#include "irpluginimport.h"

#include "filereplay.h"
#include "ibtfile.h"
#include "irtelemetryreader.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTime>

#include <new>

using ZUM::SDK::Lap;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

const QString importFormat = QStringLiteral("iRacing binary telemetry (*.ibt)");
const QString readError = QStringLiteral("IBT import error:  ");

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
    FileReplay::Result result = FileReplay::run(file, reader);
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
