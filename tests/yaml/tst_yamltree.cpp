#include "tyamltree.h"

#include <QTest>

#include <iterator>
#include <string>

namespace {

const QString nullMark = QStringLiteral("(null)");

// Every node and value below the node, one line each: "A/B/" for a sub-tree, "A/B/key=value"
// for a value ("(null)" standing for a null value). A child whose parent pointer is wrong
// shows up as its own line, so that comparisons catch it.
void dumpInto(const TStringTree &node, const QString &prefix, QStringList &lines)
{
    for (const QString &key : node.valueKeys()) {
        const QString value = node.value(key.toStdString());
        lines.append(prefix + key + u'=' + (value.isNull() ? nullMark : value));
    }
    for (const QString &key : node.subTreesKeys()) {
        const TStringTree *child = node.sub(key.toStdString());
        const QString path = prefix + key + u'/';
        lines.append(path);
        if (child->parent() != &node)
            lines.append(path + QStringLiteral(" has a wrong parent"));
        dumpInto(*child, path, lines);
    }
}

QStringList dump(const TStringTree &tree)
{
    QStringList lines;
    dumpInto(tree, QString(), lines);
    lines.sort();
    return lines;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

// The simulator's layout: one space per level, list items' continuation lines two spaces past
// the item's own spaces.
const char driverInfoText[] = "---\n"
                              "DriverInfo:\n"
                              " DriverCarIdx: 7\n"
                              " Drivers:\n"
                              " - CarIdx: 0\n"
                              "   UserName: Alice Fast\n"
                              " - CarIdx: 1\n"
                              "   UserName: Bob Steady\n"
                              "SessionInfo:\n"
                              " Sessions:\n"
                              " - SessionNum: 0\n"
                              "   SessionType: Race\n"
                              "...\n";

} // namespace

class tst_YamlTree : public QObject
{
    Q_OBJECT

private slots:
    void isRoot();
    void countLeadingSpaces_data();
    void countLeadingSpaces();
    void isNewSection_data();
    void isNewSection();
    void driverInfoLines_data();
    void driverInfoLines();
    void driverInfoTree();
    void parse_data();
    void parse();
    void nullTextYieldsNothing();
    void latin1KeysBecomeUtf8AndValuesKeepLatin1();
    void secondTextMergesIntoTree();
    void secondTextStartsAtTheRoot();
    void sessionsByNumberWithNestedLists();
    void largeSessionText();
};

void tst_YamlTree::isRoot()
{
    TYamlTree tree;
    QVERIFY(!tree.hasParent());
    QVERIFY(tree.valueKeys().isEmpty());
    QVERIFY(tree.subTreesKeys().isEmpty());
}

void tst_YamlTree::countLeadingSpaces_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("flagBefore");
    QTest::addColumn<int>("indentation");
    QTest::addColumn<bool>("isListItem");

    QTest::newRow("top-level key") << QStringLiteral("Key: v") << false << 0 << false;
    QTest::newRow("key one space in") << QStringLiteral(" Key: v") << false << 1 << false;
    QTest::newRow("key three spaces in") << QStringLiteral("   Key: v") << false << 3 << false;
    QTest::newRow("text clears a set flag") << QStringLiteral(" Key: v") << true << 1 << false;
    QTest::newRow("top-level list item") << QStringLiteral("- CarIdx: 0") << false << 1 << true;
    QTest::newRow("list item after one space counts the dash as a level")
        << QStringLiteral(" - CarIdx: 0") << false << 2 << true;
    QTest::newRow("list item after three spaces")
        << QStringLiteral("   - Position: 1") << false << 4 << true;
    QTest::newRow("dash without blank is a list item")
        << QStringLiteral("-x") << false << 1 << true;
    QTest::newRow("lone dash is a list item") << QStringLiteral("  -") << false << 3 << true;
    QTest::newRow("dash later on the line is no list item")
        << QStringLiteral(" Key: -1") << true << 1 << false;
    QTest::newRow("tab is no indentation") << QStringLiteral("\tKey: v") << false << 0 << false;
    QTest::newRow("tab before the dash hides the list item")
        << QStringLiteral("  \t- x") << false << 2 << false;
    QTest::newRow("carriage return is a character") << QStringLiteral("\r") << true << 0 << false;
    QTest::newRow("spaces only keep a set flag") << QStringLiteral("    ") << true << 0 << true;
    QTest::newRow("spaces only keep a clear flag") << QStringLiteral("    ") << false << 0 << false;
    QTest::newRow("empty line has no indentation") << QString() << false << 0 << false;
    QTest::newRow("empty line keeps a set flag") << QString() << true << 0 << true;
}

