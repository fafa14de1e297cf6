#pragma once

#include "sessiongenerator.h"

#include <array>
#include <cstdint>
#include <vector>

class RoutePlan;

// The other cars on track: at the lowest free car indexes, each lapping steadily at its own
// pace on the lap profile; in practice spread around the lap, in a race lined up on the grid
// around the player and released at the green flag.
class Field
{
public:
    using Options = SessionGenerator::Options;

    struct Car
    {
        int carIdx = 0;
        double lapTime = 0.0;
        double phase = 0.0; // lap fraction at the first record (practice)
        int startLap = 1;
        double gap = 0.0; // metres ahead of the player on the grid (race)
        int gridPosition = 0;
    };

    Field(const Options &options, const RoutePlan &plan);

    const std::vector<Car> &cars() const { return m_cars; }
    // Every car with a driver entry, the player's among them, ascending.
    const std::vector<int> &carIdxs() const { return m_carIdxs; }
    // The player's slot on a race grid: third, or behind every other car of a smaller field.
    int playerGridPosition() const { return m_playerGrid; }
    // Practice positions follow the lap times.
    int practicePosition(int carIdx) const { return m_practicePosition[size_t(carIdx)]; }

    // The car's route distance at session time t, the player then at playerDistance.
    double distanceOf(const Car &car, double t, double playerDistance) const;
    // The car's Lap value at that route distance.
    int lapOf(const Car &car, double distance) const;
    // Whether the car has a lap time to show on that lap: a race's first lap has none.
    bool isTimed(int lap) const { return !m_race || lap >= 2; }

private:
    std::vector<Car> m_cars;
    std::vector<int> m_carIdxs;
    std::array<int, SessionGenerator::CarSlots> m_practicePosition {};
    int m_playerGrid = 1;
    // What the cars' laps follow: the track, the session's start, a race's green flag.
    bool m_race = false;
    double m_length = 0.0;
    double m_startTime = 0.0;
    int m_startLap = 0;
    double m_greenTime = -1.0;
    double m_playerGreenDistance = 0.0;
    int64_t m_firstCountedLine = 0;
};
