// Writes the seeds of every fuzz target into OUTPUT/<target>/: files the project's generator
// writes, the inputs of the faults found so far, and, when the simulator's recorded files are
// at hand, the start of each and its session text.
//
//   fuzz-seeds OUTPUT [RECORDED_FOLDER]
//
// RECORDED_FOLDER defaults to ZUM_IBT_SAMPLES, else ../shared/ibt beside the checkout; without
// it the seeds are the generated ones alone.

#include "carinfo.h"
#include "drivewriter.h"
#include "irsdk.h"
#include "liveplugininfo.h"
#include "sample.h"
#include "sessiongenerator.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QIODevice>

#include <cstdio>
#include <cstring>
#include <limits>

using Scenario = SessionGenerator::Scenario;

namespace {

// As much of a recorded file as the import target reads: the fixed part and the first records.
constexpr qint64 recordedPrefix = 64 * 1024;
// Levels of the deepest session text found so far, one list item per line.
constexpr int nestedLevels = 106000;

bool save(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size())
        return true;
    std::fprintf(stderr, "fuzz-seeds: cannot write %s\n", qPrintable(path));
    return false;
}

// A session short enough for a seed: one short lap with its out and in laps, no car arrays.
SessionGenerator::Options shortSession(Scenario scenario)
{
    SessionGenerator::Options options;
    options.scenario = scenario;
    options.laps = 1;
    options.lapTime = 10.0;
    options.trackLength = 300.0;
    options.otherCars = 1;
    options.carArrays = false;
    options.carSetup = SessionGenerator::CarSetupStyle::None;
    return options;
}

QByteArray deeplyNestedText()
{
    return "---\n" + QByteArray("-\n").repeated(nestedLevels) + "...\n";
}

bool writeImportSeeds(const QDir &dir)
{
    bool ok = true;
    const std::pair<const char *, Scenario> scenarios[] = {
        {"practice", Scenario::Practice},
        {"race", Scenario::Race},
        {"replay", Scenario::Replay},
        {"session-change", Scenario::SessionChange},
    };
    for (const auto &[name, scenario] : scenarios)
        ok &= SessionGenerator(shortSession(scenario))
                  .write(dir.filePath(QString::fromLatin1(name) + QStringLiteral(".ibt")));

    SessionGenerator::Options version1 = shortSession(Scenario::Practice);
    version1.version = 1;
    ok &= SessionGenerator(version1).write(dir.filePath(QStringLiteral("version-1.ibt")));
    // Per-car arrays make records twenty times longer: the start of such a file is enough.
    SessionGenerator::Options carArrays = shortSession(Scenario::Race);
    carArrays.carArrays = true;
    carArrays.carSetup = SessionGenerator::CarSetupStyle::Prototype;
    carArrays.truncateAt = recordedPrefix;
    ok &= SessionGenerator(carArrays).write(dir.filePath(QStringLiteral("car-arrays-cut.ibt")));
    SessionGenerator::Options negative = shortSession(Scenario::Practice);
    negative.overrides.bufLen = -5;
    negative.truncateAt = recordedPrefix;
    ok &= SessionGenerator(negative).write(dir.filePath(QStringLiteral("negative-length.ibt")));

    // The faults found so far.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    ok &= DriveWriter::writeLastLapTime(dir.filePath(QStringLiteral("nan-last-lap-time.ibt")),
                                        false, nan);
    ok &= DriveWriter::writeLastLapTime(
        dir.filePath(QStringLiteral("replay-huge-last-lap-time.ibt")), true, 1e7);
    ok &= DriveWriter::writeLapCounter(dir.filePath(QStringLiteral("float-lap-counter-1e10.ibt")),
                                       irsdk_float, 1e10);
    IbtWriter deep;
    deep.setSessionInfo(deeplyNestedText());
    deep.addVariable("SessionTime", irsdk_double, 1, "s");
    ok &= deep.open(dir.filePath(QStringLiteral("deeply-nested-session-text.ibt")));
    ok &= deep.appendRecord() && deep.finish();
    return ok;
}

bool writeSessionTextSeeds(const QDir &dir)
{
    bool ok = true;
    const std::pair<const char *, SessionGenerator::CarSetupStyle> setups[] = {
        {"practice-gt-setup.txt", SessionGenerator::CarSetupStyle::Gt},
        {"practice-prototype-setup.txt", SessionGenerator::CarSetupStyle::Prototype},
        {"practice-no-setup.txt", SessionGenerator::CarSetupStyle::None},
    };
    for (const auto &[name, setup] : setups) {
        SessionGenerator::Options options;
        options.carSetup = setup;
        ok &= save(dir.filePath(QString::fromLatin1(name)),
                   SessionGenerator(options).sessionInfo());
    }
    SessionGenerator::Options race;
    race.scenario = Scenario::Race;
    ok &= save(dir.filePath(QStringLiteral("race.txt")), SessionGenerator(race).sessionInfo());
    SessionGenerator::Options replay;
    replay.scenario = Scenario::Replay;
    ok &= save(dir.filePath(QStringLiteral("replay.txt")), SessionGenerator(replay).sessionInfo());
    SessionGenerator::Options noPlayer;
    noPlayer.player = false;
    ok &= save(dir.filePath(QStringLiteral("no-player.txt")),
               SessionGenerator(noPlayer).sessionInfo());
    ok &= save(dir.filePath(QStringLiteral("deeply-nested.txt")), deeplyNestedText());
    return ok;
}

