#include "quickoptions.h"
#include "sessiongenerator.h"
#include "ibtimage.h"

#include <QHash>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <numbers>

using Options = SessionGenerator::Options;
using Scenario = SessionGenerator::Scenario;
using LapKind = SessionGenerator::LapKind;

Q_DECLARE_METATYPE(SessionGenerator::Options)

namespace {

constexpr double Pi = std::numbers::pi;
// The mean radius of the earth, by which the generator turns metres into degrees.
constexpr double EarthRadius = 6371000.0;
constexpr double G = 9.81;

double wrapped(double angle)
{
    return std::remainder(angle, 2.0 * Pi);
}

// Metres east and north of the track's reference point.
struct Point
{
    double east = 0.0;
    double north = 0.0;
};

double distance(const Point &a, const Point &b)
{
    return std::hypot(b.east - a.east, b.north - a.north);
}

// Where the straight through a and b reaches the lap distance d, a and b at da and db.
Point along(const Point &a, double da, const Point &b, double db, double d)
{
    const double f = (d - da) / (db - da);
    return {a.east + f * (b.east - a.east), a.north + f * (b.north - a.north)};
}

// The car's track as a written file carries it.
struct Trace
{
    enum Piece { Straight, Corner, Junction };

    Options options;
    SessionGenerator::Summary summary;
    QList<Point> points;
    QList<double> time, lapDist, speed, yaw, latAccel, velocityX, velocityY, steering, alt;
    QList<double> pitRoad, inStall;

    // Signed curvature (1/m, left positive) of the circle through the positions around i.
    double curvature(qsizetype i) const
    {
        const Point &a = points[i - 1];
        const Point &b = points[i];
        const Point &c = points[i + 1];
        const double cross
            = (b.east - a.east) * (c.north - a.north) - (b.north - a.north) * (c.east - a.east);
        return 2.0 * cross / (distance(a, b) * distance(b, c) * distance(c, a));
    }

    // Whether the positions around i lie on a straight, on a corner of the outline's radius,
    // or across the junction of the two.
    Piece piece(qsizetype i) const
    {
        const double bend = curvature(i) * summary.cornerRadius;
        if (std::abs(bend) < 0.01)
            return Straight;
        return std::abs(bend - 1.0) < 0.01 ? Corner : Junction;
    }

    // The compass bearing of the direction from the position before i to the one after it.
    double bearing(qsizetype i) const
    {
        return std::atan2(points[i + 1].east - points[i - 1].east,
                          points[i + 1].north - points[i - 1].north);
    }

    // On track and moving: the positions around it trace the racing line.
    bool onRacingLine(qsizetype i) const
    {
        return i > 0 && i + 1 < points.size() && pitRoad[i - 1] == 0.0 && pitRoad[i] == 0.0
            && pitRoad[i + 1] == 0.0 && speed[i] > 1.0;
    }

    // Records [first, last] of each flying or race lap.
    QList<std::pair<qsizetype, qsizetype>> flyingLaps() const
    {
        QList<std::pair<qsizetype, qsizetype>> laps;
        for (const SessionGenerator::Lap &lap : summary.laps) {
            if ((lap.kind != LapKind::Flying && lap.kind != LapKind::Racing) || !lap.complete)
                continue;
            const auto first = std::upper_bound(time.begin(), time.end(), lap.startTime);
            const auto end = std::lower_bound(time.begin(), time.end(), lap.endTime);
            laps.append({first - time.begin(), end - time.begin() - 1});
        }
        return laps;
    }
};

} // namespace

class tst_TrackShape : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void variablesAreDescribedAsTheSimulatorDoes_data();
    void variablesAreDescribedAsTheSimulatorDoes();
    void flyingLapsCloseOnThemselves_data() { addTracks(); }
    void flyingLapsCloseOnThemselves();
    void lateralAccelerationIsSpeedSquaredOverRadius_data() { addTracks(); }
    void lateralAccelerationIsSpeedSquaredOverRadius();
    void yawIsTheHeadingOfTheOutline_data() { addTracks(); }
    void yawIsTheHeadingOfTheOutline();
    void carPointsAlongItsPath_data() { addTracks(); }
    void carPointsAlongItsPath();
    void pitLaneRunsBesideTheTrack_data() { addTracks(); }
    void pitLaneRunsBesideTheTrack();

