#pragma once

#include "sessiongenerator.h"

#include <QByteArray>
#include <QString>

#include <vector>

class DriverRoster;
class Field;
class RoutePlan;
class SessionClock;
class SessionResults;
class SessionTextBuilder;

// The session text as the simulator writes it, Latin-1: the weekend with its track and
// weather, the sessions with their results, the cameras, the drivers, the sectors and the
// car set-up.
class SessionText
{
public:
    using Options = SessionGenerator::Options;
    using Summary = SessionGenerator::Summary;

    SessionText(const Options &options, const Summary &summary, const RoutePlan &plan,
                const SessionClock &clock, const Field &field);

    QByteArray text() const;

private:
    struct Session
    {
        int num;
        QString type;
        QString name;
        bool recorded; // from the route; a race weekend's earlier sessions are made up
    };
    std::vector<Session> sessions() const;

    void weekendInfo(SessionTextBuilder &t) const;
    void weekendOptions(SessionTextBuilder &t) const;
    void sessionInfo(SessionTextBuilder &t) const;
    void session(SessionTextBuilder &t, const Session &def, const SessionResults &results) const;
    void cameraInfo(SessionTextBuilder &t) const;
    void driverInfo(SessionTextBuilder &t) const;
    void drivers(SessionTextBuilder &t) const;
    void splitTimeInfo(SessionTextBuilder &t) const;
    void carSetup(SessionTextBuilder &t) const;
    void gtSetup(SessionTextBuilder &t, const QString &fuel) const;
    void prototypeSetup(SessionTextBuilder &t, const QString &fuel) const;

    const Options &m_options;
    const Summary &m_summary;
    const RoutePlan &m_plan;
    const SessionClock &m_clock;
    const Field &m_field;
};
