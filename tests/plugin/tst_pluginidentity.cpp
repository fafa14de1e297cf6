#include "plugininterfaceimport.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QSignalSpy>
#include <QTest>

using namespace ZUM::SDK;

namespace {

const QString iid = QStringLiteral("com.zumtelemetry.PluginInterfaceImport/0.2");

} // namespace

// Loads the built plug-in library exactly as the host does.
class tst_PluginIdentity : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void metaDataNamesTheInterfaceAndClass();
    void oneSharedInstance();
    void interfaceIsReachable();
    void metacast_data();
    void metacast();
    void identity_data();
    void identity();
    void messagesCarryTheDoubledPluginWord();

private:
    QPluginLoader m_loader {QStringLiteral(ZUM_PLUGIN_PATH)};
    QObject *m_instance = nullptr;
    PluginInterfaceImport *m_plugin = nullptr;
};

void tst_PluginIdentity::initTestCase()
{
    QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString()));
    m_instance = m_loader.instance();
    QVERIFY(m_instance);
    m_plugin = qobject_cast<PluginInterfaceImport *>(m_instance);
    QVERIFY(m_plugin);
}

void tst_PluginIdentity::metaDataNamesTheInterfaceAndClass()
{
    const QJsonObject metaData = m_loader.metaData();
    QCOMPARE(metaData.value(QStringLiteral("IID")).toString(), iid);
    QCOMPARE(metaData.value(QStringLiteral("className")).toString(),
             QStringLiteral("iRPluginImport"));
    QVERIFY(!metaData.contains(QStringLiteral("MetaData")));
    QCOMPARE(QByteArray(qobject_interface_iid<PluginInterfaceImport *>()), iid.toLatin1());
}

void tst_PluginIdentity::oneSharedInstance()
{
    QCOMPARE(m_loader.instance(), m_instance);
    QPluginLoader second(QStringLiteral(ZUM_PLUGIN_PATH));
    QCOMPARE(second.instance(), m_instance);
    QCOMPARE(m_instance->parent(), nullptr);
}

void tst_PluginIdentity::interfaceIsReachable()
{
    QVERIFY(m_instance->inherits("iRPluginImport"));
    QCOMPARE(m_instance->metaObject()->className(), "iRPluginImport");
    QCOMPARE(m_instance->metaObject()->superClass(), &QObject::staticMetaObject);
    // No signals, slots or properties of its own.
    const QMetaObject *meta = m_instance->metaObject();
    QCOMPARE(meta->methodCount(), meta->methodOffset());
    QCOMPARE(meta->propertyCount(), meta->propertyOffset());
}

void tst_PluginIdentity::metacast_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("expected"); // 0 null, 1 the object, 2 the interface

    QTest::newRow("class name gives the object") << QByteArray("iRPluginImport") << 1;
    QTest::newRow("interface name gives the interface")
        << QByteArray("ZUM::SDK::PluginInterfaceImport") << 2;
    QTest::newRow("interface identifier gives the interface") << iid.toLatin1() << 2;
    QTest::newRow("QObject goes to the base") << QByteArray("QObject") << 1;
    QTest::newRow("unknown name gives null") << QByteArray("SomethingElse") << 0;
    QTest::newRow("null name gives null") << QByteArray() << 0;
}

void tst_PluginIdentity::metacast()
{
    QFETCH(QByteArray, name);
    QFETCH(int, expected);

    void *cast = m_instance->qt_metacast(name.isNull() ? nullptr : name.constData());
    void *wanted = expected == 0 ? nullptr
        : expected == 1          ? static_cast<void *>(m_instance)
                                 : static_cast<void *>(m_plugin);
    QCOMPARE(cast, wanted);
}

void tst_PluginIdentity::identity_data()
{
    QTest::addColumn<QString>("actual");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plug-in name") << m_plugin->pluginName() << "ZUM iRacing ibt import plugin";
    QTest::newRow("source name") << m_plugin->sourceName() << "iRacing";
    QTest::newRow("version") << m_plugin->pluginVersion() << "0.2";
}

void tst_PluginIdentity::identity()
{
    QFETCH(QString, actual);
    QFETCH(QString, expected);
    QCOMPARE(actual, expected);
}

void tst_PluginIdentity::messagesCarryTheDoubledPluginWord()
{
    QCOMPARE(m_plugin->availableImportFormats(),
             QList<QString>({QStringLiteral("iRacing binary telemetry (*.ibt)")}));

    QSignalSpy spy(m_plugin->dataEmitter(), &DataEmitter::sendMessage);
    m_plugin->message(QStringLiteral("hello"), 0);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.first().at(0).toString(),
             QStringLiteral("[ZUM iRacing ibt import plugin plugin] hello"));
    QCOMPARE(spy.first().at(1).toInt(), 0);
}

QTEST_GUILESS_MAIN(tst_PluginIdentity)
#include "tst_pluginidentity.moc"
