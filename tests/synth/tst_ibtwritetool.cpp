#include "ibtimage.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Run run(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(IBT_WRITE_PATH), arguments);
    Run result;
    if (!process.waitForFinished(120000))
        return result;
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

} // namespace

class tst_IbtWriteTool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpAndVersion();
    void writesASession_data();
    void writesASession();
    void usageErrors_data();
    void usageErrors();
    void damageOptions_data();
    void damageOptions();
    void unwritableOutputFails();
    void startDate();

private:
    QTemporaryDir m_dir;
};

void tst_IbtWriteTool::helpAndVersion()
{
    const Run help = run({QStringLiteral("--help")});
    QCOMPARE(help.exitCode, 0);
    for (const char *option : {"--scenario", "--laps", "--track-length", "--cars", "--duration",
                               "--version1", "--no-isontrack", "--no-player", "--pad-variables",
                               "--truncate", "--short-last-record", "--set-header"})
        QVERIFY2(help.out.contains(option), option);

    const Run version = run({QStringLiteral("--version")});
    QCOMPARE(version.exitCode, 0);
    QVERIFY(version.out.startsWith("ibt-write "));
}

void tst_IbtWriteTool::writesASession_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("numVars"); // 0: not checked
    QTest::addColumn<QByteArray>("text"); // a line of the session text

    const QStringList quick = {QStringLiteral("--track-length"), QStringLiteral("1500"),
                               QStringLiteral("--lap-time"),     QStringLiteral("40"),
                               QStringLiteral("--laps"),         QStringLiteral("2")};
    QTest::newRow("practice") << quick << 2 << 0 << QByteArrayLiteral(" SimMode: full");
    QTest::newRow("race") << (quick
                              + QStringList {QStringLiteral("--scenario"), QStringLiteral("race")})
                          << 2 << 0 << QByteArrayLiteral("   SessionType: Race");
    QTest::newRow("replay")
        << (quick + QStringList {QStringLiteral("--scenario"), QStringLiteral("replay")}) << 2 << 0
        << QByteArrayLiteral(" SimMode: replay");
    QTest::newRow("session change")
        << (quick + QStringList {QStringLiteral("--scenario"), QStringLiteral("session-change")})
        << 2 << 0 << QByteArrayLiteral(" - SessionNum: 1");
    QTest::newRow("version 1 without player, padded")
        << (quick
            + QStringList {QStringLiteral("--version1"), QStringLiteral("--no-player"),
                           QStringLiteral("--pad-variables"), QStringLiteral("150")})
        << 1 << 150 << QByteArrayLiteral(" Drivers:");
    QTest::newRow("display name in Latin-1")
        << (quick
            + QStringList {QStringLiteral("--track-display-name"),
                           QStringLiteral("Aut\u00f3dromo Jos\u00e9 Carlos Pace")})
        << 2 << 0
        << QByteArrayLiteral(" TrackDisplayName: Aut\xf3"
                             "dromo Jos\xe9 Carlos Pace");
    QTest::newRow("driver's name")
        << (quick + QStringList {QStringLiteral("--driver"), QStringLiteral("Jonas Berg")}) << 2
        << 0 << QByteArrayLiteral("   UserName: Jonas Berg");
}

void tst_IbtWriteTool::writesASession()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, version);
    QFETCH(int, numVars);
    QFETCH(QByteArray, text);

    const QString path
        = m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".ibt"));
    const Run result = run(arguments + QStringList {path});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.err.isEmpty());
    QVERIFY(result.out.contains("records of"));

    const IbtImage file = IbtImage::load(path);
    const irsdk_header h = file.header();
    QCOMPARE(h.ver, version);
    QCOMPARE(h.tickRate, 60);
    if (numVars > 0)
        QCOMPARE(h.numVars, numVars);
    QVERIFY(file.recordCount() > 1000);
    QCOMPARE(file.size(), h.varBuf[0].bufOffset + file.recordCount() * h.bufLen);
    QCOMPARE(file.subHeader().sessionRecordCount, int(file.recordCount()));
    QVERIFY2(file.sessionInfo().contains("\n" + text + "\n"), text.constData());
    QCOMPARE(file.indexOf("SessionTick") >= 0, version == 2);
    QCOMPARE(file.sessionInfo().contains("DriverCarIdx"),
             !arguments.contains(QStringLiteral("--no-player")));
}