void tst_YamlTree::countLeadingSpaces()
{
    QFETCH(QString, line);
    QFETCH(bool, flagBefore);
    QFETCH(int, indentation);
    QFETCH(bool, isListItem);

    bool flag = flagBefore;
    QCOMPARE(TYamlTree::countLeadingSpaces(line, flag), indentation);
    QCOMPARE(flag, isListItem);
}

void tst_YamlTree::isNewSection_data()
{
    // The last line of each list is the end mark.
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("expected");

    QTest::newRow("header before a deeper key")
        << QStringList {"DriverInfo:", " DriverCarIdx: 7", ""} << 0 << true;
    QTest::newRow("header before a deeper list item")
        << QStringList {" Drivers:", " - CarIdx: 0", ""} << 0 << true;
    QTest::newRow("header before a line two levels deeper")
        << QStringList {"A:", "   b: 1", ""} << 0 << true;
    QTest::newRow("any text before a deeper line")
        << QStringList {"A: 1", " b: 2", ""} << 0 << true;
    QTest::newRow("second line before a deeper line")
        << QStringList {"x: 0", "A:", " b: 2", ""} << 1 << true;
    QTest::newRow("header before a line of the same level")
        << QStringList {"A:", "B: 2", ""} << 0 << false;
    QTest::newRow("header before a shallower line")
        << QStringList {" A:", "B: 2", ""} << 0 << false;
    QTest::newRow("list item before deeper lines is no header")
        << QStringList {" - CarIdx: 0", "   UserName: x", ""} << 0 << false;
    QTest::newRow("next line is the end mark") << QStringList {"A:", " b: 1"} << 0 << false;
    QTest::newRow("next line is empty") << QStringList {"A:", "", " b: 1", ""} << 0 << false;
    QTest::newRow("next line is spaces only")
        << QStringList {"A:", "    ", " b: 1", ""} << 0 << false;
    QTest::newRow("next line indented by a tab") << QStringList {"A:", "\tb: 1", ""} << 0 << false;
    QTest::newRow("spaces only before a deeper line")
        << QStringList {"   ", " b: 1", ""} << 0 << true;
    QTest::newRow("empty line before a deeper line") << QStringList {"", " b: 1", ""} << 0 << true;
}

void tst_YamlTree::isNewSection()
{
    QFETCH(QStringList, lines);
    QFETCH(int, index);
    QFETCH(bool, expected);

    const auto end = std::prev(lines.end());
    QCOMPARE(TYamlTree::isNewSection(lines.begin() + index, end), expected);
}

void tst_YamlTree::driverInfoLines_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("indentation");
    QTest::addColumn<QString>("kind");

    const QString header = QStringLiteral("section header");
    const QString keyValue = QStringLiteral("key/value");
    const QString listItem = QStringLiteral("list item");
    QTest::newRow("DriverInfo: opens a section at 0") << 1 << 0 << header;
    QTest::newRow("DriverCarIdx: 7 is a key at 1") << 2 << 1 << keyValue;
    QTest::newRow("Drivers: opens a section at 1") << 3 << 1 << header;
    QTest::newRow("- CarIdx: 0 is a list item at 2") << 4 << 2 << listItem;
    QTest::newRow("UserName under the first item is a key at 3") << 5 << 3 << keyValue;
    QTest::newRow("- CarIdx: 1 is a list item at 2") << 6 << 2 << listItem;
    QTest::newRow("SessionInfo: opens a section at 0") << 8 << 0 << header;
}

