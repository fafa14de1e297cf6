#include "derivedchannels.h"

#include "lapkeys.h"

#include <QDebug>

#include <cmath>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::Value;

namespace {

// A lap whose first lap fraction is below this begins at the line: its lap clock starts at 0.
constexpr double LapStartFraction = 0.01;
constexpr double MetresPerKilometre = 1000.0;
// A speed entry is a glitch of the differencing when it reverses the trend, its rise and fall
// together are more than PeakFactor times the net change, and the speed climbs by more than
// PeakStep into or out of it (deliberately a climb only: a drop of any size does not count).
constexpr double PeakFactor = 5.0;
constexpr double PeakStep = 5.0;

// Channel entry i, or the invalid marker past the end of a channel left short by a sample.
double at(const Channel &channel, qint64 i)
{
    return i < channel.size() ? channel.value(i) : ZUM::SDK::InvalidValue;
}

// From each sample to the next; the last entry repeats the one before it.
QSharedPointer<Channel> timeSteps(const Channel &sessionTime)
{
    const int n = int(sessionTime.size());
    auto dt = QSharedPointer<Channel>::create();
    dt->reserve(n);
    for (int i = 0; i < n; ++i) {
        if (i < n - 1)
            dt->append(sessionTime.value(i + 1) - sessionTime.value(i));
        else
            dt->append(n >= 2 ? dt->value(n - 2) : 0.0);
    }
    return dt;
}

// The time since the lap's first sample, summed from the time steps.
QSharedPointer<Channel> lapClock(const Channel &dt)
{
    auto lapTime = QSharedPointer<Channel>::create();
    lapTime->reserve(dt.size());
    double elapsed = 0.0;
    for (qint64 i = 0; i < dt.size(); ++i) {
        lapTime->append(elapsed);
        elapsed += dt.value(i);
    }
    return lapTime;
}

// A single sample that jumps against the trend of its neighbours is a glitch of the
// differencing, not the car: it is replaced by their mean.
void repairSpeedPeaks(Channel &speed)
{
    const int n = int(speed.size());
    for (int i = 1; n >= 3 && i <= n - 2; ++i) {
        const double rise = speed.value(i) - speed.value(i - 1);
        const double fall = speed.value(i + 1) - speed.value(i);
        const bool reverses = rise * fall < 0;
        const bool large = std::abs(rise) + std::abs(fall) > PeakFactor * std::abs(rise + fall);
        if (reverses && large && (rise > PeakStep || fall > PeakStep)) {
            qDebug() << "peak detected" << i << speed.value(i - 1) << speed.value(i)
                     << speed.value(i + 1);
            speed.setValue(i, (speed.value(i - 1) + speed.value(i + 1)) * 0.5);
            qDebug() << "peak fixed" << speed.value(i);
        }
    }
}

void addDistanceAndSpeed(Lap &lap, const Channel &fraction, const Channel &sessionTime,
                         const Channel &dt, double trackLength)
{
    const int n = int(sessionTime.size());
    const double metresPerLap = trackLength * MetresPerKilometre;
    auto distance = QSharedPointer<Channel>::create();
    distance->setUnit(QStringLiteral("m"));
    auto speed = QSharedPointer<Channel>::create();
    speed->setUnit(QStringLiteral("m/") + sessionTime.unit());
    distance->reserve(n);
    speed->reserve(n);
    for (int i = 0; i < n; ++i)
        distance->append(at(fraction, i) * metresPerLap);
    for (int i = 0; i < n; ++i) {
        if (i < n - 1)
            speed->append((distance->value(i + 1) - distance->value(i)) / dt.value(i));
        else
            speed->append(n >= 2 ? speed->value(n - 2) : 0.0);
    }
    repairSpeedPeaks(*speed);
    lap.addChannel(speed, LapKeys::speed);
    lap.addChannel(distance, LapKeys::lapDist);
}

} // namespace

void DerivedChannels::applyYawOffset(Lap &lap)
{
    // Deliberately "yawOffset" and "Yaw": the session information stores the north offset as
    // "YawOffset" and the heading is recorded as "yaw", so the heading stays the simulator's.
    const QString offsetKey = QStringLiteral("yawOffset");
    ZUM::SDK::DynamicData &header = lap.header().dynamicData;
    const double yawOffset = header.value(offsetKey).toDouble();
    if (const QSharedPointer<Channel> yaw = lap.channel(QStringLiteral("Yaw"))) {
        for (qint64 i = 0; i < yaw->size(); ++i)
            yaw->setValue(i, yaw->value(i) + yawOffset);
    }
    header.removeValue(offsetKey);
}

void DerivedChannels::addFuelWeight(Lap &lap)
{
    const QSharedPointer<Channel> fuelLevel = lap.channel(QStringLiteral("fuellevel"));
    const double kgPerLitre = lap.header().dynamicData.value(LapKeys::kgPerFuelLitre).toDouble();
    if (fuelLevel && std::abs(kgPerLitre) > NoFuelDensity) {
        auto fuelWeight = QSharedPointer<Channel>::create();
        fuelWeight->setUnit(QStringLiteral("kg"));
        fuelWeight->reserve(fuelLevel->size());
        for (qint64 i = 0; i < fuelLevel->size(); ++i)
            fuelWeight->append(kgPerLitre * fuelLevel->value(i));
        lap.addChannel(fuelWeight, QStringLiteral("fuelweight"));
    }
}

void DerivedChannels::rebuildTiming(Lap &lap, bool withDistanceAndSpeed)
{
    const QSharedPointer<Channel> fraction = lap.channel(LapKeys::lapDistPct);
    const QSharedPointer<Channel> sessionTime = lap.channel(LapKeys::sessionTime);
    if (!fraction || !sessionTime)
        return;
    const QSharedPointer<Channel> dt = timeSteps(*sessionTime);
    if (!dt->isEmpty() && at(*fraction, 0) < LapStartFraction)
        lap.addChannel(lapClock(*dt), LapKeys::lapCurrentLapTime);
    const Value trackLength = lap.header().dynamicData.value(LapKeys::trackLength);
    if (withDistanceAndSpeed && trackLength.isValid())
        addDistanceAndSpeed(lap, *fraction, *sessionTime, *dt, trackLength.toDouble());
    lap.addChannel(dt, QStringLiteral("dt"));
}
