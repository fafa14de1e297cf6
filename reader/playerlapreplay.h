#pragma once

#include "irtelemetryreader.h"

#include "lap.h"
#include "sample.h"

#include <QList>
#include <QSharedPointer>

// The player's laps as a replay of a file hands them over, tick by tick and at the end: the
// one place for which laps a replay yields, used by FileReplay. Laps without samples are never
// yielded.
class PlayerLapReplay
{
public:
    // The reader must have its session text and car list, and stay alive with the replay.
    explicit PlayerLapReplay(iRTelemetryReader &reader)
        : m_reader(reader)
    { }

    // Runs one tick on its samples (the cars swap theirs with them, see processTick()); the
    // player's lap that the tick handed over, when it holds samples, else null.
    QSharedPointer<ZUM::SDK::Lap> tick(QList<ZUM::SDK::Sample> &samples);
    // After the last tick: the lap under way closed as not completed, when it holds samples and
    // the last tick did not hand it over already; else null.
    QSharedPointer<ZUM::SDK::Lap> finish();

private:
    QSharedPointer<ZUM::SDK::Lap> handedOverLap() const;

    iRTelemetryReader &m_reader;
};