// Each record streamed after the byte that tells the target which record it is: 0 a car,
// 1 a car list, 2 a sample, all in the host's own stream version.
QByteArray streamed(char kind, const auto &record)
{
    QByteArray bytes(1, kind);
    QDataStream stream(&bytes, QIODevice::WriteOnly | QIODevice::Append);
    stream << record;
    return bytes;
}

bool writeStreamSeeds(const QDir &dir)
{
    ZUM::SDK::CarInfo car;
    car.carId = QStringLiteral("7");
    car.sourceName = QStringLiteral("iRacing");
    car.pluginName = QStringLiteral("ZUM iRacing ibt import plugin");
    car.carName = QStringLiteral("Mercedes AMG GT4");
    car.className = QStringLiteral("GT4");
    car.driverName = QStringLiteral("Marta Lindqvist");
    car.teamName = QStringLiteral("Lindqvist Racing");
    car.status = 2;
    car.detailedTelemetry = false;
    ZUM::SDK::LivePluginInfo list;
    list.sourceName = car.sourceName;
    list.pluginName = car.pluginName;
    list.carInfoList = {car, ZUM::SDK::CarInfo()};
    ZUM::SDK::Sample sample;
    static_cast<ZUM::SDK::CarInfo &>(sample) = car;

    bool ok = save(dir.filePath(QStringLiteral("car.bin")), streamed(0, car));
    ok &= save(dir.filePath(QStringLiteral("new-car.bin")), streamed(0, ZUM::SDK::CarInfo()));
    ok &= save(dir.filePath(QStringLiteral("car-list.bin")), streamed(1, list));
    ok &= save(dir.filePath(QStringLiteral("empty-car-list.bin")),
               streamed(1, ZUM::SDK::LivePluginInfo()));
    ok &= save(dir.filePath(QStringLiteral("sample.bin")), streamed(2, sample));
    return ok;
}

// The start of every recorded file for the import, its session text for the parser.
bool writeRecordedSeeds(const QDir &recorded, const QDir &import, const QDir &sessionText)
{
    bool ok = true;
    for (const QString &name : recorded.entryList({QStringLiteral("*.ibt")}, QDir::Files)) {
        QFile file(recorded.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray start = file.read(recordedPrefix);
        ok &= save(import.filePath(name), start);

        irsdk_header header;
        if (file.seek(0)
            && file.read(reinterpret_cast<char *>(&header), sizeof header) == qint64(sizeof header)
            && header.sessionInfoLen > 0 && file.seek(header.sessionInfoOffset)) {
            QByteArray text = file.read(header.sessionInfoLen);
            // The simulator pads the text's area with zero bytes.
            text.truncate(qsizetype(qstrnlen(text.constData(), size_t(text.size()))));
            if (!text.isEmpty())
                ok &= save(sessionText.filePath(name + QStringLiteral(".txt")), text);
        }
    }
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 2 || arguments.size() > 3) {
        std::fprintf(stderr, "usage: fuzz-seeds OUTPUT [RECORDED_FOLDER]\n");
        return 2;
    }
    const QDir output(arguments[1]);
    QString recorded
        = arguments.size() == 3 ? arguments[2] : qEnvironmentVariable("ZUM_IBT_SAMPLES");
    if (recorded.isEmpty())
        recorded = QStringLiteral(ZUM_DEFAULT_IBT_SAMPLES);

    const QString targets[]
        = {QStringLiteral("import"), QStringLiteral("sessiontext"), QStringLiteral("streams")};
    for (const QString &target : targets) {
        QDir(output.filePath(target)).removeRecursively();
        if (!output.mkpath(target)) {
            std::fprintf(stderr, "fuzz-seeds: cannot create %s\n",
                         qPrintable(output.filePath(target)));
            return 1;
        }
    }
    const QDir import(output.filePath(targets[0]));
    const QDir sessionText(output.filePath(targets[1]));
    bool ok = writeImportSeeds(import) && writeSessionTextSeeds(sessionText)
        && writeStreamSeeds(QDir(output.filePath(targets[2])));
    if (QDir(recorded).exists())
        ok &= writeRecordedSeeds(QDir(recorded), import, sessionText);
    return ok ? 0 : 1;
}
