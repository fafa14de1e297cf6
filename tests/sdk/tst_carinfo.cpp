#include "carinfo.h"
#include "comparecarinfo.h"
#include "liveplugininfo.h"

#include <QDataStream>
#include <QMap>
#include <QMetaType>
#include <QTest>
#include <QVariant>

using namespace ZUM::SDK;

namespace {

CarInfo car(int number)
{
    CarInfo info;
    info.carId = QString::number(number);
    info.sourceName = QStringLiteral("iRacing");
    info.pluginName = QStringLiteral("importer");
    info.carName = QStringLiteral("Mercedes AMG GT4");
    info.className = QStringLiteral("GT4");
    info.driverName = QStringLiteral("Driver %1").arg(number);
    info.teamName = QStringLiteral("Team %1").arg(number);
    info.status = 4;
    info.detailedTelemetry = number % 2 == 0;
    return info;
}

template<typename T>
QByteArray streamed(const T &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    return bytes;
}

} // namespace

class tst_CarInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaults();
    void carRoundTrip();
    void carStreamsAsAMapOfNineFields();
    void missingKeys_data();
    void missingKeys();
    void unknownKeysAreIgnored();
    void carListRoundTrip();
    void carListTextsGoOutInReverseOrder();
    void carListCount_data();
    void carListCount();
    void damagedCountStopsAtTheEndOfTheStream();
    void metaTypes();
};

void tst_CarInfo::defaults()
{
    const CarInfo info;
    QVERIFY(info.carId.isEmpty());
    QVERIFY(info.sourceName.isEmpty());
    QVERIFY(info.pluginName.isEmpty());
    QVERIFY(info.carName.isEmpty());
    QVERIFY(info.className.isEmpty());
    QVERIFY(info.driverName.isEmpty());
    QVERIFY(info.teamName.isEmpty());
    QCOMPARE(info.status, 0);
    QCOMPARE(info.detailedTelemetry, true);

    const LivePluginInfo list;
    QVERIFY(list.carInfoList.isEmpty());
    QVERIFY(list.sourceName.isNull());
    QVERIFY(list.pluginName.isNull());
}

void tst_CarInfo::carRoundTrip()
{
    const CarInfo written = car(7);
    CarInfo read;
    read.detailedTelemetry = true;
    QDataStream in(streamed(written));
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    compareCarInfo(read, written);
}

void tst_CarInfo::carStreamsAsAMapOfNineFields()
{
    const CarInfo written = car(3);
    QMap<QString, QVariant> map;
    QDataStream in(streamed(written));
    in >> map;
    QVERIFY(in.atEnd());
    QCOMPARE(map.keys(),
             QList<QString>({"carId", "carName", "className", "detailedTelemetry", "driverName",
                             "pluginName", "sourceName", "status", "teamName"}));
    QCOMPARE(map.value(QStringLiteral("status")).metaType(), QMetaType::fromType<int>());
    QCOMPARE(map.value(QStringLiteral("detailedTelemetry")).metaType(),
             QMetaType::fromType<bool>());
    QCOMPARE(map.value(QStringLiteral("carId")).metaType(), QMetaType::fromType<QString>());
    QCOMPARE(map.value(QStringLiteral("driverName")).toString(), QStringLiteral("Driver 3"));

    // Exactly what QDataStream writes for the map: no version, no marker.
    QMap<QString, QVariant> expected = {
        {"carId", written.carId},
        {"sourceName", written.sourceName},
        {"pluginName", written.pluginName},
        {"carName", written.carName},
        {"className", written.className},
        {"driverName", written.driverName},
        {"teamName", written.teamName},
        {"status", written.status},
        {"detailedTelemetry", written.detailedTelemetry},
    };
    QCOMPARE(streamed(written), streamed(expected));
}

void tst_CarInfo::missingKeys_data()
{
    QTest::addColumn<QString>("missingKey");
    for (const char *key : {"carId", "sourceName", "pluginName", "carName", "className",
                            "driverName", "teamName", "status", "detailedTelemetry"})
        QTest::newRow(qPrintable(QStringLiteral("without %1").arg(QLatin1String(key)))) << key;
}

