#include "channel.h"
#include "channelutils.h"
#include "lap.h"

#include <QTest>

#include <bit>
#include <cmath>
#include <limits>

using namespace ZUM::SDK;

using Values = QList<double>;

namespace {

Channel channelOf(const Values &values)
{
    Channel channel;
    for (double value : values)
        channel.append(value);
    return channel;
}

Values valuesOf(const Channel &channel)
{
    Values values;
    for (qint64 i = 0; i < channel.size(); ++i)
        values.append(channel.value(i));
    return values;
}

// Compares bit for bit, so that NaN equals NaN and 0.05 is the double the rule computes.
bool sameBits(const Values &actual, const Values &expected)
{
    if (actual.size() != expected.size())
        return false;
    for (qsizetype i = 0; i < actual.size(); ++i) {
        if (std::bit_cast<quint64>(actual[i]) != std::bit_cast<quint64>(expected[i]))
            return false;
    }
    return true;
}

QSharedPointer<Channel> shared(const Values &values)
{
    auto channel = QSharedPointer<Channel>::create();
    *channel = channelOf(values);
    return channel;
}

} // namespace

class tst_Channel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constantsAreWidenedSinglePrecisionLiterals();
    void isValidValue_data();
    void isValidValue();
    void defaultChannelIsEmptyWithNullUnit();
    void initializerListKeepsOrder();
    void appendGrowsAndIsValidTells();
    void resizeGrowsWithZerosAndTruncates();
    void reserveNeverShrinks();
    void popFrontAndPopBack();
    void unitIsACopy();
    void copiesAreDeep();
    void normalizeChannelBeginning_data();
    void normalizeChannelBeginning();
    void enforceMonotonicRamp_data();
    void enforceMonotonicRamp();
    void enforceMonotonicRampLeavesCalculatedChannels();
    void enforceMonotonicRampKeepsChannelsShortByOneFromRunningOut();
};

void tst_Channel::constantsAreWidenedSinglePrecisionLiterals()
{
    QCOMPARE(std::bit_cast<quint64>(InvalidValue), 0x45208B2A20000000ULL);
    QCOMPARE(std::bit_cast<quint64>(ValidValueLimit), 0x44EA784380000000ULL);
    QCOMPARE(InvalidValue, 9.999999562023526e24);
    QCOMPARE(ValidValueLimit, 1.0000000138484279e24);
}

void tst_Channel::isValidValue_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<bool>("valid");

    QTest::newRow("invalid marker is invalid") << InvalidValue << false;
    QTest::newRow("the limit itself is invalid") << ValidValueLimit << false;
    QTest::newRow("just below the limit is valid") << std::nextafter(ValidValueLimit, 0.0) << true;
    QTest::newRow("NaN is invalid") << std::numeric_limits<double>::quiet_NaN() << false;
    QTest::newRow("positive infinity is invalid")
        << std::numeric_limits<double>::infinity() << false;
    QTest::newRow("negative infinity is valid") << -std::numeric_limits<double>::infinity() << true;
    QTest::newRow("large negative is valid") << -1e30 << true;
    QTest::newRow("9.99e23 is valid") << 9.99e23 << true;
    QTest::newRow("1e24 as a double lies below the widened limit") << 1e24 << true;
    QTest::newRow("zero is valid") << 0.0 << true;
}

void tst_Channel::isValidValue()
{
    QFETCH(double, value);
    QFETCH(bool, valid);
    QCOMPARE(ZUM::SDK::isValidValue(value), valid);
    Channel channel {value};
    QCOMPARE(channel.isValid(0), valid);
}

void tst_Channel::defaultChannelIsEmptyWithNullUnit()
{
    const auto channel = QSharedPointer<Channel>::create();
    QVERIFY(channel->isEmpty());
    QCOMPARE(channel->size(), 0);
    QVERIFY(channel->unit().isNull());
}

void tst_Channel::initializerListKeepsOrder()
{
    const Channel channel {3.0, 1.0, 2.0};
    QCOMPARE(valuesOf(channel), Values({3.0, 1.0, 2.0}));
    QVERIFY(channel.unit().isNull());
}

void tst_Channel::appendGrowsAndIsValidTells()
{
    Channel channel;
    for (int i = 0; i < 1000; ++i)
        channel.append(i);
    channel.append(InvalidValue);
    QCOMPARE(channel.size(), 1001);
    QVERIFY(!channel.isEmpty());
    QCOMPARE(channel.value(999), 999.0);
    QVERIFY(channel.isValid(999));
    QVERIFY(!channel.isValid(1000));
    channel.setValue(1000, 5.0);
    QCOMPARE(channel.value(1000), 5.0);
}

