#pragma once

#include "sessiongenerator.h"

#include <QList>

#include <vector>

class Field;
class RoutePlan;

// The results of each session of the session text: for the recorded sessions what the route
// and the field did by the last record, for a race weekend's earlier sessions made-up ones.
class SessionResults
{
public:
    struct Row
    {
        int carIdx = 0;
        int fastestLap = 0;
        double fastestTime = -1.0;
        double lastTime = -1.0;
        int lapsComplete = 0;
        int lapsLed = 0;
        double distance = 0.0; // race order
    };

    SessionResults(const SessionGenerator::Options &options, const RoutePlan &plan,
                   const Field &field, const QList<SessionGenerator::Lap> &laps, double endTime);

    // A session's rows in finishing order: a race's by distance covered, any other's by the
    // fastest lap, cars without a time last.
    std::vector<Row> standings(int sessionNum, bool recorded) const;
    // The row with the fastest lap; null when nobody has a time.
    static const Row *fastest(const std::vector<Row> &rows);

private:
    Row player(int sessionNum, bool recorded) const;

    const SessionGenerator::Options &m_options;
    const Field &m_field;
    const QList<SessionGenerator::Lap> &m_laps;
    bool m_race = false;
    double m_endTime = 0.0;
    double m_playerEndDistance = 0.0;
};
