#include "stringeq.h"
#include "stringhash.h"
#include "tstringtree.h"

#include <QTest>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

// Every allocation of the test program is counted, so that a test can show that looking up
// names allocates nothing.
namespace {
std::atomic<long> allocationCount {0};
} // namespace

void *operator new(std::size_t size)
{
    ++allocationCount;
    if (void *memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

// The node reached from the root through the given sub-tree names, using sub() only.
const TStringTree *nodeAt(const TStringTree &root, const QStringList &names)
{
    const TStringTree *node = &root;
    for (const QString &name : names) {
        if (!node)
            return nullptr;
        node = node->sub(name.toStdString());
    }
    return node;
}

// root: value "top" = "1"
// A: value "v" = "a-value"; sub-tree B
// A/B: values "leaf" = "deep", "" = "empty-key"
void fillSample(TStringTree &root)
{
    root.set("top", QStringLiteral("1"));
    TStringTree *a = root.addSub("A");
    a->set("v", QStringLiteral("a-value"));
    TStringTree *b = a->addSub("B");
    b->set("leaf", QStringLiteral("deep"));
    b->set("", QStringLiteral("empty-key"));
}

} // namespace

class tst_StringTree : public QObject
{
    Q_OBJECT

private slots:
    void rootHasNoParent();
    void constructedWithParent();
    void hashAndEqualityAgreeForStringAndView();
    void valueOfAbsentKeyIsNull();
    void storedValueReadsBackAsStored_data();
    void storedValueReadsBackAsStored();
    void setOverwrites();
    void keysAreCaseSensitiveBytes();
    void addSubCreatesChildOfThisNode();
    void addSubReturnsExistingSubTree();
    void subOfAbsentNameIsNull();
    void pathSub_data();
    void pathSub();
    void pathSubFindsEmptyNamedSubTrees_data();
    void pathSubFindsEmptyNamedSubTrees();
    void pathValue_data();
    void pathValue();
    void pathSetCreatesSubTreesWithParents();
    void pathSetOverwrites();
    void pathSetKeepsExistingSubTrees();
    void pathSetSegments_data();
    void pathSetSegments();
    void clearDeletesSubTreesButKeepsValues();
    void clearedNameStartsEmpty();
    void valueAndSubTreeOfSameName();
    void keyListsConvertFromUtf8();
    void keyListsOfEmptyTree();
    void lookupsAllocateNothing();
    void overwritingByPathAllocatesNothing();
};

void tst_StringTree::rootHasNoParent()
{
    TStringTree root;
    QVERIFY(!root.hasParent());
    QCOMPARE(root.parent(), nullptr);
    QVERIFY(root.valueKeys().isEmpty());
    QVERIFY(root.subTreesKeys().isEmpty());
}

void tst_StringTree::constructedWithParent()
{
    TStringTree root;
    TStringTree child(&root);
    QVERIFY(child.hasParent());
    QCOMPARE(child.parent(), &root);
    // The parent does not own a node it was only named by.
    QVERIFY(root.subTreesKeys().isEmpty());
}

void tst_StringTree::hashAndEqualityAgreeForStringAndView()
{
    const std::string name = "WeekendOptions";
    const std::string_view view = name;
    QCOMPARE(StringHash {}(name), StringHash {}(view));
    QCOMPARE(StringHash {}("WeekendOptions"), StringHash {}(view));
    QVERIFY(StringEq {}(name, view));
    QVERIFY(StringEq {}(view, name));
    QVERIFY(!StringEq {}(name, std::string_view("weekendoptions")));
    QVERIFY(!StringEq {}(name, std::string_view("WeekendOption")));
}

void tst_StringTree::valueOfAbsentKeyIsNull()
{
    TStringTree root;
    QVERIFY(root.value("missing").isNull());
    root.set("present", QStringLiteral("x"));
    QVERIFY(root.value("missing").isNull());
    QVERIFY(root.value("").isNull());
}

void tst_StringTree::storedValueReadsBackAsStored_data()
{
    QTest::addColumn<QString>("stored");

    QTest::newRow("text") << QStringLiteral("25.00 C");
    QTest::newRow("empty value stays empty and not null") << QString(QLatin1String(""));
    QTest::newRow("null value stays null") << QString();
    QTest::newRow("latin-1 characters") << QString::fromLatin1("cr\xe8me");
}

void tst_StringTree::storedValueReadsBackAsStored()
{
    QFETCH(QString, stored);

    TStringTree root;
    root.set("key", stored);
    const QString readBack = root.value("key");
    QCOMPARE(readBack, stored);
    QCOMPARE(readBack.isNull(), stored.isNull());
    QCOMPARE(readBack.isEmpty(), stored.isEmpty());
    QCOMPARE(root.valueKeys(), QStringList {QStringLiteral("key")});
}

void tst_StringTree::setOverwrites()
{
    TStringTree root;
    root.set("key", QStringLiteral("first"));
    root.set("key", QStringLiteral("second"));
    QCOMPARE(root.value("key"), QStringLiteral("second"));
    QCOMPARE(root.valueKeys().size(), 1);

    root.set("key", QString());
    QVERIFY(root.value("key").isNull());
    QCOMPARE(root.valueKeys().size(), 1);
}

void tst_StringTree::keysAreCaseSensitiveBytes()
{
    TStringTree root;
    root.set("Key", QStringLiteral("upper"));
    root.set("key", QStringLiteral("lower"));
    root.set("key ", QStringLiteral("with blank"));
    QCOMPARE(root.value("Key"), QStringLiteral("upper"));
    QCOMPARE(root.value("key"), QStringLiteral("lower"));
    QCOMPARE(root.value("key "), QStringLiteral("with blank"));
    QVERIFY(root.value("KEY").isNull());
}

void tst_StringTree::addSubCreatesChildOfThisNode()
{
    TStringTree root;
    TStringTree *child = root.addSub("Child");
    QVERIFY(child);
    QVERIFY(child->hasParent());
    QCOMPARE(child->parent(), &root);
    QVERIFY(child->valueKeys().isEmpty());
    QVERIFY(child->subTreesKeys().isEmpty());
    QCOMPARE(root.sub("Child"), child);

    TStringTree *grandChild = child->addSub("GrandChild");
    QCOMPARE(grandChild->parent(), child);
    QVERIFY(root.sub("GrandChild") == nullptr);
}

void tst_StringTree::addSubReturnsExistingSubTree()
{
    TStringTree root;
    TStringTree *first = root.addSub("A");
    first->set("kept", QStringLiteral("yes"));
    first->addSub("Inner");

    TStringTree *second = root.addSub("A");
    QCOMPARE(second, first);
    QCOMPARE(second->value("kept"), QStringLiteral("yes"));
    QVERIFY(second->sub("Inner"));
    QCOMPARE(root.subTreesKeys(), QStringList {QStringLiteral("A")});
}

void tst_StringTree::subOfAbsentNameIsNull()
{
    TStringTree root;
    QVERIFY(root.sub("A") == nullptr);
    root.addSub("A");
    QVERIFY(root.sub("B") == nullptr);
    QVERIFY(root.sub("") == nullptr);
    QVERIFY(root.sub("a") == nullptr);
}

void tst_StringTree::pathSub_data()
{
    QTest::addColumn<QString>("path");
    // Names leading from the root to the expected node through sub(); null when "found" is false.
    QTest::addColumn<QStringList>("expectedNames");
    QTest::addColumn<bool>("found");

    QTest::newRow("empty path is the node itself") << QString() << QStringList {} << true;
    QTest::newRow("one name") << QStringLiteral("A") << QStringList {QStringLiteral("A")} << true;
    QTest::newRow("trailing slash names the sub-tree before it")
        << QStringLiteral("A/") << QStringList {QStringLiteral("A")} << true;
    QTest::newRow("two names") << QStringLiteral("A/B")
                               << QStringList {QStringLiteral("A"), QStringLiteral("B")} << true;
    QTest::newRow("two names and trailing slash")
        << QStringLiteral("A/B/") << QStringList {QStringLiteral("A"), QStringLiteral("B")} << true;
    QTest::newRow("double slash looks up the empty name")
        << QStringLiteral("A//B") << QStringList {} << false;
    QTest::newRow("leading slash looks up the empty name")
        << QStringLiteral("/A") << QStringList {} << false;
    QTest::newRow("lone slash looks up the empty name")
        << QStringLiteral("/") << QStringList {} << false;
    QTest::newRow("missing name") << QStringLiteral("X") << QStringList {} << false;
    QTest::newRow("missing first name") << QStringLiteral("X/B") << QStringList {} << false;
    QTest::newRow("missing last name") << QStringLiteral("A/X") << QStringList {} << false;
    QTest::newRow("missing name below an existing path")
        << QStringLiteral("A/B/C") << QStringList {} << false;
    QTest::newRow("value name is no sub-tree") << QStringLiteral("A/v") << QStringList {} << false;
    QTest::newRow("top-level value name is no sub-tree")
        << QStringLiteral("top") << QStringList {} << false;
}

void tst_StringTree::pathSub()
{
    QFETCH(QString, path);
    QFETCH(QStringList, expectedNames);
    QFETCH(bool, found);

    TStringTree root;
    fillSample(root);
    const std::string bytes = path.toStdString();

    TStringTree *node = root.pathSub(bytes);
    const TStringTree &constRoot = root;
    const TStringTree *constNode = constRoot.pathSub(bytes);
    QCOMPARE(constNode, node);
    if (found) {
        QVERIFY(node);
        QCOMPARE(node, nodeAt(root, expectedNames));
    } else {
        QCOMPARE(node, nullptr);
    }
}

void tst_StringTree::pathSubFindsEmptyNamedSubTrees_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("double slash") << QStringLiteral(
        "A//B") << QStringList {QStringLiteral("A"), QString(), QStringLiteral("B")};
    QTest::newRow("leading slash")
        << QStringLiteral("/A") << QStringList {QString(), QStringLiteral("A")};
    QTest::newRow("lone slash") << QStringLiteral("/") << QStringList {QString()};
}

