#include "ibtlapsrun.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QTest>

#include <unistd.h>

using namespace IbtLapsRun;

// ibt-laps' front: its options, its streams, its exit status, and what it says of files it
// cannot read or reads only in part.
class tst_IbtLaps : public IbtLapsTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void helpAndVersion_data();
    void helpAndVersion();
    void onlyItsOwnOutput_data();
    void onlyItsOwnOutput();
    void quietLeavesOutInformation();
    void exitStatus_data();
    void exitStatus();
    void badOutputsFailBeforeAnyImport_data();
    void badOutputsFailBeforeAnyImport();
    void unreadableFilesSayWhy_data();
    void unreadableFilesSayWhy();
    void partialRecordsGetANote_data();
    void partialRecordsGetANote();
    void notAnImportPlugin();
    void damagedFileEndsInAnException();
};

void tst_IbtLaps::initTestCase()
{
    QVERIFY(prepare());
}

void tst_IbtLaps::helpAndVersion_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("help names every option")
        << QStringLiteral("--help") << QStringList {"--plugin <path>",
                                                    "--json <file>",
                                                    "--no-channels",
                                                    "--csv <dir>",
                                                    "--force",
                                                    "--plot <file>",
                                                    "--compare <lap>",
                                                    "--laps <list>",
                                                    "--timed",
                                                    "--best",
                                                    "--channels <names>",
                                                    "--list-channels",
                                                    "--units <system>",
                                                    "--quiet",
                                                    "--version",
                                                    "file.ibt...",
                                                    "--sectors",
                                                    "--setup",
                                                    "--setup-diff",
                                                    "--reference <file[:lap]>"};
    ZUM::SDK::PluginInterfaceImport *import = plugin();
    QVERIFY(import);
    QTest::newRow("version names the tool, the plug-in and Qt")
        << QStringLiteral("--version")
        << QStringList {QStringLiteral("ibt-laps 0.2\n"),
                        QStringLiteral("plug-in: %1 %2\n")
                            .arg(import->pluginName(), import->pluginVersion()),
                        QStringLiteral("Qt %1\n").arg(QString::fromLatin1(qVersion()))};
}

void tst_IbtLaps::helpAndVersion()
{
    QFETCH(QString, option);
    QFETCH(QStringList, expected);

    const Run result = run({option});
    QCOMPARE(result.exitCode, 0);
    for (const QString &text : expected)
        QVERIFY2(QString::fromUtf8(result.out).contains(text), qPrintable(text));
    QVERIFY2(result.err.isEmpty(), result.err.constData());
}

void tst_IbtLaps::onlyItsOwnOutput_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("help") << QStringList {QStringLiteral("--help")};
    QTest::newRow("a file that imports") << QStringList {m_short};
    QTest::newRow("a missing file") << QStringList {path(QStringLiteral("missing.ibt"))};
    QTest::newRow("a picture") << QStringList {m_short, QStringLiteral("--plot"),
                                               path(QStringLiteral("own-output.png"))};
}

void tst_IbtLaps::onlyItsOwnOutput()
{
    QFETCH(QStringList, arguments);
    // As on a server without a desktop session: the Qt runtime has things to say then.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"XDG_RUNTIME_DIR", "QT_QPA_PLATFORM", "DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    const Run result = run(arguments, environment);
    QVERIFY2(!result.err.contains("XDG_RUNTIME_DIR"), result.err.constData());
    QVERIFY2(onlyTaggedLines(result.err), result.err.constData());
}

void tst_IbtLaps::quietLeavesOutInformation()
{
    const QString missing = path(QStringLiteral("missing.ibt"));
    const Run result = run({QStringLiteral("--quiet"), m_short, missing, QStringLiteral("--csv"),
                            path(QStringLiteral("csv-quiet"))});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(!result.err.contains("info:"), result.err.constData());
    QVERIFY(result.err.contains("error: " + pluginPrefix.toUtf8() + "Can't open file"));
    QVERIFY(result.err.contains(("error: " + missing + ": does not exist").toUtf8()));
    QVERIFY(result.out.contains("File:"));
}

