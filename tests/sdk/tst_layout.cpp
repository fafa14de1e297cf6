#include "dynamicdata.h"
#include "lap.h"
#include "sample.h"

#include <QTest>

#include <cstring>

// A decoder fills a sample's values by position in a layout, and a lap in the same layout
// appends them by position: the lap must come out exactly as when every value goes by name.
using namespace ZUM::SDK;

namespace {

const QList<QString> layoutNames
    = {QStringLiteral("speed"), QStringLiteral("gear"), QStringLiteral("throttle")};
const QList<QString> layoutUnits = {QStringLiteral("m/s"), QString(), QStringLiteral("pu")};

// One tick: the three values by position, or what is different about it.
struct Tick
{
    double speed = 0.0;
    int gear = 0;
    float throttle = 0.0f;
    enum Change { None, WithoutGear, InvalidGear, ExtraName, GearUnset } change = None;
};

// The tick as a decoder gives it: in the layout where it can be.
Sample laidOut(const Tick &tick, DynamicData::Layout layout)
{
    Sample sample;
    DynamicData &values = sample.dynamicData;
    values.setLayout(layout, layoutNames, layoutUnits);
    values.setLayoutValue(0, tick.speed);
    if (tick.change != Tick::GearUnset)
        values.setLayoutValue(1, tick.gear);
    values.setLayoutValue(2, tick.throttle);
    switch (tick.change) {
    case Tick::WithoutGear:
        values.removeValue(QStringLiteral("gear"));
        break;
    case Tick::InvalidGear:
        values.setValue(QStringLiteral("gear"), QVariant(), QString());
        break;
    case Tick::ExtraName:
        values.setValue(QStringLiteral("brake"), 0.25, QStringLiteral("pu"));
        break;
    case Tick::None:
    case Tick::GearUnset:
        break;
    }
    return sample;
}

// The same tick, every value by name.
Sample byName(const Tick &tick)
{
    Sample sample;
    DynamicData &values = sample.dynamicData;
    values.setValue(layoutNames[0], tick.speed, layoutUnits[0]);
    if (tick.change == Tick::GearUnset)
        values.setValue(layoutNames[1], QVariant(), layoutUnits[1]);
    else if (tick.change != Tick::WithoutGear)
        values.setValue(layoutNames[1],
                        tick.change == Tick::InvalidGear ? QVariant() : QVariant(tick.gear),
                        layoutUnits[1]);
    values.setValue(layoutNames[2], tick.throttle, layoutUnits[2]);
    if (tick.change == Tick::ExtraName)
        values.setValue(QStringLiteral("brake"), 0.25, QStringLiteral("pu"));
    return sample;
}

QByteArray channelsOf(const Lap &lap)
{
    QByteArray bytes;
    for (const QString &name : lap.getAvailableRecordedChannels()) {
        const QSharedPointer<Channel> channel = lap.channel(name);
        bytes += name.toUtf8() + '[' + channel->unit().toUtf8() + "]:";
        bytes += QByteArray(reinterpret_cast<const char *>(channel->constData()),
                            qsizetype(channel->size() * sizeof(double)));
    }
    return bytes;
}

} // namespace

Q_DECLARE_METATYPE(QList<Tick>)

class tst_Layout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layoutMakesTheNamesPresent();
    void numbersOnceEveryPositionHoldsOne();
    void changeByNameDropsTheLayout_data();
    void changeByNameDropsTheLayout();
    void copyDropsTheLayoutMoveKeepsIt();
    void lapByPositionIsLapByName_data();
    void lapByPositionIsLapByName();
    void channelAddedBetweenSamplesIsKept();
};

void tst_Layout::layoutMakesTheNamesPresent()
{
    DynamicData values;
    values.setValue(QStringLiteral("old"), 1, QString());
    const DynamicData::Layout layout = DynamicData::newLayout();
    values.setLayout(layout, layoutNames, layoutUnits);
    QCOMPARE(values.layout(), layout);
    QCOMPARE(values.valueNameList(), QList<QString>({"gear", "speed", "throttle"}));
    QVERIFY(!values.containsValue(QStringLiteral("old")));
    QVERIFY(!values.value(QStringLiteral("speed")).isValid());
    QCOMPARE(values.value(QStringLiteral("throttle")).unit(), QStringLiteral("pu"));
    QCOMPARE(values.layoutName(1), QStringLiteral("gear"));

    values.setLayoutValue(1, 3);
    values.setLayoutValue(1, 4);
    QCOMPARE(values.value(QStringLiteral("gear")).typeId(), int(QMetaType::Int));
    QCOMPARE(values.value(QStringLiteral("gear")).toInt(), 4);
    QCOMPARE(values.value(QStringLiteral("gear")).unit(), QString());
    QVERIFY(DynamicData::newLayout() != layout);
}

void tst_Layout::numbersOnceEveryPositionHoldsOne()
{
    DynamicData values;
    values.setLayout(DynamicData::newLayout(), layoutNames, layoutUnits);
    values.setLayoutValue(0, 12.5);
    values.setLayoutValue(1, true);
    QVERIFY(!values.layoutNumbers());
    values.setLayoutValue(2, 0.1f);
    const double *numbers = values.layoutNumbers();
    QVERIFY(numbers);
    for (qsizetype i = 0; i < layoutNames.size(); ++i)
        QCOMPARE(numbers[i], values.layoutValue(i).toDouble());
    QCOMPARE(numbers[2], double(0.1f));
    // A position given another type holds that type from then on.
    values.setLayoutValue(1, 7);
    QCOMPARE(values.value(QStringLiteral("gear")).typeId(), int(QMetaType::Int));
    QCOMPARE(values.layoutNumbers()[1], 7.0);
}

