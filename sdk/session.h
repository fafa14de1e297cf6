#pragma once

#include "zumsdk_global.h"

#include <QMap>
#include <QString>

namespace ZUM::SDK {

// The kind of session a lap belongs to. Kinds without a value of their own are Other.
enum class Session : qint32 {
    Unknown = -1,
    Test = 0,
    Practice = 1,
    Qualify = 2,
    Warmup = 3,
    FormationLap = 4,
    Race = 5,
    TimeAttack = 6,
    Hotlap = 7,
    Drift = 8,
    Drag = 9,
    Hotstint = 10,
    Superpole = 11,
    Other = 127,
};

// Display texts of the session kinds, built when the library loads and never changed.
ZUMSDK_EXPORT extern const QMap<Session, QString> names;

// The display text of a session kind; "Unknown session" for a value that is not a kind.
ZUMSDK_EXPORT QString sessionName(Session session);

} // namespace ZUM::SDK
