#include "carstatus.h"

#include <QHash>

namespace ZUM::SDK {

QString carStatusToString(CarStatus status)
{
    static const QHash<CarStatus, QString> texts = {
        {CarStatus::Undefined, QStringLiteral("Undefined")},
        {CarStatus::NotConnected, QStringLiteral("Not connected")},
        {CarStatus::NotInWorld, QStringLiteral("Not in world")},
        {CarStatus::WaitingForStart, QStringLiteral("Waiting for start")},
        {CarStatus::InPitStall, QStringLiteral("In pit stall")},
        {CarStatus::InPitLane, QStringLiteral("In pitlane")},
        {CarStatus::OutLap, QStringLiteral("Out lap")},
        {CarStatus::FlyingLap, QStringLiteral("Flying lap")},
        {CarStatus::OnTrack, QStringLiteral("On track")},
        {CarStatus::OffTrack, QStringLiteral("Off track")},
    };
    return texts.value(status);
}

} // namespace ZUM::SDK
