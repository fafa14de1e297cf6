#include "recordercar.h"
#include "recordercarinfo.h"
#include "recordersample.h"

#include "channel.h"

#include <QTest>
#include <QWeakPointer>

#include <cmath>
#include <type_traits>
#include <utility>

using ZUM::SDK::CarStatus;
using ZUM::SDK::Session;

Q_DECLARE_METATYPE(ZUM::SDK::CarStatus)
Q_DECLARE_METATYPE(ZUM::SDK::Session)

namespace ZUM::SDK {

// Failure messages name the status instead of printing nothing.
char *toString(CarStatus status)
{
    const QString text = carStatusToString(status);
    return qstrdup(qPrintable(text.isNull() ? QString::number(qint32(status)) : text));
}

char *toString(Session session)
{
    return qstrdup(qPrintable(sessionName(session)));
}

} // namespace ZUM::SDK

namespace {

// The float on either side of a lap-fraction threshold.
float floatAbove(float value)
{
    return std::nextafter(value, 2.0f);
}

float floatBelow(float value)
{
    return std::nextafter(value, -2.0f);
}

// Every field away from its default, each value derived from the seed so that two such
// samples differ in every field.
RecorderSample filledSample(int seed)
{
    RecorderSample sample;
    sample.lapId = QUuid::createUuid();
    sample.stintId = QUuid::createUuid();
    sample.note = QStringLiteral("note %1").arg(seed);
    sample.lap = 10 + seed;
    sample.lapInStint = 20 + seed;
    sample.stint = 30 + seed;
    sample.sessionNum = 40 + seed;
    sample.lapDistPct = 0.125f * float(seed);
    sample.speed = 50.5f + float(seed);
    sample.lapDist = 600.25f + float(seed);
    sample.lapTime = 70.75f + float(seed);
    sample.lastLapTime = 80.5f + float(seed);
    sample.auxA = 90 + seed;
    sample.auxB = 100 + seed;
    sample.sessionState = seed;
    sample.status = seed % 2 ? CarStatus::FlyingLap : CarStatus::OffTrack;
    sample.sessionType = seed % 2 ? Session::Race : Session::Qualify;
    sample.lapCompleted = seed % 2;
    sample.lapAborted = !(seed % 2);
    sample.flag = seed % 2;
    sample.sessionTick = 1000 + quint64(seed);
    return sample;
}

bool sameSample(const RecorderSample &a, const RecorderSample &b)
{
    return a.lapId == b.lapId && a.stintId == b.stintId && a.note == b.note && a.lap == b.lap
        && a.lapInStint == b.lapInStint && a.stint == b.stint && a.sessionNum == b.sessionNum
        && a.lapDistPct == b.lapDistPct && a.speed == b.speed && a.lapDist == b.lapDist
        && a.lapTime == b.lapTime && a.lastLapTime == b.lastLapTime && a.auxA == b.auxA
        && a.auxB == b.auxB && a.sessionState == b.sessionState && a.status == b.status
        && a.sessionType == b.sessionType && a.lapCompleted == b.lapCompleted
        && a.lapAborted == b.lapAborted && a.flag == b.flag && a.sessionTick == b.sessionTick;
}

bool isDefaultSample(const RecorderSample &sample)
{
    return sameSample(sample, RecorderSample());
}

// A car in the middle of a session: the history shifted, this tick's status the previous one.
RecorderCar carOnTick(CarStatus previousStatus, Session sessionType, int sessionState, float pct)
{
    RecorderCar car;
    car.previous.status = previousStatus;
    car.previous.sessionType = sessionType;
    car.previous.sessionState = sessionState;
    car.previous.lapDistPct = pct;
    car.current = car.previous;
    return car;
}

// One case of a status update, read as a sentence: from the car's status before the tick, in
// a session, at a lap fraction, in the stall, on pit road or on track, it becomes a status,
// perhaps starting a new lap and stint. Unless a case says otherwise: a practice session
// under way (state 4), at half the lap, neither in the pits nor on track, and no new lap.
struct StatusCase
{
    CarStatus previous = CarStatus::Undefined;
    Session session = Session::Practice;
    int sessionState = 4;
    float pct = 0.5f;
    bool stall = false;
    bool pitRoad = false;
    bool track = false;
    CarStatus expected = CarStatus::Undefined;
    bool startsLapAndStint = false;

    StatusCase inSession(Session kind, int state) const
    {
        return with([&](StatusCase &c) {
            c.session = kind;
            c.sessionState = state;
        });
    }
    StatusCase inRace(int state) const { return inSession(Session::Race, state); }
    StatusCase at(float fraction) const
    {
        return with([&](StatusCase &c) { c.pct = fraction; });
    }
    StatusCase inPitStall() const
    {
        return with([](StatusCase &c) { c.stall = true; });
    }
    StatusCase onPitRoad() const
    {
        return with([](StatusCase &c) { c.pitRoad = true; });
    }
    StatusCase onTrack() const
    {
        return with([](StatusCase &c) { c.track = true; });
    }
    StatusCase becomes(CarStatus status) const
    {
        return with([&](StatusCase &c) { c.expected = status; });
    }
    StatusCase startingLapAndStint() const
    {
        return with([](StatusCase &c) { c.startsLapAndStint = true; });
    }

private:
    template<typename Change>
    StatusCase with(Change change) const
    {
        StatusCase c = *this;
        change(c);
        return c;
    }
};

StatusCase from(CarStatus previous)
{
    StatusCase c;
    c.previous = previous;
    return c;
}

ZUM::SDK::Sample sampleWithSpeed(double speed)
{
    ZUM::SDK::Sample sample;
    sample.dynamicData.setValue(QStringLiteral("speed"), QVariant(speed), QStringLiteral("m/s"));
    return sample;
}

} // namespace

Q_DECLARE_METATYPE(StatusCase)

class tst_RecorderCar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sampleDefaults();
    void sampleFieldOrder();
    void sampleCopiesEveryField();
    void carInfoDefaults();
    void carInfoFieldOrder();
    void carDefaults();
    void defaultCarsHaveTheirOwnLaps();
    void carCopyIsMemberByMember();
    void carAssignmentIsMemberByMember();
    void carMoveIsMemberByMember();

    void prepareTickShiftsHistoryThreeDeep();
    void prepareTickKeepsCurrentValues();
    void prepareTickCopiesEveryField();
    void prepareTickWithoutPendingLapKeepsLaps();
    void prepareTickStartsPendingLap();
    void prepareTickShiftsBeforeStartingPendingLap();

    void startLapRotatesNextLapIntoLap();
    void startLapReleasesOldLap();
    void startLapKeepsSamplesParkedInNextLap();
    void startLapNumbersLap();
    void startLapGivesNewLapIdEachTime();
    void startLapClearsSampleValues();
    void startLapClearsPendingLapStart();
    void startStintGivesNewIdentityEachTime();

    void updateCarStatus_data();
    void updateCarStatus();
    void freshCarOnTrackStartsOutLapAsLapZeroOfStint();
    void everyOutLapStartsNewStint();
    void outLapStartReplacesLapWithoutHandOver();
    void pitStallIntoStandingPitLaneWaitsForStart();
    void pitStatusKeepsLapCompleted_data();
    void pitStatusKeepsLapCompleted();
    void notOnTrackChangesNothing();
    void unchangedStatusIsKeptEvenWhenItDiffersFromPrevious();
    void completionVerdictIsStored();
    void completedOutLapBecomesFlyingLap();
    void raceStartAcrossLineCompletesOutLap();
    void raceStartFromGridKeepsOutLapOpen();

    void isLapCompleted_data();
    void isLapCompleted();
    void isLapAborted_data();
    void isLapAborted();
    void lapDistanceDropOverThreeTicksAborts();
};

