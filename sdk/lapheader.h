#pragma once

#include "carinfo.h"
#include "dynamicdata.h"
#include "session.h"
#include "zumsdk_global.h"

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QTime>
#include <QUuid>

namespace ZUM::SDK {

// The lap time of a lap without one (not completed, or its time not to be trusted): 3599 s,
// which the host shows as 59:59.000.
inline constexpr int UntimedLapSeconds = 3599;
inline constexpr QTime UntimedLapTime = QTime::fromMSecsSinceStartOfDay(UntimedLapSeconds * 1000);

// What the host shows about a lap: fixed fields plus free-form named values.
class ZUMSDK_EXPORT LapHeader
{
public:
    DynamicData dynamicData; // track, weather, fuel and set-up facts of the lap's session
    CarInfo carInfo; // the car and driver that drove the lap
    QDateTime dateTime; // when the lap was driven
    QString comment; // the host's own note on the lap; the import leaves it null
    QTime lapTime; // 00:00:00.000 plus the lap time; UntimedLapTime when there is none
    QString trackName;
    QString trackConfigName;
    QUuid lapId;
    QUuid stintId;
    QUuid sessionId;
    qint32 lapNumber = 0;
    qint32 lapInStint = 0;
    qint32 stint = 0;
    Session session = Session::Unknown;
    qint32 flyingLap = -1; // -1 not known, 0 out lap, 1 flying lap
    bool completed = false; // crossed the line, rather than aborted or cut
};

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(ZUM::SDK::LapHeader)
