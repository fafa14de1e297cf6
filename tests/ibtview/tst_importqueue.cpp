#include "importqueue.h"
#include "viewertest.h"

#include <QSignalSpy>
#include <QTest>

class tst_ImportQueue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void filesImportInTurn();
    void aPluginThatCannotLoadFailsEveryFile();

private:
    QTemporaryDir m_dir;
    ViewerTest::Sessions m_sessions;
};

void tst_ImportQueue::initTestCase()
{
    QVERIFY(m_sessions.write(m_dir));
}

void tst_ImportQueue::filesImportInTurn()
{
    ImportQueue queue(QStringLiteral(ZUM_PLUGIN_PATH));
    QSignalSpy imported(&queue, &ImportQueue::imported);
    QSignalSpy progress(&queue, &ImportQueue::progress);
    QSignalSpy idle(&queue, &ImportQueue::idle);
    const QStringList paths {m_sessions.practice, m_sessions.damaged, m_sessions.missing,
                             m_sessions.shortOne};
    queue.open(paths);
    QCOMPARE(queue.pending(), 4);
    QVERIFY(idle.wait(120000));
    QCOMPARE(queue.pending(), 0);
    QCOMPARE(idle.size(), 1);
    QCOMPARE(imported.size(), paths.size());

    QStringList order;
    for (const QList<QVariant> &arguments : imported)
        order.append(arguments[0].value<ImportResult>().file);
    QCOMPARE(order, paths);

    const auto result = [&](int i) {
        return imported[i][0].value<ImportResult>();
    };
    QVERIFY(!result(0).failed);
    QCOMPARE(result(0).laps.size(), m_sessions.practiceOptions.laps + 2);
    QVERIFY(result(0).recording.problem().isEmpty());
    QCOMPARE(result(0).recording.sectorStarts().size(), 3);
    // The cut file and the missing one fail with the plug-in's word and the reason.
    for (const int failed : {1, 2}) {
        QVERIFY(result(failed).failed);
        QVERIFY(result(failed).laps.isEmpty());
        QVERIFY(!result(failed).messages.isEmpty());
        QVERIFY(!result(failed).recording.problem().isEmpty());
    }
    QCOMPARE(result(2).recording.problem(), QStringLiteral("does not exist"));
    QVERIFY(!result(3).failed);
    QCOMPARE(result(3).laps.size(), m_sessions.shortOptions.laps + 2);

    // Progress counts the files: a start and an end for each.
    QCOMPARE(progress.size(), 2 * paths.size());
    QCOMPARE(progress.first()[0].toInt(), 0);
    QCOMPARE(progress.first()[1].toInt(), 4);
    QCOMPARE(progress.first()[2].toString(), m_sessions.practice);
    QCOMPARE(progress.last()[0].toInt(), 4);
}

void tst_ImportQueue::aPluginThatCannotLoadFailsEveryFile()
{
    ImportQueue queue(m_dir.filePath(QStringLiteral("no-plugin.so")));
    QSignalSpy imported(&queue, &ImportQueue::imported);
    QSignalSpy idle(&queue, &ImportQueue::idle);
    queue.open({m_sessions.practice, m_sessions.shortOne});
    QVERIFY(idle.wait(60000));
    QCOMPARE(imported.size(), 2);
    for (const QList<QVariant> &arguments : imported) {
        const ImportResult result = arguments[0].value<ImportResult>();
        QVERIFY(result.failed);
        QVERIFY(result.laps.isEmpty());
        QCOMPARE(result.messages.size(), 1);
        QVERIFY(result.messages.first().text.startsWith(QStringLiteral("cannot load")));
        // The file itself is fine.
        QVERIFY(result.recording.problem().isEmpty());
    }
}

QTEST_GUILESS_MAIN(tst_ImportQueue)
#include "tst_importqueue.moc"