void tst_YamlTree::driverInfoLines()
{
    QFETCH(int, index);
    QFETCH(int, indentation);
    QFETCH(QString, kind);

    QStringList lines = QString::fromLatin1(driverInfoText).split(u'\n');
    const auto end = std::prev(lines.end());
    const auto line = lines.begin() + index;
    bool isListItem = false;
    QCOMPARE(TYamlTree::countLeadingSpaces(*line, isListItem), indentation);
    const QString actualKind = isListItem    ? QStringLiteral("list item")
        : TYamlTree::isNewSection(line, end) ? QStringLiteral("section header")
                                             : QStringLiteral("key/value");
    QCOMPARE(actualKind, kind);
}

void tst_YamlTree::driverInfoTree()
{
    TYamlTree tree;
    tree.setYaml(driverInfoText);

    QCOMPARE(tree.pathValue("DriverInfo/DriverCarIdx"), QStringLiteral("7"));
    TStringTree *driverInfo = tree.sub("DriverInfo");
    QVERIFY(driverInfo);
    QCOMPARE(driverInfo->parent(), &tree);
    QCOMPARE(driverInfo->valueKeys(), QStringList {"DriverCarIdx"});
    QCOMPARE(driverInfo->subTreesKeys(), QStringList {"Drivers"});

    TStringTree *drivers = tree.pathSub("DriverInfo/Drivers");
    QVERIFY(drivers);
    QCOMPARE(drivers->parent(), driverInfo);
    QVERIFY(drivers->valueKeys().isEmpty());
    QCOMPARE(sorted(drivers->subTreesKeys()), QStringList({"0", "1"}));

    // Drivers are reached by car index; the index itself is not stored as a value.
    TStringTree *first = drivers->sub("0");
    TStringTree *second = drivers->sub("1");
    QVERIFY(first);
    QVERIFY(second);
    QCOMPARE(first->parent(), drivers);
    QCOMPARE(second->parent(), drivers);
    QCOMPARE(first->valueKeys(), QStringList {"UserName"});
    QCOMPARE(second->valueKeys(), QStringList {"UserName"});
    QVERIFY(first->subTreesKeys().isEmpty());
    QVERIFY(second->subTreesKeys().isEmpty());
    QCOMPARE(tree.pathValue("DriverInfo/Drivers/0/UserName"), QStringLiteral("Alice Fast"));
    QCOMPARE(tree.pathValue("DriverInfo/Drivers/1/UserName"), QStringLiteral("Bob Steady"));
    QVERIFY(tree.pathValue("DriverInfo/Drivers/0/CarIdx").isNull());

    // SessionInfo climbed back to the root.
    TStringTree *sessionInfo = tree.sub("SessionInfo");
    QVERIFY(sessionInfo);
    QCOMPARE(sessionInfo->parent(), &tree);
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/SessionType"), QStringLiteral("Race"));

    QCOMPARE(dump(tree),
             sorted({
                 "DriverInfo/",
                 "DriverInfo/DriverCarIdx=7",
                 "DriverInfo/Drivers/",
                 "DriverInfo/Drivers/0/",
                 "DriverInfo/Drivers/0/UserName=Alice Fast",
                 "DriverInfo/Drivers/1/",
                 "DriverInfo/Drivers/1/UserName=Bob Steady",
                 "SessionInfo/",
                 "SessionInfo/Sessions/",
                 "SessionInfo/Sessions/0/",
                 "SessionInfo/Sessions/0/SessionType=Race",
                 "...=(null)",
             }));
}