void tst_CarInfo::missingKeys()
{
    QFETCH(QString, missingKey);

    QMap<QString, QVariant> map;
    QDataStream original(streamed(car(2)));
    original >> map;
    map.remove(missingKey);

    CarInfo read; // starts with detailedTelemetry true
    QDataStream in(streamed(map));
    in >> read;

    CarInfo expected = car(2);
    if (missingKey == QLatin1String("carId"))
        expected.carId.clear();
    else if (missingKey == QLatin1String("sourceName"))
        expected.sourceName.clear();
    else if (missingKey == QLatin1String("pluginName"))
        expected.pluginName.clear();
    else if (missingKey == QLatin1String("carName"))
        expected.carName.clear();
    else if (missingKey == QLatin1String("className"))
        expected.className.clear();
    else if (missingKey == QLatin1String("driverName"))
        expected.driverName.clear();
    else if (missingKey == QLatin1String("teamName"))
        expected.teamName.clear();
    else if (missingKey == QLatin1String("status"))
        expected.status = 0;
    else
        expected.detailedTelemetry = false; // a missing flag reads as false, not as the default
    compareCarInfo(read, expected);
    QCOMPARE(car(2).detailedTelemetry, true);
}

void tst_CarInfo::unknownKeysAreIgnored()
{
    QMap<QString, QVariant> map;
    QDataStream original(streamed(car(5)));
    original >> map;
    map.insert(QStringLiteral("tyres"), QStringLiteral("soft"));
    CarInfo read;
    QDataStream in(streamed(map));
    in >> read;
    compareCarInfo(read, car(5));
}

void tst_CarInfo::carListRoundTrip()
{
    LivePluginInfo written;
    written.carInfoList = {car(1), car(2), car(3)};
    written.sourceName = QStringLiteral("source");
    written.pluginName = QStringLiteral("plugin");

    LivePluginInfo read;
    read.carInfoList = {car(9)};
    QDataStream in(streamed(written));
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    QCOMPARE(read.sourceName, written.sourceName);
    QCOMPARE(read.pluginName, written.pluginName);
    QCOMPARE(read.carInfoList.size(), 3);
    for (int i = 0; i < 3; ++i)
        compareCarInfo(read.carInfoList[i], written.carInfoList[i]);
}

void tst_CarInfo::carListTextsGoOutInReverseOrder()
{
    LivePluginInfo written;
    written.carInfoList = {car(4)};
    written.sourceName = QStringLiteral("first text");
    written.pluginName = QStringLiteral("second text");

    QDataStream in(streamed(written));
    QString first;
    QString second;
    qint32 count = -1;
    CarInfo carRead;
    in >> first >> second >> count >> carRead;
    QCOMPARE(first, QStringLiteral("second text"));
    QCOMPARE(second, QStringLiteral("first text"));
    QCOMPARE(count, 1);
    compareCarInfo(carRead, car(4));
    QVERIFY(in.atEnd());
}

void tst_CarInfo::carListCount_data()
{
    QTest::addColumn<qint32>("count");
    QTest::addColumn<int>("expectedCars");
    QTest::newRow("negative count gives an empty list") << -3 << 0;
    QTest::newRow("zero count gives an empty list") << 0 << 0;
    QTest::newRow("count of two reads two cars") << 2 << 2;
}

void tst_CarInfo::carListCount()
{
    QFETCH(qint32, count);
    QFETCH(int, expectedCars);

    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << QStringLiteral("p") << QStringLiteral("s") << count << car(1) << car(2);
    }
    LivePluginInfo read;
    read.carInfoList = {car(8)};
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(read.carInfoList.size(), expectedCars);
    QCOMPARE(read.pluginName, QStringLiteral("p"));
    QCOMPARE(read.sourceName, QStringLiteral("s"));
    if (expectedCars == 0) {
        // Nothing more is read: the two cars are still in the stream.
        CarInfo next;
        in >> next;
        compareCarInfo(next, car(1));
    } else {
        compareCarInfo(read.carInfoList[1], car(2));
    }
}

void tst_CarInfo::damagedCountStopsAtTheEndOfTheStream()
{
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << QString() << QString() << qint32(2000000000) << car(1);
    }
    LivePluginInfo read;
    QDataStream in(bytes);
    in >> read;
    QVERIFY(in.status() != QDataStream::Ok);
    QVERIFY(read.carInfoList.size() <= 2);
}

void tst_CarInfo::metaTypes()
{
    const QMetaType list = QMetaType::fromName("ZUM::SDK::LivePluginInfo");
    QVERIFY(list.isValid());
    QVERIFY(list.hasRegisteredDataStreamOperators());
    QVERIFY(QMetaType::fromName("ZUM::SDK::CarInfo").hasRegisteredDataStreamOperators());

    LivePluginInfo info;
    info.carInfoList = {car(6)};
    const QVariant written = QVariant::fromValue(info);
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << written;
    }
    QVariant read;
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(read.metaType(), list);
    compareCarInfo(read.value<LivePluginInfo>().carInfoList.value(0), car(6));
}

QTEST_APPLESS_MAIN(tst_CarInfo)
#include "tst_carinfo.moc"
