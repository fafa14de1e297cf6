#include "irtelemetryreader.h"

#include "derivedchannels.h"
#include "sessionheader.h"

#include "carstatus.h"
#include "channelutils.h"
#include "session.h"

#include <QDateTime>
#include <QDebug>
#include <QTime>

#include <cmath>
#include <limits>
#include <string>

using ZUM::SDK::CarStatus;
using ZUM::SDK::Channel;
using ZUM::SDK::DynamicData;
using ZUM::SDK::Lap;
using ZUM::SDK::Sample;
using ZUM::SDK::Session;
using ZUM::SDK::Value;

namespace {

// The simulator marks a car that is not in the world by a lap fraction of -1: at or below
// this, tick processing takes the car as not in the world.
constexpr double NotInWorldLapFraction = -0.5;
// Deliberately higher than NotInWorldLapFraction: isCarInWorld answers as it always has, even
// for a car that tick processing still follows.
constexpr double InWorldLapFraction = -0.2;
// Another car on pit road whose lap fraction moved less than this since the last tick stands
// still: it is in its stall.
constexpr double StandingStillLapFraction = 0.001;
// A sample taken slower than this (m/s) joins no lap: the car is standing.
constexpr double MinimumRecordedSpeed = 1.0;
// The lap fraction has wrapped past the line, before the lap's completion verdict, when the
// lap's highest fraction is above WrapFromLapFraction and the tick's is more than
// WrapLapFractionDrop below it.
constexpr double WrapFromLapFraction = 0.9;
constexpr double WrapLapFractionDrop = 0.5;
// A replay plays at normal speed while its play speed is this close to 1.
constexpr double NormalPlaySpeedTolerance = 0.001;
// A last-lap time this close to zero is no time.
constexpr double NoLapTime = 0.00001;

// Truncated toward zero like a conversion to int, which is undefined for NaN, infinities and
// values beyond the int range: a damaged record can hold any of them. For those it gives
// INT_MIN, the result x86 has always given, so such laps read as they always did.
int truncatedToInt(double value)
{
    constexpr double twoToThe31 = 2147483648.0;
    if (value > -twoToThe31 - 1.0 && value < twoToThe31)
        return int(value);
    return std::numeric_limits<int>::min();
}

std::string sessionPath(int sessionNum)
{
    return "SessionInfo/Sessions/" + std::to_string(sessionNum);
}

} // namespace

iRTelemetryReader::iRTelemetryReader(Mode mode)
    : m_mode(mode)
    , m_myCarOnly(mode == MyCarOnly)
{
    m_samples.resize(m_myCarOnly ? 1 : m_maxCars);
    m_cars.resize(IRSDK_MAX_CARS);
    m_active.assign(size_t(m_cars.size()), false);
    m_carInfos.resize(m_maxCars);
    for (RecorderCar &car : m_cars)
        car.useLapDistance = m_myCarOnly;
}

QList<Sample> iRTelemetryReader::getRawData(const irsdk_header *header,
                                            const irsdk_varHeader *varHeaders, const char *record)
{
    QList<Sample> samples(m_myCarOnly ? 1 : m_maxCars);
    retrieveRawData(header, varHeaders, record, samples);
    return samples;
}

void iRTelemetryReader::recordRawData(const irsdk_header *header, const irsdk_varHeader *varHeaders,
                                      const char *record)
{
    retrieveRawData(header, varHeaders, record, m_samples);
}

const QList<QString> &iRTelemetryReader::variableNames() const
{
    return m_decoder->variableNames();
}

const QList<QString> &iRTelemetryReader::variableUnits() const
{
    return m_decoder->variableUnits();
}

void iRTelemetryReader::retrieveRawData(const irsdk_header *header,
                                        const irsdk_varHeader *varHeaders, const char *record,
                                        QList<Sample> &samples)
{
    prepareRawData(header, varHeaders);
    tickDecoding().decode(record, samples);
}

void iRTelemetryReader::prepareRawData(const irsdk_header *header,
                                       const irsdk_varHeader *varHeaders)
{
    if (m_decoder->isLearnt())
        return;
    const qint64 count = qMax(header->numVars, 0);
    learnVariables(varHeaders, count, IbtVariable::plan(varHeaders, count, header->bufLen));
}

