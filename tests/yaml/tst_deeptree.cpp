#include "smallstackthread.h"
#include "tyamltree.h"

#include <QTest>

#include <string>
#include <string_view>

namespace {

// As deep as the longest text a damaged file was found to nest.
constexpr int depth = 106000;

// The path of `levels` sub-trees of the same name, one below the other.
std::string repeatedPath(const std::string &name, int levels)
{
    std::string path;
    path.reserve(size_t(levels) * (name.size() + 1));
    for (int i = 0; i < levels; ++i) {
        if (i > 0)
            path += '/';
        path += name;
    }
    return path;
}

// What a walk down a deep tree found, taken on the small stack and checked on the test's
// own thread.
struct Found
{
    int levels = 0; // sub-trees of the name, one below the other
    bool deepestHasNoSubTree = false;
    bool pathReachesDeepest = false;
    bool parentsLeadToRoot = false;
    QString deepestValue;
};

Found walkDown(TStringTree &root, const std::string &name, std::string_view valueKey)
{
    Found found;
    TStringTree *node = &root;
    while (TStringTree *next = node->sub(name)) {
        node = next;
        ++found.levels;
    }
    found.deepestHasNoSubTree = node->subTreesKeys().isEmpty();
    found.pathReachesDeepest = root.pathSub(repeatedPath(name, found.levels)) == node;
    found.deepestValue
        = root.pathValue(repeatedPath(name, found.levels) + '/' + std::string(valueKey));
    int up = 0;
    const TStringTree *climbing = node;
    for (; climbing->hasParent(); climbing = climbing->parent())
        ++up;
    found.parentsLeadToRoot = climbing == &root && up == found.levels;
    return found;
}

// The walk found every level, one below the other, and the value at the bottom.
void verifyDeepest(const Found &found, const QString &value)
{
    QCOMPARE(found.levels, depth);
    QVERIFY(found.deepestHasNoSubTree);
    QVERIFY(found.pathReachesDeepest);
    QVERIFY(found.parentsLeadToRoot);
    QCOMPARE(found.deepestValue, value);
}

} // namespace

// A damaged session text may nest as deep as it has lines. Building, reading and destroying
// such a tree must not take stack in proportion to its depth: each test runs on a thread
// with a small stack, which a recursion over 106,000 levels would overflow many times over.
class tst_DeepTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listItemsNestedByTheText_data();
    void listItemsNestedByTheText();
    void pathOfEveryLevel();
    void clearingADeepTreeKeepsTheValues();
};

void tst_DeepTree::listItemsNestedByTheText_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("itemName");

    // An item without a further line is not closed before the next one, which the parse
    // opens inside it.
    QTest::newRow("dashes alone") << QByteArray("-") << QByteArray("-");
    QTest::newRow("items named by their first field")
        << QByteArray("- CarIdx: 7") << QByteArray("7");
}

void tst_DeepTree::listItemsNestedByTheText()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, itemName);

    // A value on the last line is stored in the deepest item.
    const QByteArray text = "---\n" + (line + '\n').repeated(depth) + "  Key: deep\n";
    Found found;
    auto work = [&] {
        TYamlTree tree;
        tree.setYaml(text.constData());
        found = walkDown(tree, itemName.toStdString(), "Key");
    };
    SmallStackThread().run(work);
    verifyDeepest(found, QStringLiteral("deep"));
}

void tst_DeepTree::pathOfEveryLevel()
{
    Found found;
    auto work = [&] {
        TStringTree tree;
        tree.pathSet(repeatedPath("level", depth) + "/value", QStringLiteral("at the bottom"));
        found = walkDown(tree, "level", "value");
    };
    SmallStackThread().run(work);
    verifyDeepest(found, QStringLiteral("at the bottom"));
}

void tst_DeepTree::clearingADeepTreeKeepsTheValues()
{
    QStringList subTrees;
    QString value;
    auto work = [&] {
        TStringTree tree;
        tree.set("own", QStringLiteral("kept"));
        tree.pathSet(repeatedPath("a", depth) + "/b", QStringLiteral("gone"));
        // A second branch, so that the walk comes back up through a node with more to delete.
        tree.pathSet(repeatedPath("a", depth / 2) + "/c/d", QStringLiteral("gone too"));
        tree.clear();
        subTrees = tree.subTreesKeys();
        value = tree.value("own");
    };
    SmallStackThread().run(work);
    QVERIFY(subTrees.isEmpty());
    QCOMPARE(value, QStringLiteral("kept"));
}

QTEST_GUILESS_MAIN(tst_DeepTree)
#include "tst_deeptree.moc"
