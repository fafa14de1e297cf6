#pragma once

// Laps built by hand for the analysis tests: a lap on a straight track of a given length,
// driven at a speed that may change along it, sampled at the simulator's 60 ticks per
// second, with the channels the analysis reads.

#include "lap.h"

#include <QSharedPointer>
#include <QTime>

#include <cmath>
#include <functional>
#include <vector>

namespace TestLaps {

constexpr double tickRate = 60.0;

// A channel of the given values and unit.
inline QSharedPointer<ZUM::SDK::Channel> channel(const std::vector<double> &values,
                                                 const QString &unit)
{
    auto result = QSharedPointer<ZUM::SDK::Channel>::create();
    result->setUnit(unit);
    for (const double value : values)
        result->append(value);
    return result;
}

struct Drive
{
    double trackLength = 1000.0; // metres
    std::function<double(double)> speedAt = [](double) {
        return 50.0;
    }; // m/s at a distance
    double startSessionTime = 100.0;
    double startDistance = 0.4; // the first sample just past the line
    double endDistance = -1.0; // < 0: the whole lap
    double fuelAtStart = 50.0; // litres
    double fuelPerMetre = 0.001;
};

// The lap with "sessiontime", "lapdist", "lapdistpct", "speed", "fuellevel", "throttle",
// "brake" and "gear", and its header: lap number, completed, and the lap time the samples
// give, as the simulator's lap clock would count it from the line.
inline QSharedPointer<ZUM::SDK::Lap> drive(int lapNumber, const Drive &drive)
{
    const double end = drive.endDistance < 0 ? drive.trackLength : drive.endDistance;
    std::vector<double> time, distance, fraction, speed, fuel, throttle, brake, gear;
    double t = drive.startSessionTime;
    double d = drive.startDistance;
    while (d < end) {
        const double v = drive.speedAt(d);
        time.push_back(t);
        distance.push_back(d);
        fraction.push_back(d / drive.trackLength);
        speed.push_back(v);
        fuel.push_back(drive.fuelAtStart - drive.fuelPerMetre * d);
        throttle.push_back(v > 40.0 ? 1.0 : 0.2);
        brake.push_back(v > 40.0 ? 0.0 : 0.5);
        gear.push_back(v > 40.0 ? 4.0 : 3.0);
        t += 1.0 / tickRate;
        d += v / tickRate;
    }
    auto lap = QSharedPointer<ZUM::SDK::Lap>::create();
    lap->addChannel(channel(time, QStringLiteral("s")), QStringLiteral("sessiontime"));
    lap->addChannel(channel(distance, QStringLiteral("m")), QStringLiteral("lapdist"));
    lap->addChannel(channel(fraction, QStringLiteral("pu")), QStringLiteral("lapdistpct"));
    lap->addChannel(channel(speed, QStringLiteral("m/s")), QStringLiteral("speed"));
    lap->addChannel(channel(fuel, QStringLiteral("l")), QStringLiteral("fuellevel"));
    lap->addChannel(channel(throttle, QStringLiteral("pu")), QStringLiteral("throttle"));
    lap->addChannel(channel(brake, QStringLiteral("pu")), QStringLiteral("brake"));
    lap->addChannel(channel(gear, QString()), QStringLiteral("gear"));

    ZUM::SDK::LapHeader &header = lap->header();
    header.lapNumber = lapNumber;
    header.stint = 1;
    header.completed = drive.endDistance < 0;
    // The time from the line to the line: the first sample's own distance and the last
    // one's way to the line, at their speeds.
    const double fromLine = drive.startDistance / drive.speedAt(drive.startDistance);
    const double toLine = (end - distance.back()) / speed.back();
    const double seconds = time.back() - time.front() + fromLine + toLine;
    header.lapTime = header.completed ? QTime(0, 0).addMSecs(int(std::lround(seconds * 1000.0)))
                                      : ZUM::SDK::UntimedLapTime;
    header.dynamicData.setValue(QStringLiteral("Track length"), drive.trackLength / 1000.0,
                                QStringLiteral("km"));
    return lap;
}

// Gives the lap positions ("lat", "lon" in degrees) on a round track whose circumference is
// the track length, around a point in the north of Europe.
inline void addPositions(ZUM::SDK::Lap &lap, double trackLength)
{
    constexpr double earth = 6371008.8;
    constexpr double latitude = 52.0;
    constexpr double pi = 3.14159265358979323846;
    const double radius = trackLength / (2.0 * pi);
    const QSharedPointer<ZUM::SDK::Channel> distance = lap.channel(QStringLiteral("lapdist"));
    std::vector<double> lat, lon;
    for (qint64 i = 0; i < distance->size(); ++i) {
        const double angle = distance->value(i) / radius;
        lat.push_back(latitude + radius * std::sin(angle) / earth * 180.0 / pi);
        lon.push_back(5.0
                      + radius * std::cos(angle) / (earth * std::cos(latitude * pi / 180.0)) * 180.0
                          / pi);
    }
    lap.addChannel(channel(lat, QStringLiteral("deg")), QStringLiteral("lat"));
    lap.addChannel(channel(lon, QStringLiteral("deg")), QStringLiteral("lon"));
}

} // namespace TestLaps