void iRTelemetryReader::prepareRawData(const IbtFile &file)
{
    if (!m_decoder->isLearnt())
        learnVariables(file.varHeaders(), file.varHeaderCount(), file.variables());
}

// Names and units are converted once per file; every record is decoded with them.
void iRTelemetryReader::learnVariables(const irsdk_varHeader *varHeaders, qint64 count,
                                       QList<IbtVariable> plan)
{
    m_decoder->learn(varHeaders, count, std::move(plan));
    for (Variable *variable :
         {&m_lapDistPctKey, &m_lapDistKey, &m_sessionStateKey, &m_speedKey, &m_sessionTickKey,
          &m_sessionNumKey, &m_lapKey, &m_lapCompletedKey, &m_lastLapTimeKey, &m_lapLastLapTimeKey,
          &m_lapCurrentLapTimeKey, &m_onPitRoadKey, &m_playerCarInPitStallKey, &m_isOnTrackKey,
          &m_replayPlaySpeedKey})
        variable->position = m_decoder->position(variable->name);
}

TickDecoding iRTelemetryReader::tickDecoding() const
{
    // In a live recording the player's values come from the scalar variables, not from the
    // player's element of the per-car arrays; in a replay, or when not known, from the arrays.
    return TickDecoding(m_decoder, m_myCarIdx, m_myCarOnly, m_simMode == SimMode::Live, m_maxCars);
}

void iRTelemetryReader::setYaml(const char *text)
{
    TYamlTree::setYaml(text);
    if (m_simMode != SimMode::Unknown)
        return;
    const TStringTree *weekend = sub("WeekendInfo");
    if (!weekend)
        return;
    m_simMode
        = weekend->value("SimMode") == QLatin1String("replay") ? SimMode::Replay : SimMode::Live;
}

bool iRTelemetryReader::updateCarList()
{
    m_myCarIdx = -1;
    if (const TStringTree *driverInfo = sub("DriverInfo")) {
        bool ok = false;
        const int index = driverInfo->value("DriverCarIdx").toInt(&ok);
        if (ok)
            m_myCarIdx = index;
    }

    const TStringTree *drivers = pathSub("DriverInfo/Drivers");
    if (drivers) {
        bool changed = false;
        for (int i = 0; i < m_cars.size(); ++i) {
            RecorderCar &car = m_cars[i];
            const QString index = QString::number(i);
            car.sample.carId = index;
            const bool mine = i == m_myCarIdx;
            car.detailedTelemetry = mine;
            car.sample.detailedTelemetry = mine;

            const TStringTree *driver = drivers->sub(index.toStdString());
            if (!driver || i >= m_carInfos.size())
                continue;
            RecorderCarInfo &info = m_carInfos[i];
            const auto update = [&changed](QString &field, const QString &text) {
                if (field != text) {
                    field = text;
                    changed = true;
                }
            };
            update(info.driverName, driver->value("UserName"));
            update(info.teamName, driver->value("TeamName"));
            update(info.carName, driver->value("CarScreenName"));
            update(info.className, driver->value("CarClassShortName"));
        }
        m_namedCars.clear();
        for (int c = 0; c < m_cars.size() && c < m_carInfos.size(); ++c) {
            if (!m_carInfos[c].driverName.isEmpty())
                m_namedCars.push_back(c);
        }
        if (changed)
            return true;
    }

    for (const RecorderCar &car : m_cars) {
        if (car.current.status != car.previous.status)
            return true;
    }
    return false;
}

qint32 iRTelemetryReader::status(int carIdx) const
{
    return qint32(m_cars[carIdx].current.status);
}

void iRTelemetryReader::initialize()
{
    m_myCarIdx = -1;
    m_myCarOnly = false;
    m_sessionKey = 0;
    m_lastSessionKey = 0;
    m_simMode = SimMode::Unknown;
}

