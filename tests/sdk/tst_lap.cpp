#include "lap.h"

#include <QMetaType>
#include <QTest>

#include <bit>

using namespace ZUM::SDK;

using Values = QList<double>;

namespace {

Values valuesOf(const QSharedPointer<Channel> &channel)
{
    Values values;
    for (qint64 i = 0; i < channel->size(); ++i)
        values.append(channel->value(i));
    return values;
}

Sample sampleWith(std::initializer_list<std::tuple<const char *, QVariant, const char *>> values)
{
    Sample sample;
    for (const auto &[name, value, unit] : values)
        sample.dynamicData.setValue(QString::fromLatin1(name), value, QString::fromLatin1(unit));
    return sample;
}

} // namespace

class tst_Lap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void headerDefaults();
    void untimedLapShowsAs5959();
    void firstSampleCreatesSortedChannels();
    void absentNameIsPaddedWithInvalidValue();
    void lateChannelIsPaddedToTheOthers();
    void emptySamplePadsEveryChannel();
    void presentInvalidValueLeavesChannelOneShort();
    void sameNamesAppendWithoutPadding();
    void nonNumericValueIsStoredAsZero();
    void booleansAndIntegersBecomeDoubles();
    void clearKeepsIdentityFields();
    void sizeReadsOneChannel();
    void sizeWithOnlyCalculatedChannels();
    void emptyChannelsMakeALapThatIsNotEmpty();
    void channelNamesSortedByCodeUnit();
    void channelLookups();
    void channelsAreShared();
    void popFrontOnEveryChannelKeepsThemLevel();
    void headerCopiesAreDeep();
    void metaTypesAreRegisteredByName();
};

void tst_Lap::headerDefaults()
{
    const LapHeader header;
    QVERIFY(header.dynamicData.isEmpty());
    QCOMPARE(header.carInfo.detailedTelemetry, true);
    QVERIFY(header.dateTime.isNull());
    QVERIFY(header.comment.isNull());
    QVERIFY(!header.lapTime.isValid());
    QVERIFY(header.lapTime.isNull());
    QVERIFY(header.trackName.isNull());
    QVERIFY(header.trackConfigName.isNull());
    QVERIFY(header.lapId.isNull());
    QVERIFY(header.stintId.isNull());
    QVERIFY(header.sessionId.isNull());
    QCOMPARE(header.lapNumber, 0);
    QCOMPARE(header.lapInStint, 0);
    QCOMPARE(header.stint, 0);
    QCOMPARE(header.session, Session::Unknown);
    QCOMPARE(header.flyingLap, -1);
    QCOMPARE(header.completed, false);
}

void tst_Lap::untimedLapShowsAs5959()
{
    QCOMPARE(UntimedLapTime, QTime(0, 59, 59, 0));
    QCOMPARE(QTime(0, 0).secsTo(UntimedLapTime), UntimedLapSeconds);
}

void tst_Lap::firstSampleCreatesSortedChannels()
{
    Lap lap;
    QVERIFY(lap.isEmpty());
    lap.addSample(sampleWith({{"b", 2.0, "m"}, {"a", 1.0, ""}}));
    QCOMPARE(lap.getAvailableRecordedChannels(), QStringList({"a", "b"}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({2.0}));
    QCOMPARE(lap.channel(QStringLiteral("b"))->unit(), QStringLiteral("m"));
    QCOMPARE(lap.channel(QStringLiteral("a"))->unit(), QString());
    QCOMPARE(lap.size(), 1);
    QVERIFY(!lap.isEmpty());
}

void tst_Lap::absentNameIsPaddedWithInvalidValue()
{
    Lap lap;
    lap.addSample(sampleWith({{"b", 2.0, "m"}, {"a", 1.0, ""}}));
    lap.addSample(sampleWith({{"b", 4.0, "m"}}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0, InvalidValue}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({2.0, 4.0}));
}

void tst_Lap::lateChannelIsPaddedToTheOthers()
{
    Lap lap;
    lap.addSample(sampleWith({{"b", 2.0, "m"}, {"a", 1.0, ""}}));
    lap.addSample(sampleWith({{"b", 4.0, "m"}}));
    lap.addSample(sampleWith({{"a", 5.0, ""}, {"b", 6.0, "m"}, {"c", 7.0, "s"}}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0, InvalidValue, 5.0}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({2.0, 4.0, 6.0}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("c"))), Values({InvalidValue, InvalidValue, 7.0}));
    QCOMPARE(lap.channel(QStringLiteral("c"))->unit(), QStringLiteral("s"));
    QCOMPARE(lap.size(), 3);
}

void tst_Lap::emptySamplePadsEveryChannel()
{
    Lap lap;
    lap.addSample(sampleWith({{"a", 1.0, ""}, {"b", 2.0, ""}}));
    lap.addSample(Sample());
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0, InvalidValue}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({2.0, InvalidValue}));

    // An empty first sample creates nothing.
    Lap empty;
    empty.addSample(Sample());
    QVERIFY(empty.isEmpty());
    QCOMPARE(empty.size(), 0);
}

