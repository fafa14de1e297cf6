#include "dataemitter.h"
#include "plugininterfaceimport.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace ZUM::SDK;

namespace {

// The smallest import plug-in: names itself and imports nothing.
class TestImport : public PluginInterfaceImport
{
public:
    QString pluginName() const override { return QStringLiteral("Test"); }
    QString sourceName() const override { return QStringLiteral("Nowhere"); }
    QString pluginVersion() const override { return QStringLiteral("1.0"); }
    QList<QString> availableImportFormats() const override { return {}; }
    QList<QSharedPointer<Lap>> import(const QString &, const QString &,
                                      const QMap<QString, QVariant> &) override
    {
        return {};
    }
};

} // namespace

class tst_DataEmitter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signalsInContractOrder_data();
    void signalsInContractOrder();
    void noOtherMethods();
    void parentIsOptional();
    void queuedDeliveryAcrossThreads();
    void messageIsPrefixedWithThePluginName_data();
    void messageIsPrefixedWithThePluginName();
    void interfaceOwnsItsEmitter();
    void messageLevelsAreTheHosts();
};

void tst_DataEmitter::signalsInContractOrder_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArrayList>("parameterNames");

    QTest::newRow("0 connected") << 0 << QByteArray("sendConnected()") << QByteArrayList {};
    QTest::newRow("1 disconnected") << 1 << QByteArray("sendDisconnected()") << QByteArrayList {};
    QTest::newRow("2 not connected") << 2 << QByteArray("sendNotConnected()") << QByteArrayList {};
    QTest::newRow("3 connectivity available")
        << 3 << QByteArray("sendConnectivityAvailable(bool)") << QByteArrayList {"available"};
    QTest::newRow("4 telemetry lap")
        << 4 << QByteArray("sendTelemetryLap(QSharedPointer<ZUM::SDK::Lap>)")
        << QByteArrayList {"lap"};
    QTest::newRow("5 telemetry lap header")
        << 5 << QByteArray("sendTelemetryLapHeader(ZUM::SDK::LapHeader)")
        << QByteArrayList {"header"};
    QTest::newRow("6 car list changed")
        << 6 << QByteArray("sendCarListChanged(ZUM::SDK::LivePluginInfo)")
        << QByteArrayList {"pluginInfo"};
    QTest::newRow("7 sample") << 7 << QByteArray("sendSample(ZUM::SDK::Sample)")
                              << QByteArrayList {"sample"};
    QTest::newRow("8 session info") << 8 << QByteArray("sendSessionInfo(ZUM::SDK::SessionInfo)")
                                    << QByteArrayList {"sessionInfo"};
    QTest::newRow("9 message") << 9 << QByteArray("sendMessage(QString,int)")
                               << QByteArrayList {"message", "verbose"};
    QTest::newRow("10 progress") << 10 << QByteArray("sendProgress(int)")
                                 << QByteArrayList {"percent"};
}

void tst_DataEmitter::signalsInContractOrder()
{
    QFETCH(int, index);
    QFETCH(QByteArray, signature);
    QFETCH(QByteArrayList, parameterNames);

    const QMetaObject &meta = DataEmitter::staticMetaObject;
    const QMetaMethod method = meta.method(meta.methodOffset() + index);
    QCOMPARE(method.methodSignature(), signature);
    QCOMPARE(method.methodType(), QMetaMethod::Signal);
    QCOMPARE(method.parameterNames(), parameterNames);
    QCOMPARE(meta.indexOfSignal(signature.constData()), meta.methodOffset() + index);
}

void tst_DataEmitter::noOtherMethods()
{
    const QMetaObject &meta = DataEmitter::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 11);
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 0);
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
}

void tst_DataEmitter::parentIsOptional()
{
    QObject parent;
    auto *child = new DataEmitter(&parent);
    QCOMPARE(child->parent(), &parent);
    DataEmitter orphan;
    QCOMPARE(orphan.parent(), nullptr);
}

