#pragma once

#include "ibtfile.h"
#include "irsdk.h"
#include "lapkeys.h"
#include "recorddecoder.h"
#include "recordercar.h"
#include "recordercarinfo.h"
#include "tickdecoding.h"
#include "tyamltree.h"

#include "lap.h"
#include "sample.h"

#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QUuid>

#include <memory>
#include <vector>

// Replays the ticks of one .ibt file and cuts each car's driving into laps. The reader is
// itself the root of the session-information tree.
//
// Where each rule of a lap lives:
// - status (stall, pit lane, out or flying lap, waiting): RecorderCar::updateCarStatus
// - start of a lap and of a stint: RecorderCar::startLap, RecorderCar::startStint, called
//   from updateCarStatus and RecorderCar::prepareTick
// - which tick's sample joins the lap: processCar, joinsLapUnderWay, replayPlaysAtNormalSpeed
// - completion: RecorderCar::isLapCompleted
// - abort: RecorderCar::isLapAborted
// - restart (a new session, or the session number changes): isSessionRestarted
// - number, stint, flying lap and time of a finished lap: processLap
// - post-processing: processLap calls getSessionInfo (SessionHeader), cleanupLap,
//   preprocessLap (DerivedChannels) and normalizeChannelBeginning
// - which laps a replay yields (the lap under way at the end, empty laps dropped):
//   PlayerLapReplay::tick and PlayerLapReplay::finish, run over a file by FileReplay::run
// - dates: processLap stamps the hand-over; setStartTimes in plugin/irpluginimport.cpp
//   sets what the host receives, counted back from the file's modification time
class iRTelemetryReader : public TYamlTree
{
public:
    enum Mode {
        AllCars = 0, // a tick carries a sample for every car slot
        MyCarOnly = 1, // a tick carries the player's car alone (what the import uses)
    };

    // What the session text says the file is; unknown until a text with the weekend's
    // information is read. Every use of it decides on its own what unknown counts as.
    enum class SimMode {
        Unknown,
        Live,
        Replay,
    };

    explicit iRTelemetryReader(Mode mode);

    // Raw extraction: one record of the file into the tick's samples, one per tracked car.
    QList<ZUM::SDK::Sample> getRawData(const irsdk_header *header,
                                       const irsdk_varHeader *varHeaders, const char *record);
    void retrieveRawData(const irsdk_header *header, const irsdk_varHeader *varHeaders,
                         const char *record, QList<ZUM::SDK::Sample> &samples);
    void recordRawData(const irsdk_header *header, const irsdk_varHeader *varHeaders,
                       const char *record);
    const QList<ZUM::SDK::Sample> &recordedSamples() const { return m_samples; }
    // Learns the variables from the file's descriptors, once per file: the first extraction
    // does it when nothing has before.
    void prepareRawData(const irsdk_header *header, const irsdk_varHeader *varHeaders);
    // The same for an open file, with the decode plan the file has made.
    void prepareRawData(const IbtFile &file);
    // The extraction once the variables are learnt, as a value that another thread may decode
    // with while this one processes ticks: what it holds of the reader is fixed when it is
    // made (the player's car slot and the simulation mode from the session text).
    TickDecoding tickDecoding() const;

    // Tick processing: prepareTick(), then processTick() or processData(), once per tick.
    void prepareTick();
    // The tick's rules, the one place they live: the cars swap samples with the list, taking
    // this tick's and leaving their previous ones in it, for the decoder to refill.
    void processTick(QList<ZUM::SDK::Sample> &samples);
    // The same tick for samples the caller no longer needs: they are taken over by the cars.
    void processData(QList<ZUM::SDK::Sample> samples) { processTick(samples); }
    // Forgets the player's car, the session and whether the file is a replay, and takes every
    // later tick as carrying all car slots; mode() and how the cars decide a lap's completion
    // stay as constructed.
    void initialize();
    // The player's car's sample of this tick.
    const ZUM::SDK::Sample &sample() const { return m_cars[m_myCarIdx].sample; }
    bool isSessionRestarted() const;
    bool isCarInWorld(int carIdx) const;

    // Lap completion: the car's lap is closed, and ready to be taken before the next tick.
    void processLap(int carIdx, bool completed);
    void processMyLap(bool completed);
    bool isLapReady(int carIdx) const { return m_cars[carIdx].startLapPending; }
    bool isMyLapReady() const;
    QSharedPointer<ZUM::SDK::Lap> lap(int carIdx) const { return m_cars[carIdx].lap; }
    QSharedPointer<ZUM::SDK::Lap> myLap() const;
    void cleanupLap(int carIdx);

    // Lap post-processing: derived channels of a finished lap, and repairs of its start.
    void preprocessLap(int carIdx);
    void normalizeChannelBeginning(int carIdx, const QString &name);