void tst_RecorderCar::sampleDefaults()
{
    const RecorderSample sample;
    QVERIFY(sample.lapId.isNull());
    QVERIFY(sample.stintId.isNull());
    QVERIFY(sample.note.isEmpty());
    QCOMPARE(sample.lap, -1);
    QCOMPARE(sample.lapInStint, -1);
    QCOMPARE(sample.stint, 0);
    QCOMPARE(sample.sessionNum, -1);
    QCOMPARE(sample.lapDistPct, -1.0f);
    QCOMPARE(sample.speed, -1.0f);
    QCOMPARE(sample.lapDist, -1.0f);
    QCOMPARE(sample.lapTime, -1.0f);
    QCOMPARE(sample.lastLapTime, -1.0f);
    QCOMPARE(sample.auxA, -1);
    QCOMPARE(sample.auxB, -1);
    QCOMPARE(sample.sessionState, 0);
    QCOMPARE(sample.status, CarStatus::Undefined);
    QCOMPARE(qint32(sample.status), -1);
    QCOMPARE(sample.sessionType, Session::Unknown);
    QCOMPARE(qint32(sample.sessionType), -1);
    QCOMPARE(sample.lapCompleted, false);
    QCOMPARE(sample.lapAborted, false);
    QCOMPARE(sample.flag, false);
    QCOMPARE(sample.sessionTick, quint64(0));
}

void tst_RecorderCar::sampleFieldOrder()
{
    // Designators must follow the declaration order, so this only compiles with the fields in
    // their order; the values check their types.
    const QUuid lapId = QUuid::createUuid();
    const QUuid stintId = QUuid::createUuid();
    const RecorderSample sample {.lapId = lapId,
                                 .stintId = stintId,
                                 .note = QStringLiteral("n"),
                                 .lap = 1,
                                 .lapInStint = 2,
                                 .stint = 3,
                                 .sessionNum = 4,
                                 .lapDistPct = 0.5f,
                                 .speed = 6.5f,
                                 .lapDist = 7.5f,
                                 .lapTime = 8.5f,
                                 .lastLapTime = 9.5f,
                                 .auxA = 10,
                                 .auxB = 11,
                                 .sessionState = 4,
                                 .status = CarStatus::OnTrack,
                                 .sessionType = Session::Warmup,
                                 .lapCompleted = true,
                                 .lapAborted = true,
                                 .flag = true,
                                 .sessionTick = 0xFFFFFFFFFFull};
    static_assert(std::is_same_v<decltype(RecorderSample::lap), qint32>);
    static_assert(std::is_same_v<decltype(RecorderSample::lapDistPct), float>);
    static_assert(std::is_same_v<decltype(RecorderSample::speed), float>);
    static_assert(std::is_same_v<decltype(RecorderSample::lapDist), float>);
    static_assert(std::is_same_v<decltype(RecorderSample::lapTime), float>);
    static_assert(std::is_same_v<decltype(RecorderSample::lastLapTime), float>);
    static_assert(std::is_same_v<decltype(RecorderSample::sessionTick), quint64>);
    QCOMPARE(sample.lapId, lapId);
    QCOMPARE(sample.stintId, stintId);
    QCOMPARE(sample.auxB, 11);
    QCOMPARE(sample.status, CarStatus::OnTrack);
    QCOMPARE(sample.sessionType, Session::Warmup);
    QCOMPARE(sample.sessionTick, 0xFFFFFFFFFFull);
}

void tst_RecorderCar::sampleCopiesEveryField()
{
    const RecorderSample original = filledSample(3);
    QVERIFY(!sameSample(original, RecorderSample()));

    const RecorderSample copy(original);
    QVERIFY(sameSample(copy, original));

    RecorderSample assigned = filledSample(4);
    QVERIFY(!sameSample(assigned, original));
    assigned = original;
    QVERIFY(sameSample(assigned, original));
}

void tst_RecorderCar::carInfoDefaults()
{
    const RecorderCarInfo info;
    QVERIFY(info.driverName.isEmpty());
    QVERIFY(info.teamName.isEmpty());
    QVERIFY(info.carName.isEmpty());
    QVERIFY(info.className.isEmpty());
}

void tst_RecorderCar::carInfoFieldOrder()
{
    const RecorderCarInfo info {.driverName = QStringLiteral("Driver"),
                                .teamName = QStringLiteral("Team"),
                                .carName = QStringLiteral("Car"),
                                .className = QStringLiteral("Class")};
    QCOMPARE(info.driverName, QStringLiteral("Driver"));
    QCOMPARE(info.teamName, QStringLiteral("Team"));
    QCOMPARE(info.carName, QStringLiteral("Car"));
    QCOMPARE(info.className, QStringLiteral("Class"));

    const RecorderCarInfo copy = info;
    QCOMPARE(copy.driverName, info.driverName);
    QCOMPARE(copy.className, info.className);
}

void tst_RecorderCar::carDefaults()
{
    const RecorderCar car;
    QVERIFY(isDefaultSample(car.current));
    QVERIFY(isDefaultSample(car.previous));
    QVERIFY(isDefaultSample(car.beforePrevious));
    QVERIFY(car.sample.dynamicData.isEmpty());
    QVERIFY(car.sample.driverName.isNull());
    QVERIFY(!car.lap.isNull());
    QVERIFY(!car.nextLap.isNull());
    QVERIFY(car.lap != car.nextLap);
    QVERIFY(car.lap->isEmpty());
    QVERIFY(car.nextLap->isEmpty());
    QCOMPARE(car.lap->header().lapNumber, 0);
    QCOMPARE(car.lap->header().flyingLap, -1);
    QCOMPARE(car.detailedTelemetry, false);
    QCOMPARE(car.useLapDistance, false);
    QCOMPARE(car.startLapPending, false);
}

void tst_RecorderCar::defaultCarsHaveTheirOwnLaps()
{
    const RecorderCar first;
    const RecorderCar second;
    QVERIFY(first.lap != second.lap);
    QVERIFY(first.nextLap != second.nextLap);
    QVERIFY(first.lap != second.nextLap);
}

void tst_RecorderCar::carCopyIsMemberByMember()
{
    RecorderCar original;
    original.current = filledSample(1);
    original.previous = filledSample(2);
    original.beforePrevious = filledSample(3);
    original.sample = sampleWithSpeed(12.5);
    original.sample.driverName = QStringLiteral("Driver");
    original.lap->addSample(sampleWithSpeed(3.0));
    original.detailedTelemetry = true;
    original.useLapDistance = true;
    original.startLapPending = true;

    const RecorderCar copy(original);
    QVERIFY(sameSample(copy.current, original.current));
    QVERIFY(sameSample(copy.previous, original.previous));
    QVERIFY(sameSample(copy.beforePrevious, original.beforePrevious));
    QCOMPARE(copy.sample.driverName, QStringLiteral("Driver"));
    QCOMPARE(copy.sample.dynamicData.value(QStringLiteral("speed")).toDouble(), 12.5);
    // The laps are shared, not duplicated.
    QCOMPARE(copy.lap, original.lap);
    QCOMPARE(copy.nextLap, original.nextLap);
    QCOMPARE(copy.detailedTelemetry, true);
    QCOMPARE(copy.useLapDistance, true);
    QCOMPARE(copy.startLapPending, true);

    // The recorder state itself is independent.
    original.current.lap = 99;
    original.sample.dynamicData.clear();
    QCOMPARE(copy.current.lap, 11);
    QVERIFY(!copy.sample.dynamicData.isEmpty());
}