void tst_IbtLaps::exitStatus_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message"); // on standard error

    const QString missing = path(QStringLiteral("missing.ibt"));
    QTest::newRow("a file that imports") << QStringList {m_short} << 0 << QString();
    QTest::newRow("no arguments") << QStringList {} << 2 << QStringLiteral("no input file");
    QTest::newRow("unknown option") << QStringList {QStringLiteral("--frobnicate"), m_short} << 2
                                    << QStringLiteral("Unknown option 'frobnicate'");
    QTest::newRow("option without its value")
        << QStringList {m_short, QStringLiteral("--json")} << 2
        << QStringLiteral("Missing value after '--json'");
    QTest::newRow("plug-in option without its value")
        << QStringList {m_short, QStringLiteral("--plugin")} << 2
        << QStringLiteral("Missing value after '--plugin'");
    QTest::newRow("laps that are no numbers")
        << QStringList {m_short, QStringLiteral("--laps"), QStringLiteral("3,x")} << 2
        << QStringLiteral("--laps: 'x' is not a lap number");
    QTest::newRow("units of no system")
        << QStringList {m_short, QStringLiteral("--units"), QStringLiteral("furlongs")} << 2
        << QStringLiteral("--units: 'furlongs' is not metric or imperial");
    QTest::newRow("compare with no lap number")
        << QStringList {m_short, QStringLiteral("--compare"), QStringLiteral("best")} << 2
        << QStringLiteral("--compare: 'best' is not a lap number");
    QTest::newRow("a picture format Qt cannot write")
        << QStringList {m_short, QStringLiteral("--plot"), path(QStringLiteral("laps.xyz"))} << 2
        << QStringLiteral("--plot: Qt cannot write pictures of the format 'xyz'");
    QTest::newRow("missing file") << QStringList {missing} << 1
                                  << QStringLiteral("error: ") + pluginPrefix
            + QStringLiteral("Can't open file ") + missing;
    QTest::newRow("a failed file among good ones")
        << QStringList {m_short, missing, m_short} << 1 << QStringLiteral("Can't open file ");
    QTest::newRow("plug-in that is not there")
        << QStringList {QStringLiteral("--plugin"), path(QStringLiteral("nothing.so")), m_short}
        << 1 << QStringLiteral("cannot load the import plug-in");
}

void tst_IbtLaps::exitStatus()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);

    const Run result = run(arguments);
    QVERIFY2(result.exitCode == exitCode, result.err.constData());
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
    if (exitCode == 2) {
        QVERIFY(result.out.isEmpty());
        QVERIFY(result.err.endsWith("Try 'ibt-laps --help'.\n"));
    }
}