void iRTelemetryReader::prepareTick()
{
    // A car that no tick has processed still holds its first state in all three places, with
    // no lap pending: shifting its history would change nothing.
    for (const int c : m_activeCars)
        m_cars[c].prepareTick();
    m_lastSessionKey = m_sessionKey;
}

bool iRTelemetryReader::isSessionRestarted() const
{
    if (m_lastSessionKey != m_sessionKey)
        return true;
    for (const RecorderCar &car : m_cars) {
        if (car.current.sessionNum >= 0 && car.previous.sessionNum >= 0
            && car.current.sessionNum != car.previous.sessionNum)
            return true;
    }
    return false;
}

bool iRTelemetryReader::isCarInWorld(int carIdx) const
{
    return double(m_cars[carIdx].current.lapDistPct) > InWorldLapFraction;
}

void iRTelemetryReader::processTick(QList<Sample> &samples)
{
    // The tick's samples go to the cars they belong to.
    if (m_myCarOnly) {
        if (isValidCar(m_myCarIdx) && !samples.isEmpty())
            std::swap(m_cars[m_myCarIdx].sample, samples[0]);
    } else {
        const qsizetype count
            = qMin<qsizetype>(qMin<qsizetype>(m_maxCars, samples.size()), m_cars.size());
        for (qsizetype i = 0; i < count; ++i)
            std::swap(m_cars[i].sample, samples[i]);
    }

    // The player's session number drives the session look-ups of every car; a change of it
    // between two ticks is a restart.
    int playerSession = -1;
    if (isValidCar(m_myCarIdx)) {
        RecorderCar &mine = m_cars[m_myCarIdx];
        playerSession = m_decoder->readInt(mine.sample.dynamicData, m_sessionNumKey, -1);
        mine.current.sessionNum = playerSession;
    }

    const bool restarted = isSessionRestarted();
    for (const int c : m_namedCars)
        processCar(c, playerSession, restarted);
}

void iRTelemetryReader::markActive(int carIdx)
{
    if (!m_active[size_t(carIdx)]) {
        m_active[size_t(carIdx)] = true;
        m_activeCars.push_back(carIdx);
    }
}

void iRTelemetryReader::processCar(int carIdx, int playerSession, bool restarted)
{
    RecorderCar &car = m_cars[carIdx];
    markActive(carIdx);
    const DynamicData &values = car.sample.dynamicData;

    car.current.lapDistPct = m_decoder->readFloat(values, m_lapDistPctKey, -1.0f);
    car.current.lapDist = m_decoder->readFloat(values, m_lapDistKey, -1.0f);
    car.current.sessionState = m_decoder->readInt(values, m_sessionStateKey, 0);
    car.current.speed = m_decoder->readFloat(values, m_speedKey, -1.0f);

    // A car whose tick counter did not move has no new data. Files without a tick counter (the
    // oldest format) count every record as new.
    if (const Value *tick = m_decoder->validValue(values, m_sessionTickKey)) {
        car.current.sessionTick = tick->toULongLong();
        if (car.current.sessionTick == car.previous.sessionTick)
            return;
    }

    if (!(double(car.current.lapDistPct) > NotInWorldLapFraction)) {
        car.current.status = CarStatus::NotInWorld;
        return;
    }

    bool inPitStall = false;
    bool onPitRoad = false;
    bool onTrack = false;
    if (carIdx != m_myCarIdx) {
        if (playerSession < 0)
            return;
        readOtherCar(carIdx, playerSession, inPitStall, onPitRoad, onTrack);
    } else {
        readPlayerCar(carIdx, inPitStall, onPitRoad, onTrack);
    }

    readSessionType(car, playerSession);
    car.updateCarStatus(inPitStall, onPitRoad, onTrack);

    if (car.isLapAborted()) {
        car.current.lapAborted = true;
        processLap(carIdx, false);
        return;
    }
    car.current.lapAborted = false;

    if (restarted) {
        processLap(carIdx, false);
        return;
    }
    // Deliberately, the tick that completes a lap joins neither lap: the finished lap ends
    // before the line and the next begins after it, as hosts have always received them.
    if (car.current.lapCompleted) {
        processLap(carIdx, true);
        return;
    }
    if (car.current.status == CarStatus::WaitingForStart)
        return;

    if (joinsLapUnderWay(car) && replayPlaysAtNormalSpeed(car))
        addSample(car, *car.lap);
}

