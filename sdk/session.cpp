#include "session.h"

namespace ZUM::SDK {

const QMap<Session, QString> names = {
    {Session::Unknown, QStringLiteral("Unknown session")},
    {Session::Test, QStringLiteral("Test session")},
    {Session::Practice, QStringLiteral("Practice")},
    {Session::Qualify, QStringLiteral("Qualify")},
    {Session::Warmup, QStringLiteral("Warmup")},
    {Session::FormationLap, QStringLiteral("Formation lap")},
    {Session::Race, QStringLiteral("Race")},
    {Session::TimeAttack, QStringLiteral("TimeAttack")},
    {Session::Hotlap, QStringLiteral("Hotlap")},
    {Session::Drift, QStringLiteral("Drift")},
    {Session::Drag, QStringLiteral("Drag")},
    {Session::Hotstint, QStringLiteral("Hotstint")},
    {Session::Superpole, QStringLiteral("Superpole")},
    {Session::Other, QStringLiteral("Other session")},
};

QString sessionName(Session session)
{
    return names.value(session, QStringLiteral("Unknown session"));
}

} // namespace ZUM::SDK
