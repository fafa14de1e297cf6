#include "irpluginimport.h"

#include "boundedchannel.h"
#include "irsdk.h"
#include "irtelemetryreader.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTime>

#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <thread>

using ZUM::SDK::Lap;
using ZUM::SDK::Sample;

namespace {

const QString importFormat = QStringLiteral("iRacing binary telemetry (*.ibt)");
const QString readError = QStringLiteral("IBT import error:  ");

constexpr int information = 0;
constexpr int error = -2;

// Ticks the worker may decode ahead of the lap building.
using TickChannel = Channel<QList<Sample>, 5>;

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool readAt(std::FILE *file, qint64 offset, char *buffer, qint64 bytes)
{
    // Offsets come from the file as 32-bit values; one that fails to seek shows as a short read.
    if (bytes < 0 || std::fseek(file, long(offset), SEEK_SET) != 0)
        return false;
    return bytes == 0 || std::fread(buffer, 1, size_t(bytes), file) == size_t(bytes);
}

// Buffers sized by lengths read from the file. A negative length asks for an impossible
// allocation, which leaves the import as std::bad_alloc for the host to report.
std::unique_ptr<char[]> bufferOf(qint32 length, qint64 extra = 0)
{
    if (length < 0)
        throw std::bad_alloc();
    // Not zeroed: a length from a damaged file may be huge, and only what is read is used.
    return std::make_unique_for_overwrite<char[]>(size_t(length) + size_t(extra));
}

// Reads record after record, decodes each into the tick's samples and hands them over.
void readRecords(std::FILE *file, char *record, qint32 recordLength, iRTelemetryReader &reader,
                 const irsdk_header &header, const irsdk_varHeader *varHeaders,
                 TickChannel &channel)
{
    // A record of no bytes would "read" successfully for ever.
    while (recordLength > 0
           && std::fread(record, 1, size_t(recordLength), file) == size_t(recordLength))
        channel.push(reader.getRawData(&header, varHeaders, record));
    channel.close();
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

QList<QSharedPointer<Lap>> iRPluginImport::import(const QString &fileName, const QString &format,
                                                  const QMap<QString, QVariant> &options)
{
    Q_UNUSED(options);
    message(QStringLiteral("Importing file ") + fileName + QStringLiteral(" ..."), information);
    message(QStringLiteral("Using format ") + format, information);
    QElapsedTimer elapsed;
    elapsed.start();
    QList<QSharedPointer<Lap>> laps;

    if (format != importFormat) {
        message(QStringLiteral("Unknown format"), error);
        return {};
    }

    auto reader = std::make_unique<iRTelemetryReader>(iRTelemetryReader::MyCarOnly);
    const File file(std::fopen(fileName.toLocal8Bit().constData(), "rb"));
    if (!file) {
        message(QStringLiteral("Can't open file ") + fileName, error);
        return {};
    }

    irsdk_header header;
    if (std::fread(&header, 1, sizeof header, file.get()) != sizeof header) {
        message(readError + QStringLiteral("Error reading irsdk_header"), error);
        return {};
    }
    // Read whole and never used: the record count is not trusted to bound the records.
    irsdk_diskSubHeader diskSubHeader;
    if (std::fread(&diskSubHeader, 1, sizeof diskSubHeader, file.get()) != sizeof diskSubHeader) {
        message(readError + QStringLiteral("Error reading irsdk_diskSubHeader"), error);
        return {};
    }

    {
        // The text's last stored byte becomes its terminator; a text of no bytes is empty.
        const std::unique_ptr<char[]> sessionText = bufferOf(header.sessionInfoLen, 1);
        if (!readAt(file.get(), header.sessionInfoOffset, sessionText.get(),
                    header.sessionInfoLen)) {
            message(readError + QStringLiteral("Failed to read sessionInfoString"), error);
            return {};
        }
        sessionText[header.sessionInfoLen] = '\0';
        if (header.sessionInfoLen > 0)
            sessionText[header.sessionInfoLen - 1] = '\0';
        reader->setYaml(sessionText.get());
    }
    reader->updateCarList();

    if (header.numVars < 0)
        throw std::bad_alloc();
    // The descriptors are read in one go of at most 2 GiB, as file offsets are 32-bit: more
    // of them than that cannot be in the file, and no room is made for them.
    const qint64 varHeaderBytes = qint64(header.numVars) * qint64(sizeof(irsdk_varHeader));
    const bool readable = varHeaderBytes <= std::numeric_limits<qint32>::max();
    const auto varHeaders
        = std::make_unique_for_overwrite<irsdk_varHeader[]>(readable ? size_t(header.numVars) : 0);
    if (!readable
        || !readAt(file.get(), header.varHeaderOffset, reinterpret_cast<char *>(varHeaders.get()),
                   varHeaderBytes)) {
        message(readError + QStringLiteral("Failed to read irsdk_varHeader"), error);
        return {};
    }

    const std::unique_ptr<char[]> record = bufferOf(header.bufLen);
    const qint32 recordLength = header.bufLen;
    std::fseek(file.get(), long(header.varBuf[0].bufOffset), SEEK_SET);

    TickChannel channel;
    std::thread worker(readRecords, file.get(), record.get(), recordLength, std::ref(*reader),
                       std::cref(header), varHeaders.get(), std::ref(channel));

    QList<Sample> tick;
    try {
        while (channel.pop(tick)) {
            reader->prepareTick();
            reader->processData(std::move(tick));
            if (reader->isMyLapReady()) {
                const QSharedPointer<Lap> lap = reader->myLap();
                if (!lap->isEmpty())
                    laps.append(lap);
            }
        }
    } catch (...) {
        // Let the worker run out before leaving, so that it is never left blocked.
        while (channel.pop(tick)) { }
        worker.join();
        throw;
    }
    worker.join();

    // The lap under way when the file ended, unless the last record already handed it over.
    if (!reader->isMyLapReady()) {
        reader->processMyLap(false);
        const QSharedPointer<Lap> lap = reader->myLap();
        if (lap && !lap->isEmpty())
            laps.append(lap);
    }
    reader.reset();

    // The last lap ends when the file was last written; each lap before starts its own
    // duration, in whole seconds, before the next.
    if (QFile::exists(fileName)) {
        const QDateTime end = QFileInfo(fileName).fileTime(QFileDevice::FileModificationTime);
        qint64 total = 0;
        for (qsizetype i = laps.size() - 1; i >= 0; --i) {
            total += QTime(0, 0, 0, 0).secsTo(laps[i]->header().lapTime);
            laps[i]->header().dateTime = end.addSecs(-total);
        }
    }

    message(QStringLiteral("Done in ") + QString::number(elapsed.elapsed())
                + QStringLiteral(" ms; Laps readed ") + QString::number(laps.size()),
            information);
    for (const QSharedPointer<Lap> &lap : std::as_const(laps)) {
        lap->header().carInfo.sourceName = sourceName();
        lap->header().carInfo.pluginName = pluginName();
    }
    return laps;
}