void tst_Lap::presentInvalidValueLeavesChannelOneShort()
{
    Lap lap;
    lap.addSample(sampleWith({{"a", 1.0, ""}, {"b", 2.0, ""}}));
    lap.addSample(sampleWith({{"a", QVariant(), ""}, {"b", 3.0, ""}}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({2.0, 3.0}));

    // A new channel arriving together with it is padded to the longest channel.
    lap.addSample(sampleWith({{"a", QVariant(), ""}, {"b", 4.0, ""}, {"c", 9.0, ""}}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("a"))), Values({1.0}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("c"))), Values({InvalidValue, InvalidValue, 9.0}));
}

void tst_Lap::sameNamesAppendWithoutPadding()
{
    Lap lap;
    for (int i = 0; i < 100; ++i)
        lap.addSample(sampleWith({{"x", i, ""}, {"y", 2 * i, ""}}));
    QCOMPARE(lap.size(), 100);
    QCOMPARE(lap.channel(QStringLiteral("y"))->value(99), 198.0);
}

void tst_Lap::nonNumericValueIsStoredAsZero()
{
    Lap lap;
    lap.addSample(sampleWith({{"name", QStringLiteral("dry"), ""}}));
    lap.addSample(sampleWith({{"name", QStringLiteral("2.5"), ""}}));
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("name"))), Values({0.0, 2.5}));
}

void tst_Lap::booleansAndIntegersBecomeDoubles()
{
    Lap lap;
    lap.addSample(sampleWith({{"onpitroad", true, ""}, {"gear", -1, ""}, {"t", 1.5f, "s"}}));
    QCOMPARE(lap.channel(QStringLiteral("onpitroad"))->value(0), 1.0);
    QCOMPARE(lap.channel(QStringLiteral("gear"))->value(0), -1.0);
    QCOMPARE(lap.channel(QStringLiteral("t"))->value(0), 1.5);
}

void tst_Lap::clearKeepsIdentityFields()
{
    Lap lap;
    lap.header().lapNumber = 4;
    lap.header().trackName = QStringLiteral("Red Bull Ring");
    lap.header().lapId = QUuid::createUuid();
    lap.header().completed = true;
    lap.header().dynamicData.setValue(QStringLiteral("tracklength"), 4318.0, QStringLiteral("m"));
    lap.addSample(sampleWith({{"a", 1.0, ""}}));
    lap.addCalculatedChannel(QSharedPointer<Channel>::create(), QStringLiteral("dt"));
    const QUuid id = lap.header().lapId;

    lap.clear();

    QVERIFY(lap.isEmpty());
    QCOMPARE(lap.size(), 0);
    QVERIFY(lap.header().dynamicData.isEmpty());
    QCOMPARE(lap.header().lapNumber, 4);
    QCOMPARE(lap.header().trackName, QStringLiteral("Red Bull Ring"));
    QCOMPARE(lap.header().lapId, id);
    QCOMPARE(lap.header().completed, true);
}

void tst_Lap::sizeReadsOneChannel()
{
    Lap lap;
    QCOMPARE(lap.size(), 0);
    lap.addSample(sampleWith({{"a", 1.0, ""}}));
    lap.addSample(sampleWith({{"a", 2.0, ""}}));
    lap.addCalculatedChannel(QSharedPointer<Channel>(new Channel {1.0}), QStringLiteral("dt"));
    QCOMPARE(lap.size(), 2); // recorded channels first
}

void tst_Lap::sizeWithOnlyCalculatedChannels()
{
    Lap lap;
    lap.addCalculatedChannel(QSharedPointer<Channel>(new Channel {1.0, 2.0, 3.0}),
                             QStringLiteral("dt"));
    QCOMPARE(lap.size(), 3);
    QVERIFY(!lap.isEmpty());
}

void tst_Lap::emptyChannelsMakeALapThatIsNotEmpty()
{
    Lap lap;
    lap.addChannel(QSharedPointer<Channel>::create(), QStringLiteral("speed"));
    QVERIFY(!lap.isEmpty());
    QCOMPARE(lap.size(), 0);
}

void tst_Lap::channelNamesSortedByCodeUnit()
{
    Lap lap;
    for (const char *name : {"dt", "Speed", "Yaw"}) {
        lap.addChannel(QSharedPointer<Channel>::create(), QString::fromLatin1(name));
        lap.addCalculatedChannel(QSharedPointer<Channel>::create(), QString::fromLatin1(name));
    }
    QCOMPARE(lap.getAvailableRecordedChannels(), QStringList({"Speed", "Yaw", "dt"}));
    QCOMPARE(lap.getAvailableCalculatedChannels(), QStringList({"Speed", "Yaw", "dt"}));
}