void tst_RecorderCar::carAssignmentIsMemberByMember()
{
    RecorderCar original;
    original.current = filledSample(1);
    original.previous = filledSample(2);
    original.beforePrevious = filledSample(3);
    original.sample = sampleWithSpeed(7.0);
    original.detailedTelemetry = true;
    original.useLapDistance = false;
    original.startLapPending = true;

    RecorderCar assigned;
    assigned.useLapDistance = true;
    const auto ownLap = assigned.lap.toWeakRef();
    assigned = original;
    QVERIFY(sameSample(assigned.current, original.current));
    QVERIFY(sameSample(assigned.previous, original.previous));
    QVERIFY(sameSample(assigned.beforePrevious, original.beforePrevious));
    QCOMPARE(assigned.sample.dynamicData.value(QStringLiteral("speed")).toDouble(), 7.0);
    QCOMPARE(assigned.lap, original.lap);
    QCOMPARE(assigned.nextLap, original.nextLap);
    QCOMPARE(assigned.detailedTelemetry, true);
    QCOMPARE(assigned.useLapDistance, false);
    QCOMPARE(assigned.startLapPending, true);
    QVERIFY(ownLap.isNull());
}

void tst_RecorderCar::carMoveIsMemberByMember()
{
    RecorderCar original;
    original.current = filledSample(5);
    const RecorderSample expectedCurrent = original.current;
    original.detailedTelemetry = true;
    original.useLapDistance = true;
    const auto lap = original.lap;
    const auto nextLap = original.nextLap;

    RecorderCar moved(std::move(original));
    QVERIFY(sameSample(moved.current, expectedCurrent));
    QCOMPARE(moved.lap, lap);
    QCOMPARE(moved.nextLap, nextLap);
    QCOMPARE(moved.detailedTelemetry, true);
    QCOMPARE(moved.useLapDistance, true);

    RecorderCar assigned;
    assigned = std::move(moved);
    QVERIFY(sameSample(assigned.current, expectedCurrent));
    QCOMPARE(assigned.lap, lap);
    QCOMPARE(assigned.nextLap, nextLap);
}

void tst_RecorderCar::prepareTickShiftsHistoryThreeDeep()
{
    RecorderCar car;
    car.current.lapDist = 100.0f;
    car.prepareTick();
    car.current.lapDist = 200.0f;
    car.prepareTick();
    car.current.lapDist = 300.0f;
    car.prepareTick();

    QCOMPARE(car.beforePrevious.lapDist, 200.0f);
    QCOMPARE(car.previous.lapDist, 300.0f);
    QCOMPARE(car.current.lapDist, 300.0f);

    car.current.lapDist = 400.0f;
    car.prepareTick();
    QCOMPARE(car.beforePrevious.lapDist, 300.0f);
    QCOMPARE(car.previous.lapDist, 400.0f);
    QCOMPARE(car.current.lapDist, 400.0f);
}

void tst_RecorderCar::prepareTickKeepsCurrentValues()
{
    RecorderCar car;
    car.current = filledSample(6);
    const RecorderSample before = car.current;
    car.prepareTick();
    QVERIFY(sameSample(car.current, before));
    QVERIFY(isDefaultSample(car.beforePrevious));
}

void tst_RecorderCar::prepareTickCopiesEveryField()
{
    RecorderCar car;
    const RecorderSample first = filledSample(1);
    const RecorderSample second = filledSample(2);
    car.current = first;
    car.prepareTick();
    car.current = second;
    car.prepareTick();
    QVERIFY(sameSample(car.beforePrevious, first));
    QVERIFY(sameSample(car.previous, second));
    QVERIFY(sameSample(car.current, second));
}

void tst_RecorderCar::prepareTickWithoutPendingLapKeepsLaps()
{
    RecorderCar car;
    car.sample = sampleWithSpeed(5.0);
    const auto lap = car.lap;
    const auto nextLap = car.nextLap;
    car.current.lapInStint = 2;
    car.prepareTick();
    QCOMPARE(car.lap, lap);
    QCOMPARE(car.nextLap, nextLap);
    QCOMPARE(car.current.lapInStint, 2);
    QVERIFY(car.current.lapId.isNull());
    QVERIFY(!car.sample.dynamicData.isEmpty());
    QCOMPARE(car.startLapPending, false);
}

void tst_RecorderCar::prepareTickStartsPendingLap()
{
    RecorderCar car;
    car.current.lap = 7;
    car.current.lapInStint = 3;
    const auto nextLap = car.nextLap;
    car.startLapPending = true;

    car.prepareTick();

    QCOMPARE(car.startLapPending, false);
    QCOMPARE(car.lap, nextLap);
    QVERIFY(!car.nextLap.isNull());
    QVERIFY(car.nextLap != nextLap);
    QCOMPARE(car.current.lapInStint, 4);
    QCOMPARE(car.lap->header().lapNumber, 7);
    QCOMPARE(car.lap->header().lapInStint, 4);
    QVERIFY(!car.current.lapId.isNull());

    // Only once: the next tick keeps the lap.
    car.prepareTick();
    QCOMPARE(car.lap, nextLap);
    QCOMPARE(car.current.lapInStint, 4);
}

void tst_RecorderCar::prepareTickShiftsBeforeStartingPendingLap()
{
    // The finished lap's identity stays in the history, the new one is only in current.
    RecorderCar car;
    car.current.lapId = QUuid::createUuid();
    const QUuid finishedLapId = car.current.lapId;
    car.current.lapInStint = 1;
    car.startLapPending = true;

    car.prepareTick();

    QCOMPARE(car.previous.lapId, finishedLapId);
    QCOMPARE(car.previous.lapInStint, 1);
    QVERIFY(car.current.lapId != finishedLapId);
    QCOMPARE(car.current.lapInStint, 2);
}

void tst_RecorderCar::startLapRotatesNextLapIntoLap()
{
    RecorderCar car;
    const auto oldNextLap = car.nextLap;
    car.startLap();
    QCOMPARE(car.lap, oldNextLap);
    QVERIFY(!car.nextLap.isNull());
    QVERIFY(car.nextLap != oldNextLap);
    QVERIFY(car.nextLap->isEmpty());
}

void tst_RecorderCar::startLapReleasesOldLap()
{
    RecorderCar car;
    QWeakPointer<ZUM::SDK::Lap> oldLap = car.lap.toWeakRef();
    car.startLap();
    QVERIFY(oldLap.isNull());

    // A lap someone took stays alive with them.
    const QSharedPointer<ZUM::SDK::Lap> taken = car.lap;
    taken->addSample(sampleWithSpeed(10.0));
    car.startLap();
    QVERIFY(taken != car.lap);
    QCOMPARE(taken->size(), qint64(1));
}

void tst_RecorderCar::startLapKeepsSamplesParkedInNextLap()
{
    RecorderCar car;
    car.nextLap->addSample(sampleWithSpeed(42.0));
    car.startLap();
    QCOMPARE(car.lap->size(), qint64(1));
    QCOMPARE(car.lap->channel(QStringLiteral("speed"))->value(0), 42.0);
    QVERIFY(car.nextLap->isEmpty());
}

