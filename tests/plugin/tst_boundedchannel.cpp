#include "boundedchannel.h"

#include <QTest>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

class tst_BoundedChannel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itemsComeOutInOrder();
    void sixthPushWaitsForAPop();
    void closeDeliversWhatIsQueuedThenEnds();
    void pushAfterCloseThrows();
    void popWaitsForAnItemOrTheClose();
    void itemsGoRoundTheRing();
    void tryPushAndTryPopNeverWait();
};

void tst_BoundedChannel::itemsComeOutInOrder()
{
    Channel<int, 5> channel;
    for (int i = 0; i < 5; ++i)
        channel.push(i);
    int item = -1;
    for (int i = 0; i < 5; ++i) {
        QVERIFY(channel.pop(item));
        QCOMPARE(item, i);
    }
}

void tst_BoundedChannel::sixthPushWaitsForAPop()
{
    Channel<int, 5> channel;
    std::mutex mutex;
    QStringList events;
    const auto log = [&](const QString &event) {
        std::lock_guard lock(mutex);
        events.append(event);
    };
    std::atomic<bool> sixthStarted = false;

    std::thread producer([&] {
        for (int i = 1; i <= 5; ++i) {
            channel.push(i);
            log(QStringLiteral("pushed %1").arg(i));
        }
        sixthStarted = true;
        channel.push(6);
        log(QStringLiteral("pushed 6"));
    });

    QTRY_VERIFY_WITH_TIMEOUT(sixthStarted.load(), 10000);
    // The sixth push found the channel full and waits: it cannot return before a pop.
    QTRY_COMPARE_WITH_TIMEOUT(channel.fullWaits(), 1, 10000);
    int item = 0;
    log(QStringLiteral("popping"));
    QVERIFY(channel.pop(item));
    QCOMPARE(item, 1);
    producer.join();

    QCOMPARE(events,
             QStringList({"pushed 1", "pushed 2", "pushed 3", "pushed 4", "pushed 5", "popping",
                          "pushed 6"}));
    for (int expected = 2; expected <= 6; ++expected) {
        QVERIFY(channel.pop(item));
        QCOMPARE(item, expected);
    }
}

void tst_BoundedChannel::closeDeliversWhatIsQueuedThenEnds()
{
    Channel<QString, 5> channel;
    channel.push(QStringLiteral("a"));
    channel.push(QStringLiteral("b"));
    channel.push(QStringLiteral("c"));
    channel.close();
    QString item;
    QVERIFY(channel.pop(item));
    QCOMPARE(item, QStringLiteral("a"));
    QVERIFY(channel.pop(item));
    QVERIFY(channel.pop(item));
    QCOMPARE(item, QStringLiteral("c"));
    // The fourth pop answers at once: a blocking pop would hang this single thread.
    item = QStringLiteral("untouched");
    QVERIFY(!channel.pop(item));
    QCOMPARE(item, QStringLiteral("untouched"));
    QVERIFY(!channel.pop(item));
}

void tst_BoundedChannel::pushAfterCloseThrows()
{
    Channel<int, 5> channel;
    channel.close();
    try {
        channel.push(1);
        QFAIL("push to a closed channel returned");
    } catch (const std::logic_error &error) {
        QCOMPARE(QString::fromLatin1(error.what()),
                 QStringLiteral("Panic! Push to a closed channel"));
    }
    int item = 0;
    QVERIFY(!channel.pop(item));
}

void tst_BoundedChannel::popWaitsForAnItemOrTheClose()
{
    Channel<int, 5> channel;
    std::atomic<int> popped = 0;
    std::thread consumer([&] {
        int item = 0;
        while (channel.pop(item))
            popped += item;
    });
    channel.push(2);
    channel.push(3);
    channel.close();
    consumer.join();
    QCOMPARE(popped.load(), 5);
}

// The items live in a ring of five: many more than five pass in order.
void tst_BoundedChannel::itemsGoRoundTheRing()
{
    Channel<QString, 5> channel;
    QString item;
    for (int i = 0; i < 23; ++i) {
        channel.push(QString::number(i));
        if (i >= 3) {
            QVERIFY(channel.pop(item));
            QCOMPARE(item, QString::number(i - 3));
        }
    }
    QStringList rest;
    channel.close();
    while (channel.pop(item))
        rest.append(item);
    QCOMPARE(rest, QStringList({"20", "21", "22"}));
}

void tst_BoundedChannel::tryPushAndTryPopNeverWait()
{
    Channel<QString, 2> channel;
    QString item = QStringLiteral("a");
    QVERIFY(!channel.tryPop(item));
    QCOMPARE(item, QStringLiteral("a"));
    QVERIFY(channel.tryPush(item));
    item = QStringLiteral("b");
    QVERIFY(channel.tryPush(item));
    item = QStringLiteral("c");
    QVERIFY(!channel.tryPush(item)); // full: the item stays with the caller
    QCOMPARE(item, QStringLiteral("c"));
    QCOMPARE(channel.fullWaits(), 0); // a refused try is no wait
    QVERIFY(channel.tryPop(item));
    QCOMPARE(item, QStringLiteral("a"));
    channel.close();
    item = QStringLiteral("d");
    QVERIFY(!channel.tryPush(item)); // closed
    QVERIFY(channel.tryPop(item));
    QCOMPARE(item, QStringLiteral("b"));
    QVERIFY(!channel.tryPop(item));
}

QTEST_GUILESS_MAIN(tst_BoundedChannel)
#include "tst_boundedchannel.moc"
