#pragma once

#include "sessiongenerator.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <vector>

class IbtWriter;

// The variables of a generated file: the channels the generator drives, as the options select
// them, then padding channels up to the width asked for, each with a plain wave over the lap,
// and the damaged descriptors a robustness test asks for.
class ChannelTable
{
public:
    using Options = SessionGenerator::Options;

    enum Channel {
        ChSessionTime,
        ChSessionTick,
        ChSessionNum,
        ChSessionState,
        ChSessionUniqueID,
        ChSessionFlags,
        ChSessionTimeRemain,
        ChIsReplayPlaying,
        ChReplayFrameNum,
        ChIsOnTrack,
        ChCarIdxLap,
        ChCarIdxLapCompleted,
        ChCarIdxLapDistPct,
        ChCarIdxTrackSurface,
        ChCarIdxOnPitRoad,
        ChCarIdxPosition,
        ChCarIdxLastLapTime,
        ChPlayerTrackSurface,
        ChPlayerCarInPitStall,
        ChOnPitRoad,
        ChThrottle,
        ChBrake,
        ChSteeringWheelAngle,
        ChGear,
        ChRPM,
        ChLap,
        ChLapCompleted,
        ChLapDist,
        ChLapDistPct,
        ChLapLastLapTime,
        ChLapCurrentLapTime,
        ChLastLapTime,
        ChSpeed,
        ChYaw,
        ChLat,
        ChLon,
        ChAlt,
        ChVelocityX,
        ChVelocityY,
        ChLatAccel,
        ChLongAccel,
        ChFuelLevel,
        ChFuelLevelPct,
        ChReplayPlaySpeed,
        ChannelCount
    };

    struct Padding
    {
        QByteArray name;
        int32_t type;
        int32_t count;
        QByteArray unit;
        QByteArray description;
        double base;
        double swing; // amplitude of the variation over a lap
        bool countAsTime;
    };

    explicit ChannelTable(const Options &options);

    // Adds every descriptor, in file order, to a writer not yet opened.
    void describe(IbtWriter &writer) const;
    // Each channel's variable index in a writer described by describe(); -1 when left out.
    std::array<int, ChannelCount> indexesIn(const IbtWriter &writer) const;
    const std::vector<Padding> &padding() const { return m_padding; }

    struct Definition; // of a channel the generator drives

private:
    static std::vector<const Definition *> coreChannels(const Options &options);
    static std::vector<Padding> paddingFor(const Options &options);
    void describeDamage(IbtWriter &writer) const;

    std::vector<const Definition *> m_core;
    std::vector<Padding> m_padding;
    bool m_unknownTypeVariable = false;
    bool m_variablesOutsideRecord = false;
};
