#include "dynamicdata.h"
#include "value.h"

#include <QTest>

using namespace ZUM::SDK;

class tst_DynamicData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valueKeepsVariantAndUnit();
    void setUnitReplacesUnit();
    void valueEquality_data();
    void valueEquality();
    void absentNameGivesInvalidValueAndInsertsNothing();
    void invalidVariantStillCountsAsPresent();
    void setValueReplacesVariantAndUnit();
    void setValueWithValueOverload();
    void removeValue();
    void valueNameList_data();
    void valueNameList();
    void asRangeWalksEveryEntry();
    void clearEmpties();
    void copiesAreDeep();
    void moveLeavesSourceEmpty();
};

void tst_DynamicData::valueKeepsVariantAndUnit()
{
    const Value value(QVariant(2.5), QStringLiteral("m"));
    QVERIFY(value.isValid());
    QCOMPARE(value.toDouble(), 2.5);
    QCOMPARE(value.unit(), QStringLiteral("m"));
}

void tst_DynamicData::setUnitReplacesUnit()
{
    Value value(QVariant(1), QString());
    QVERIFY(value.unit().isNull());
    value.setUnit(QStringLiteral("kg"));
    QCOMPARE(value.unit(), QStringLiteral("kg"));
}

void tst_DynamicData::valueEquality_data()
{
    QTest::addColumn<QVariant>("left");
    QTest::addColumn<QString>("leftUnit");
    QTest::addColumn<QVariant>("right");
    QTest::addColumn<QString>("rightUnit");
    QTest::addColumn<bool>("equal");

    const QString m = QStringLiteral("m");
    QTest::newRow("double and int of equal value with same unit")
        << QVariant(1.0) << m << QVariant(1) << m << true;
    QTest::newRow("same number, units differ in case")
        << QVariant(1.0) << m << QVariant(1) << QStringLiteral("M") << false;
    QTest::newRow("same text, same unit") << QVariant(QStringLiteral("dry")) << QString()
                                          << QVariant(QStringLiteral("dry")) << QString() << true;
    QTest::newRow("different numbers") << QVariant(1.0) << m << QVariant(2.0) << m << false;
    QTest::newRow("two invalid variants, null units")
        << QVariant() << QString() << QVariant() << QString() << true;
    QTest::newRow("null unit equals empty unit")
        << QVariant(3) << QString() << QVariant(3) << QStringLiteral("") << true;
}

void tst_DynamicData::valueEquality()
{
    QFETCH(QVariant, left);
    QFETCH(QString, leftUnit);
    QFETCH(QVariant, right);
    QFETCH(QString, rightUnit);
    QFETCH(bool, equal);

    Value a(left, leftUnit);
    Value b(right, rightUnit);
    QCOMPARE(a == b, equal);
    QCOMPARE(a != b, !equal);
    QCOMPARE(b == a, equal);
}

void tst_DynamicData::absentNameGivesInvalidValueAndInsertsNothing()
{
    const DynamicData data;
    const Value value = data.value(QStringLiteral("x"));
    QVERIFY(!value.isValid());
    QVERIFY(value.unit().isEmpty());
    QVERIFY(value.unit().isNull());
    QVERIFY(data.isEmpty());
    QCOMPARE(data.size(), 0);
    QVERIFY(!data.containsValue(QStringLiteral("x")));
    QVERIFY(!data.find(QStringLiteral("x")));
}

void tst_DynamicData::invalidVariantStillCountsAsPresent()
{
    DynamicData data;
    data.setValue(QStringLiteral("x"), QVariant(), QStringLiteral("m"));
    QVERIFY(data.containsValue(QStringLiteral("x")));
    QVERIFY(!data.value(QStringLiteral("x")).isValid());
    QCOMPARE(data.value(QStringLiteral("x")).unit(), QStringLiteral("m"));
    QCOMPARE(data.size(), 1);
}

void tst_DynamicData::setValueReplacesVariantAndUnit()
{
    DynamicData data;
    data.setValue(QStringLiteral("x"), 1.0, QStringLiteral("m"));
    data.setValue(QStringLiteral("x"), 2.0, QStringLiteral("kg"));
    QCOMPARE(data.size(), 1);
    QCOMPARE(data.value(QStringLiteral("x")).toDouble(), 2.0);
    QCOMPARE(data.value(QStringLiteral("x")).unit(), QStringLiteral("kg"));
}