void tst_RecorderCar::startLapNumbersLap()
{
    RecorderCar car;
    car.current.lap = 12;
    car.current.lapInStint = 4;
    car.startLap();
    QCOMPARE(car.current.lapInStint, 5);
    QCOMPARE(car.lap->header().lapNumber, 12);
    QCOMPARE(car.lap->header().lapInStint, 5);
    // The prepared lap is not numbered yet.
    QCOMPARE(car.nextLap->header().lapNumber, 0);
    QCOMPARE(car.nextLap->header().lapInStint, 0);
    // The stint is not touched.
    QCOMPARE(car.current.stint, 0);
    QVERIFY(car.current.stintId.isNull());
}

void tst_RecorderCar::startLapGivesNewLapIdEachTime()
{
    RecorderCar car;
    car.startLap();
    const QUuid first = car.current.lapId;
    QVERIFY(!first.isNull());
    car.startLap();
    const QUuid second = car.current.lapId;
    QVERIFY(!second.isNull());
    QVERIFY(second != first);
}

void tst_RecorderCar::startLapClearsSampleValues()
{
    RecorderCar car;
    car.sample = sampleWithSpeed(33.0);
    car.sample.driverName = QStringLiteral("Driver");
    car.startLap();
    QVERIFY(car.sample.dynamicData.isEmpty());
    // Only the values go; the car's identity stays.
    QCOMPARE(car.sample.driverName, QStringLiteral("Driver"));
}

void tst_RecorderCar::startLapClearsPendingLapStart()
{
    RecorderCar car;
    car.startLapPending = true;
    car.startLap();
    QCOMPARE(car.startLapPending, false);
}

void tst_RecorderCar::startStintGivesNewIdentityEachTime()
{
    RecorderCar car;
    car.current.lapInStint = 6;
    car.current.lapId = QUuid::createUuid();
    const QUuid lapId = car.current.lapId;
    const auto lap = car.lap;

    car.startStint();
    const QUuid first = car.current.stintId;
    QVERIFY(!first.isNull());
    QCOMPARE(car.current.lapInStint, 0);
    QCOMPARE(car.current.stint, 1);

    car.current.lapInStint = 3;
    car.startStint();
    QVERIFY(!car.current.stintId.isNull());
    QVERIFY(car.current.stintId != first);
    QCOMPARE(car.current.lapInStint, 0);
    QCOMPARE(car.current.stint, 2);

    // The lap is not touched.
    QCOMPARE(car.current.lapId, lapId);
    QCOMPARE(car.lap, lap);
}

