#include "carstatus.h"
#include "session.h"

#include <QTest>

using namespace ZUM::SDK;

class tst_CarStatus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void carStatusToString_data();
    void carStatusToString();
    void sessionName_data();
    void sessionName();
    void namesHoldsTheFourteenKindsInOrder();
};

void tst_CarStatus::carStatusToString_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");

    QTest::newRow("undefined") << -1 << "Undefined";
    QTest::newRow("not connected") << 0 << "Not connected";
    QTest::newRow("not in world") << 1 << "Not in world";
    QTest::newRow("waiting for start") << 2 << "Waiting for start";
    QTest::newRow("in pit stall") << 3 << "In pit stall";
    QTest::newRow("pit lane written as one word") << 4 << "In pitlane";
    QTest::newRow("out lap") << 5 << "Out lap";
    QTest::newRow("flying lap") << 6 << "Flying lap";
    QTest::newRow("on track") << 7 << "On track";
    QTest::newRow("off track") << 8 << "Off track";
    QTest::newRow("9 is no status") << 9 << QString();
    QTest::newRow("-2 is no status") << -2 << QString();
}

void tst_CarStatus::carStatusToString()
{
    QFETCH(int, status);
    QFETCH(QString, text);
    const QString actual = ZUM::SDK::carStatusToString(CarStatus(status));
    QCOMPARE(actual, text);
    QCOMPARE(actual.isNull(), text.isNull());
}

void tst_CarStatus::sessionName_data()
{
    QTest::addColumn<int>("session");
    QTest::addColumn<QString>("text");

    QTest::newRow("unknown") << -1 << "Unknown session";
    QTest::newRow("test") << 0 << "Test session";
    QTest::newRow("practice") << 1 << "Practice";
    QTest::newRow("qualify") << 2 << "Qualify";
    QTest::newRow("warmup") << 3 << "Warmup";
    QTest::newRow("formation lap") << 4 << "Formation lap";
    QTest::newRow("race") << 5 << "Race";
    QTest::newRow("time attack written as one word") << 6 << "TimeAttack";
    QTest::newRow("hotlap") << 7 << "Hotlap";
    QTest::newRow("drift") << 8 << "Drift";
    QTest::newRow("drag") << 9 << "Drag";
    QTest::newRow("hotstint") << 10 << "Hotstint";
    QTest::newRow("superpole") << 11 << "Superpole";
    QTest::newRow("12 is in the gap") << 12 << "Unknown session";
    QTest::newRow("126 is in the gap") << 126 << "Unknown session";
    QTest::newRow("127 is the catch-all") << 127 << "Other session";
    QTest::newRow("128 is past the table") << 128 << "Unknown session";
    QTest::newRow("-2 is before the table") << -2 << "Unknown session";
}

void tst_CarStatus::sessionName()
{
    QFETCH(int, session);
    QFETCH(QString, text);
    QCOMPARE(ZUM::SDK::sessionName(Session(session)), text);
}

void tst_CarStatus::namesHoldsTheFourteenKindsInOrder()
{
    QCOMPARE(names.size(), 14);
    QList<int> keys;
    for (Session session : names.keys())
        keys.append(int(session));
    QCOMPARE(keys, QList<int>({-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 127}));
    QCOMPARE(names.value(Session::Race), QStringLiteral("Race"));
}

QTEST_APPLESS_MAIN(tst_CarStatus)
#include "tst_carstatus.moc"
