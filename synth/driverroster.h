#pragma once

#include "sessiongenerator.h"

#include <QString>

#include <vector>

class Field;

// The drivers of the session text: the player under the options' name, the other cars' from
// a fixed list, each with a car number, rating, licence and club of their own.
class DriverRoster
{
public:
    using Options = SessionGenerator::Options;

    struct Driver
    {
        int carIdx = 0;
        QString name;
        int userId = 0;
        int carNumber = 0;
        int iRating = 0;
        QString licence; // e.g. "A 4.99"
        QString licenceColour; // e.g. "0x0153db"
        int licLevel = 0;
        int licSubLevel = 0;
        QString club;
        QString division;
    };

    DriverRoster(const Options &options, const Field &field);

    // Every car with a driver entry, by car index.
    const std::vector<Driver> &drivers() const { return m_drivers; }

private:
    std::vector<Driver> m_drivers;
};
