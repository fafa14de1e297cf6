// Measures the import through the plug-in, as a host runs it, against the floor that no
// importer can beat: reading every record of the same file and converting each value to a
// double. Prints ticks per second, megabytes per second and peak memory of each.

#include "irsdk.h"
#include "plugininterfaceimport.h"
#include "sessiongenerator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPluginLoader>
#include <QTemporaryDir>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct Measure
{
    double seconds = 0.0; // best of the runs
    qint64 peakKiB = -1; // resident set at its highest during the runs; -1 where unknown
    qint64 ticks = 0;
    qint64 laps = 0;
};

// The kernel's record of the highest resident set, reset before each phase. Where the
// system keeps no such record the figure is reported as unknown.
void resetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

qint64 peakMemoryKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// Every record read and every element converted to a double: the work any importer does.
Measure readFloor(const QString &path, int runs)
{
    Measure measure;
    resetPeakMemory();
    double checksum = 0.0;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        std::FILE *file = std::fopen(QFile::encodeName(path).constData(), "rb");
        if (!file)
            return measure;
        irsdk_header header;
        if (std::fread(&header, 1, sizeof header, file) != sizeof header || header.numVars < 0
            || header.bufLen <= 0) {
            std::fclose(file);
            return measure;
        }
        std::vector<irsdk_varHeader> descriptors(size_t(header.numVars));
        std::fseek(file, header.varHeaderOffset, SEEK_SET);
        if (std::fread(descriptors.data(), sizeof(irsdk_varHeader), descriptors.size(), file)
            != descriptors.size()) {
            std::fclose(file);
            return measure;
        }
        std::vector<char> record(size_t(header.bufLen));
        std::fseek(file, header.varBuf[0].bufOffset, SEEK_SET);
        qint64 ticks = 0;
        while (std::fread(record.data(), 1, record.size(), file) == record.size()) {
            ++ticks;
            for (const irsdk_varHeader &d : descriptors) {
                const int size = irsdk_varTypeSize(d.type);
                const int count = d.type == irsdk_char ? 1 : d.count;
                if (size == 0 || d.offset < 0 || count <= 0
                    || qint64(d.offset) + qint64(count) * size > header.bufLen)
                    continue;
                for (int i = 0; i < count; ++i) {
                    const char *at = record.data() + d.offset + i * size;
                    double value = 0.0;
                    switch (d.type) {
                    case irsdk_char:
                        value = double(int8_t(*at));
                        break;
                    case irsdk_bool:
                        value = *at != 0;
                        break;
                    case irsdk_int:
                    case irsdk_bitField: {
                        int32_t v;
                        std::memcpy(&v, at, 4);
                        value = v;
                        break;
                    }
                    case irsdk_float: {
                        float v;
                        std::memcpy(&v, at, 4);
                        value = v;
                        break;
                    }
                    default:
                        std::memcpy(&value, at, 8);
                    }
                    checksum += value;
                }
            }
        }
        std::fclose(file);
        const double seconds = timer.nsecsElapsed() / 1e9;
        if (run == 0 || seconds < measure.seconds)
            measure.seconds = seconds;
        measure.ticks = ticks;
    }
    measure.peakKiB = peakMemoryKiB();
    // Keeps the conversion from being optimised away.
    if (checksum == 42.4242)
        std::puts("");
    return measure;
}

Measure importThroughPlugin(ZUM::SDK::PluginInterfaceImport *plugin, const QString &path, int runs)
{
    Measure measure;
    resetPeakMemory();
    const QString format = plugin->availableImportFormats().first();
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        const auto laps = plugin->import(path, format, {});
        const double seconds = timer.nsecsElapsed() / 1e9;
        if (run == 0 || seconds < measure.seconds)
            measure.seconds = seconds;
        measure.laps = laps.size();
    }
    measure.peakKiB = peakMemoryKiB();
    return measure;
}

qint64 recordCount(const QString &path)
{
    QFile file(path);
    irsdk_header header;
    if (!file.open(QIODevice::ReadOnly)
        || file.read(reinterpret_cast<char *>(&header), sizeof header) != sizeof header
        || header.bufLen <= 0)
        return 0;
    return (file.size() - header.varBuf[0].bufOffset) / header.bufLen;
}

