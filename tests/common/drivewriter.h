#pragma once

// Writes the player's driving record by record with the project's writer, for files whose
// values are chosen one by one: damaged values in otherwise sound files. Shared by the
// tests and the fuzz targets' seeds.

#include "ibtwriter.h"

#include <QByteArray>
#include <QString>

class DriveWriter
{
public:
    // One record of the player's car.
    struct Tick
    {
        double lap = 1;
        double lapDistPct = 0.0;
        double lapClock = 0.0;
        double lastLapTime = 0.0;
        bool inPitStall = false;
    };

    // A live recording, or a replay, which reads the last-lap time from a variable of its own
    // and the stall from the player's stall flag. The lap counter has the given type.
    DriveWriter(int32_t lapType, bool replay)
    {
        m_writer.setSessionInfo(
            QByteArray("---\nWeekendInfo:\n TrackDisplayName: Test Ring\n SimMode: ")
            + (replay ? "replay" : "full")
            + "\nSessionInfo:\n Sessions:\n - SessionNum: 0\n   SessionType: Practice\n"
              "DriverInfo:\n DriverCarIdx: 0\n Drivers:\n - CarIdx: 0\n   UserName: Solo\n...\n");
        m_time = m_writer.addVariable("SessionTime", irsdk_double, 1, "s");
        m_tick = m_writer.addVariable("SessionTick", irsdk_int);
        m_sessionNum = m_writer.addVariable("SessionNum", irsdk_int);
        m_lap = m_writer.addVariable("Lap", lapType);
        m_pct = m_writer.addVariable("LapDistPct", irsdk_float, 1, "%");
        m_dist = m_writer.addVariable("LapDist", irsdk_float, 1, "m");
        m_speed = m_writer.addVariable("Speed", irsdk_float, 1, "m/s");
        m_onTrack = m_writer.addVariable("IsOnTrack", irsdk_bool);
        m_inStall = m_writer.addVariable("PlayerCarInPitStall", irsdk_bool);
        m_clock = m_writer.addVariable("LapCurrentLapTime", irsdk_float, 1, "s");
        m_lastLapTime
            = m_writer.addVariable(replay ? "LastLapTime" : "LapLastLapTime", irsdk_float, 1, "s");
    }

    bool open(const QString &path) { return m_writer.open(path); }
    bool finish() { return m_writer.finish(); }

    void append(const Tick &tick)
    {
        ++m_records;
        m_writer.setValue(m_time, m_records);
        m_writer.setValue(m_tick, m_records);
        m_writer.setValue(m_sessionNum, 0);
        m_writer.setValue(m_lap, tick.lap);
        m_writer.setValue(m_pct, tick.lapDistPct);
        // Never exactly 0: a lap distance of 0 between two others is a reset of the car.
        m_writer.setValue(m_dist, tick.lapDistPct * 1000.0 + 1.0);
        m_writer.setValue(m_speed, tick.inPitStall ? 0.0 : 50.0);
        m_writer.setValue(m_onTrack, tick.inPitStall ? 0 : 1);
        m_writer.setValue(m_inStall, tick.inPitStall ? 1 : 0);
        m_writer.setValue(m_clock, tick.lapClock);
        m_writer.setValue(m_lastLapTime, tick.lastLapTime);
        m_writer.appendRecord();
    }

    // Drives from fraction `from` to `to` in steps of a hundredth, a second a step.
    void drive(Tick &tick, double from, double to)
    {
        for (int step = 0; from + step / 100.0 <= to + 1e-9; ++step) {
            tick.lapDistPct = from + step / 100.0;
            tick.lapClock += 1.0;
            append(tick);
        }
    }

    // Leaves the stall, drives the out lap and crosses the line: the next lap starts.
    void outLap(Tick &tick)
    {
        tick.inPitStall = true;
        append(tick);
        tick.inPitStall = false;
        drive(tick, 0.10, 0.95);
        tick.lapClock = 0.0;
    }

    // An out lap, a flying lap completed with the given last-lap time, and the start of the
    // next lap, which the end of the file cuts.
    static bool writeLastLapTime(const QString &path, bool replay, double lastLapTime)
    {
        DriveWriter writer(irsdk_int, replay);
        if (!writer.open(path))
            return false;
        Tick tick;
        writer.outLap(tick);
        tick.lap = 2;
        writer.drive(tick, 0.0, 0.95);
        tick.lap = 3;
        tick.lapClock = 0.0;
        tick.lastLapTime = lastLapTime;
        writer.drive(tick, 0.0, 0.10);
        return writer.finish();
    }

    // An out lap, then a lap whose counter, of the given type, holds the given value from its
    // first record until the counter falls to 0 and aborts it.
    static bool writeLapCounter(const QString &path, int32_t lapType, double lapCounter)
    {
        DriveWriter writer(lapType, false);
        if (!writer.open(path))
            return false;
        Tick tick;
        writer.outLap(tick);
        tick.lap = lapCounter;
        writer.drive(tick, 0.0, 0.30);
        tick.lap = 0;
        writer.drive(tick, 0.31, 0.40);
        return writer.finish();
    }

private:
    IbtWriter m_writer;
    int m_records = 0;
    int m_time, m_tick, m_sessionNum, m_lap, m_pct, m_dist, m_speed, m_onTrack, m_inStall, m_clock,
        m_lastLapTime;
};
