#include "comparecarinfo.h"
#include "sample.h"

#include <QBuffer>
#include <QDataStream>
#include <QMetaType>
#include <QTest>
#include <QVariant>

using namespace ZUM::SDK;

namespace {

Sample carSample()
{
    Sample sample;
    sample.carId = QStringLiteral("7");
    sample.sourceName = QStringLiteral("iRacing");
    sample.pluginName = QStringLiteral("importer");
    sample.carName = QStringLiteral("Audi R8 LMS");
    sample.className = QStringLiteral("GT3");
    sample.driverName = QStringLiteral("A. Driver");
    sample.teamName = QStringLiteral("Team");
    sample.status = 6;
    sample.detailedTelemetry = false;
    sample.dynamicData.setValue(QStringLiteral("speed"), 42.5, QStringLiteral("m/s"));
    sample.dynamicData.setValue(QStringLiteral("gear"), 3, QString());
    return sample;
}

} // namespace

class tst_Sample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultSampleIsEmptyWithCarDefaults();
    void streamsAsItsCarRecordAlone();
    void streamKeepsTargetsOwnValues();
    void copiesAreDeep();
    void moveLeavesSourceEmpty();
    void sampleIsACarInfo();
    void metaTypeIsRegisteredByName();
    void roundTripThroughVariantAndStream();
    void listOfSamplesTravelsInAVariant();
};

void tst_Sample::defaultSampleIsEmptyWithCarDefaults()
{
    const Sample sample;
    QVERIFY(sample.dynamicData.isEmpty());
    QCOMPARE(sample.dynamicData.size(), 0);
    compareCarInfo(sample, CarInfo());
    QVERIFY(sample.carId.isEmpty());
    QCOMPARE(sample.status, 0);
    QCOMPARE(sample.detailedTelemetry, true);
}

void tst_Sample::streamsAsItsCarRecordAlone()
{
    const Sample written = carSample();
    QByteArray fromSample;
    QByteArray fromCar;
    {
        QDataStream out(&fromSample, QIODevice::WriteOnly);
        out << written;
        QDataStream carOut(&fromCar, QIODevice::WriteOnly);
        carOut << static_cast<const CarInfo &>(written);
    }
    QCOMPARE(fromSample, fromCar);

    Sample read;
    QDataStream in(fromSample);
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QVERIFY(in.atEnd());
    compareCarInfo(read, written);
    QVERIFY(read.dynamicData.isEmpty());
}

void tst_Sample::streamKeepsTargetsOwnValues()
{
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << carSample();
    }
    Sample target;
    target.dynamicData.setValue(QStringLiteral("rpm"), 7000.0, QStringLiteral("revs/min"));
    QDataStream in(bytes);
    in >> target;
    QCOMPARE(target.dynamicData.valueNameList(), QList<QString>({QStringLiteral("rpm")}));
    QCOMPARE(target.carName, QStringLiteral("Audi R8 LMS"));
}

void tst_Sample::copiesAreDeep()
{
    const Sample original = carSample();
    Sample copy = original;
    QCOMPARE(copy.dynamicData.value(QStringLiteral("speed")).toDouble(), 42.5);
    QCOMPARE(copy.dynamicData.value(QStringLiteral("speed")).unit(), QStringLiteral("m/s"));
    copy.dynamicData.setValue(QStringLiteral("speed"), 1.0, QStringLiteral("km/h"));
    copy.dynamicData.removeValue(QStringLiteral("gear"));
    copy.carName = QStringLiteral("other");
    QCOMPARE(original.dynamicData.value(QStringLiteral("speed")).toDouble(), 42.5);
    QCOMPARE(original.dynamicData.value(QStringLiteral("speed")).unit(), QStringLiteral("m/s"));
    QVERIFY(original.dynamicData.containsValue(QStringLiteral("gear")));
    QCOMPARE(original.carName, QStringLiteral("Audi R8 LMS"));

    Sample assigned;
    assigned = original;
    compareCarInfo(assigned, original);
    QCOMPARE(assigned.dynamicData.size(), 2);
}

void tst_Sample::moveLeavesSourceEmpty()
{
    Sample source = carSample();
    const Sample target = std::move(source);
    QCOMPARE(target.carName, QStringLiteral("Audi R8 LMS"));
    QCOMPARE(target.dynamicData.size(), 2);
    // NOLINTBEGIN(bugprone-use-after-move): the moved-from state is what is checked
    QVERIFY(source.carName.isEmpty());
    QVERIFY(source.driverName.isEmpty());
    QVERIFY(source.dynamicData.isEmpty());
    // NOLINTEND(bugprone-use-after-move)
}

void tst_Sample::sampleIsACarInfo()
{
    const Sample sample = carSample();
    const CarInfo *car = &sample;
    QCOMPARE(static_cast<const void *>(car), static_cast<const void *>(&sample));
    QCOMPARE(car->driverName, QStringLiteral("A. Driver"));
}

void tst_Sample::metaTypeIsRegisteredByName()
{
    const QMetaType sampleType = QMetaType::fromName("ZUM::SDK::Sample");
    QVERIFY(sampleType.isValid());
    QCOMPARE(sampleType, QMetaType::fromType<Sample>());
    QVERIFY(sampleType.hasRegisteredDataStreamOperators());
    QVERIFY(!sampleType.isEqualityComparable());

    const QMetaType carType = QMetaType::fromName("ZUM::SDK::CarInfo");
    QVERIFY(carType.isValid());
    QVERIFY(carType.hasRegisteredDataStreamOperators());

    QVERIFY(QMetaType::fromName("QList<ZUM::SDK::Sample>").isValid());
}

void tst_Sample::roundTripThroughVariantAndStream()
{
    const QVariant written = QVariant::fromValue(carSample());
    QCOMPARE(written.metaType(), QMetaType::fromName("ZUM::SDK::Sample"));

    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << written;
    }
    QVariant read;
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QCOMPARE(read.metaType(), written.metaType());
    const Sample sample = read.value<Sample>();
    compareCarInfo(sample, carSample());
    QVERIFY(sample.dynamicData.isEmpty());
}

void tst_Sample::listOfSamplesTravelsInAVariant()
{
    const QList<Sample> tick = {carSample(), Sample()};
    const QVariant variant = QVariant::fromValue(tick);
    const QList<Sample> back = variant.value<QList<Sample>>();
    QCOMPARE(back.size(), 2);
    QCOMPARE(back.first().dynamicData.value(QStringLiteral("gear")).toInt(), 3);
}

QTEST_APPLESS_MAIN(tst_Sample)
#include "tst_sample.moc"