private:
    void addTracks();
    const Trace &trace(const Options &options);

    QTemporaryDir m_dir;
    QHash<QString, Trace> m_traces;
};

void tst_TrackShape::addTracks()
{
    QTest::addColumn<Options>("options");
    QTest::newRow("practice at Interlagos") << quick(Scenario::Practice);
    QTest::newRow("race") << quick(Scenario::Race);
    Options north = quick(Scenario::Practice);
    north.trackLatitude = 50.3356;
    north.trackLongitude = 6.9475;
    north.trackAltitude = 620.0;
    north.trackNorthOffset = 0.5;
    north.trackLength = 2500.0;
    north.lapTime = 60.0;
    QTest::newRow("in the north, turned the other way") << north;
    QTest::newRow("short track with the pits on the back straight") << shortTrack(30.0);
    QTest::newRow("pit entry in the last corner") << pitsBeforeTheLine();
}

// One file per row, read once for all the tests of that row.
const Trace &tst_TrackShape::trace(const Options &options)
{
    const QString tag = QString::fromLatin1(QTest::currentDataTag());
    const auto cached = m_traces.constFind(tag);
    if (cached != m_traces.constEnd())
        return *cached;
    const QString path = m_dir.filePath(QStringLiteral("track.ibt"));
    const SessionGenerator generator(options);
    if (!generator.write(path))
        qWarning("cannot write %s", qPrintable(path));
    const IbtImage file = IbtImage::load(path);
    Trace t;
    t.options = options;
    t.summary = generator.summary();
    const QList<double> lat = file.series("Lat");
    const QList<double> lon = file.series("Lon");
    const double eastPerDegree
        = EarthRadius * Pi / 180.0 * std::cos(options.trackLatitude * Pi / 180.0);
    for (qsizetype i = 0; i < lat.size(); ++i) {
        t.points.append({(lon[i] - options.trackLongitude) * eastPerDegree,
                         (lat[i] - options.trackLatitude) * EarthRadius * Pi / 180.0});
    }
    t.time = file.series("SessionTime");
    t.lapDist = file.series("LapDist");
    t.speed = file.series("Speed");
    t.yaw = file.series("Yaw");
    t.latAccel = file.series("LatAccel");
    t.velocityX = file.series("VelocityX");
    t.velocityY = file.series("VelocityY");
    t.steering = file.series("SteeringWheelAngle");
    t.alt = file.series("Alt");
    t.pitRoad = file.series("OnPitRoad");
    t.inStall = file.series("PlayerCarInPitStall");
    return *m_traces.insert(tag, t);
}

void tst_TrackShape::variablesAreDescribedAsTheSimulatorDoes_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("unit");
    QTest::newRow("latitude") << QByteArray("Lat") << int(irsdk_double) << QByteArray("deg");
    QTest::newRow("longitude") << QByteArray("Lon") << int(irsdk_double) << QByteArray("deg");
    QTest::newRow("altitude") << QByteArray("Alt") << int(irsdk_float) << QByteArray("m");
    QTest::newRow("forward velocity")
        << QByteArray("VelocityX") << int(irsdk_float) << QByteArray("m/s");
    QTest::newRow("sideways velocity")
        << QByteArray("VelocityY") << int(irsdk_float) << QByteArray("m/s");
    QTest::newRow("lateral acceleration")
        << QByteArray("LatAccel") << int(irsdk_float) << QByteArray("m/s^2");
    QTest::newRow("longitudinal acceleration")
        << QByteArray("LongAccel") << int(irsdk_float) << QByteArray("m/s^2");
    QTest::newRow("steering") << QByteArray("SteeringWheelAngle") << int(irsdk_float)
                              << QByteArray("rad");
    QTest::newRow("yaw") << QByteArray("Yaw") << int(irsdk_float) << QByteArray("rad");
}

