#include "drivewriter.h"
#include "ibtwriter.h"
#include "plugininterfaceimport.h"

#include <QPluginLoader>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>

using ZUM::SDK::Lap;
using Laps = QList<QSharedPointer<Lap>>;

namespace {

const QString format = QStringLiteral("iRacing binary telemetry (*.ibt)");

// What int conversion gives on x86 for a value it cannot hold, as a lap time in milliseconds.
const QTime unrepresentableLapTime(3, 28, 36, 352);
constexpr qint32 unrepresentableLapNumber = std::numeric_limits<qint32>::min();

} // namespace

// Files whose layout is sound but whose contents no simulator writes: values beyond every
// range a variable has, a session text nested far deeper than any real one. The import
// gives what it has always given for them, without undefined behaviour and without running
// out of stack; the sanitizer build runs these too.
class tst_DamagedContents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void lastLapTimeBeyondMilliseconds_data();
    void lastLapTimeBeyondMilliseconds();
    void lapCounterBeyondLapNumbers_data();
    void lapCounterBeyondLapNumbers();
    void deeplyNestedSessionText();

private:
    Laps import(const QString &path, QStringList *messages = nullptr);

    QTemporaryDir m_dir;
    ZUM::SDK::PluginInterfaceImport *m_plugin = nullptr;
};

void tst_DamagedContents::initTestCase()
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    m_plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    QVERIFY(m_plugin);
    QVERIFY(m_dir.isValid());
}

Laps tst_DamagedContents::import(const QString &path, QStringList *messages)
{
    QSignalSpy spy(m_plugin->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    const Laps laps = m_plugin->import(path, format, {});
    for (const QList<QVariant> &arguments : spy) {
        if (messages)
            messages->append(arguments.at(0).toString());
    }
    return laps;
}

void tst_DamagedContents::lastLapTimeBeyondMilliseconds_data()
{
    QTest::addColumn<bool>("replay");
    QTest::addColumn<double>("lastLapTime");
    QTest::addColumn<QTime>("lapTime");

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("NaN") << false << nan << unrepresentableLapTime;
    QTest::newRow("infinite") << false << infinity << unrepresentableLapTime;
    QTest::newRow("ten million seconds") << false << 1e7 << unrepresentableLapTime;
    // 2147483.647 s is 2^31 ms once the product is rounded to a float.
    QTest::newRow("2^31 milliseconds") << false << 2147483.647 << unrepresentableLapTime;
    // The float product 2147483520 ms: the largest below 2^31, still a time of day.
    QTest::newRow("largest float below 2^31 milliseconds")
        << false << 2147483.5 << QTime(20, 31, 23, 520);
    QTest::newRow("NaN in a replay") << true << nan << unrepresentableLapTime;
    QTest::newRow("ten million seconds in a replay") << true << 1e7 << unrepresentableLapTime;
}

// A damaged last-lap time in the record that completes a flying lap.
void tst_DamagedContents::lastLapTimeBeyondMilliseconds()
{
    QFETCH(bool, replay);
    QFETCH(double, lastLapTime);
    QFETCH(QTime, lapTime);

    const QString path = m_dir.filePath(QStringLiteral("last-lap-time.ibt"));
    QVERIFY(DriveWriter::writeLastLapTime(path, replay, lastLapTime));

    const Laps laps = import(path);
    QCOMPARE(laps.size(), 3);
    const ZUM::SDK::LapHeader &flying = laps[1]->header();
    QCOMPARE(flying.flyingLap, 1);
    QCOMPARE(flying.completed, true);
    QCOMPARE(flying.lapNumber, 1);
    QCOMPARE(flying.lapTime, lapTime);
    // The out lap and the lap that the end of the file cuts have no time.
    QCOMPARE(laps[0]->header().lapTime, ZUM::SDK::UntimedLapTime);
    QCOMPARE(laps[2]->header().lapTime, ZUM::SDK::UntimedLapTime);
}

void tst_DamagedContents::lapCounterBeyondLapNumbers_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("lapCounter");
    QTest::addColumn<int>("lapNumber");

    const double nan = std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("float 1e10") << int(irsdk_float) << 1e10 << unrepresentableLapNumber;
    QTest::newRow("double 1e10") << int(irsdk_double) << 1e10 << unrepresentableLapNumber;
    QTest::newRow("double -1e10") << int(irsdk_double) << -1e10 << unrepresentableLapNumber;
    QTest::newRow("double 2^31") << int(irsdk_double) << 2147483648.0 << unrepresentableLapNumber;
    QTest::newRow("double NaN") << int(irsdk_double) << nan << unrepresentableLapNumber;
    QTest::newRow("double just below 2^31")
        << int(irsdk_double) << 2147483647.9 << std::numeric_limits<int>::max();
    QTest::newRow("double just above -2^31 - 1")
        << int(irsdk_double) << -2147483648.9 << std::numeric_limits<int>::min();
    QTest::newRow("float 7.9 truncates") << int(irsdk_float) << 7.9 << 7;
}

// A lap counter held as a float or double, damaged in the first record of a lap that is then
// aborted by the counter falling to 0: the lap takes its number from that first record.
void tst_DamagedContents::lapCounterBeyondLapNumbers()
{
    QFETCH(int, type);
    QFETCH(double, lapCounter);
    QFETCH(int, lapNumber);

    const QString path = m_dir.filePath(QStringLiteral("lap-counter.ibt"));
    QVERIFY(DriveWriter::writeLapCounter(path, type, lapCounter));

    const Laps laps = import(path);
    QVERIFY(laps.size() >= 2);
    const ZUM::SDK::LapHeader &aborted = laps[1]->header();
    QCOMPARE(aborted.completed, false);
    QCOMPARE(aborted.lapTime, ZUM::SDK::UntimedLapTime);
    QCOMPARE(aborted.lapNumber, lapNumber);
}

// One list item per line at one indentation nests each item in the one before: 106,000
// lines make a tree 106,000 levels deep, which the import builds, reads and destroys.
void tst_DamagedContents::deeplyNestedSessionText()
{
    IbtWriter writer;
    writer.setSessionInfo("---\n" + QByteArray("-\n").repeated(106000) + "...\n");
    const int time = writer.addVariable("SessionTime", irsdk_double, 1, "s");
    const QString path = m_dir.filePath(QStringLiteral("deep.ibt"));
    QVERIFY(writer.open(path));
    for (int i = 0; i < 10; ++i) {
        writer.setValue(time, i / 60.0);
        writer.appendRecord();
    }
    QVERIFY(writer.finish());

    QStringList messages;
    QVERIFY(import(path, &messages).isEmpty());
    QCOMPARE(messages.size(), 3);
    QVERIFY2(messages.last().endsWith(QLatin1String("; Laps readed 0")),
             qPrintable(messages.last()));
}

QTEST_GUILESS_MAIN(tst_DamagedContents)
#include "tst_damagedcontents.moc"