void tst_Layout::changeByNameDropsTheLayout_data()
{
    QTest::addColumn<int>("change");
    QTest::newRow("a name set again") << 0;
    QTest::newRow("a new name") << 1;
    QTest::newRow("a name removed") << 2;
    QTest::newRow("cleared") << 3;
}

void tst_Layout::changeByNameDropsTheLayout()
{
    QFETCH(int, change);
    DynamicData values;
    values.setLayout(DynamicData::newLayout(), layoutNames, layoutUnits);
    for (qsizetype i = 0; i < layoutNames.size(); ++i)
        values.setLayoutValue(i, 1.0);
    switch (change) {
    case 0:
        values.setValue(QStringLiteral("gear"), 2, QString());
        break;
    case 1:
        values.setValue(QStringLiteral("brake"), 2, QString());
        break;
    case 2:
        values.removeValue(QStringLiteral("gear"));
        break;
    default:
        values.clear();
    }
    QCOMPARE(values.layout(), DynamicData::Layout(0));
    QVERIFY(!values.layoutNumbers());
}

void tst_Layout::copyDropsTheLayoutMoveKeepsIt()
{
    const DynamicData::Layout layout = DynamicData::newLayout();
    DynamicData values;
    values.setLayout(layout, layoutNames, layoutUnits);
    for (qsizetype i = 0; i < layoutNames.size(); ++i)
        values.setLayoutValue(i, double(i));

    const DynamicData copy = values;
    QCOMPARE(copy.layout(), DynamicData::Layout(0));
    QCOMPARE(copy.valueNameList(), values.valueNameList());

    DynamicData moved = std::move(values);
    QCOMPARE(moved.layout(), layout);
    QCOMPARE(moved.layoutNumbers()[2], 2.0);
    moved.setLayoutValue(2, 5.0);
    QCOMPARE(moved.value(QStringLiteral("throttle")).toDouble(), 5.0);
    QCOMPARE(values.layout(), DynamicData::Layout(0)); // NOLINT(bugprone-use-after-move)

    DynamicData assigned;
    assigned = std::move(moved);
    QCOMPARE(assigned.layout(), layout);
    QCOMPARE(assigned.layoutNumbers()[2], 5.0);
}

void tst_Layout::lapByPositionIsLapByName_data()
{
    QTest::addColumn<QList<Tick>>("ticks");
    const Tick a {55.5, 3, 0.75f};
    const Tick b {-0.0, -1, 1e30f};
    const Tick c {1e25, 0, 0.1f};
    auto with = [](Tick tick, Tick::Change change) {
        tick.change = change;
        return tick;
    };
    QTest::newRow("the same layoutNames every tick") << QList<Tick> {a, b, c, a};
    QTest::newRow("a tick without a name") << QList<Tick> {a, with(b, Tick::WithoutGear), c};
    QTest::newRow("a tick with an invalid value, left one short")
        << QList<Tick> {a, with(b, Tick::InvalidGear), c, a};
    QTest::newRow("a name that shows up late") << QList<Tick> {a, b, with(c, Tick::ExtraName), a};
    QTest::newRow("a position never given a value") << QList<Tick> {a, with(b, Tick::GearUnset), c};
    QTest::newRow("first tick without a name") << QList<Tick> {with(a, Tick::WithoutGear), b, c};
}

void tst_Layout::lapByPositionIsLapByName()
{
    QFETCH(QList<Tick>, ticks);
    const DynamicData::Layout layout = DynamicData::newLayout();
    Lap byPosition;
    Lap byNames;
    for (const Tick &tick : ticks) {
        byPosition.addSample(laidOut(tick, layout));
        byNames.addSample(byName(tick));
        QCOMPARE(channelsOf(byPosition), channelsOf(byNames));
        QCOMPARE(byPosition.size(), byNames.size());
    }
}

// A channel that post-processing adds or replaces is not one of the layout's.
void tst_Layout::channelAddedBetweenSamplesIsKept()
{
    const DynamicData::Layout layout = DynamicData::newLayout();
    Lap lap;
    lap.addSample(laidOut({1.0, 1, 0.5f}, layout));
    lap.addSample(laidOut({2.0, 2, 0.5f}, layout));
    lap.addChannel(QSharedPointer<Channel>::create(std::initializer_list<double> {7.0, 8.0}),
                   QStringLiteral("speed"));
    lap.addSample(laidOut({3.0, 3, 0.5f}, layout));
    const QSharedPointer<Channel> speed = lap.channel(QStringLiteral("speed"));
    QCOMPARE(speed->size(), 3);
    QCOMPARE(speed->value(2), 3.0);
    QCOMPARE(lap.channel(QStringLiteral("gear"))->value(2), 3.0);
}

QTEST_APPLESS_MAIN(tst_Layout)
#include "tst_layout.moc"