void tst_YamlTree::parse_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");

    // Text and lines
    QTest::newRow("empty text yields nothing") << QByteArray("") << QStringList {};
    QTest::newRow("text without line feed yields nothing") << QByteArray("A: 1") << QStringList {};
    QTest::newRow("document start alone yields nothing") << QByteArray("---") << QStringList {};
    QTest::newRow("document start and line feed yield nothing")
        << QByteArray("---\n") << QStringList {};
    QTest::newRow("two lines yield nothing") << QByteArray("---\nA: 1") << QStringList {};
    QTest::newRow("first line is dropped even when it holds a key")
        << QByteArray("A: 1\nB: 2\n") << QStringList {"B=2"};
    QTest::newRow("first line is dropped even when it opens a section")
        << QByteArray("A:\n x: 1\n") << QStringList {"x=1"};
    QTest::newRow("key on an unterminated last line is lost")
        << QByteArray("---\nA: 1\nB: 2") << QStringList {"A=1"};
    QTest::newRow("top-level key") << QByteArray("---\nA: 1\n") << QStringList {"A=1"};
    QTest::newRow("empty lines are skipped")
        << QByteArray("---\n\nA: 1\n\n\nB: 2\n\n") << QStringList {"A=1", "B=2"};
    QTest::newRow("empty line keeps the level of the section")
        << QByteArray("---\nA:\n x: 1\n\n y: 2\n") << QStringList {"A/", "A/x=1", "A/y=2"};
    QTest::newRow("empty line after a header keeps it from opening a section")
        << QByteArray("---\nA:\n\n x: 1\n") << QStringList {"A:=(null)", "x=1"};
    QTest::newRow("carriage returns are trimmed from keys and values")
        << QByteArray("---\r\n"
                      "DriverInfo:\r\n"
                      " DriverCarIdx: 7\r\n"
                      " Drivers:\r\n"
                      " - CarIdx: 3\r\n"
                      "   UserName: Jo Doe\r\n"
                      "...\r\n")
        << QStringList {"DriverInfo/",
                        "DriverInfo/DriverCarIdx=7",
                        "DriverInfo/Drivers/",
                        "DriverInfo/Drivers/3/",
                        "DriverInfo/Drivers/3/UserName=Jo Doe",
                        "...=(null)"};
    QTest::newRow("key with colon and carriage return keeps its colon")
        << QByteArray("---\r\nKey:\r\nB: 1\r\n") << QStringList {"Key:=(null)", "B=1"};
    QTest::newRow("carriage return alone becomes the empty key")
        << QByteArray("---\r\n\r\nA: 1\r\n") << QStringList {"=(null)", "A=1"};

    // Keys and values
    QTest::newRow("key with colon before a line of the same level keeps its colon")
        << QByteArray("---\nKey:\nB: 2\n") << QStringList {"Key:=(null)", "B=2"};
    QTest::newRow("key with colon before a shallower line keeps its colon")
        << QByteArray("---\nA:\n Key:\nB: 2\n") << QStringList {"A/", "A/Key:=(null)", "B=2"};
    QTest::newRow("key with colon on the last line keeps its colon")
        << QByteArray("---\nKey:\n") << QStringList {"Key:=(null)"};
    QTest::newRow("key with colon and blank has an empty value")
        << QByteArray("---\nKey: \n") << QStringList {"Key="};
    QTest::newRow("key with colon and blanks has an empty value")
        << QByteArray("---\nKey:    \n") << QStringList {"Key="};
    QTest::newRow("A: b: c stores b under A")
        << QByteArray("---\nA: b: c\n") << QStringList {"A=b"};
    QTest::newRow("line without separator is a key with null value")
        << QByteArray("---\nJust some text\n") << QStringList {"Just some text=(null)"};
    QTest::newRow("keys and values are trimmed")
        << QByteArray("---\nKey  :   some value   \n") << QStringList {"Key=some value"};
    QTest::newRow("colon without blank stays in the value")
        << QByteArray("---\nSessionTime: 12:30:00\n") << QStringList {"SessionTime=12:30:00"};
    QTest::newRow("quotes stay in values")
        << QByteArray("---\nUserName: \"Jo Doe\"\nCarNumber: '12'\n")
        << QStringList {"UserName=\"Jo Doe\"", "CarNumber='12'"};
    QTest::newRow("hash starts no comment")
        << QByteArray("---\nA: 1 # note\n#B: 2\n") << QStringList {"A=1 # note", "#B=2"};
    QTest::newRow("brackets are ordinary text")
        << QByteArray("---\nA: [1, 2]\nB: {x}\n") << QStringList {"A=[1, 2]", "B={x}"};
    QTest::newRow("later equal key overwrites")
        << QByteArray("---\nA: 1\nA: 2\n") << QStringList {"A=2"};
    QTest::newRow("document end line becomes a key at the root")
        << QByteArray("---\nA:\n x: 1\n...\n") << QStringList {"A/", "A/x=1", "...=(null)"};

    // Sections
    QTest::newRow("sections nest one space per level")
        << QByteArray("---\nA:\n B:\n  C:\n   x: 1\n  y: 2\n z: 3\nw: 4\n")
        << QStringList {"A/", "A/B/", "A/B/C/", "A/B/C/x=1", "A/B/y=2", "A/z=3", "w=4"};
    QTest::newRow("section header is trimmed before its colon goes")
        << QByteArray("---\nA:   \n x: 1\n") << QStringList {"A/", "A/x=1"};
    QTest::newRow("section header loses its last character even without colon")
        << QByteArray("---\nWeekend\n x: 1\n") << QStringList {"Weeken/", "Weeken/x=1"};
    QTest::newRow("section header of one character opens nothing")
        << QByteArray("---\nA\n x: 1\n") << QStringList {"x=1"};
    QTest::newRow("key and value before a deeper line open a section named by both")
        << QByteArray("---\nA: b\n x: 1\n") << QStringList {"A: /", "A: /x=1"};
    QTest::newRow("equal section headers merge")
        << QByteArray("---\nA:\n x: 1\nA:\n y: 2\n") << QStringList {"A/", "A/x=1", "A/y=2"};
    QTest::newRow("deep indentation belongs to the header's node")
        << QByteArray("---\nA:\n B:\n     x: 1\n") << QStringList {"A/", "A/B/", "A/B/x=1"};
    QTest::newRow("deep indentation climbs too far on the way back")
        << QByteArray("---\nA:\n B:\n     x: 1\n y: 2\n")
        << QStringList {"A/", "A/B/", "A/B/x=1", "y=2"};
    QTest::newRow("climbing too far stops at the root and parsing goes on")
        << QByteArray("---\nA:\n B:\n         x: 1\n y: 2\nC:\n z: 3\n")
        << QStringList {"A/", "A/B/", "A/B/x=1", "y=2", "C/", "C/z=3"};
    QTest::newRow("tab indentation is not recognised")
        << QByteArray("---\nA:\n x: 1\n\ty: 2\n") << QStringList {"A/", "A/x=1", "y=2"};
    QTest::newRow("line of spaces brings the parse back to the root")
        << QByteArray("---\nA:\n B:\n  x: 1\n   \n  y: 2\n")
        << QStringList {"A/", "A/B/", "A/B/x=1", "y=2"};
    QTest::newRow("line of spaces before a line of the same level is the empty key")
        << QByteArray("---\nA:\n x: 1\n   \nB: 2\n")
        << QStringList {"A/", "A/x=1", "=(null)", "B=2"};
    QTest::newRow("line of spaces after a list item opens the empty-named item at the root")
        << QByteArray("---\nL:\n - Id: 1\n   \n   a: x\n")
        << QStringList {"L/", "L/1/", "/", "/a=x"};

    // Lists
    QTest::newRow("list item is named by the value of its first field")
        << QByteArray("---\nDrivers:\n - CarIdx: 4\n   UserName: Jo\n")
        << QStringList {"Drivers/", "Drivers/4/", "Drivers/4/UserName=Jo"};
    QTest::newRow("list item is named by the last piece of its line")
        << QByteArray("---\nL:\n - A: b: c\n   x: 1\n") << QStringList {"L/", "L/c/", "L/c/x=1"};
    QTest::newRow("list item without separator keeps its dash in the name")
        << QByteArray("---\nL:\n - Plain\n   x: 1\n")
        << QStringList {"L/", "L/- Plain/", "L/- Plain/x=1"};
    QTest::newRow("list item with empty first value opens the empty name")
        << QByteArray("---\nL:\n - Id: \n   x: 1\n") << QStringList {"L/", "L//", "L//x=1"};
    QTest::newRow("list items with the same first value merge")
        << QByteArray("---\nL:\n - Id: 1\n   a: x\n   b: y\n - Id: 1\n   b: z\n")
        << QStringList {"L/", "L/1/", "L/1/a=x", "L/1/b=z"};
    QTest::newRow("list items without continuation lines nest into each other")
        << QByteArray("---\nL:\n - Id: 1\n - Id: 2\n - Id: 3\n")
        << QStringList {"L/", "L/1/", "L/1/2/", "L/1/2/3/"};
    QTest::newRow("list item before deeper lines is no section header")
        << QByteArray("---\nL:\n - Id: 1\n     x: 1\n") << QStringList {"L/", "L/1/", "L/1/x=1"};
    QTest::newRow("top-level list") << QByteArray("---\n- Id: 5\n  x: 1\n- Id: 6\n  x: 2\n")
                                    << QStringList {"5/", "5/x=1", "6/", "6/x=2"};
    QTest::newRow("key after a list climbs back to the list's parent")
        << QByteArray("---\nA:\n L:\n - Id: 1\n   x: 1\n y: 2\n")
        << QStringList {"A/", "A/L/", "A/L/1/", "A/L/1/x=1", "A/y=2"};
}

