#include "nolapsreason.h"

#include "ibtfile.h"
#include "tyamltree.h"

#include <QByteArray>

#include <cmath>
#include <optional>

namespace {

// A drop of the lap fraction by more than this between two records is a crossing of the line;
// a smaller one is the car rolling back.
constexpr double crossingDrop = 0.5;

const IbtVariable *findVariable(const QList<IbtVariable> &variables, const char *name)
{
    for (const IbtVariable &variable : variables) {
        if (variable.name == QLatin1String(name) && variable.count > 0)
            return &variable;
    }
    return nullptr;
}

std::optional<double> number(const IbtVariable *variable, const char *record)
{
    if (!variable)
        return std::nullopt;
    bool ok = false;
    const double value = variable->variant(record, 0).toDouble(&ok);
    return ok && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

// What the player's records tell of the car's driving.
struct Driving
{
    qint64 records = 0;
    qint64 onTrack = 0; // records out of the pit stall
    double covered = 0.0; // fractions of a lap, forwards
    bool crossed = false;
};

Driving readDriving(IbtFile &ibt)
{
    const QList<IbtVariable> &variables = ibt.variables();
    const IbtVariable *isOnTrack = findVariable(variables, "isontrack");
    const IbtVariable *inPitStall = findVariable(variables, "playercarinpitstall");
    const IbtVariable *fraction = findVariable(variables, "lapdistpct");

    constexpr qint64 chunk = 256;
    QByteArray buffer(qsizetype(ibt.recordLength()) * chunk, Qt::Uninitialized);
    Driving driving;
    double previous = NAN; // the last fraction on track, NaN after a break
    for (qint64 read; (read = ibt.readRecords(buffer.data(), chunk)) > 0;) {
        for (qint64 r = 0; r < read; ++r) {
            const char *record = buffer.constData() + r * ibt.recordLength();
            ++driving.records;
            // In the stall by the simulator's own flag where it has one, else by not being
            // on track, as the import takes it.
            const std::optional<double> stall = number(inPitStall, record);
            const std::optional<double> onTrack = number(isOnTrack, record);
            const bool moving = stall ? *stall == 0.0 : onTrack && *onTrack != 0.0;
            if (!moving) {
                previous = NAN;
                continue;
            }
            ++driving.onTrack;
            const std::optional<double> at = number(fraction, record);
            if (!at || *at < 0.0) {
                previous = NAN;
                continue;
            }
            if (!std::isnan(previous)) {
                const double step = *at - previous;
                if (step < -crossingDrop)
                    driving.crossed = true;
                else if (step > 0.0 && step < crossingDrop)
                    driving.covered += step;
            }
            previous = *at;
        }
    }
    return driving;
}

} // namespace

QString NoLapsReason::of(const QString &path)
{
    IbtFile ibt;
    if (ibt.open(path) != IbtFile::Status::Ok)
        return {};
    const qint32 version = ibt.header().ver;
    if (version != 1 && version != 2)
        return QStringLiteral("no laps: the header is no telemetry recording's (version %1)")
            .arg(version);
    if (ibt.wholeRecords() == 0)
        return QStringLiteral("no laps: the file holds no records");
    TYamlTree session;
    session.setYaml(ibt.sessionText());
    bool ok = false;
    session.pathValue("DriverInfo/DriverCarIdx").toInt(&ok);
    if (!ok)
        return QStringLiteral("no laps: the session text names no car of the player "
                              "(DriverInfo/DriverCarIdx)");
    // Live-memory dumps keep several record buffers; a recording on disk has one.
    if (ibt.header().numBuf > 1)
        return QStringLiteral("no laps: the file is a dump of the simulator's memory (%1 record "
                              "buffers), not a recording")
            .arg(ibt.header().numBuf);

    const Driving driving = readDriving(ibt);
    const qint64 inStall = driving.records - driving.onTrack;
    const int percent = int(std::lround(driving.covered * 100.0));
    if (percent == 0 && !driving.crossed) {
        if (inStall == driving.records)
            return QStringLiteral("no laps: the car stayed in the pit stall for all %1 records")
                .arg(driving.records);
        if (inStall > 0)
            return QStringLiteral("no laps: the car stayed in the pit stall for %1 of %2 "
                                  "records and did not move in the others")
                .arg(inStall)
                .arg(driving.records);
        return QStringLiteral("no laps: the car stood still on track for all %1 records")
            .arg(driving.records);
    }
    if (!driving.crossed)
        return QStringLiteral("no laps: the car covered %1% of a lap and never crossed the line")
            .arg(percent);
    return QStringLiteral("no laps: the car covered %1% of a lap in %2 of %3 records out of the "
                          "pit stall, and no lap came of it")
        .arg(percent)
        .arg(driving.onTrack)
        .arg(driving.records);
}