void tst_TrackShape::variablesAreDescribedAsTheSimulatorDoes()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    QFETCH(QByteArray, unit);
    const QString path = m_dir.filePath(QStringLiteral("described.ibt"));
    Options o = quick(Scenario::Practice);
    o.laps = 0;
    QVERIFY(SessionGenerator(o).write(path));
    const IbtImage file = IbtImage::load(path);
    const int index = file.indexOf(name.constData());
    QVERIFY2(index >= 0, name.constData());
    const irsdk_varHeader var = file.varHeaders().at(index);
    QCOMPARE(var.type, type);
    QCOMPARE(var.count, 1);
    QCOMPARE(QByteArray(var.unit), unit);
}

// Read back from the lap's own positions, its end meets its start, at the line, and the path
// between them is a lap long: the outline is closed and the lap distance runs along it.
void tst_TrackShape::flyingLapsCloseOnThemselves()
{
    QFETCH(Options, options);
    const Trace &t = trace(options);
    const double length = options.trackLength;
    const auto laps = t.flyingLaps();
    QVERIFY(laps.size() >= options.laps);
    for (const auto &[first, last] : laps) {
        QVERIFY(last - first > 100);
        const Point start = along(t.points[first], t.lapDist[first], t.points[first + 1],
                                  t.lapDist[first + 1], 0.0);
        const Point end = along(t.points[last - 1], t.lapDist[last - 1], t.points[last],
                                t.lapDist[last], length);
        QVERIFY2(distance(start, end) < 1.0, qPrintable(QString::number(distance(start, end))));
        // The line lies at the track's latitude and longitude.
        QVERIFY(distance(start, Point()) < 1.0);
        double path = distance(start, t.points[first]) + distance(t.points[last], end);
        for (qsizetype i = first; i < last; ++i)
            path += distance(t.points[i], t.points[i + 1]);
        QVERIFY2(std::abs(path - length) < 1.0, qPrintable(QString::number(path)));
    }
}

// On the racing line the positions trace straights and corners of the outline's radius; the
// lateral acceleration is 0 on the straights and the speed squared over the radius in the
// corners, within a plausible 1.5 g everywhere.
void tst_TrackShape::lateralAccelerationIsSpeedSquaredOverRadius()
{
    QFETCH(Options, options);
    const Trace &t = trace(options);
    const double radius = t.summary.cornerRadius;
    QVERIFY(radius > 10.0 && radius < options.trackLength / (2.0 * Pi));
    int corners = 0;
    int straights = 0;
    for (qsizetype i = 1; i + 1 < t.points.size(); ++i) {
        QVERIFY2(std::abs(t.latAccel[i]) < 1.5 * G,
                 qPrintable(QStringLiteral("record %1: %2 m/s^2 at %3 m/s, lap distance %4 m")
                                .arg(i)
                                .arg(t.latAccel[i])
                                .arg(t.speed[i])
                                .arg(t.lapDist[i])));
        if (!t.onRacingLine(i))
            continue;
        switch (t.piece(i)) {
        case Trace::Straight:
            ++straights;
            QCOMPARE(t.latAccel[i], 0.0);
            break;
        case Trace::Corner: {
            ++corners;
            const double expected = t.speed[i] * t.speed[i] / radius;
            QVERIFY2(std::abs(t.latAccel[i] - expected) <= 1e-6 * expected,
                     qPrintable(QStringLiteral("record %1: %2 m/s^2, v^2/r %3")
                                    .arg(i)
                                    .arg(t.latAccel[i])
                                    .arg(expected)));
            break;
        }
        case Trace::Junction:
            break;
        }
    }
    QVERIFY(corners > 100);
    QVERIFY(straights > 100);
}

