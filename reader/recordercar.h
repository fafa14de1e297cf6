#pragma once

#include "recordersample.h"

#include "lap.h"
#include "sample.h"

#include <QSharedPointer>

// Follows one car from tick to tick: its status, the lap being recorded and the verdicts on
// whether that lap has just been completed or aborted.
class RecorderCar
{
public:
    // Shifts the history by one tick and starts the lap that the last hand-over left pending.
    void prepareTick();
    // Moves the car to its status for this tick, starts a new lap and stint when an out lap
    // begins, and stores the completion verdict. Call after this tick's values are in current.
    void updateCarStatus(bool inPitStall, bool onPitRoad, bool onTrack);
    // Makes the prepared lap the one under way and numbers it.
    void startLap();
    void startStint();
    bool isLapCompleted() const;
    bool isLapAborted() const;

    RecorderSample current;
    RecorderSample previous;
    RecorderSample beforePrevious;
    ZUM::SDK::Sample sample; // this tick's raw values of the car
    QSharedPointer<ZUM::SDK::Lap> lap = QSharedPointer<ZUM::SDK::Lap>::create(); // under way
    // Prepared in advance; it also takes the samples recorded past the line before the
    // completion verdict.
    QSharedPointer<ZUM::SDK::Lap> nextLap = QSharedPointer<ZUM::SDK::Lap>::create();
    bool detailedTelemetry = false; // the player's car, with the full set of variables
    // Decide completion and abort by lap clock and lap distance instead of lap number and
    // status: files that carry only the player's car.
    bool useLapDistance = false;
    bool startLapPending = false; // the lap was handed over; the next tick starts a new one
    // Samples of the last lap handed over: the next lap's channels reserve about as many.
    qint64 lastLapSamples = 0;
};
