#include "field.h"

#include "lapprofile.h"
#include "routeplan.h"

#include <algorithm>
#include <cmath>
#include <utility>

Field::Field(const Options &o, const RoutePlan &plan)
    : m_playerGrid(std::min(o.otherCars, 2) + 1)
    , m_race(o.scenario == SessionGenerator::Scenario::Race)
    , m_length(plan.length())
    , m_startTime(o.startTime)
    , m_startLap(o.startLap)
    , m_greenTime(plan.greenTime())
    , m_playerGreenDistance(double(o.paradeLaps) * plan.length())
    , m_firstCountedLine(plan.firstCountedLine())
{
    std::vector<int> free;
    for (int idx = 0; idx < SessionGenerator::CarSlots && int(free.size()) < o.otherCars; ++idx) {
        if (idx != o.playerCarIdx)
            free.push_back(idx);
    }
    for (size_t j = 0; j < free.size(); ++j) {
        Car car;
        car.carIdx = free[j];
        const double step = 0.006 * double(j / 2 + 1);
        car.lapTime = o.lapTime * (j % 2 == 0 ? 1.0 + step : 1.0 - step * 0.5);
        car.phase = std::fmod(0.37 + 0.29 * double(j), 1.0);
        car.startLap = 2 + int(j % 5);
        car.gridPosition = int(j) + 1 >= m_playerGrid ? int(j) + 2 : int(j) + 1;
        car.gap = double(m_playerGrid - car.gridPosition) * 16.0;
        m_cars.push_back(car);
    }
    m_carIdxs = free;
    m_carIdxs.push_back(o.playerCarIdx);
    std::sort(m_carIdxs.begin(), m_carIdxs.end());

    std::vector<std::pair<double, int>> order;
    order.push_back({o.lapTime, o.playerCarIdx});
    for (const Car &car : m_cars)
        order.push_back({car.lapTime, car.carIdx});
    std::sort(order.begin(), order.end());
    for (size_t i = 0; i < order.size(); ++i)
        m_practicePosition[size_t(order[i].second)] = int(i) + 1;
}

double Field::distanceOf(const Car &car, double t, double playerDistance) const
{
    if (!m_race)
        return m_length
            * (car.phase + LapProfile::distanceFraction((t - m_startTime) / car.lapTime));
    if (m_greenTime < 0.0 || t < m_greenTime)
        return playerDistance + car.gap;
    return m_playerGreenDistance + car.gap
        + m_length * LapProfile::distanceFraction((t - m_greenTime) / car.lapTime);
}

int Field::lapOf(const Car &car, double distance) const
{
    const int64_t line = int64_t(std::floor(distance / m_length));
    if (!m_race)
        return car.startLap + int(line);
    return m_startLap + int(std::max<int64_t>(0, line - m_firstCountedLine + 1));
}