// The yaw is the direction in which the positions advance, turned by the north offset as in
// the simulator's files: yaw + compass bearing = north offset.
void tst_TrackShape::yawIsTheHeadingOfTheOutline()
{
    QFETCH(Options, options);
    const Trace &t = trace(options);
    int compared = 0;
    for (qsizetype i = 1; i + 1 < t.points.size(); ++i) {
        if (!t.onRacingLine(i) || t.piece(i) == Trace::Junction)
            continue;
        const double expected = wrapped(options.trackNorthOffset - t.bearing(i));
        QVERIFY2(std::abs(wrapped(t.yaw[i] - expected)) < 1e-4,
                 qPrintable(QStringLiteral("record %1: yaw %2, heading %3")
                                .arg(i)
                                .arg(t.yaw[i])
                                .arg(expected)));
        QVERIFY(std::abs(t.yaw[i]) <= float(Pi));
        ++compared;
    }
    QVERIFY(compared > 1000);
}

// Without slip the car moves straight ahead at its speed, the wheel turned left in the
// corners, which all turn left, and straight on the straights; the track is flat.
void tst_TrackShape::carPointsAlongItsPath()
{
    QFETCH(Options, options);
    const Trace &t = trace(options);
    for (qsizetype i = 0; i < t.points.size(); ++i) {
        QCOMPARE(t.velocityY[i], 0.0);
        QCOMPARE(t.alt[i], double(float(options.trackAltitude)));
        if (t.pitRoad[i] == 0.0)
            QCOMPARE(t.velocityX[i], t.speed[i]);
        if (!t.onRacingLine(i))
            continue;
        if (t.piece(i) == Trace::Straight)
            QCOMPARE(t.steering[i], 0.0);
        else if (t.piece(i) == Trace::Corner)
            QVERIFY(t.steering[i] > 0.0 && t.steering[i] < Pi);
    }
}

// The positions never jump, on pit road either: each step is the distance the car's speed
// covers, between its speeds before and after (which change at once between flying laps of
// different times, and along a pit lane where a corner begins or ends). The pit stall lies in
// a lane to the left of the racing line, parallel to it.
void tst_TrackShape::pitLaneRunsBesideTheTrack()
{
    QFETCH(Options, options);
    const Trace &t = trace(options);
    for (qsizetype i = 1; i < t.points.size(); ++i) {
        const double step = distance(t.points[i - 1], t.points[i]);
        const double dt = t.time[i] - t.time[i - 1];
        const double slow = std::min(t.velocityX[i - 1], t.velocityX[i]) * dt;
        const double fast = std::max(t.velocityX[i - 1], t.velocityX[i]) * dt;
        QVERIFY2(step > slow - 0.005 && step < fast + 0.005,
                 qPrintable(QStringLiteral("record %1: %2 m, at its speeds %3 to %4 m")
                                .arg(i)
                                .arg(step)
                                .arg(slow)
                                .arg(fast)));
    }

    const qsizetype stall = t.inStall.indexOf(1.0);
    QVERIFY(stall >= 0);
    QCOMPARE(t.pitRoad[stall], 1.0);
    const auto [first, last] = t.flyingLaps().front();
    qsizetype next = first;
    while (next <= last && t.lapDist[next] < t.lapDist[stall])
        ++next;
    QVERIFY(next > first && next <= last);
    const Point line = along(t.points[next - 1], t.lapDist[next - 1], t.points[next],
                             t.lapDist[next], t.lapDist[stall]);
    const Point &car = t.points[stall];
    // Across the racing line's direction, to its left; the stall faces the same way.
    const double heading = options.trackNorthOffset - t.yaw[next];
    const double left = -(car.east - line.east) * std::cos(heading)
        + (car.north - line.north) * std::sin(heading);
    QVERIFY2(left > 2.0 && std::abs(left - distance(car, line)) < 0.01,
             qPrintable(QString::number(left)));
    QVERIFY(std::abs(wrapped(t.yaw[stall] - t.yaw[next])) < 1e-3);
}

QTEST_GUILESS_MAIN(tst_TrackShape)
#include "tst_trackshape.moc"