void tst_StringTree::pathSubFindsEmptyNamedSubTrees()
{
    QFETCH(QString, path);
    QFETCH(QStringList, names);

    TStringTree root;
    TStringTree *node = &root;
    for (const QString &name : names)
        node = node->addSub(name.toStdString());
    QCOMPARE(root.pathSub(path.toStdString()), node);
}

void tst_StringTree::pathValue_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("name without slash reads a value of this node")
        << QStringLiteral("top") << QStringLiteral("1");
    QTest::newRow("one sub-tree then the value key")
        << QStringLiteral("A/v") << QStringLiteral("a-value");
    QTest::newRow("two sub-trees then the value key")
        << QStringLiteral("A/B/leaf") << QStringLiteral("deep");
    QTest::newRow("trailing slash reads the empty key")
        << QStringLiteral("A/B/") << QStringLiteral("empty-key");
    QTest::newRow("empty path reads the empty key of this node") << QString() << QString();
    QTest::newRow("sub-tree name is no value") << QStringLiteral("A") << QString();
    QTest::newRow("inner sub-tree name is no value") << QStringLiteral("A/B") << QString();
    QTest::newRow("missing value") << QStringLiteral("A/missing") << QString();
    QTest::newRow("missing sub-tree") << QStringLiteral("X/leaf") << QString();
    QTest::newRow("missing inner sub-tree") << QStringLiteral("A/X/leaf") << QString();
    QTest::newRow("value of another level") << QStringLiteral("A/leaf") << QString();
    QTest::newRow("double slash looks up the empty sub-tree name")
        << QStringLiteral("A//leaf") << QString();
    QTest::newRow("leading slash looks up the empty sub-tree name")
        << QStringLiteral("/top") << QString();
}