void tst_YamlTree::parse()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, expected);

    TYamlTree tree;
    tree.setYaml(text.constData());
    QCOMPARE(dump(tree), sorted(expected));
}

void tst_YamlTree::nullTextYieldsNothing()
{
    TYamlTree tree;
    tree.setYaml(nullptr);
    QVERIFY(tree.valueKeys().isEmpty());
    QVERIFY(tree.subTreesKeys().isEmpty());

    tree.setYaml("---\nA: 1\n");
    tree.setYaml(nullptr);
    QCOMPARE(dump(tree), QStringList {"A=1"});
}

void tst_YamlTree::latin1KeysBecomeUtf8AndValuesKeepLatin1()
{
    TYamlTree tree;
    tree.setYaml("---\n"
                 "Caf\xe9: cr\xe8me br\xfbl\xe9\n"
                 "Pilot\xe9s:\n"
                 " - Name: Jos\xe9\n"
                 "   Club: \xc5re\n");

    const QString value = tree.value("Caf\xc3\xa9");
    QCOMPARE(value.size(), 11);
    QCOMPARE(value, QString::fromLatin1("cr\xe8me br\xfbl\xe9"));
    QCOMPARE(value.at(2), QChar(0xE8));
    QVERIFY(tree.value("Caf\xe9").isNull());

    QCOMPARE(tree.valueKeys(), QStringList {QStringLiteral("Caf") + QChar(0xE9)});
    QVERIFY(tree.sub("Pilot\xc3\xa9s"));
    QVERIFY(tree.pathSub("Pilot\xc3\xa9s/Jos\xc3\xa9"));
    QCOMPARE(tree.pathValue("Pilot\xc3\xa9s/Jos\xc3\xa9/Club"), QString::fromLatin1("\xc5re"));
}

