#pragma once

#include <QString>

// Why a file gives no laps, found by reading the player's records with the project's read
// side of .ibt files: "the file holds no records", "the car stayed in the pit stall for all
// 899 records", "the car covered 12% of a lap and never crossed the line"...
class NoLapsReason
{
public:
    // Empty when the file cannot be read at all: that has its own message.
    static QString of(const QString &path);
};