void tst_StringTree::pathValue()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);

    TStringTree root;
    fillSample(root);
    const QString value = root.pathValue(path.toStdString());
    QCOMPARE(value, expected);
    QCOMPARE(value.isNull(), expected.isNull());
}

void tst_StringTree::pathSetCreatesSubTreesWithParents()
{
    TStringTree root;
    root.pathSet("A/B/C", QStringLiteral("value"));

    QCOMPARE(root.subTreesKeys(), QStringList {QStringLiteral("A")});
    QVERIFY(root.valueKeys().isEmpty());
    TStringTree *a = root.sub("A");
    QVERIFY(a);
    QCOMPARE(a->parent(), &root);
    QCOMPARE(a->subTreesKeys(), QStringList {QStringLiteral("B")});
    QVERIFY(a->valueKeys().isEmpty());
    TStringTree *b = a->sub("B");
    QVERIFY(b);
    QCOMPARE(b->parent(), a);
    QCOMPARE(b->valueKeys(), QStringList {QStringLiteral("C")});
    QVERIFY(b->subTreesKeys().isEmpty());
    QCOMPARE(b->value("C"), QStringLiteral("value"));
    QCOMPARE(root.pathValue("A/B/C"), QStringLiteral("value"));
    QVERIFY(root.pathSub("A/B/C") == nullptr);
}