void tst_YamlTree::secondTextMergesIntoTree()
{
    TYamlTree tree;
    tree.setYaml("---\n"
                 "A:\n"
                 " x: 1\n"
                 " y: 2\n"
                 "Only: first\n");
    TStringTree *a = tree.sub("A");
    tree.setYaml("---\n"
                 "A:\n"
                 " y: 3\n"
                 " z: 4\n"
                 "B:\n"
                 " w: 5\n");

    QCOMPARE(tree.sub("A"), a);
    QCOMPARE(dump(tree), sorted({"A/", "A/x=1", "A/y=3", "A/z=4", "Only=first", "B/", "B/w=5"}));
}

void tst_YamlTree::secondTextStartsAtTheRoot()
{
    TYamlTree tree;
    tree.setYaml("---\n"
                 "A:\n"
                 " B:\n"
                 "  x: 1\n");
    tree.setYaml("---\n"
                 " y: 2\n"
                 "C: 3\n");
    QCOMPARE(dump(tree), sorted({"A/", "A/B/", "A/B/x=1", "y=2", "C=3"}));
}

void tst_YamlTree::sessionsByNumberWithNestedLists()
{
    TYamlTree tree;
    tree.setYaml("---\n"
                 "SessionInfo:\n"
                 " Sessions:\n"
                 " - SessionNum: 0\n"
                 "   SessionType: Practice\n"
                 "   ResultsPositions:\n"
                 "   - Position: 1\n"
                 "     CarIdx: 5\n"
                 "   - Position: 2\n"
                 "     CarIdx: 7\n"
                 "   ResultsFastestLap:\n"
                 "   - CarIdx: 5\n"
                 "     FastestLap: 3\n"
                 " - SessionNum: 1\n"
                 "   SessionType: Race\n"
                 "   ResultsPositions:\n"
                 "WeekendInfo:\n"
                 " TrackName: spa\n"
                 "\n");

    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/SessionType"), QStringLiteral("Practice"));
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/1/SessionType"), QStringLiteral("Race"));
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/ResultsPositions/1/CarIdx"),
             QStringLiteral("5"));
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/ResultsPositions/2/CarIdx"),
             QStringLiteral("7"));
    QCOMPARE(tree.pathValue("SessionInfo/Sessions/0/ResultsFastestLap/5/FastestLap"),
             QStringLiteral("3"));
    // An empty list is a key that keeps its colon.
    QCOMPARE(sorted(tree.pathSub("SessionInfo/Sessions/1")->valueKeys()),
             sorted({"SessionType", "ResultsPositions:"}));
    QCOMPARE(tree.pathValue("WeekendInfo/TrackName"), QStringLiteral("spa"));
    QCOMPARE(sorted(tree.subTreesKeys()), sorted({"SessionInfo", "WeekendInfo"}));
    QVERIFY(tree.valueKeys().isEmpty());
}