void tst_IbtLaps::badOutputsFailBeforeAnyImport_data()
{
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<QString>("message");

    const QString notAFolder = path(QStringLiteral("not-a-folder"));
    {
        QFile file(notAFolder);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QString absent = path(QStringLiteral("absent"));
    QTest::newRow("JSON into a missing folder")
        << QStringList {QStringLiteral("--json"), absent + QStringLiteral("/laps.json")}
        << QStringLiteral("error: cannot write JSON to ") + absent + QStringLiteral("/laps.json");
    QTest::newRow("CSV folder that is a file")
        << QStringList {QStringLiteral("--csv"), notAFolder}
        << QStringLiteral("error: cannot create the CSV folder ") + notAFolder;
    QTest::newRow("picture into a missing folder")
        << QStringList {QStringLiteral("--plot"), absent + QStringLiteral("/laps.png")}
        << QStringLiteral("error: cannot write the picture %1/laps.png: the folder %1 does not "
                          "exist")
               .arg(absent);
    QTest::newRow("picture that is a folder")
        << QStringList {QStringLiteral("--plot"), m_dir.path()}
        << QStringLiteral("error: cannot write the picture %1: it is a directory")
               .arg(m_dir.path());
    QTest::newRow("several pictures, one into a missing folder")
        << QStringList {QStringLiteral("--plot"), absent + QStringLiteral("/laps.png"),
                        m_shortSecond}
        << QStringLiteral("error: cannot write the picture %1/laps_practice.png").arg(absent);
}

void tst_IbtLaps::badOutputsFailBeforeAnyImport()
{
    QFETCH(QStringList, outputs);
    QFETCH(QString, message);
    // The practice session takes the longest to import: it never starts.
    const Run result = run(QStringList {m_practice} + outputs);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(QString::fromUtf8(result.err).contains(message), result.err.constData());
    QVERIFY2(!result.err.contains("Importing file"), result.err.constData());
    QVERIFY(result.out.isEmpty());
}

void tst_IbtLaps::unreadableFilesSayWhy_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("pluginLine"); // the plug-in's own error, unchanged
    QTest::addColumn<QString>("reason");

    const QString headerError = pluginPrefix
        + QStringLiteral("IBT import error:  Error reading "
                         "irsdk_header");
    const QString missing = path(QStringLiteral("missing.ibt"));
    QTest::newRow("a file that does not exist")
        << missing << pluginPrefix + QStringLiteral("Can't open file ") + missing
        << QStringLiteral("does not exist");
    const QString folder = path(QStringLiteral("a-folder.ibt"));
    QVERIFY(QDir().mkpath(folder));
    QTest::newRow("a directory") << folder << headerError << QStringLiteral("is a directory");
    const QString empty = path(QStringLiteral("empty.ibt"));
    {
        QFile file(empty);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QTest::newRow("an empty file")
        << empty << headerError << QStringLiteral("is empty: not a valid .ibt file");
    SessionGenerator::Options cut;
    cut.laps = 1;
    cut.truncateAt = 100;
    const QString cutShort = path(QStringLiteral("cut-short.ibt"));
    QVERIFY(SessionGenerator(cut).write(cutShort));
    QTest::newRow("a file shorter than a header")
        << cutShort << headerError
        << QStringLiteral("is shorter than a header (100 of %1 bytes): not a valid .ibt file")
               .arg(sizeof(irsdk_header));
    SessionGenerator::Options damaged;
    damaged.laps = 1;
    damaged.overrides.sessionInfoLen = -1;
    const QString negative = path(QStringLiteral("negative-length.ibt"));
    QVERIFY(SessionGenerator(damaged).write(negative));
    QTest::newRow("a length that cannot be allocated")
        << negative << QString()
        << QStringLiteral("has a length in its header that cannot be allocated: not a valid "
                          ".ibt file");
    if (geteuid() != 0) {
        const QString locked = path(QStringLiteral("locked.ibt"));
        QVERIFY(QFile::copy(m_short, locked));
        QVERIFY(QFile::setPermissions(locked, QFileDevice::WriteOwner));
        QTest::newRow("a file one may not read")
            << locked << pluginPrefix + QStringLiteral("Can't open file ") + locked
            << QStringLiteral("permission denied");
    }
}

void tst_IbtLaps::unreadableFilesSayWhy()
{
    QFETCH(QString, file);
    QFETCH(QString, pluginLine);
    QFETCH(QString, reason);

    const Run result = run({file});
    QCOMPARE(result.exitCode, 1);
    const QString err = QString::fromUtf8(result.err);
    if (!pluginLine.isEmpty())
        QVERIFY2(err.contains(QStringLiteral("error: ") + pluginLine + u'\n'), qPrintable(err));
    QVERIFY2(err.contains(QStringLiteral("error: %1: %2\n").arg(file, reason)), qPrintable(err));
}

void tst_IbtLaps::partialRecordsGetANote_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("note"); // empty: no note

    SessionGenerator::Options options;
    options.laps = 1;
    const SessionGenerator whole(options);
    const QString wholeFile = path(QStringLiteral("whole.ibt"));
    QVERIFY(whole.write(wholeFile));
    const int records = whole.summary().recordCount;
    const int recordLength = whole.summary().recordLength;
    const irsdk_header header = [&] {
        irsdk_header h {};
        QFile file(wholeFile);
        if (file.open(QIODevice::ReadOnly))
            file.read(reinterpret_cast<char *>(&h), sizeof h);
        return h;
    }();
    const qint64 firstRecord = header.varBuf[0].bufOffset;

    QTest::newRow("whole records") << wholeFile << QString();

    options.shortLastRecordBytes = 100;
    const QString partial = path(QStringLiteral("partial.ibt"));
    QVERIFY(SessionGenerator(options).write(partial));
    QTest::newRow("a partial last record")
        << partial
        << QStringLiteral("%1 whole records read, 100 bytes of a partial record dropped")
               .arg(records);

    options.shortLastRecordBytes = -1;
    options.truncateAt = firstRecord + 10 * recordLength + 7;
    const QString cut = path(QStringLiteral("cut.ibt"));
    QVERIFY(SessionGenerator(options).write(cut));
    QTest::newRow("a file cut in its records")
        << cut << QStringLiteral("10 whole records read, 7 bytes of a partial record dropped");

    options.truncateAt = firstRecord;
    const QString none = path(QStringLiteral("no-records.ibt"));
    QVERIFY(SessionGenerator(options).write(none));
    QTest::newRow("no records") << none << QStringLiteral("no records");

    options.truncateAt = firstRecord + 300;
    const QString insideFirst = path(QStringLiteral("inside-first.ibt"));
    QVERIFY(SessionGenerator(options).write(insideFirst));
    QTest::newRow("cut inside the first record")
        << insideFirst << QStringLiteral("no records, 300 bytes of a partial record dropped");
}