void tst_StringTree::pathSetOverwrites()
{
    TStringTree root;
    root.pathSet("A/B/C", QStringLiteral("first"));
    TStringTree *b = root.pathSub("A/B");
    root.pathSet("A/B/C", QStringLiteral("second"));
    QCOMPARE(root.pathValue("A/B/C"), QStringLiteral("second"));
    QCOMPARE(root.pathSub("A/B"), b);
    QCOMPARE(b->valueKeys(), QStringList {QStringLiteral("C")});
}

void tst_StringTree::pathSetKeepsExistingSubTrees()
{
    TStringTree root;
    TStringTree *a = root.addSub("A");
    a->set("old", QStringLiteral("kept"));
    root.pathSet("A/new", QStringLiteral("added"));
    QCOMPARE(root.sub("A"), a);
    QCOMPARE(a->value("old"), QStringLiteral("kept"));
    QCOMPARE(a->value("new"), QStringLiteral("added"));
}

void tst_StringTree::pathSetSegments_data()
{
    QTest::addColumn<QString>("path");
    // Sub-tree names from the root to the node that receives the value, and its key.
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("key");

    QTest::newRow("empty path sets the empty key of this node")
        << QString() << QStringList {} << QString();
    QTest::newRow("name without slash sets a value of this node")
        << QStringLiteral("top") << QStringList {} << QStringLiteral("top");
    QTest::newRow("trailing slash sets the empty key of the sub-tree")
        << QStringLiteral("A/") << QStringList {QStringLiteral("A")} << QString();
    QTest::newRow("leading slash creates the empty-named sub-tree")
        << QStringLiteral("/A") << QStringList {QString()} << QStringLiteral("A");
    QTest::newRow("double slash creates the empty-named sub-tree between")
        << QStringLiteral("A//B") << QStringList {QStringLiteral("A"), QString()}
        << QStringLiteral("B");
    QTest::newRow("three levels") << QStringLiteral(
        "A/B/C/D") << QStringList {QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}
                                  << QStringLiteral("D");
}

void tst_StringTree::pathSetSegments()
{
    QFETCH(QString, path);
    QFETCH(QStringList, names);
    QFETCH(QString, key);

    TStringTree root;
    root.pathSet(path.toStdString(), QStringLiteral("stored"));

    const TStringTree *parent = nullptr;
    const TStringTree *node = &root;
    for (const QString &name : names) {
        QCOMPARE(node->subTreesKeys(), QStringList {name});
        QVERIFY(node->valueKeys().isEmpty());
        parent = node;
        node = node->sub(name.toStdString());
        QVERIFY(node);
        QCOMPARE(node->parent(), parent);
    }
    QVERIFY(node->subTreesKeys().isEmpty());
    QCOMPARE(node->valueKeys(), QStringList {key});
    QCOMPARE(node->value(key.toStdString()), QStringLiteral("stored"));
    QCOMPARE(root.pathValue(path.toStdString()), QStringLiteral("stored"));
}

void tst_StringTree::clearDeletesSubTreesButKeepsValues()
{
    TStringTree root;
    fillSample(root);
    root.pathSet("A/B/C/D/E", QStringLiteral("deep"));
    root.addSub("Other")->set("x", QStringLiteral("y"));
    root.set("second", QStringLiteral("2"));
    const QStringList valuesBefore = sorted(root.valueKeys());

    root.clear();

    QVERIFY(root.subTreesKeys().isEmpty());
    QCOMPARE(sorted(root.valueKeys()), valuesBefore);
    QCOMPARE(root.value("top"), QStringLiteral("1"));
    QCOMPARE(root.value("second"), QStringLiteral("2"));
    QVERIFY(root.sub("A") == nullptr);
    QVERIFY(root.pathSub("A/B") == nullptr);
    QVERIFY(root.pathValue("A/v").isNull());
    QVERIFY(!root.hasParent());
}

void tst_StringTree::clearedNameStartsEmpty()
{
    TStringTree root;
    root.pathSet("A/old", QStringLiteral("gone"));
    root.clear();
    TStringTree *a = root.addSub("A");
    QVERIFY(a->valueKeys().isEmpty());
    QCOMPARE(a->parent(), &root);
}