void tst_RecorderCar::updateCarStatus_data()
{
    QTest::addColumn<StatusCase>("statusCase");

    // Pit stall and pit road win over everything else.
    QTest::newRow("in pit stall from flying lap")
        << from(CarStatus::FlyingLap).inPitStall().becomes(CarStatus::InPitStall);
    QTest::newRow("in pit stall while on pit road")
        << from(CarStatus::InPitLane).inPitStall().onPitRoad().becomes(CarStatus::InPitStall);
    QTest::newRow("in pit stall while on track")
        << from(CarStatus::FlyingLap).inPitStall().onTrack().becomes(CarStatus::InPitStall);
    QTest::newRow("in pit stall from undefined")
        << from(CarStatus::Undefined).inPitStall().becomes(CarStatus::InPitStall);
    QTest::newRow("on pit road from flying lap")
        << from(CarStatus::FlyingLap).onPitRoad().becomes(CarStatus::InPitLane);
    QTest::newRow("on pit road from pit stall")
        << from(CarStatus::InPitStall).at(0.9f).onPitRoad().becomes(CarStatus::InPitLane);
    QTest::newRow("on pit road while on track")
        << from(CarStatus::OutLap).onPitRoad().onTrack().becomes(CarStatus::InPitLane);
    QTest::newRow("on pit road in race before start past 0.65")
        << from(CarStatus::Undefined).inRace(1).at(0.9f).onPitRoad().becomes(CarStatus::InPitLane);

    // Neither in the pits nor on track: nothing changes.
    QTest::newRow("not on track keeps flying lap")
        << from(CarStatus::FlyingLap).becomes(CarStatus::FlyingLap);
    QTest::newRow("not on track keeps undefined")
        << from(CarStatus::Undefined).becomes(CarStatus::Undefined);
    QTest::newRow("not on track keeps pit lane")
        << from(CarStatus::InPitLane).at(0.9f).becomes(CarStatus::InPitLane);
    QTest::newRow("not on track in race before start keeps status")
        << from(CarStatus::Undefined).inRace(1).at(0.9f).becomes(CarStatus::Undefined);

    // Race before the green flag.
    QTest::newRow("race before green flag at 0.7 waits for start")
        << from(CarStatus::Undefined)
               .inRace(1)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race before green flag at 0.6 is on out lap") << from(CarStatus::Undefined)
                                                                        .inRace(1)
                                                                        .at(0.6f)
                                                                        .onTrack()
                                                                        .becomes(CarStatus::OutLap)
                                                                        .startingLapAndStint();
    QTest::newRow("race get in car past 0.65 waits for start")
        << from(CarStatus::InPitStall)
               .inRace(1)
               .at(0.95f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race warm-up past 0.65 waits for start")
        << from(CarStatus::Undefined)
               .inRace(2)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race parade waiting past 0.65 keeps waiting")
        << from(CarStatus::WaitingForStart)
               .inRace(3)
               .at(0.99f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race before start from pit lane past 0.65 waits for start")
        << from(CarStatus::InPitLane)
               .inRace(2)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race before start from flying lap past 0.65 waits for start")
        << from(CarStatus::FlyingLap)
               .inRace(3)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race before start just above 0.65 waits for start")
        << from(CarStatus::Undefined)
               .inRace(1)
               .at(floatAbove(0.65f))
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race before start at 0.65 is on out lap") << from(CarStatus::Undefined)
                                                                    .inRace(1)
                                                                    .at(0.65f)
                                                                    .onTrack()
                                                                    .becomes(CarStatus::OutLap)
                                                                    .startingLapAndStint();
    QTest::newRow("race before start from waiting below 0.65 starts out lap")
        << from(CarStatus::WaitingForStart)
               .inRace(2)
               .at(0.3f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race before start from pit stall below 0.65 starts out lap")
        << from(CarStatus::InPitStall)
               .inRace(1)
               .at(0.3f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race before start from pit lane below 0.65 starts out lap")
        << from(CarStatus::InPitLane)
               .inRace(1)
               .at(0.3f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race before start from flying lap below 0.65 starts out lap")
        << from(CarStatus::FlyingLap)
               .inRace(3)
               .at(0.3f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race before start from not in world starts out lap")
        << from(CarStatus::NotInWorld)
               .inRace(3)
               .at(0.3f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race before start on out lap past 0.65 stays on out lap")
        << from(CarStatus::OutLap).inRace(3).at(0.9f).onTrack().becomes(CarStatus::OutLap);
    QTest::newRow("race before start on out lap below 0.65 stays on out lap")
        << from(CarStatus::OutLap).inRace(2).at(0.3f).onTrack().becomes(CarStatus::OutLap);

    // Race under way.
    QTest::newRow("race start on out lap past 0.65 stays on out lap")
        << from(CarStatus::OutLap).inRace(4).at(0.7f).onTrack().becomes(CarStatus::OutLap);
    QTest::newRow("race start on out lap just above 0.65 stays on out lap")
        << from(CarStatus::OutLap)
               .inRace(4)
               .at(floatAbove(0.65f))
               .onTrack()
               .becomes(CarStatus::OutLap);
    QTest::newRow("race start on out lap at 0.65 becomes flying lap")
        << from(CarStatus::OutLap).inRace(4).at(0.65f).onTrack().becomes(CarStatus::FlyingLap);
    QTest::newRow("race start on out lap below 0.65 becomes flying lap")
        << from(CarStatus::OutLap).inRace(4).at(0.02f).onTrack().becomes(CarStatus::FlyingLap);
    QTest::newRow("race running from waiting past 0.65 starts out lap")
        << from(CarStatus::WaitingForStart)
               .inRace(4)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race running flying lap keeps status")
        << from(CarStatus::FlyingLap).inRace(4).at(0.3f).onTrack().becomes(CarStatus::FlyingLap);
    QTest::newRow("race running from pit lane past 0.8 waits for start")
        << from(CarStatus::InPitLane)
               .inRace(4)
               .at(0.9f)
               .onTrack()
               .becomes(CarStatus::WaitingForStart);
    QTest::newRow("race in state 0 from waiting past 0.65 starts out lap")
        << from(CarStatus::WaitingForStart)
               .inRace(0)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("race after finish on out lap keeps status")
        << from(CarStatus::OutLap).inRace(5).at(0.1f).onTrack().becomes(CarStatus::OutLap);

    // Any other session, by the previous status.
    QTest::newRow("not connected keeps status")
        << from(CarStatus::NotConnected).onTrack().becomes(CarStatus::NotConnected);
    QTest::newRow("not in world keeps status")
        << from(CarStatus::NotInWorld).onTrack().becomes(CarStatus::NotInWorld);
    QTest::newRow("undefined on track starts out lap")
        << from(CarStatus::Undefined).onTrack().becomes(CarStatus::OutLap).startingLapAndStint();
    QTest::newRow("waiting for start on track starts out lap") << from(CarStatus::WaitingForStart)
                                                                      .onTrack()
                                                                      .becomes(CarStatus::OutLap)
                                                                      .startingLapAndStint();
    QTest::newRow("pit stall exit past 0.8 starts out lap") << from(CarStatus::InPitStall)
                                                                   .at(0.9f)
                                                                   .onTrack()
                                                                   .becomes(CarStatus::OutLap)
                                                                   .startingLapAndStint();
    QTest::newRow("in pitlane past 0.8 waits for start")
        << from(CarStatus::InPitLane).at(0.9f).onTrack().becomes(CarStatus::WaitingForStart);
    QTest::newRow("in pitlane at 0.8 as float waits for start")
        << from(CarStatus::InPitLane).at(0.8f).onTrack().becomes(CarStatus::WaitingForStart);
    QTest::newRow("in pitlane just below 0.8 starts out lap") << from(CarStatus::InPitLane)
                                                                     .at(floatBelow(0.8f))
                                                                     .onTrack()
                                                                     .becomes(CarStatus::OutLap)
                                                                     .startingLapAndStint();
    QTest::newRow("in pitlane at 0.5 starts out lap")
        << from(CarStatus::InPitLane).onTrack().becomes(CarStatus::OutLap).startingLapAndStint();
    QTest::newRow("out lap keeps status")
        << from(CarStatus::OutLap).onTrack().becomes(CarStatus::OutLap);
    QTest::newRow("flying lap keeps status")
        << from(CarStatus::FlyingLap).onTrack().becomes(CarStatus::FlyingLap);
    QTest::newRow("on track keeps status")
        << from(CarStatus::OnTrack).onTrack().becomes(CarStatus::OnTrack);
    QTest::newRow("off track keeps status")
        << from(CarStatus::OffTrack).onTrack().becomes(CarStatus::OffTrack);
    QTest::newRow("qualify past 0.65 from undefined starts out lap")
        << from(CarStatus::Undefined)
               .inSession(Session::Qualify, 1)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("offline testing pit lane exit starts out lap")
        << from(CarStatus::InPitLane)
               .inSession(Session::Test, 4)
               .at(0.1f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
    QTest::newRow("warm-up out lap at 0.3 keeps status") << from(CarStatus::OutLap)
                                                                .inSession(Session::Warmup, 4)
                                                                .at(0.3f)
                                                                .onTrack()
                                                                .becomes(CarStatus::OutLap);
    QTest::newRow("unknown session from undefined starts out lap")
        << from(CarStatus::Undefined)
               .inSession(Session::Unknown, 0)
               .at(0.7f)
               .onTrack()
               .becomes(CarStatus::OutLap)
               .startingLapAndStint();
}

void tst_RecorderCar::updateCarStatus()
{
    QFETCH(StatusCase, statusCase);
    const StatusCase &c = statusCase;

    // Lap numbers unknown, so that no completion verdict interferes.
    RecorderCar car = carOnTick(c.previous, c.session, c.sessionState, c.pct);
    const auto lap = car.lap;
    const auto nextLap = car.nextLap;

    car.updateCarStatus(c.stall, c.pitRoad, c.track);

    QCOMPARE(car.current.status, c.expected);
    QCOMPARE(car.current.lapCompleted, false);
    QCOMPARE(car.startLapPending, false);
    if (c.startsLapAndStint) {
        QCOMPARE(car.lap, nextLap);
        QVERIFY(car.nextLap != nextLap);
        QVERIFY(!car.current.lapId.isNull());
        QVERIFY(!car.current.stintId.isNull());
        QCOMPARE(car.current.stint, 1);
        QCOMPARE(car.current.lapInStint, 0);
    } else {
        QCOMPARE(car.lap, lap);
        QCOMPARE(car.nextLap, nextLap);
        QVERIFY(car.current.lapId.isNull());
        QVERIFY(car.current.stintId.isNull());
        QCOMPARE(car.current.stint, 0);
        QCOMPARE(car.current.lapInStint, -1);
    }
}

void tst_RecorderCar::freshCarOnTrackStartsOutLapAsLapZeroOfStint()
{
    RecorderCar car;
    car.current.lap = 0;
    car.current.lapDistPct = 0.4f;
    car.current.sessionType = Session::Practice;
    car.prepareTick();
    QCOMPARE(car.previous.status, CarStatus::Undefined);
    const auto nextLap = car.nextLap;

    car.updateCarStatus(false, false, true);

    QCOMPARE(car.current.status, CarStatus::OutLap);
    QCOMPARE(car.lap, nextLap);
    // The lap is numbered before the stint starts, so it is lap 0 of the stint.
    QCOMPARE(car.lap->header().lapInStint, 0);
    QCOMPARE(car.lap->header().lapNumber, 0);
    QCOMPARE(car.current.lapInStint, 0);
    QCOMPARE(car.current.stint, 1);
    QVERIFY(!car.current.lapId.isNull());
    QVERIFY(!car.current.stintId.isNull());

    // The out lap is handed over; the next lap started is lap 1 of the stint.
    car.current.lap = 1;
    car.startLapPending = true;
    car.prepareTick();
    QCOMPARE(car.lap->header().lapInStint, 1);
    QCOMPARE(car.lap->header().lapNumber, 1);
    QCOMPARE(car.current.lapInStint, 1);
    QCOMPARE(car.current.stint, 1);
}

void tst_RecorderCar::everyOutLapStartsNewStint()
{
    RecorderCar car = carOnTick(CarStatus::InPitStall, Session::Practice, 4, 0.1f);
    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.status, CarStatus::OutLap);
    const QUuid firstStint = car.current.stintId;
    QCOMPARE(car.current.stint, 1);

    car.prepareTick();
    car.updateCarStatus(false, true, false);
    QCOMPARE(car.current.status, CarStatus::InPitLane);
    car.prepareTick();
    car.updateCarStatus(true, false, false);
    QCOMPARE(car.current.status, CarStatus::InPitStall);
    QCOMPARE(car.current.stint, 1);

    car.prepareTick();
    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.status, CarStatus::OutLap);
    QCOMPARE(car.current.stint, 2);
    QCOMPARE(car.current.lapInStint, 0);
    QVERIFY(!car.current.stintId.isNull());
    QVERIFY(car.current.stintId != firstStint);
}

void tst_RecorderCar::outLapStartReplacesLapWithoutHandOver()
{
    RecorderCar car = carOnTick(CarStatus::InPitStall, Session::Practice, 4, 0.1f);
    car.lap->addSample(sampleWithSpeed(2.0));
    const QWeakPointer<ZUM::SDK::Lap> oldLap = car.lap.toWeakRef();

    car.updateCarStatus(false, false, true);

    QCOMPARE(car.current.status, CarStatus::OutLap);
    QCOMPARE(car.startLapPending, false);
    QVERIFY(oldLap.isNull());
    QVERIFY(car.lap->isEmpty());
}

void tst_RecorderCar::pitStallIntoStandingPitLaneWaitsForStart()
{
    RecorderCar car;
    car.current.sessionType = Session::Practice;
    car.current.lapDistPct = 0.85f;

    car.prepareTick();
    car.updateCarStatus(true, false, false);
    QCOMPARE(car.current.status, CarStatus::InPitStall);

    // Rolling out of the stall onto the pit road.
    car.prepareTick();
    car.current.lapDistPct = 0.86f;
    car.updateCarStatus(false, true, false);
    QCOMPARE(car.current.status, CarStatus::InPitLane);

    const auto lap = car.lap;
    car.prepareTick();
    car.current.lapDistPct = 0.87f;
    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.status, CarStatus::WaitingForStart);
    QCOMPARE(car.lap, lap);
    QCOMPARE(car.current.stint, 0);
}

void tst_RecorderCar::pitStatusKeepsLapCompleted_data()
{
    QTest::addColumn<bool>("lapCompleted");
    QTest::addColumn<bool>("inPitStall");
    QTest::addColumn<bool>("onPitRoad");

    QTest::newRow("completed kept in pit stall") << true << true << false;
    QTest::newRow("completed kept in pitlane") << true << false << true;
    QTest::newRow("not completed kept in pit stall") << false << true << false;
    QTest::newRow("not completed kept in pitlane") << false << false << true;
}

void tst_RecorderCar::pitStatusKeepsLapCompleted()
{
    QFETCH(bool, lapCompleted);
    QFETCH(bool, inPitStall);
    QFETCH(bool, onPitRoad);

    // The lap number changed, which would complete the lap of a car on track.
    RecorderCar car = carOnTick(CarStatus::FlyingLap, Session::Practice, 4, 0.5f);
    car.previous.lap = 3;
    car.current.lap = 4;
    car.current.lapCompleted = lapCompleted;

    car.updateCarStatus(inPitStall, onPitRoad, false);

    QCOMPARE(car.current.lapCompleted, lapCompleted);
}

void tst_RecorderCar::notOnTrackChangesNothing()
{
    RecorderCar car = carOnTick(CarStatus::OutLap, Session::Practice, 4, 0.5f);
    car.previous.lap = 3;
    car.current.lap = 4;
    car.current.lapCompleted = false;
    const RecorderSample before = car.current;
    const auto lap = car.lap;
    const auto nextLap = car.nextLap;

    car.updateCarStatus(false, false, false);

    QVERIFY(sameSample(car.current, before));
    QCOMPARE(car.lap, lap);
    QCOMPARE(car.nextLap, nextLap);
}

void tst_RecorderCar::unchangedStatusIsKeptEvenWhenItDiffersFromPrevious()
{
    // The transition reads the previous status; an unchanged status is this tick's own.
    RecorderCar car = carOnTick(CarStatus::NotInWorld, Session::Practice, 4, 0.5f);
    car.current.status = CarStatus::OffTrack;
    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.status, CarStatus::OffTrack);

    car = carOnTick(CarStatus::FlyingLap, Session::Practice, 4, 0.5f);
    car.current.status = CarStatus::NotInWorld;
    car.updateCarStatus(false, false, false);
    QCOMPARE(car.current.status, CarStatus::NotInWorld);
}

void tst_RecorderCar::completionVerdictIsStored()
{
    RecorderCar car = carOnTick(CarStatus::FlyingLap, Session::Practice, 4, 0.01f);
    car.detailedTelemetry = true;
    car.previous.lap = 3;
    car.previous.lapTime = 91.2f;
    car.current.lap = 4;
    car.current.lapTime = 0.02f;

    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.lapCompleted, true);
    QCOMPARE(car.current.status, CarStatus::FlyingLap);

    // The next tick the clock runs on: no longer completed.
    car.prepareTick();
    car.current.lapTime = 0.04f;
    car.updateCarStatus(false, false, true);
    QCOMPARE(car.current.lapCompleted, false);
}

void tst_RecorderCar::completedOutLapBecomesFlyingLap()
{
    RecorderCar car = carOnTick(CarStatus::OutLap, Session::Practice, 4, 0.01f);
    car.previous.lap = 1;
    car.current.lap = 2;

    car.updateCarStatus(false, false, true);

    QCOMPARE(car.current.lapCompleted, true);
    QCOMPARE(car.current.status, CarStatus::FlyingLap);
}

void tst_RecorderCar::raceStartAcrossLineCompletesOutLap()
{
    // The player's car crosses the line at the green flag: the out lap ends there.
    RecorderCar car = carOnTick(CarStatus::OutLap, Session::Race, 4, 0.01f);
    car.detailedTelemetry = true;
    car.previous.lap = 0;
    car.previous.lapTime = 20.0f;
    car.current.lap = 0;
    car.current.lapTime = 21.0f;

    car.updateCarStatus(false, false, true);

    QCOMPARE(car.current.status, CarStatus::FlyingLap);
    QCOMPARE(car.current.lapCompleted, true);
}

void tst_RecorderCar::raceStartFromGridKeepsOutLapOpen()
{
    RecorderCar car = carOnTick(CarStatus::OutLap, Session::Race, 4, 0.9f);
    car.detailedTelemetry = true;
    car.previous.lap = 0;
    car.previous.lapTime = 20.0f;
    car.current.lap = 0;
    car.current.lapTime = 21.0f;

    car.updateCarStatus(false, false, true);

    QCOMPARE(car.current.status, CarStatus::OutLap);
    QCOMPARE(car.current.lapCompleted, false);
}

void tst_RecorderCar::isLapCompleted_data()
{
    QTest::addColumn<bool>("detailedTelemetry");
    QTest::addColumn<bool>("useLapDistance");
    QTest::addColumn<int>("previousLap");
    QTest::addColumn<int>("currentLap");
    QTest::addColumn<CarStatus>("previousStatus");
    QTest::addColumn<CarStatus>("currentStatus");
    QTest::addColumn<bool>("previousAborted");
    QTest::addColumn<float>("previousLapTime");
    QTest::addColumn<float>("currentLapTime");
    QTest::addColumn<bool>("expected");

    const CarStatus flying = CarStatus::FlyingLap;
    const CarStatus outLap = CarStatus::OutLap;
    const CarStatus waiting = CarStatus::WaitingForStart;
    const float invalid = float(ZUM::SDK::InvalidValue);

    // Blocked whatever else holds.
    QTest::newRow("unknown previous lap number")
        << false << false << -1 << 0 << flying << flying << false << 90.0f << 1.0f << false;
    QTest::newRow("unknown previous lap number with clock reset")
        << true << false << -1 << 0 << flying << flying << false << 90.0f << 1.0f << false;
    QTest::newRow("current waiting for start")
        << false << false << 3 << 4 << flying << waiting << false << 90.0f << 1.0f << false;
    QTest::newRow("previous waiting for start")
        << false << false << 3 << 4 << waiting << flying << false << 90.0f << 1.0f << false;
    QTest::newRow("previous waiting for start before flying lap")
        << true << false << 3 << 4 << waiting << flying << false << 90.0f << 0.0f << false;
    QTest::newRow("previous lap aborted")
        << false << false << 3 << 4 << flying << flying << true << 90.0f << 1.0f << false;
    QTest::newRow("previous lap aborted before flying lap after out lap")
        << true << false << 3 << 3 << outLap << flying << true << 90.0f << 1.0f << false;

    // Other cars: the lap number alone.
    QTest::newRow("other car lap number went up")
        << false << false << 3 << 4 << flying << flying << false << 1.0f << 2.0f << true;
    QTest::newRow("other car lap number went down")
        << false << false << 4 << 3 << flying << flying << false << 1.0f << 2.0f << true;
    QTest::newRow("other car first lap from zero")
        << false << false << 0 << 1 << outLap << outLap << false << 1.0f << 2.0f << true;
    QTest::newRow("other car lap number unchanged")
        << false << false << 3 << 3 << flying << flying << false << 90.0f << 1.0f << false;
    QTest::newRow("other car lap number unchanged after out lap")
        << false << false << 3 << 3 << outLap << flying << false << 1.0f << 2.0f << false;

    // Player's car.
    QTest::newRow("flying lap after out lap")
        << true << false << 3 << 3 << outLap << flying << false << 30.0f << 31.0f << true;
    QTest::newRow("flying lap after out lap in lap distance mode")
        << true << true << 3 << 3 << outLap << flying << false << 30.0f << 31.0f << true;
    QTest::newRow("out lap after out lap runs on")
        << true << false << 3 << 3 << outLap << outLap << false << 30.0f << 31.0f << false;
    QTest::newRow("clock at zero with next lap number")
        << true << false << 3 << 4 << flying << flying << false << 90.0f << 0.0f << true;
    QTest::newRow("clock at zero with lap number two up")
        << true << false << 3 << 5 << flying << flying << false << 90.0f << 0.0f << true;
    QTest::newRow("clock at zero with same lap number")
        << true << false << 3 << 3 << flying << flying << false << 90.0f << 0.0f << false;
    QTest::newRow("clock at zero with lower lap number")
        << true << false << 3 << 2 << flying << flying << false << 90.0f << 0.0f << false;
    QTest::newRow("clock at zero with unknown lap number")
        << true << false << 0 << -1 << flying << flying << false << 90.0f << 0.0f << false;
    QTest::newRow("clock at zero from lap zero to one")
        << true << false << 0 << 1 << flying << flying << false << 0.0f << 0.0f << true;
    QTest::newRow("clock at 0.000005 counts as zero")
        << true << false << 3 << 3 << flying << flying << false << 90.0f << 0.000005f << false;
    QTest::newRow("clock at 0.000005 with next lap number")
        << true << false << 3 << 4 << flying << flying << false << 90.0f << 0.000005f << true;
    QTest::newRow("clock at -0.000005 counts as zero")
        << true << true << 3 << 3 << flying << flying << false << 90.0f << -0.000005f << false;
    QTest::newRow("clock at 0.00002 is running")
        << true << false << 3 << 3 << flying << flying << false << 90.0f << 0.00002f << true;
    QTest::newRow("clock at zero in lap distance mode with same lap number")
        << true << true << 3 << 3 << flying << flying << false << 90.0f << 0.0f << false;
    QTest::newRow("clock drop of 5.0001 s")
        << true << false << 3 << 3 << flying << flying << false << 65.0001f << 60.0f << true;
    QTest::newRow("clock drop of exactly 5.0 s")
        << true << false << 3 << 3 << flying << flying << false << 65.0f << 60.0f << false;
    QTest::newRow("clock drop of 5.0001 s in lap distance mode")
        << true << true << 3 << 3 << flying << flying << false << 65.0001f << 60.0f << true;
    QTest::newRow("clock drop of exactly 5.0 s in lap distance mode")
        << true << true << 3 << 3 << flying << flying << false << 65.0f << 60.0f << false;
    QTest::newRow("clock drop ignores lap number")
        << true << false << 3 << 2 << flying << flying << false << 95.0f << 0.5f << true;
    QTest::newRow("clock runs on")
        << true << false << 3 << 4 << flying << flying << false << 60.0f << 60.1f << false;
    QTest::newRow("clock missing this tick")
        << true << false << 3 << 4 << flying << flying << false << 60.0f << invalid << false;
    QTest::newRow("invalid previous clock blocks completion")
        << true << false << 3 << 4 << flying << flying << false << invalid << 1.0f << false;
    QTest::newRow("invalid previous clock blocks completion in lap distance mode")
        << true << true << 3 << 4 << flying << flying << false << invalid << 1.0f << false;
    QTest::newRow("large valid previous clock completes")
        << true << false << 3 << 3 << flying << flying << false << 1e23f << 1.0f << true;
    QTest::newRow("negative clock blocks completion in lap time mode")
        << true << false << 3 << 3 << flying << flying << false << 90.0f << -1.0f << false;
    QTest::newRow("negative clock completes in lap distance mode")
        << true << true << 3 << 3 << flying << flying << false << 90.0f << -1.0f << true;
    QTest::newRow("negative previous clock blocks completion in lap time mode")
        << true << false << 3 << 3 << flying << flying << false << -1.0f << -10.0f << false;
    QTest::newRow("negative previous clock completes in lap distance mode")
        << true << true << 3 << 3 << flying << flying << false << -1.0f << -10.0f << true;
    QTest::newRow("clock below zero after zero blocks completion in lap time mode")
        << true << false << 3 << 3 << flying << flying << false << 0.0f << -6.0f << false;
    QTest::newRow("clock below zero after zero completes in lap distance mode")
        << true << true << 3 << 3 << flying << flying << false << 0.0f << -6.0f << true;
    QTest::newRow("lap distance mode still needs a drop above 5 s")
        << true << true << 3 << 3 << flying << flying << false << 4.0f << -0.5f << false;
    QTest::newRow("player car ignores lap number without clock reset")
        << true << false << 3 << 4 << flying << flying << false << 30.0f << 31.0f << false;
}

void tst_RecorderCar::isLapCompleted()
{
    QFETCH(bool, detailedTelemetry);
    QFETCH(bool, useLapDistance);
    QFETCH(int, previousLap);
    QFETCH(int, currentLap);
    QFETCH(CarStatus, previousStatus);
    QFETCH(CarStatus, currentStatus);
    QFETCH(bool, previousAborted);
    QFETCH(float, previousLapTime);
    QFETCH(float, currentLapTime);
    QFETCH(bool, expected);

    RecorderCar car;
    car.detailedTelemetry = detailedTelemetry;
    car.useLapDistance = useLapDistance;
    car.previous.lap = previousLap;
    car.previous.status = previousStatus;
    car.previous.lapAborted = previousAborted;
    car.previous.lapTime = previousLapTime;
    car.current.lap = currentLap;
    car.current.status = currentStatus;
    car.current.lapTime = currentLapTime;

    QCOMPARE(car.isLapCompleted(), expected);
}

void tst_RecorderCar::isLapAborted_data()
{
    QTest::addColumn<bool>("useLapDistance");
    QTest::addColumn<int>("previousLap");
    QTest::addColumn<int>("currentLap");
    QTest::addColumn<CarStatus>("previousStatus");
    QTest::addColumn<CarStatus>("currentStatus");
    QTest::addColumn<float>("beforePreviousLapDist");
    QTest::addColumn<float>("previousLapDist");
    QTest::addColumn<float>("currentLapDist");
    QTest::addColumn<bool>("expected");

    const CarStatus flying = CarStatus::FlyingLap;
    const CarStatus waiting = CarStatus::WaitingForStart;

    // Lap distance mode: the lap counter and the lap distance.
    QTest::newRow("lap counter reset to zero")
        << true << 5 << 0 << flying << flying << 100.0f << 110.0f << 120.0f << true;
    QTest::newRow("lap counter reset from one")
        << true << 1 << 0 << flying << flying << 100.0f << 110.0f << 120.0f << true;
    QTest::newRow("lap counter stays at zero")
        << true << 0 << 0 << flying << flying << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("lap counter goes up")
        << true << 5 << 6 << flying << flying << 3000.0f << 3010.0f << 2.0f << false;
    QTest::newRow("lap counter unknown before")
        << true << -1 << 0 << flying << flying << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("lap counter reset while waiting for start")
        << true << 5 << 0 << flying << waiting << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("lap distance drops to zero for one tick")
        << true << 5 << 5 << flying << flying << 100.0f << 0.0f << 5.0f << true;
    QTest::newRow("lap distance drop with unknown previous lap")
        << true << -1 << 5 << flying << flying << 100.0f << 0.0f << 5.0f << false;
    QTest::newRow("lap distance drop while waiting for start")
        << true << 5 << 5 << flying << waiting << 100.0f << 0.0f << 5.0f << false;
    QTest::newRow("lap distance stays at zero")
        << true << 5 << 5 << flying << flying << 100.0f << 0.0f << 0.0f << false;
    QTest::newRow("lap distance was already zero")
        << true << 5 << 5 << flying << flying << 0.0f << 0.0f << 5.0f << false;
    QTest::newRow("lap distance from unknown through zero")
        << true << 5 << 5 << flying << flying << -1.0f << 0.0f << 5.0f << false;
    QTest::newRow("lap distance near zero is not zero")
        << true << 5 << 5 << flying << flying << 100.0f << 0.001f << 5.0f << false;
    QTest::newRow("lap distance running")
        << true << 5 << 5 << flying << flying << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("lap distance mode ignores pit entry")
        << true << 5 << 5 << flying << CarStatus::InPitLane << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("lap distance mode ignores leaving the world")
        << true << 5 << 5 << flying << CarStatus::NotInWorld << 100.0f << 110.0f << 120.0f << false;

    // Status mode: leaving the track.
    QTest::newRow("flying lap into pit stall")
        << false << 5 << 5 << flying << CarStatus::InPitStall << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("flying lap into pitlane")
        << false << 5 << 5 << flying << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("flying lap into not in world")
        << false << 5 << 5 << flying << CarStatus::NotInWorld << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("flying lap into undefined")
        << false << 5 << 5 << flying << CarStatus::Undefined << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("out lap into pitlane") << false << 5 << 5 << CarStatus::OutLap
                                          << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("off track into pit stall")
        << false << 5 << 5 << CarStatus::OffTrack << CarStatus::InPitStall << 1.0f << 2.0f << 3.0f
        << true;
    QTest::newRow("not connected into pit stall")
        << false << 5 << 5 << CarStatus::NotConnected << CarStatus::InPitStall << 1.0f << 2.0f
        << 3.0f << true;
    QTest::newRow("waiting for start into pitlane")
        << false << 5 << 5 << waiting << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f << true;
    QTest::newRow("flying lap into pitlane with unknown previous lap")
        << false << -1 << 5 << flying << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("pit stall into pitlane")
        << false << 5 << 5 << CarStatus::InPitStall << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f
        << false;
    QTest::newRow("pitlane into pit stall")
        << false << 5 << 5 << CarStatus::InPitLane << CarStatus::InPitStall << 1.0f << 2.0f << 3.0f
        << false;
    QTest::newRow("not in world stays not in world")
        << false << 5 << 5 << CarStatus::NotInWorld << CarStatus::NotInWorld << 1.0f << 2.0f << 3.0f
        << false;
    QTest::newRow("undefined into pitlane")
        << false << 5 << 5 << CarStatus::Undefined << CarStatus::InPitLane << 1.0f << 2.0f << 3.0f
        << false;
    QTest::newRow("flying lap stays flying")
        << false << 5 << 5 << flying << flying << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("flying lap into out lap")
        << false << 5 << 5 << flying << CarStatus::OutLap << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("flying lap into off track")
        << false << 5 << 5 << flying << CarStatus::OffTrack << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("flying lap into not connected")
        << false << 5 << 5 << flying << CarStatus::NotConnected << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("flying lap into waiting for start")
        << false << 5 << 5 << flying << waiting << 1.0f << 2.0f << 3.0f << false;
    QTest::newRow("status mode ignores lap counter reset")
        << false << 5 << 0 << flying << flying << 100.0f << 110.0f << 120.0f << false;
    QTest::newRow("status mode ignores lap distance drop")
        << false << 5 << 5 << flying << flying << 100.0f << 0.0f << 5.0f << false;
}

void tst_RecorderCar::isLapAborted()
{
    QFETCH(bool, useLapDistance);
    QFETCH(int, previousLap);
    QFETCH(int, currentLap);
    QFETCH(CarStatus, previousStatus);
    QFETCH(CarStatus, currentStatus);
    QFETCH(float, beforePreviousLapDist);
    QFETCH(float, previousLapDist);
    QFETCH(float, currentLapDist);
    QFETCH(bool, expected);

    RecorderCar car;
    car.useLapDistance = useLapDistance;
    car.beforePrevious.lapDist = beforePreviousLapDist;
    car.previous.lap = previousLap;
    car.previous.status = previousStatus;
    car.previous.lapDist = previousLapDist;
    car.current.lap = currentLap;
    car.current.status = currentStatus;
    car.current.lapDist = currentLapDist;

    QCOMPARE(car.isLapAborted(), expected);
}

void tst_RecorderCar::lapDistanceDropOverThreeTicksAborts()
{
    RecorderCar car;
    car.useLapDistance = true;
    car.current.lap = 2;
    car.current.status = CarStatus::FlyingLap;

    const float distances[] = {1500.0f, 1510.0f, 0.0f, 4.0f, 8.0f};
    const bool aborted[] = {false, false, false, true, false};
    for (int tick = 0; tick < 5; ++tick) {
        car.prepareTick();
        car.current.lapDist = distances[tick];
        QCOMPARE(car.isLapAborted(), aborted[tick]);
    }
}

QTEST_APPLESS_MAIN(tst_RecorderCar)

#include "tst_recordercar.moc"