// A lap's first sample makes its channels; they reserve room for a little more than the car's
// last lap held, so that a lap like it is written once, in place, instead of growing by copies.
void iRTelemetryReader::addSample(const RecorderCar &car, Lap &lap)
{
    const bool first = lap.isEmpty();
    lap.addSample(car.sample);
    if (!first || car.lastLapSamples <= 0)
        return;
    const qint64 room = car.lastLapSamples + car.lastLapSamples / 16;
    for (const QString &name : lap.getAvailableRecordedChannels())
        lap.channel(name)->reserve(room);
}

// Other cars carry few variables: their lap comes from the session's results, their pit
// state from the pit-road flag alone.
void iRTelemetryReader::readOtherCar(int carIdx, int playerSession, bool &inPitStall,
                                     bool &onPitRoad, bool &onTrack)
{
    RecorderCar &car = m_cars[carIdx];
    const DynamicData &values = car.sample.dynamicData;

    car.current.lap = -1;
    const TStringTree *session = pathSub(sessionPath(playerSession));
    const TStringTree *results = session ? session->sub("ResultsPositions") : nullptr;
    for (int position = 1; results && position <= m_cars.size(); ++position) {
        const TStringTree *entry = results->sub(std::to_string(position));
        if (!entry)
            continue;
        bool ok = false;
        if (entry->value("CarIdx").toInt(&ok) != carIdx || !ok)
            continue;
        const int lapsComplete = entry->value("LapsComplete").toInt(&ok);
        car.current.lap = ok ? lapsComplete + 1 : 1;
        car.current.lastLapTime = entry->value("LastTime").toFloat();
        break;
    }
    if (car.current.lap == -1) {
        if (const Value *lapCompleted = m_decoder->validValue(values, m_lapCompletedKey))
            car.current.lap = lapCompleted->toInt() + 1;
        car.current.lastLapTime = m_decoder->readFloat(values, m_lastLapTimeKey, -1.0f);
    }

    // Without a pit-road flag the car is taken as on pit road; standing still there, it is
    // in its stall.
    onPitRoad = m_decoder->readBool(values, m_onPitRoadKey, true);
    const float moved = car.current.lapDistPct - car.previous.lapDistPct;
    inPitStall = onPitRoad && std::abs(double(moved)) < StandingStillLapFraction;
    onTrack = !onPitRoad;
}

void iRTelemetryReader::readPlayerCar(int carIdx, bool &inPitStall, bool &onPitRoad, bool &onTrack)
{
    RecorderCar &car = m_cars[carIdx];
    const DynamicData &values = car.sample.dynamicData;

    car.current.lap = m_decoder->readInt(values, m_lapKey, -1);

    // A replay says where the player's car stands; a live recording only whether it is on
    // track, and a car that is not is taken as sitting in its stall. A file of unknown mode is
    // asked as a replay is.
    const bool inStall = m_simMode != SimMode::Live
        ? m_decoder->readBool(values, m_playerCarInPitStallKey, true)
        : !m_decoder->readBool(values, m_isOnTrackKey, false);
    if (inStall) {
        inPitStall = true;
        onPitRoad = false;
        onTrack = false;
        return;
    }
    onPitRoad = m_decoder->readBool(values, m_onPitRoadKey, false);
    // A replay's own last-lap time; live, or of unknown mode, the lap's.
    car.current.lastLapTime = m_decoder->readFloat(
        values, m_simMode == SimMode::Replay ? m_lastLapTimeKey : m_lapLastLapTimeKey, -1.0f);
    car.current.lapTime
        = m_decoder->readFloat(values, m_lapCurrentLapTimeKey, float(ZUM::SDK::InvalidValue));
    inPitStall = false;
    onTrack = !onPitRoad;
}

// Until the session text names the kind of the running session it is looked up every tick.
void iRTelemetryReader::readSessionType(RecorderCar &car, int playerSession) const
{
    if (car.current.sessionType != Session::Unknown)
        return;
    car.current.sessionType
        = SessionHeader::sessionKind(pathValue(sessionPath(playerSession) + "/SessionType"));
}