void tst_StringTree::valueAndSubTreeOfSameName()
{
    TStringTree root;
    root.set("X", QStringLiteral("value of X"));
    TStringTree *x = root.addSub("X");
    x->set("inner", QStringLiteral("in X"));

    QCOMPARE(root.value("X"), QStringLiteral("value of X"));
    QCOMPARE(root.sub("X"), x);
    QCOMPARE(root.pathValue("X"), QStringLiteral("value of X"));
    QCOMPARE(root.pathSub("X"), x);
    QCOMPARE(root.pathValue("X/inner"), QStringLiteral("in X"));
    QCOMPARE(root.valueKeys(), QStringList {QStringLiteral("X")});
    QCOMPARE(root.subTreesKeys(), QStringList {QStringLiteral("X")});

    root.set("X", QStringLiteral("changed"));
    QCOMPARE(root.sub("X"), x);
    QCOMPARE(x->value("inner"), QStringLiteral("in X"));
}

void tst_StringTree::keyListsConvertFromUtf8()
{
    TStringTree root;
    root.set("Caf\xc3\xa9", QStringLiteral("value"));
    root.set("plain", QStringLiteral("value"));
    root.addSub("Jos\xc3\xa9");
    root.addSub("Drivers");

    const QString cafe = QStringLiteral("Caf") + QChar(0xE9);
    const QString jose = QStringLiteral("Jos") + QChar(0xE9);
    QCOMPARE(sorted(root.valueKeys()), sorted({cafe, QStringLiteral("plain")}));
    QCOMPARE(sorted(root.subTreesKeys()), sorted({jose, QStringLiteral("Drivers")}));
    QCOMPARE(root.value(cafe.toStdString()), QStringLiteral("value"));
}

void tst_StringTree::keyListsOfEmptyTree()
{
    TStringTree root;
    root.set("", QStringLiteral("empty key"));
    root.addSub("");
    QCOMPARE(root.valueKeys(), QStringList {QString()});
    QCOMPARE(root.subTreesKeys(), QStringList {QString()});
}

void tst_StringTree::lookupsAllocateNothing()
{
    // Names longer than a short-string buffer, so that building a std::string would allocate.
    TStringTree root;
    root.pathSet("TelemetryOptions/TelemetryDiskFile", QStringLiteral("file.ibt"));
    root.pathSet("CarSetup/TiresAero/LeftFrontTire/StartingPressure", QStringLiteral("152 kPa"));
    const std::string longPath = "CarSetup/TiresAero/LeftFrontTire/StartingPressure and more";
    const std::string_view slice = std::string_view(longPath).substr(0, 49);

    const long before = allocationCount.load();
    const QString file = root.pathValue("TelemetryOptions/TelemetryDiskFile");
    const QString pressure = root.pathValue(slice);
    const QString missing = root.pathValue("TelemetryOptions/MissingValueWithLongName");
    const QString missingNode = root.pathValue("MissingSubTreeWithLongName/TelemetryDiskFile");
    TStringTree *tire = root.pathSub(slice.substr(0, 32));
    TStringTree *none = root.pathSub("CarSetup/MissingSubTreeWithLongName");
    const TStringTree *options = root.sub("TelemetryOptions");
    const QString direct = options ? options->value("TelemetryDiskFile") : QString();
    const long after = allocationCount.load();

    QCOMPARE(after, before);
    QCOMPARE(file, QStringLiteral("file.ibt"));
    QCOMPARE(pressure, QStringLiteral("152 kPa"));
    QVERIFY(missing.isNull());
    QVERIFY(missingNode.isNull());
    QVERIFY(tire);
    QCOMPARE(tire, root.pathSub("CarSetup/TiresAero/LeftFrontTire"));
    QCOMPARE(none, nullptr);
    QCOMPARE(direct, QStringLiteral("file.ibt"));
}

void tst_StringTree::overwritingByPathAllocatesNothing()
{
    TStringTree root;
    root.pathSet("TelemetryOptions/TelemetryDiskFile", QStringLiteral("first.ibt"));
    const QString newValue = QStringLiteral("second.ibt");

    const long before = allocationCount.load();
    root.pathSet("TelemetryOptions/TelemetryDiskFile", newValue);
    const long after = allocationCount.load();

    QCOMPARE(after, before);
    QCOMPARE(root.pathValue("TelemetryOptions/TelemetryDiskFile"), newValue);
}

QTEST_APPLESS_MAIN(tst_StringTree)

#include "tst_stringtree.moc"
