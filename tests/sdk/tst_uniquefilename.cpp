#include "generateuniquefilename.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace ZUM::SDK;

class tst_UniqueFileName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void generateUniqueFileName_data();
    void generateUniqueFileName();
    void unreadableFolderGivesTheFirstCandidate();
    void nothingIsCreated();
};

void tst_UniqueFileName::generateUniqueFileName_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty folder keeps the name") << QStringList {} << "lap.csv"
                                                 << "lap.csv";
    QTest::newRow("taken name gets a counter") << QStringList {"lap.csv"} << "lap.csv"
                                               << "lap_1.csv";
    QTest::newRow("counter skips taken numbers")
        << QStringList {"lap.csv", "lap_1.csv"} << "lap.csv"
        << "lap_2.csv";
    QTest::newRow("gap in the counters is filled")
        << QStringList {"lap.csv", "lap_2.csv"} << "lap.csv"
        << "lap_1.csv";
    QTest::newRow("middle part of the name is dropped") << QStringList {} << "data.tar.gz"
                                                        << "data.gz";
    QTest::newRow("name without a dot gets a trailing dot") << QStringList {} << "notes"
                                                            << "notes.";
    QTest::newRow("file without a dot is never a collision") << QStringList {"notes"} << "notes"
                                                             << "notes.";
    QTest::newRow("comparison is case-sensitive") << QStringList {"LAP.csv"} << "lap.csv"
                                                  << "lap.csv";
    QTest::newRow("folder part of the name is dropped") << QStringList {} << "sub/dir/lap.csv"
                                                        << "lap.csv";
    QTest::newRow("other suffix is no collision") << QStringList {"lap.json"} << "lap.csv"
                                                  << "lap.csv";
    QTest::newRow("a folder of that name is no collision") << QStringList {"lap.csv/"} << "lap.csv"
                                                           << "lap.csv";
}

void tst_UniqueFileName::generateUniqueFileName()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, fileName);
    QFETCH(QString, expected);

    QTemporaryDir temporary;
    QVERIFY(temporary.isValid());
    QDir dir(temporary.path());
    for (const QString &name : existing) {
        if (name.endsWith(QLatin1Char('/'))) {
            QVERIFY(dir.mkdir(name.chopped(1)));
            continue;
        }
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    const QString path = ZUM::SDK::generateUniqueFileName(dir, fileName);
    QCOMPARE(path, dir.absolutePath() + QLatin1Char('/') + expected);
}

void tst_UniqueFileName::unreadableFolderGivesTheFirstCandidate()
{
    QTemporaryDir temporary;
    const QDir missing(temporary.path() + QStringLiteral("/missing"));
    QCOMPARE(ZUM::SDK::generateUniqueFileName(missing, QStringLiteral("lap.csv")),
             missing.absolutePath() + QStringLiteral("/lap.csv"));
}

void tst_UniqueFileName::nothingIsCreated()
{
    QTemporaryDir temporary;
    const QDir dir(temporary.path());
    const QString first = ZUM::SDK::generateUniqueFileName(dir, QStringLiteral("lap.csv"));
    const QString second = ZUM::SDK::generateUniqueFileName(dir, QStringLiteral("lap.csv"));
    QCOMPARE(first, second);
    QVERIFY(dir.isEmpty());
}

QTEST_GUILESS_MAIN(tst_UniqueFileName)
#include "tst_uniquefilename.moc"