void tst_Channel::resizeGrowsWithZerosAndTruncates()
{
    Channel channel;
    channel.resize(5);
    QCOMPARE(valuesOf(channel), Values({0.0, 0.0, 0.0, 0.0, 0.0}));
    channel.setValue(1, 7.0);
    channel.resize(2);
    QCOMPARE(valuesOf(channel), Values({0.0, 7.0}));
}

void tst_Channel::reserveNeverShrinks()
{
    Channel channel {1.0, 2.0, 3.0};
    channel.reserve(100);
    channel.reserve(1);
    QCOMPARE(valuesOf(channel), Values({1.0, 2.0, 3.0}));
    channel.shrinkToFit();
    QCOMPARE(valuesOf(channel), Values({1.0, 2.0, 3.0}));
}

void tst_Channel::popFrontAndPopBack()
{
    Channel channel {1.0, 2.0, 3.0, 4.0};
    channel.popFront();
    QCOMPARE(valuesOf(channel), Values({2.0, 3.0, 4.0}));
    channel.popBack();
    QCOMPARE(valuesOf(channel), Values({2.0, 3.0}));
}

void tst_Channel::unitIsACopy()
{
    Channel channel;
    channel.setUnit(QStringLiteral("m"));
    QString unit = channel.unit();
    unit.append(QLatin1Char('s'));
    QCOMPARE(channel.unit(), QStringLiteral("m"));
}

void tst_Channel::copiesAreDeep()
{
    Channel original {1.0, 2.0};
    original.setUnit(QStringLiteral("m"));
    Channel copy = original;
    copy.setValue(0, 9.0);
    copy.append(3.0);
    QCOMPARE(valuesOf(original), Values({1.0, 2.0}));
    QCOMPARE(copy.unit(), QStringLiteral("m"));
}

void tst_Channel::normalizeChannelBeginning_data()
{
    QTest::addColumn<Values>("channel");
    QTest::addColumn<Values>("reference");
    QTest::addColumn<Values>("expected");

    QTest::newRow("wrap then zero rebuilt from the anchor")
        << Values {0.99, 0.0, 0.1, 0.2} << Values {0, 1, 2, 3}
        << Values {0.0, 0.1 * 1 / 2, 0.1, 0.2};
    QTest::newRow("empty channel unchanged") << Values {} << Values {} << Values {};
    QTest::newRow("single entry unchanged") << Values {0.0} << Values {1.0} << Values {0.0};
    QTest::newRow("rising channel unchanged")
        << Values {1.0, 2.0, 3.0} << Values {0, 1, 2} << Values {1.0, 2.0, 3.0};
    QTest::newRow("zero anchor stops the repair")
        << Values {5.0, 0.0, 0.0, 0.0} << Values {0, 1, 2, 3} << Values {5.0, 0.0, 0.0, 0.0};
    QTest::newRow("anchor within 1e-12 of zero stops the repair")
        << Values {5.0, 1e-13, 1e-13} << Values {0, 1, 2} << Values {5.0, 1e-13, 1e-13};
    QTest::newRow("left-over values from the previous lap")
        << Values {4000.0, 4010.0, 4020.0, 10.0, 20.0} << Values {0.0, 0.5, 1.0, 1.5, 2.0}
        << Values {0.0, 10.0 * 0.5 / 1.5, 10.0 * 1.0 / 1.5, 10.0, 20.0};
    QTest::newRow("entries after the first bad one are kept")
        << Values {0.0, 2.0, 1.0, 3.0} << Values {0, 1, 2, 3}
        << Values {0.0, 1.0 * 1 / 2, 1.0, 3.0};
    QTest::newRow("tiny positive value counts as zero")
        << Values {1e-12, 1.0} << Values {1.0, 2.0} << Values {0.5, 1.0};
    QTest::newRow("entries only repaired while walking back from the end")
        << Values {3.0, 0.0, 4.0, 5.0} << Values {1, 2, 4, 5}
        << Values {4.0 * 1 / 4, 4.0 * 2 / 4, 4.0, 5.0};
}