// Whether the tick's sample joins the lap under way. A sample taken past the line before the
// lap's completion verdict belongs to the next lap and is parked there.
bool iRTelemetryReader::joinsLapUnderWay(RecorderCar &car)
{
    const CarStatus status = car.current.status;
    if (car.lap->isEmpty() && (status == CarStatus::InPitStall || status == CarStatus::InPitLane))
        return false;
    if (const Value *speed = m_decoder->validValue(car.sample.dynamicData, m_speedKey);
        speed && speed->toDouble() < MinimumRecordedSpeed)
        return false;

    DynamicData &header = car.lap->header().dynamicData;
    const float fraction = car.current.lapDistPct;
    const Value *maximum = header.find(m_maxLapDistPctKey);
    if (!maximum || maximum->toFloat() < fraction) {
        header.setValue(m_maxLapDistPctKey, QVariant(fraction), QString());
        return true;
    }
    const double highest = maximum->toFloat();
    if (highest > WrapFromLapFraction && highest - double(fraction) > WrapLapFractionDrop) {
        addSample(car, *car.nextLap);
        return false;
    }
    return true;
}

// A replay that is not played at normal speed skips or repeats ticks: the lap under way can
// no longer be trusted and is dropped. A file of unknown mode plays as recorded.
bool iRTelemetryReader::replayPlaysAtNormalSpeed(RecorderCar &car)
{
    if (m_simMode != SimMode::Replay || !car.detailedTelemetry)
        return true;
    const Value *speed = m_decoder->validValue(car.sample.dynamicData, m_replayPlaySpeedKey);
    if (!speed || std::abs(speed->toDouble() - 1.0) <= NormalPlaySpeedTolerance)
        return true;
    if (!car.lap->isEmpty()) {
        car.lap->clear();
        car.nextLap->clear();
        car.current.status = CarStatus::OutLap;
        qDebug() << "Replay lap aborted";
    }
    return false;
}

void iRTelemetryReader::processLap(int carIdx, bool completed)
{
    RecorderCar &car = m_cars[carIdx];
    markActive(carIdx);
    car.startLapPending = true;
    Lap *lap = car.lap.data();
    if (lap->isEmpty())
        return;
    car.lastLapSamples = lap->size();
    ZUM::SDK::LapHeader &header = lap->header();

    if (car.previous.status == CarStatus::OutLap)
        header.flyingLap = 0;
    else if (car.previous.status == CarStatus::FlyingLap)
        header.flyingLap = 1;

    // Laps not completed and laps without a time get no real time; so, deliberately, does an
    // out lap outside a race even when the simulator reports one: it began in the pits.
    float time = car.current.lastLapTime;
    if (time < 0 || std::abs(double(time)) <= NoLapTime || !completed
        || (header.flyingLap == 0 && car.current.sessionType != Session::Race))
        time = float(ZUM::SDK::UntimedLapSeconds);
    car.current.lastLapTime = time;
    header.lapTime = QTime(0, 0, 0, 0).addMSecs(truncatedToInt(time * 1000.0f));
    header.lapId = car.previous.lapId;
    header.stintId = car.previous.stintId;

    // The tick that ended the lap is already in current: the lap's own numbers are previous's.
    if (completed) {
        header.lapNumber = car.previous.lap > 0 ? car.previous.lap - 1 : 0;
        header.lapInStint = car.previous.lapInStint;
    } else {
        if (car.current.lap == 0 && car.current.lapInStint >= 1) {
            const QSharedPointer<Channel> lapChannel = lap->channel(m_lapKey.name);
            if (lapChannel && !lapChannel->isEmpty())
                car.current.lap = truncatedToInt(lapChannel->value(0));
        }
        // Deliberately the counter of the tick that cut the lap: an in lap that crossed the line
        // in the pit lane is numbered one ahead (5 after 3), as hosts have always received it.
        if (m_myCarOnly) {
            header.lapNumber = car.current.lap;
            header.lapInStint = car.current.lapInStint;
        } else {
            header.lapNumber = qMax(car.previous.lap, 0);
            header.lapInStint = car.previous.lapInStint;
        }
    }
    header.stint = car.previous.stint;
    header.completed = completed;
    header.carInfo.detailedTelemetry = car.detailedTelemetry;
    header.dateTime = QDateTime::currentDateTime();
    header.dynamicData.removeValue(m_maxLapDistPctKey);

    getSessionInfo(carIdx, lap);
    cleanupLap(carIdx);
    preprocessLap(carIdx);
    for (const char *name :
         {"lapcurrentlaptime", "energybatterytomgu_klap", "energymgu_klapdeploypct"})
        normalizeChannelBeginning(carIdx, QString::fromLatin1(name));
}

