#include "sessionsummary.h"

#include "lapranking.h"
#include "laptime.h"

namespace {

void addTimes(SessionSummary &summary, const Laps &laps)
{
    double sum = 0.0;
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        if (LapTime::isTimedLap(lap->header())) {
            sum += LapTime::seconds(lap->header().lapTime);
            ++summary.timedLaps;
        }
    }
    if (summary.timedLaps == 0)
        return;
    summary.average = sum / summary.timedLaps;
    if (summary.timedLaps < 2)
        return;
    double squares = 0.0;
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        if (LapTime::isTimedLap(lap->header()))
            squares += std::pow(LapTime::seconds(lap->header().lapTime) - summary.average, 2);
    }
    summary.spread = std::sqrt(squares / (summary.timedLaps - 1));
}

void addTopSpeed(SessionSummary &summary, const Laps &laps)
{
    const QString name = QStringLiteral("speed");
    for (qsizetype i = 0; i < laps.size(); ++i) {
        for (const double speed : LapChannels::values(*laps[i], name)) {
            // While there is no top speed yet (NaN), the comparison is false.
            if (std::isnan(speed) || speed <= summary.topSpeed)
                continue;
            summary.topSpeed = speed;
            summary.topSpeedLap = i;
            summary.speedUnit = LapChannels::find(*laps[i], name)->unit();
        }
    }
}

void addFuel(SessionSummary &summary, const Laps &laps)
{
    const QString name = QStringLiteral("fuellevel");
    double used = 0.0;
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        if (!LapTime::isTimedLap(lap->header()))
            continue;
        double first = NAN;
        double last = NAN;
        for (const double level : LapChannels::values(*lap, name)) {
            if (std::isnan(level))
                continue;
            first = std::isnan(first) ? level : first;
            last = level;
        }
        if (!(first >= last))
            continue;
        used += first - last;
        ++summary.fuelLaps;
        summary.fuelUnit = LapChannels::find(*lap, name)->unit();
    }
    if (summary.fuelLaps > 0)
        summary.fuelPerLap = used / summary.fuelLaps;
}

} // namespace

SessionSummary SessionSummary::of(const Laps &laps)
{
    SessionSummary summary;
    summary.best = LapRanking::best(laps);
    addTimes(summary, laps);
    summary.ideal = IdealLap::of(laps, LapChannels::trackLength(laps));
    addTopSpeed(summary, laps);
    addFuel(summary, laps);
    return summary;
}