void tst_IbtWriteTool::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("no output file") << QStringList() << QByteArrayLiteral("missing OUTPUT.ibt");
    QTest::newRow("two output files")
        << QStringList {QStringLiteral("a.ibt"), QStringLiteral("b.ibt")}
        << QByteArrayLiteral("only one OUTPUT.ibt");
    QTest::newRow("unknown scenario")
        << QStringList {QStringLiteral("--scenario"), QStringLiteral("qualifying"),
                        QStringLiteral("x.ibt")}
        << QByteArrayLiteral("unknown scenario \"qualifying\"");
    QTest::newRow("laps not a number")
        << QStringList {QStringLiteral("--laps"), QStringLiteral("many"), QStringLiteral("x.ibt")}
        << QByteArrayLiteral("--laps needs a whole number");
    QTest::newRow("negative cars")
        << QStringList {QStringLiteral("--cars"), QStringLiteral("-1"), QStringLiteral("x.ibt")}
        << QByteArrayLiteral("--cars needs a whole number of at least 0");
    QTest::newRow("too many cars")
        << QStringList {QStringLiteral("--cars"), QStringLiteral("64"), QStringLiteral("x.ibt")}
        << QByteArrayLiteral("at most 63");
    QTest::newRow("track too short")
        << QStringList {QStringLiteral("--track-length"), QStringLiteral("5"),
                        QStringLiteral("x.ibt")}
        << QByteArrayLiteral("--track-length needs a number of at least 100");
    QTest::newRow("unknown option")
        << QStringList {QStringLiteral("--fast"), QStringLiteral("x.ibt")}
        << QByteArrayLiteral("Unknown option 'fast'");
    QTest::newRow("option without its value") << QStringList {QStringLiteral("--laps")}
                                              << QByteArrayLiteral("Missing value after '--laps'");
    QTest::newRow("unknown header field")
        << QStringList {QStringLiteral("--set-header"), QStringLiteral("bogus=1"),
                        QStringLiteral("x.ibt")}
        << QByteArrayLiteral("unknown field \"bogus\"");
    QTest::newRow("header field without value")
        << QStringList {QStringLiteral("--set-header"), QStringLiteral("bufLen"),
                        QStringLiteral("x.ibt")}
        << QByteArrayLiteral("FIELD=VALUE");
    QTest::newRow("unknown set-up style")
        << QStringList {QStringLiteral("--setup"), QStringLiteral("formula"),
                        QStringLiteral("x.ibt")}
        << QByteArrayLiteral("unknown set-up style");
}

void tst_IbtWriteTool::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains(message), result.err.constData());
    QVERIFY(result.err.startsWith("ibt-write: "));
    QVERIFY(result.out.isEmpty());
}

void tst_IbtWriteTool::damageOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("check");

    QTest::newRow("cut short") << QStringList {QStringLiteral("--truncate"), QStringLiteral("100")}
                               << QStringLiteral("size 100");
    QTest::newRow("short last record")
        << QStringList {QStringLiteral("--short-last-record"), QStringLiteral("3")}
        << QStringLiteral("partial 3");
    QTest::newRow("session text length past the end")
        << QStringList {QStringLiteral("--set-header"), QStringLiteral("sessionInfoLen=999999")}
        << QStringLiteral("sessionInfoLen 999999");
    QTest::newRow("hexadecimal record offset")
        << QStringList {QStringLiteral("--set-header"), QStringLiteral("bufOffset=0x7fffffff")}
        << QStringLiteral("bufOffset 2147483647");
    QTest::newRow("unknown type code")
        << QStringList {QStringLiteral("--unknown-type")} << QStringLiteral("type 9");
    QTest::newRow("descriptors past the record")
        << QStringList {QStringLiteral("--outside-record")} << QStringLiteral("outside");
}

void tst_IbtWriteTool::damageOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, check);
    const QString path
        = m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".ibt"));
    const QStringList quick = {QStringLiteral("--quiet"), QStringLiteral("--laps"),
                               QStringLiteral("1"),       QStringLiteral("--track-length"),
                               QStringLiteral("1000"),    QStringLiteral("--lap-time"),
                               QStringLiteral("30")};
    const Run result = run(quick + arguments + QStringList {path});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.isEmpty());

    const IbtImage file = IbtImage::load(path);
    const irsdk_header h = file.header();
    const QStringList words = check.split(u' ');
    if (words[0] == QLatin1String("size")) {
        QCOMPARE(file.size(), words[1].toLongLong());
    } else if (words[0] == QLatin1String("partial")) {
        QCOMPARE((file.size() - h.varBuf[0].bufOffset) % h.bufLen, words[1].toLongLong());
    } else if (words[0] == QLatin1String("sessionInfoLen")) {
        QCOMPARE(h.sessionInfoLen, words[1].toInt());
    } else if (words[0] == QLatin1String("bufOffset")) {
        QCOMPARE(h.varBuf[0].bufOffset, words[1].toInt());
    } else if (words[0] == QLatin1String("type")) {
        const QList<irsdk_varHeader> vars = file.varHeaders();
        QVERIFY(std::any_of(vars.begin(), vars.end(), [](const auto &v) { return v.type == 9; }));
    } else {
        const QList<irsdk_varHeader> vars = file.varHeaders();
        QVERIFY(std::any_of(vars.begin(), vars.end(), [&](const auto &v) {
            return v.offset + v.count * irsdk_varTypeSize(v.type) > h.bufLen;
        }));
    }
}

void tst_IbtWriteTool::unwritableOutputFails()
{
    const Run result = run({QStringLiteral("--laps"), QStringLiteral("0"),
                            m_dir.filePath(QStringLiteral("no/such/folder/out.ibt"))});
    QCOMPARE(result.exitCode, 1);
    QVERIFY(result.err.contains("cannot create"));
}

void tst_IbtWriteTool::startDate()
{
    const QString path = m_dir.filePath(QStringLiteral("start date.ibt"));
    const Run result = run({QStringLiteral("--laps"), QStringLiteral("1"),
                            QStringLiteral("--start-date"), QStringLiteral("1700000000"), path});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(IbtImage::load(path).subHeader().sessionStartDate, 1700000000);
}

QTEST_GUILESS_MAIN(tst_IbtWriteTool)
#include "tst_ibtwritetool.moc"