void tst_DataEmitter::queuedDeliveryAcrossThreads()
{
    DataEmitter emitter;
    QSignalSpy lapSpy(&emitter, &DataEmitter::sendTelemetryLap);
    QSignalSpy headerSpy(&emitter, &DataEmitter::sendTelemetryLapHeader);
    QSignalSpy carListSpy(&emitter, &DataEmitter::sendCarListChanged);
    QSignalSpy sampleSpy(&emitter, &DataEmitter::sendSample);

    // A receiver in this thread, connected with queued connections to a sender in another.
    QObject receiver;
    QList<QSharedPointer<Lap>> laps;
    QList<LapHeader> headers;
    QList<LivePluginInfo> carLists;
    QList<Sample> samples;
    connect(
        &emitter, &DataEmitter::sendTelemetryLap, &receiver,
        [&](QSharedPointer<Lap> lap) { laps.append(lap); }, Qt::QueuedConnection);
    connect(
        &emitter, &DataEmitter::sendTelemetryLapHeader, &receiver,
        [&](const LapHeader &header) { headers.append(header); }, Qt::QueuedConnection);
    connect(
        &emitter, &DataEmitter::sendCarListChanged, &receiver,
        [&](const LivePluginInfo &info) { carLists.append(info); }, Qt::QueuedConnection);
    connect(
        &emitter, &DataEmitter::sendSample, &receiver,
        [&](const Sample &sample) { samples.append(sample); }, Qt::QueuedConnection);

    const auto lap = QSharedPointer<Lap>::create();
    lap->header().lapNumber = 3;
    std::unique_ptr<QThread> sender(QThread::create([&] {
        LapHeader header;
        header.trackName = QStringLiteral("Sebring");
        LivePluginInfo info;
        info.carInfoList.append(CarInfo());
        info.carInfoList.first().driverName = QStringLiteral("Driver");
        Sample sample;
        sample.carName = QStringLiteral("BMW M Hybrid V8");
        sample.dynamicData.setValue(QStringLiteral("speed"), 50.0, QStringLiteral("m/s"));
        Q_EMIT emitter.sendTelemetryLap(lap);
        Q_EMIT emitter.sendTelemetryLapHeader(header);
        Q_EMIT emitter.sendCarListChanged(info);
        Q_EMIT emitter.sendSample(sample);
    }));
    sender->start();
    QVERIFY(sender->wait(10000));

    QTRY_COMPARE(samples.size(), 1);
    QCOMPARE(laps.size(), 1);
    QCOMPARE(laps.first(), lap);
    QCOMPARE(headers.size(), 1);
    QCOMPARE(headers.first().trackName, QStringLiteral("Sebring"));
    QCOMPARE(carLists.size(), 1);
    QCOMPARE(carLists.first().carInfoList.first().driverName, QStringLiteral("Driver"));
    QCOMPARE(samples.first().carName, QStringLiteral("BMW M Hybrid V8"));
    QCOMPARE(samples.first().dynamicData.value(QStringLiteral("speed")).toDouble(), 50.0);

    QCOMPARE(lapSpy.size(), 1);
    QCOMPARE(lapSpy.first().first().value<QSharedPointer<Lap>>()->header().lapNumber, 3);
    QCOMPARE(headerSpy.size(), 1);
    QCOMPARE(carListSpy.size(), 1);
    QCOMPARE(sampleSpy.size(), 1);
}

void tst_DataEmitter::messageIsPrefixedWithThePluginName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("expected");

    QTest::newRow("information") << "Import started" << 0 << "[Test plugin] Import started";
    QTest::newRow("error level passes unchanged")
        << "IBT import error:  no file" << -2 << "[Test plugin] IBT import error:  no file";
    QTest::newRow("empty text") << "" << 0 << "[Test plugin] ";
    QTest::newRow("any other level passes unchanged") << "x" << 7 << "[Test plugin] x";
}

void tst_DataEmitter::messageIsPrefixedWithThePluginName()
{
    QFETCH(QString, text);
    QFETCH(int, level);
    QFETCH(QString, expected);

    TestImport plugin;
    QSignalSpy spy(plugin.dataEmitter(), &DataEmitter::sendMessage);
    plugin.message(text, level);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.first().at(0).toString(), expected);
    QCOMPARE(spy.first().at(1).toInt(), level);
}

void tst_DataEmitter::interfaceOwnsItsEmitter()
{
    TestImport plugin;
    DataEmitter *emitter = plugin.dataEmitter();
    QVERIFY(emitter);
    QCOMPARE(plugin.dataEmitter(), emitter);
    QCOMPARE(emitter->parent(), nullptr);
    QCOMPARE(QByteArray(qobject_interface_iid<PluginInterfaceImport *>()),
             QByteArray("com.zumtelemetry.PluginInterfaceImport/0.2"));
}

void tst_DataEmitter::messageLevelsAreTheHosts()
{
    QCOMPARE(PluginInterfaceImport::Information, 0);
    QCOMPARE(PluginInterfaceImport::Error, -2);
}

QTEST_GUILESS_MAIN(tst_DataEmitter)
#include "tst_dataemitter.moc"
