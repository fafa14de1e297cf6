#include "sessionresults.h"

#include "field.h"
#include "routeplan.h"

#include <algorithm>

SessionResults::SessionResults(const SessionGenerator::Options &options, const RoutePlan &plan,
                               const Field &field, const QList<SessionGenerator::Lap> &laps,
                               double endTime)
    : m_options(options)
    , m_field(field)
    , m_laps(laps)
    , m_race(options.scenario == SessionGenerator::Scenario::Race)
    , m_endTime(endTime)
    , m_playerEndDistance(plan.distanceAt(endTime))
{ }

SessionResults::Row SessionResults::player(int sessionNum, bool recorded) const
{
    Row mine;
    mine.carIdx = m_options.playerCarIdx;
    if (!recorded) {
        mine.lapsComplete = 6 + sessionNum;
        mine.fastestTime = m_options.lapTime + 0.3 - 0.2 * sessionNum;
        mine.lastTime = mine.fastestTime + 0.4;
        mine.fastestLap = 3;
        return mine;
    }
    for (const SessionGenerator::Lap &lap : m_laps) {
        if (lap.sessionNum != sessionNum)
            continue;
        if (lap.complete)
            ++mine.lapsComplete;
        if (lap.lapTime > 0.0) {
            mine.lastTime = lap.lapTime;
            if (mine.fastestTime < 0.0 || lap.lapTime < mine.fastestTime) {
                mine.fastestTime = lap.lapTime;
                mine.fastestLap = lap.lap;
            }
        }
    }
    mine.distance = m_playerEndDistance;
    return mine;
}

std::vector<SessionResults::Row> SessionResults::standings(int sessionNum, bool recorded) const
{
    std::vector<Row> rows = {player(sessionNum, recorded)};
    for (const Field::Car &car : m_field.cars()) {
        Row row;
        row.carIdx = car.carIdx;
        if (recorded) {
            const double d = m_field.distanceOf(car, m_endTime, m_playerEndDistance);
            const int lap = m_field.lapOf(car, d);
            row.lapsComplete = std::max(0, lap - 1);
            const bool timed = m_field.isTimed(lap);
            row.fastestTime = timed ? car.lapTime : -1.0;
            row.lastTime = timed ? car.lapTime : -1.0;
            row.fastestLap = timed ? std::max(1, lap - 1) : 0;
            row.distance = d;
        } else {
            row.lapsComplete = 5 + (car.carIdx + sessionNum) % 4;
            row.fastestTime = car.lapTime + 0.3 - 0.2 * sessionNum;
            row.lastTime = row.fastestTime + 0.25;
            row.fastestLap = 2 + car.carIdx % 3;
        }
        rows.push_back(row);
    }
    const bool race = m_race && recorded;
    if (race) {
        const auto leader
            = std::max_element(rows.begin(), rows.end(), [](const auto &a, const auto &b) {
                  return a.distance < b.distance;
              });
        leader->lapsLed = leader->lapsComplete;
    }
    std::stable_sort(rows.begin(), rows.end(), [&](const Row &a, const Row &b) {
        if (race)
            return a.distance > b.distance;
        const bool aTimed = a.fastestTime > 0.0;
        const bool bTimed = b.fastestTime > 0.0;
        if (aTimed != bTimed)
            return aTimed;
        return aTimed && a.fastestTime < b.fastestTime;
    });
    return rows;
}

const SessionResults::Row *SessionResults::fastest(const std::vector<Row> &rows)
{
    const auto best = std::min_element(rows.begin(), rows.end(), [](const Row &a, const Row &b) {
        const double x = a.fastestTime > 0.0 ? a.fastestTime : 1e9;
        const double y = b.fastestTime > 0.0 ? b.fastestTime : 1e9;
        return x < y;
    });
    return best != rows.end() && best->fastestTime > 0.0 ? &*best : nullptr;
}