void tst_DynamicData::setValueWithValueOverload()
{
    DynamicData data;
    data.setValue(QStringLiteral("speed"), Value(QVariant(42.0f), QStringLiteral("m/s")));
    const Value stored = data.value(QStringLiteral("speed"));
    QCOMPARE(stored.toFloat(), 42.0f);
    QCOMPARE(stored.unit(), QStringLiteral("m/s"));
    // Names are case-sensitive.
    QVERIFY(!data.containsValue(QStringLiteral("Speed")));
}

void tst_DynamicData::removeValue()
{
    DynamicData data;
    data.setValue(QStringLiteral("a"), 1, QString());
    data.setValue(QStringLiteral("b"), 2, QString());
    data.removeValue(QStringLiteral("a"));
    data.removeValue(QStringLiteral("absent"));
    QCOMPARE(data.valueNameList(), QList<QString>({QStringLiteral("b")}));
}

void tst_DynamicData::valueNameList_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("sorted");

    QTest::newRow("upper case sorts before lower case")
        << QStringList {"b", "a", "B"} << QStringList {"B", "a", "b"};
    QTest::newRow("empty map gives empty list") << QStringList {} << QStringList {};
    QTest::newRow("prefixes sort first") << QStringList {"lapdistpct", "lap", "lapdist"}
                                         << QStringList {"lap", "lapdist", "lapdistpct"};
    QTest::newRow("digits and underscore by code unit")
        << QStringList {"a_b", "a1", "aB", "ab"} << QStringList {"a1", "aB", "a_b", "ab"};
}

void tst_DynamicData::valueNameList()
{
    QFETCH(QStringList, names);
    QFETCH(QStringList, sorted);

    DynamicData data;
    for (const QString &name : names)
        data.setValue(name, 1.0, QString());
    QCOMPARE(data.valueNameList(), QList<QString>(sorted));
}

void tst_DynamicData::asRangeWalksEveryEntry()
{
    DynamicData data;
    data.setValue(QStringLiteral("a"), 1, QStringLiteral("m"));
    data.setValue(QStringLiteral("b"), 2, QStringLiteral("s"));
    QMap<QString, QString> seen;
    for (const auto &[name, value] : data.asRange())
        seen.insert(name, value.unit() + value.toString());
    QCOMPARE(seen.size(), 2);
    QCOMPARE(seen.value(QStringLiteral("a")), QStringLiteral("m1"));
    QCOMPARE(seen.value(QStringLiteral("b")), QStringLiteral("s2"));

    const DynamicData empty;
    QVERIFY(empty.asRange().begin() == empty.asRange().end());
}

void tst_DynamicData::clearEmpties()
{
    DynamicData data;
    data.setValue(QStringLiteral("a"), 1, QString());
    data.clear();
    QVERIFY(data.isEmpty());
    QVERIFY(!data.containsValue(QStringLiteral("a")));
}

void tst_DynamicData::copiesAreDeep()
{
    DynamicData original;
    original.setValue(QStringLiteral("a"), 1, QStringLiteral("m"));
    DynamicData copy = original;
    copy.setValue(QStringLiteral("a"), 2, QStringLiteral("s"));
    copy.setValue(QStringLiteral("b"), 3, QString());
    QCOMPARE(original.size(), 1);
    QCOMPARE(original.value(QStringLiteral("a")).toInt(), 1);
    QCOMPARE(original.value(QStringLiteral("a")).unit(), QStringLiteral("m"));
}

void tst_DynamicData::moveLeavesSourceEmpty()
{
    DynamicData source;
    source.setValue(QStringLiteral("a"), 1, QString());
    DynamicData target = std::move(source);
    QCOMPARE(target.size(), 1);
    QVERIFY(source.isEmpty()); // NOLINT(bugprone-use-after-move): the moved-from state is the point
}

QTEST_APPLESS_MAIN(tst_DynamicData)
#include "tst_dynamicdata.moc"