void tst_Lap::channelLookups()
{
    Lap lap;
    auto recorded = QSharedPointer<Channel>::create();
    auto calculated = QSharedPointer<Channel>::create();
    lap.addChannel(recorded, QStringLiteral("speed"));
    lap.addCalculatedChannel(calculated, QStringLiteral("dt"));

    QCOMPARE(lap.channel(QStringLiteral("speed")), recorded);
    QVERIFY(lap.channel(QStringLiteral("dt")).isNull());
    QCOMPARE(lap.calculatedChannel(QStringLiteral("dt")), calculated);
    QVERIFY(lap.calculatedChannel(QStringLiteral("speed")).isNull());
    QVERIFY(lap.containsRecordedChannel(QStringLiteral("speed")));
    QVERIFY(!lap.containsRecordedChannel(QStringLiteral("dt")));
    QVERIFY(lap.containsCalculatedChannel(QStringLiteral("dt")));
    QVERIFY(lap.containsChannel(QStringLiteral("dt")));
    QVERIFY(lap.containsChannel(QStringLiteral("speed")));
    QVERIFY(!lap.containsChannel(QStringLiteral("Speed")));

    // A name may stand in both maps; adding again replaces.
    auto replacement = QSharedPointer<Channel>::create();
    lap.addChannel(replacement, QStringLiteral("speed"));
    lap.addChannel(QSharedPointer<Channel>::create(), QStringLiteral("dt"));
    QCOMPARE(lap.channel(QStringLiteral("speed")), replacement);
    QVERIFY(lap.containsRecordedChannel(QStringLiteral("dt")));
    QVERIFY(lap.containsCalculatedChannel(QStringLiteral("dt")));

    lap.removeRecordedChannel(QStringLiteral("dt"));
    lap.removeCalculatedChannel(QStringLiteral("dt"));
    lap.removeCalculatedChannel(QStringLiteral("absent"));
    QVERIFY(!lap.containsChannel(QStringLiteral("dt")));
    QVERIFY(lap.containsChannel(QStringLiteral("speed")));
}

void tst_Lap::channelsAreShared()
{
    Lap lap;
    lap.addSample(sampleWith({{"speed", 10.0, "m/s"}}));
    lap.channel(QStringLiteral("speed"))->setValue(0, 20.0);
    QCOMPARE(lap.channel(QStringLiteral("speed"))->value(0), 20.0);
}

void tst_Lap::popFrontOnEveryChannelKeepsThemLevel()
{
    Lap lap;
    for (int i = 0; i < 5; ++i)
        lap.addSample(sampleWith({{"a", i, ""}, {"b", 10 + i, ""}, {"c", 20 + i, ""}}));
    for (const QString &name : lap.getAvailableRecordedChannels())
        lap.channel(name)->popFront();
    for (const QString &name : lap.getAvailableRecordedChannels())
        QCOMPARE(lap.channel(name)->size(), 4);
    QCOMPARE(valuesOf(lap.channel(QStringLiteral("b"))), Values({11, 12, 13, 14}));
    lap.addSample(sampleWith({{"a", 5, ""}, {"b", 15, ""}, {"c", 25, ""}}));
    QCOMPARE(lap.size(), 5);
}

void tst_Lap::headerCopiesAreDeep()
{
    LapHeader original;
    original.trackName = QStringLiteral("Sebring");
    original.dynamicData.setValue(QStringLiteral("tracklength"), 6019.0, QStringLiteral("m"));
    LapHeader copy = original;
    copy.dynamicData.setValue(QStringLiteral("tracklength"), 1.0, QStringLiteral("km"));
    copy.trackName = QStringLiteral("other");
    QCOMPARE(original.dynamicData.value(QStringLiteral("tracklength")).toDouble(), 6019.0);
    QCOMPARE(original.trackName, QStringLiteral("Sebring"));

    LapHeader moved = std::move(copy);
    QCOMPARE(moved.trackName, QStringLiteral("other"));
    QVERIFY(copy.dynamicData.isEmpty()); // NOLINT(bugprone-use-after-move)
}

void tst_Lap::metaTypesAreRegisteredByName()
{
    const QMetaType header = QMetaType::fromName("ZUM::SDK::LapHeader");
    QVERIFY(header.isValid());
    QCOMPARE(header, QMetaType::fromType<LapHeader>());
    QVERIFY(!header.isEqualityComparable());
    QVERIFY(!header.hasRegisteredDataStreamOperators());

    const QMetaType lap = QMetaType::fromName("QSharedPointer<ZUM::SDK::Lap>");
    QVERIFY(lap.isValid());
    QCOMPARE(lap, QMetaType::fromType<QSharedPointer<Lap>>());
    QVERIFY(lap.isEqualityComparable());

    const auto shared = QSharedPointer<Lap>::create();
    const QVariant a = QVariant::fromValue(shared);
    const QVariant b = QVariant::fromValue(shared);
    QVERIFY(a == b);
    QVERIFY(a != QVariant::fromValue(QSharedPointer<Lap>::create()));
    QCOMPARE(a.value<QSharedPointer<Lap>>(), shared);
}

QTEST_APPLESS_MAIN(tst_Lap)
#include "tst_lap.moc"