void tst_YamlTree::largeSessionText()
{
    // About half a megabyte, the size of a full field's session text.
    constexpr int driverCount = 64;
    constexpr int fieldCount = 300;
    QByteArray text = "---\nDriverInfo:\n DriverCarIdx: 12\n Drivers:\n";
    for (int car = 0; car < driverCount; ++car) {
        text += " - CarIdx: " + QByteArray::number(car) + '\n';
        for (int field = 0; field < fieldCount; ++field)
            text += "   Field" + QByteArray::number(field) + ": value " + QByteArray::number(car)
                + '.' + QByteArray::number(field) + '\n';
    }
    text += "...\n";
    QVERIFY(text.size() > 400'000);

    TYamlTree tree;
    tree.setYaml(text.constData());

    const TStringTree *drivers = tree.pathSub("DriverInfo/Drivers");
    QVERIFY(drivers);
    QCOMPARE(drivers->subTreesKeys().size(), driverCount);
    for (int car = 0; car < driverCount; ++car) {
        const TStringTree *driver = drivers->sub(std::to_string(car));
        QVERIFY(driver);
        QCOMPARE(driver->valueKeys().size(), fieldCount);
        const int field = (car * 37) % fieldCount;
        QCOMPARE(driver->value("Field" + std::to_string(field)),
                 QStringLiteral("value %1.%2").arg(car).arg(field));
    }
    QCOMPARE(tree.pathValue("DriverInfo/DriverCarIdx"), QStringLiteral("12"));
}

QTEST_APPLESS_MAIN(tst_YamlTree)

#include "tst_yamltree.moc"