void tst_Channel::normalizeChannelBeginning()
{
    QFETCH(Values, channel);
    QFETCH(Values, reference);
    QFETCH(Values, expected);

    Channel target = channelOf(channel);
    const Channel ref = channelOf(reference);
    ChannelUtils::normalizeChannelBeginning(&target, &ref);
    const Values actual = valuesOf(target);
    if (!sameBits(actual, expected))
        qWarning() << "got" << actual << "expected" << expected;
    QVERIFY(sameBits(actual, expected));
}

void tst_Channel::enforceMonotonicRamp_data()
{
    QTest::addColumn<Values>("ramp");
    QTest::addColumn<Values>("expectedRamp");
    QTest::addColumn<Values>("expectedOther");

    // The other channel counts samples, so what survives tells which samples were kept.
    QTest::newRow("wrap at both ends trimmed") << Values {0.99, 0.998, 0.01, 0.5, 0.97, 0.02}
                                               << Values {0.01, 0.5, 0.97} << Values {2, 3, 4};
    QTest::newRow("clean ramp untouched")
        << Values {0.0, 0.5, 1.0} << Values {0.0, 0.5, 1.0} << Values {0, 1, 2};
    QTest::newRow("first value of exactly 0.95 stays")
        << Values {0.95, 0.5, 0.9} << Values {0.95, 0.5, 0.9} << Values {0, 1, 2};
    QTest::newRow("last value of exactly 0.05 stays")
        << Values {0.1, 0.5, 0.05} << Values {0.1, 0.5, 0.05} << Values {0, 1, 2};
    QTest::newRow("NaN first value stops the front loop")
        << Values {std::nan(""), 0.99, 0.5} << Values {std::nan(""), 0.99, 0.5} << Values {0, 1, 2};
    QTest::newRow("NaN last value stops the back loop")
        << Values {0.5, 0.01, std::nan("")} << Values {0.5, 0.01, std::nan("")} << Values {0, 1, 2};
    QTest::newRow("ramp that would empty stops when empty")
        << Values {0.99, 0.97, 0.96} << Values {} << Values {};
}

void tst_Channel::enforceMonotonicRamp()
{
    QFETCH(Values, ramp);
    QFETCH(Values, expectedRamp);
    QFETCH(Values, expectedOther);

    Lap lap;
    auto rampChannel = shared(ramp);
    Values counter;
    for (qsizetype i = 0; i < ramp.size(); ++i)
        counter.append(double(i));
    auto other = shared(counter);
    lap.addChannel(rampChannel, QStringLiteral("lapdistpct"));
    lap.addChannel(other, QStringLiteral("speed"));

    ChannelUtils::enforceMonotonicRamp(&lap, rampChannel.data());

    QVERIFY(sameBits(valuesOf(*rampChannel), expectedRamp));
    QCOMPARE(valuesOf(*other), expectedOther);
    QCOMPARE(lap.size(), expectedRamp.size());
}

void tst_Channel::enforceMonotonicRampLeavesCalculatedChannels()
{
    Lap lap;
    auto ramp = shared({0.99, 0.5, 0.01});
    auto calculated = shared({1.0, 2.0, 3.0});
    lap.addChannel(ramp, QStringLiteral("lapdistpct"));
    lap.addCalculatedChannel(calculated, QStringLiteral("dt"));

    ChannelUtils::enforceMonotonicRamp(&lap, ramp.data());

    QCOMPARE(valuesOf(*ramp), Values({0.5}));
    QCOMPARE(valuesOf(*calculated), Values({1.0, 2.0, 3.0}));

    // A ramp that is not one of the lap's recorded channels trims nothing.
    auto stranger = shared({0.99, 0.5});
    ChannelUtils::enforceMonotonicRamp(&lap, stranger.data());
    QCOMPARE(valuesOf(*stranger), Values({0.99, 0.5}));
    QCOMPARE(valuesOf(*ramp), Values({0.5}));
}

void tst_Channel::enforceMonotonicRampKeepsChannelsShortByOneFromRunningOut()
{
    Lap lap;
    auto ramp = shared({0.99, 0.98, 0.5});
    auto shortOne = shared({7.0});
    lap.addChannel(ramp, QStringLiteral("lapdistpct"));
    lap.addChannel(shortOne, QStringLiteral("gear"));

    ChannelUtils::enforceMonotonicRamp(&lap, ramp.data());

    QCOMPARE(valuesOf(*ramp), Values({0.5}));
    QVERIFY(shortOne->isEmpty());
}

QTEST_APPLESS_MAIN(tst_Channel)
#include "tst_channel.moc"