void tst_IbtLaps::partialRecordsGetANote()
{
    QFETCH(QString, file);
    QFETCH(QString, note);

    // The laps that were read are good: the exit status stays 0.
    const Run result = run({file});
    QVERIFY2(result.exitCode == 0, result.err.constData());
    const QString err = QString::fromUtf8(result.err);
    if (note.isEmpty())
        QVERIFY2(!err.contains(QStringLiteral("note:")), qPrintable(err));
    else
        QVERIFY2(err.contains(QStringLiteral("note: %1: %2\n").arg(file, note)), qPrintable(err));
}

void tst_IbtLaps::notAnImportPlugin()
{
    // A real Qt plug-in that offers another interface: one of Qt's own platform plug-ins.
    const QDir platforms(QLibraryInfo::path(QLibraryInfo::PluginsPath)
                         + QStringLiteral("/platforms"));
    const QStringList plugins = platforms.entryList(QDir::Files);
    if (plugins.isEmpty())
        QSKIP("no Qt platform plug-in to load");
    const QString other = platforms.filePath(plugins.contains(QStringLiteral("libqminimal.so"))
                                                 ? QStringLiteral("libqminimal.so")
                                                 : plugins.first());

    const Run result = run({QStringLiteral("--plugin"), other, m_short});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("is not an import plug-in"), result.err.constData());
    QVERIFY(result.out.isEmpty());
}

void tst_IbtLaps::damagedFileEndsInAnException()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("the address sanitizer aborts on an impossible allocation instead of throwing");
#endif
    // A negative record length makes the plug-in ask for an impossible buffer; the host
    // catches what leaves the import.
    SessionGenerator::Options damaged;
    damaged.laps = 1;
    damaged.overrides.bufLen = -5;
    const QString file = path(QStringLiteral("negative-record-length.ibt"));
    QVERIFY(SessionGenerator(damaged).write(file));

    const QString json = path(QStringLiteral("negative-record-length.json"));
    const Run result = run({file, m_short, QStringLiteral("--json"), json});
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains("error: the import ended by an exception"),
             result.err.constData());
    QVERIFY(result.err.contains(
        (file + ": has a length in its header that cannot be allocated").toUtf8()));
    // The next file is still imported.
    QCOMPARE(result.out.count("File:"), 2);

    const QJsonArray imports = readJson(json).array();
    QCOMPARE(imports.size(), 2);
    const QJsonArray messages = imports[0][QStringLiteral("messages")].toArray();
    QVERIFY(!messages.isEmpty());
    QCOMPARE(messages.last()[QStringLiteral("level")].toInt(), -2);
    QVERIFY(messages.last()[QStringLiteral("text")].toString().startsWith(
        QStringLiteral("the import ended by an exception")));
    QVERIFY(imports[0][QStringLiteral("laps")].toArray().isEmpty());
    QVERIFY(!imports[1][QStringLiteral("laps")].toArray().isEmpty());
}

QTEST_GUILESS_MAIN(tst_IbtLaps)
#include "tst_ibtlaps.moc"