QString memoryText(qint64 kib)
{
    return kib < 0 ? QStringLiteral("n/a") : QStringLiteral("%1 MiB").arg(kib / 1024.0, 0, 'f', 1);
}

void report(const QString &name, const QString &path, const Measure &import, const Measure &floor)
{
    const double megabytes = QFileInfo(path).size() / 1e6;
    const qint64 ticks = recordCount(path);
    std::printf("%s\n", qPrintable(name));
    std::printf("  %lld ticks, %.1f MB, %lld laps\n", static_cast<long long>(ticks), megabytes,
                static_cast<long long>(import.laps));
    const auto line = [&](const char *what, const Measure &m) {
        std::printf("  %-22s %8.3f s %12.0f ticks/s %9.1f MB/s   peak %s\n", what, m.seconds,
                    ticks / m.seconds, megabytes / m.seconds, qPrintable(memoryText(m.peakKiB)));
    };
    line("import (plug-in)", import);
    line("read + convert floor", floor);
    std::printf("  import takes %.1fx the floor\n\n", import.seconds / floor.seconds);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("bench_import"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Times the import of a synthetic hour of driving and of recorded files through the "
        "plug-in, beside the floor of merely reading and converting every record."));
    parser.addHelpOption();
    const QCommandLineOption runsOption(QStringLiteral("runs"),
                                        QStringLiteral("Runs of each measure (best is kept)."),
                                        QStringLiteral("N"), QStringLiteral("3"));
    const QCommandLineOption pluginOption(QStringLiteral("plugin"),
                                          QStringLiteral("The plug-in library."),
                                          QStringLiteral("PATH"), QStringLiteral(ZUM_PLUGIN_PATH));
    const QCommandLineOption minutesOption(QStringLiteral("minutes"),
                                           QStringLiteral("Length of the synthetic session."),
                                           QStringLiteral("M"), QStringLiteral("60"));
    parser.addOptions({runsOption, pluginOption, minutesOption});
    parser.addPositionalArgument(QStringLiteral("files"),
                                 QStringLiteral("Recorded .ibt files to time as well."),
                                 QStringLiteral("[files...]"));
    parser.process(app);
    const int runs = qMax(1, parser.value(runsOption).toInt());

    QPluginLoader loader(parser.value(pluginOption));
    auto *plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    if (!plugin) {
        std::fprintf(stderr, "bench_import: cannot load the plug-in: %s\n",
                     qPrintable(loader.errorString()));
        return 1;
    }

    QTemporaryDir dir;
    SessionGenerator::Options options;
    options.duration = parser.value(minutesOption).toDouble() * 60.0;
    options.totalVariables = 280;
    options.carArrays = false; // disk files carry no per-car arrays: about 1.1 KB a record
    const QString synthetic = dir.filePath(QStringLiteral("hour.ibt"));
    QString error;
    if (!SessionGenerator(options).write(synthetic, &error)) {
        std::fprintf(stderr, "bench_import: cannot write the synthetic session: %s\n",
                     qPrintable(error));
        return 1;
    }

    QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        const QString shared
            = QDir(QStringLiteral(ZUM_DEFAULT_IBT_SAMPLES))
                  .filePath(
                      QStringLiteral("tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt"));
        if (QFile::exists(shared))
            files.append(shared);
    }

    // Recorded files first: memory freed by the hour-long import is not all given back to the
    // system, and would be counted in the peaks that follow it.
    std::printf("best of %d runs\n\n", runs);
    for (const QString &file : std::as_const(files))
        report(QFileInfo(file).fileName(), file, importThroughPlugin(plugin, file, runs),
               readFloor(file, runs));
    report(
        QStringLiteral("synthetic session, %1 min, 280 variables").arg(parser.value(minutesOption)),
        synthetic, importThroughPlugin(plugin, synthetic, runs), readFloor(synthetic, runs));
    return 0;
}