void iRTelemetryReader::processMyLap(bool completed)
{
    if (isValidCar(m_myCarIdx))
        processLap(m_myCarIdx, completed);
}

bool iRTelemetryReader::isMyLapReady() const
{
    return isValidCar(m_myCarIdx) && m_cars[m_myCarIdx].startLapPending;
}

QSharedPointer<Lap> iRTelemetryReader::myLap() const
{
    return isValidCar(m_myCarIdx) ? m_cars[m_myCarIdx].lap : QSharedPointer<Lap>();
}

// A replay's lap clock runs with the replay, not with the lap; of unknown mode it is kept.
void iRTelemetryReader::cleanupLap(int carIdx)
{
    if (m_simMode == SimMode::Replay)
        m_cars[carIdx].lap->removeRecordedChannel(m_lapCurrentLapTimeKey.name);
}

void iRTelemetryReader::preprocessLap(int carIdx)
{
    Lap &lap = *m_cars[carIdx].lap;
    DerivedChannels::applyYawOffset(lap);
    DerivedChannels::addFuelWeight(lap);
    // Outside replays the player's car records its own timing; other cars' laps and replays
    // have it rebuilt from the session clock, with distance and speed only in a live
    // recording. A file of unknown mode keeps the player's own timing, and other cars' laps get
    // no distance and speed.
    if (carIdx == m_myCarIdx && m_simMode != SimMode::Replay)
        return;
    DerivedChannels::rebuildTiming(lap, m_simMode == SimMode::Live);
}

void iRTelemetryReader::normalizeChannelBeginning(int carIdx, const QString &name)
{
    const Lap &lap = *m_cars[carIdx].lap;
    const QSharedPointer<Channel> channel = lap.channel(name);
    const QSharedPointer<Channel> fraction = lap.channel(m_lapDistPctKey.name);
    // The repair reads the fraction beside every entry of the channel.
    if (channel && fraction && fraction->size() >= channel->size())
        ZUM::SDK::ChannelUtils::normalizeChannelBeginning(channel.data(), fraction.data());
}

QUuid iRTelemetryReader::sessionId(const QString &digits)
{
    return SessionHeader::sessionId(digits);
}

void iRTelemetryReader::getSessionInfo(int carIdx, Lap *lap)
{
    ZUM::SDK::LapHeader &header = lap->header();
    header.carInfo.carId = QString::number(carIdx);
    if (const TStringTree *weekend = sub("WeekendInfo"))
        m_sessionKey = SessionHeader::readTrack(*weekend, header);
    const TStringTree *driverInfo = sub("DriverInfo");
    if (driverInfo && carIdx == m_myCarIdx)
        SessionHeader::readFuelAndSetup(*this, *driverInfo, header.dynamicData);
    if (driverInfo) {
        if (const TStringTree *driver = driverInfo->pathSub("Drivers/" + std::to_string(carIdx)))
            SessionHeader::readDriver(*driver, header);
    }

    // The kind of the session the player is in, whatever car the lap belongs to.
    QString sessionType;
    if (isValidCar(m_myCarIdx)) {
        const int sessionNum
            = m_cars[m_myCarIdx].sample.dynamicData.value(m_sessionNumKey.name).toInt();
        sessionType = pathValue(sessionPath(sessionNum) + "/SessionType");
    }
    SessionHeader::readSessionKind(sessionType, header);
    SessionHeader::correctNames(header);
}
