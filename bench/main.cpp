// Measures the import through the plug-in, as a host runs it, against the floor that no
// importer can beat: reading every record of the same file and converting each value to a
// double. Prints ticks per second, megabytes per second and peak memory of each.

#include "ibtfile.h"
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

#include <cstddef>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct Measure
{
    double seconds = 0.0; // best of the runs
    qint64 peakKiB = -1; // resident set at its highest during the runs; -1 where unknown
    qint64 ticks = 0;
    qint64 laps = 0;
    qint64 channelBytes = 0; // the laps' channel entries, 8 bytes each
};

double elementValue(const IbtVariable &variable, const char *record, int i)
{
    return IbtVariable::visit(variable.type, variable.element(record, i),
                              [](auto value) { return double(value); });
}

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
        IbtFile file;
        if (file.open(path) != IbtFile::Status::Ok || file.wholeRecords() == 0)
            return measure;
        const QList<IbtVariable> &variables = file.variables();
        const qint64 length = file.recordLength();
        const qint64 perRead = qMax<qint64>(1, (qint64(1) << 20) / length);
        std::vector<char> buffer(size_t(perRead * length));
        qint64 ticks = 0;
        while (const qint64 records = file.readRecords(buffer.data(), perRead)) {
            ticks += records;
            for (qint64 r = 0; r < records; ++r) {
                const char *record = buffer.data() + r * length;
                for (const IbtVariable &variable : variables) {
                    for (int i = 0; i < variable.count; ++i)
                        checksum += elementValue(variable, record, i);
                }
            }
        }
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
        measure.channelBytes = 0;
        for (const auto &lap : laps) {
            for (const QString &name : lap->getAvailableRecordedChannels())
                measure.channelBytes += lap->channel(name)->size() * qint64(sizeof(double));
            for (const QString &name : lap->getAvailableCalculatedChannels())
                measure.channelBytes
                    += lap->calculatedChannel(name)->size() * qint64(sizeof(double));
        }
    }
    measure.peakKiB = peakMemoryKiB();
    return measure;
}

qint64 recordCount(const QString &path)
{
    IbtFile file;
    return file.open(path) == IbtFile::Status::Ok ? file.wholeRecords() : 0;
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
    std::printf("  laps' channel data %s (entries x 8 bytes)\n",
                qPrintable(memoryText(import.channelBytes / 1024)));
    std::printf("  import takes %.1fx the floor\n\n", import.seconds / floor.seconds);
}

// Damaged files whose cost must stay bounded by the file: beside the same file undamaged.
void reportDamaged(const QString &name, const QString &path, const Measure &import,
                   const QString &baseName, const Measure &base)
{
    std::printf("%s\n", qPrintable(name));
    std::printf("  %lld ticks, %.1f MB, %lld laps\n", static_cast<long long>(recordCount(path)),
                QFileInfo(path).size() / 1e6, static_cast<long long>(import.laps));
    std::printf("  import (plug-in)       %8.3f s   peak %s\n", import.seconds,
                qPrintable(memoryText(import.peakKiB)));
    std::printf("  %s: %.3f s; the damaged file takes %.2fx its time\n\n", qPrintable(baseName),
                base.seconds, import.seconds / base.seconds);
}

// A copy of a file with its record length forced to one byte: every byte a record.
QString withOneByteRecords(const QString &path, const QTemporaryDir &dir)
{
    const QString copy = dir.filePath(QStringLiteral("one-byte-records.ibt"));
    QFile::remove(copy);
    if (!QFile::copy(path, copy))
        return {};
    QFile file(copy);
    const qint32 one = 1;
    if (!file.open(QIODevice::ReadWrite) || !file.seek(offsetof(irsdk_header, bufLen))
        || file.write(reinterpret_cast<const char *>(&one), sizeof one) != sizeof one)
        return {};
    return copy;
}

// The damaged files whose cost must stay bounded by their size, each beside its undamaged self.
void timeDamagedFiles(ZUM::SDK::PluginInterfaceImport *plugin, const QTemporaryDir &dir, int runs)
{
    SessionGenerator::Options twoLaps;
    twoLaps.laps = 2;
    const QString undamaged = dir.filePath(QStringLiteral("two-laps.ibt"));
    SessionGenerator::Options garbage = twoLaps;
    garbage.overrides.numVars = 100000;
    const QString damaged = dir.filePath(QStringLiteral("garbage-descriptors.ibt"));
    if (SessionGenerator(twoLaps).write(undamaged) && SessionGenerator(garbage).write(damaged)) {
        const Measure base = importThroughPlugin(plugin, undamaged, runs);
        reportDamaged(QStringLiteral("two laps with 100,000 descriptors, mostly garbage"), damaged,
                      importThroughPlugin(plugin, damaged, runs), QStringLiteral("undamaged"),
                      base);
    }

    const QString bristol = QDir(QStringLiteral(ZUM_DEFAULT_IBT_SAMPLES))
                                .filePath(QStringLiteral(
                                    "js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt"));
    if (QFile::exists(bristol)) {
        const QString oneByte = withOneByteRecords(bristol, dir);
        if (!oneByte.isEmpty())
            reportDamaged(QStringLiteral("Bristol recording with a record length of 1 byte"),
                          oneByte, importThroughPlugin(plugin, oneByte, runs),
                          QStringLiteral("undamaged"), importThroughPlugin(plugin, bristol, runs));
    }
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

    timeDamagedFiles(plugin, dir, runs);
    return 0;
}