    // Parses the session text into the tree and learns, once, whether the file is a replay.
    void setYaml(const char *text);
    // Fills a finished lap's header with the track, fuel, set-up, driver and session data.
    void getSessionInfo(int carIdx, ZUM::SDK::Lap *lap);
    // The simulator's numeric session identity as a UUID of its digits.
    static QUuid sessionId(const QString &digits);
    quint64 sessionKey() const { return m_sessionKey; }

    // Takes the player's car and every car's names from the session text; true when a name
    // changed or a car's status did.
    bool updateCarList();
    const QString &driverName(int carIdx) const { return m_carInfos[carIdx].driverName; }
    const QString &teamName(int carIdx) const { return m_carInfos[carIdx].teamName; }
    const QString &carName(int carIdx) const { return m_carInfos[carIdx].carName; }
    const QString &className(int carIdx) const { return m_carInfos[carIdx].className; }
    qint32 status(int carIdx) const;
    bool detailedTelemetry(int carIdx) const { return m_cars[carIdx].detailedTelemetry; }

    int myCarIdx() const { return m_myCarIdx; }
    SimMode simMode() const { return m_simMode; }
    int maxCars() const { return m_maxCars; }
    bool myCarOnly() const { return m_myCarOnly; }
    Mode mode() const { return m_mode; }
    const QList<RecorderCar> &cars() const { return m_cars; }

    // Lower-cased variable names and their units, in descriptor order, from the first record.
    const QList<QString> &variableNames() const;
    const QList<QString> &variableUnits() const;

private:
    using Variable = RecordDecoder::Variable;

    bool isValidCar(int carIdx) const { return carIdx >= 0 && carIdx < m_cars.size(); }
    void learnVariables(const irsdk_varHeader *varHeaders, qint64 count, QList<IbtVariable> plan);
    // From now on the car's history shifts with every tick.
    void markActive(int carIdx);
    // One car's part of a tick; only cars that the session text names a driver for.
    void processCar(int carIdx, int playerSession, bool restarted);
    void readOtherCar(int carIdx, int playerSession, bool &inPitStall, bool &onPitRoad,
                      bool &onTrack);
    void readPlayerCar(int carIdx, bool &inPitStall, bool &onPitRoad, bool &onTrack);
    void readSessionType(RecorderCar &car, int playerSession) const;
    bool joinsLapUnderWay(RecorderCar &car);
    void addSample(const RecorderCar &car, ZUM::SDK::Lap &lap);
    bool replayPlaysAtNormalSpeed(RecorderCar &car);

    const Mode m_mode;
    bool m_myCarOnly;
    qint32 m_maxCars = IRSDK_MAX_CARS;
    qint32 m_myCarIdx = -1;
    SimMode m_simMode = SimMode::Unknown;

    // Learnt once per file, then shared unchanged with the decoding worker.
    std::shared_ptr<RecordDecoder> m_decoder = std::make_shared<RecordDecoder>();
    QList<ZUM::SDK::Sample> m_samples;

    QList<RecorderCar> m_cars;
    std::vector<bool> m_active; // per car: processed by a tick, or its lap closed, at least once
    std::vector<int> m_activeCars; // those cars, in the order they became active
    std::vector<int> m_namedCars; // cars the session text names a driver for, in slot order
    QList<RecorderCarInfo> m_carInfos;
    quint64 m_sessionKey = 0; // the running session's identity, from the session text
    quint64 m_lastSessionKey = 0; // the identity at the end of the previous tick

    // Keys under which tick processing reads the simulator's variables back. Those it reads from
    // a car's sample also know where they stand in the player's car's layout.
    Variable m_sessionTickKey {LapKeys::sessionTick};
    Variable m_lapDistKey {LapKeys::lapDist};
    Variable m_lapDistPctKey {LapKeys::lapDistPct};
    Variable m_sessionStateKey {QStringLiteral("sessionstate")};
    Variable m_speedKey {LapKeys::speed};
    Variable m_sessionNumKey {QStringLiteral("sessionnum")};
    Variable m_isOnTrackKey {QStringLiteral("isontrack")};
    Variable m_onPitRoadKey {QStringLiteral("onpitroad")};
    Variable m_lapKey {QStringLiteral("lap")};
    Variable m_playerCarInPitStallKey {QStringLiteral("playercarinpitstall")};
    Variable m_lastLapTimeKey {QStringLiteral("lastlaptime")};
    Variable m_lapLastLapTimeKey {QStringLiteral("laplastlaptime")};
    const QString m_maxLapDistPctKey = QStringLiteral("maxLapDistPct");
    Variable m_lapCompletedKey {QStringLiteral("lapcompleted")};
    Variable m_lapCurrentLapTimeKey {LapKeys::lapCurrentLapTime};
    Variable m_replayPlaySpeedKey {QStringLiteral("replayplayspeed")};
};
