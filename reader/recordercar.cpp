#include "recordercar.h"

#include <QUuid>

#include <cmath>

using ZUM::SDK::CarStatus;
using ZUM::SDK::Session;

namespace {

// Before the green flag the grid stands in the last part of the lap, behind the line: a car
// this far round is lined up, not on an out lap.
constexpr double GridLapFraction = 0.65;
// A car that leaves the pit lane this far round joins the grid rather than the running.
constexpr double PitExitGridLapFraction = 0.8;
// The lap clock reads at most this many seconds while it stands at zero.
constexpr double LapClockAtZero = 0.00001;
// A new lap resets the lap clock; a smaller fall is noise of the clock, not a new lap.
constexpr double LapClockResetDrop = 5.0;

bool isRaceBeforeStart(const RecorderSample &sample)
{
    // Get in car, warm-up and parade laps.
    return sample.sessionType == Session::Race && sample.sessionState >= 1
        && sample.sessionState <= 3;
}

bool isRaceRunning(const RecorderSample &sample)
{
    return sample.sessionType == Session::Race && sample.sessionState == 4;
}

// The car is not driving a lap that could be recorded.
bool isNotOnALap(CarStatus status)
{
    switch (status) {
    case CarStatus::Undefined:
    case CarStatus::NotInWorld:
    case CarStatus::InPitStall:
    case CarStatus::InPitLane:
        return true;
    default:
        return false;
    }
}

bool isLapClockAtZero(float lapTime)
{
    return std::abs(double(lapTime)) <= LapClockAtZero;
}

} // namespace

void RecorderCar::prepareTick()
{
    beforePrevious = previous;
    previous = current;
    if (startLapPending) {
        startLap();
        startLapPending = false;
    }
}

void RecorderCar::updateCarStatus(bool inPitStall, bool onPitRoad, bool onTrack)
{
    if (inPitStall || onPitRoad) {
        current.status = inPitStall ? CarStatus::InPitStall : CarStatus::InPitLane;
        return;
    }
    if (!onTrack)
        return;

    const double pct = current.lapDistPct;
    const CarStatus previousStatus = previous.status;
    bool outLapStarts = false;

    if (isRaceBeforeStart(current)) {
        if (previousStatus != CarStatus::OutLap && pct > GridLapFraction) {
            current.status = CarStatus::WaitingForStart;
        } else {
            current.status = CarStatus::OutLap;
            outLapStarts = previousStatus != CarStatus::OutLap;
        }
    } else if (isRaceRunning(current) && previousStatus == CarStatus::OutLap) {
        // Still on the grid behind the line, or already across it at the start.
        current.status = pct > GridLapFraction ? CarStatus::OutLap : CarStatus::FlyingLap;
    } else {
        switch (previousStatus) {
        case CarStatus::NotConnected:
        case CarStatus::NotInWorld:
            break;
        case CarStatus::Undefined:
        case CarStatus::WaitingForStart:
        case CarStatus::InPitStall:
            current.status = CarStatus::OutLap;
            outLapStarts = true;
            break;
        case CarStatus::InPitLane:
            if (pct > PitExitGridLapFraction) {
                current.status = CarStatus::WaitingForStart;
            } else {
                current.status = CarStatus::OutLap;
                outLapStarts = true;
            }
            break;
        case CarStatus::OutLap:
        case CarStatus::FlyingLap:
        case CarStatus::OnTrack:
        case CarStatus::OffTrack:
            break;
        }
    }

    if (outLapStarts) {
        // Entering the pits already handed the previous lap over, so the lap under way is
        // normally empty and is replaced without a hand-over.
        startLap();
        startStint();
    }

    current.lapCompleted = isLapCompleted();
    if (current.lapCompleted && current.status == CarStatus::OutLap)
        current.status = CarStatus::FlyingLap;
}

void RecorderCar::startLap()
{
    // Emptied deliberately: the tick that starts an out lap adds no sample to it, so laps
    // begin as hosts have always received them.
    sample.dynamicData.clear();
    lap = nextLap;
    nextLap = QSharedPointer<ZUM::SDK::Lap>::create();
    startLapPending = false;
    ++current.lapInStint;
    lap->header().lapNumber = current.lap;
    current.lapId = QUuid::createUuid();
    lap->header().lapInStint = current.lapInStint;
}

void RecorderCar::startStint()
{
    current.stintId = QUuid::createUuid();
    current.lapInStint = 0;
    ++current.stint;
}

bool RecorderCar::isLapCompleted() const
{
    const qint32 previousLap = previous.lap;
    if (previousLap < 0 || current.status == CarStatus::WaitingForStart
        || previous.status == CarStatus::WaitingForStart || previous.lapAborted)
        return false;

    // Other cars only tell their lap number.
    if (!detailedTelemetry)
        return current.lap != previousLap;

    if (current.status == CarStatus::FlyingLap && previous.status == CarStatus::OutLap)
        return true;

    if (isLapClockAtZero(current.lapTime))
        return current.lap >= 0 && current.lap > previousLap;

    // Otherwise the lap clock must have been reset since the previous tick.
    if (!ZUM::SDK::isValidValue(previous.lapTime))
        return false;
    if (!useLapDistance && (current.lapTime <= 0 || previous.lapTime <= 0))
        return false;
    return previous.lapTime - current.lapTime > LapClockResetDrop;
}

bool RecorderCar::isLapAborted() const
{
    if (previous.lap < 0 || current.status == CarStatus::WaitingForStart)
        return false;

    if (useLapDistance) {
        const bool lapCounterReset = previous.lap != 0 && current.lap == 0;
        if (lapCounterReset)
            return true;
        // The lap distance falls to exactly zero for a single tick when the lap is reset.
        return beforePrevious.lapDist > 0 && previous.lapDist == 0 && current.lapDist > 0;
    }

    // Leaving the track ends the lap; a car that was already off it had no lap to abort.
    if (isNotOnALap(previous.status))
        return false;
    return isNotOnALap(current.status);
}
