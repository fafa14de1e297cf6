#pragma once

#include "carstatus.h"
#include "session.h"

#include <QString>
#include <QUuid>

// The lap-relevant state of one car at one tick. A recorder keeps three of them (this tick and
// the two before) so that changes between ticks can be told apart from steady values.
class RecorderSample
{
public:
    QUuid lapId; // the lap this tick belongs to
    QUuid stintId;
    QString note; // read by nothing, kept deliberately like auxA
    qint32 lap = -1; // -1 while the lap number is not known
    qint32 lapInStint = -1; // 0 at a stint start, one more with every lap started
    qint32 stint = 0;
    qint32 sessionNum = -1; // a change between ticks means the session was restarted
    // 0..1. At or below -0.5 tick processing takes the car as not in the world; isCarInWorld()
    // draws the line at -0.2.
    float lapDistPct = -1.0f;
    float speed = -1.0f;
    float lapDist = -1.0f; // metres along the lap
    float lapTime = -1.0f; // the running lap clock, seconds
    float lastLapTime = -1.0f; // seconds
    // Read by nothing, like note and flag; kept deliberately, so that the recorder's state
    // stays, field for field, the one the lap logic was verified with.
    qint32 auxA = -1;
    qint32 auxB = -1;
    qint32 sessionState = 0; // 1..3 before the race start, 4 racing
    ZUM::SDK::CarStatus status = ZUM::SDK::CarStatus::Undefined;
    ZUM::SDK::Session sessionType = ZUM::SDK::Session::Unknown;
    bool lapCompleted = false;
    bool lapAborted = false;
    bool flag = false; // read by nothing, kept deliberately like auxA
    quint64 sessionTick = 0; // the simulator's tick counter when this state was taken
};
