#include "carinfo.h"
#include "sample.h"
#include "variantreader.h"

#include <QBuffer>
#include <QDataStream>
#include <QFile>
#include <QHash>
#include <QMap>
#include <QTest>
#include <QVariant>

#include <functional>
#include <limits>

using ZUM::SDK::VariantReader;

namespace {

using Writer = std::function<void(QDataStream &)>;

QByteArray written(const Writer &write, int version)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(version);
    write(out);
    return bytes;
}

// The head of one variant as a stream of version 6 stores it: its type and its null flag.
void head(QDataStream &out, quint32 type, qint8 null = 0)
{
    out << type << null;
}

// A bit array stored with a length of -5.
void negativeBitArray(QDataStream &out)
{
    head(out, QMetaType::QBitArray);
    out << quint64(-5);
}

QBitArray bits(const char *pattern)
{
    QBitArray array(qsizetype(qstrlen(pattern)));
    for (qsizetype i = 0; i < array.size(); ++i)
        array.setBit(i, pattern[i] == '1');
    return array;
}

struct Read
{
    QVariantMap map;
    QDataStream::Status status = QDataStream::Ok;
    qint64 position = 0;
    QByteArray saved; // the map written again: types, null flags and values
};

Read read(const QByteArray &bytes, int version, bool byQt)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream in(&buffer);
    in.setVersion(version);
    Read result;
    if (byQt)
        in >> result.map;
    else
        VariantReader::read(in, result.map);
    result.status = in.status();
    result.position = buffer.pos();
    result.saved = written([&](QDataStream &out) { out << result.map; }, version);
    return result;
}

} // namespace

class tst_VariantReader : public QObject
{
    Q_OBJECT

private slots:
    void readsAsQtDoes_data();
    void readsAsQtDoes();
    void negativeBitArrayLengthIsCorrupt_data();
    void negativeBitArrayLengthIsCorrupt();
    void carRecordWithANegativeBitArrayReadsEmpty();
    void listOfSamplesReadsAsQtDoes_data();
    void listOfSamplesReadsAsQtDoes();
    void listClaimingMoreThanTheStreamHoldsFailsCleanly_data();
    void listClaimingMoreThanTheStreamHoldsFailsCleanly();
    void listReservesNoMoreThanTheStreamHolds_data();
    void listReservesNoMoreThanTheStreamHolds();
};

void tst_VariantReader::readsAsQtDoes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("version");
    const int current = QDataStream::Qt_6_4;

    ZUM::SDK::CarInfo car;
    car.carId = QStringLiteral("7");
    car.driverName = QStringLiteral("Marta Lindqvist");
    QTest::newRow("car record") << written([&](QDataStream &out) { out << car; }, current)
                                << current;

    QVariantMap arrays;
    for (const char *pattern : {"1", "1010101", "11110000", "101010101", "10000000000000001"})
        arrays.insert(QString::fromLatin1(pattern), bits(pattern));
    arrays.insert(QStringLiteral("empty"), QBitArray());
    QTest::newRow("bit arrays of every padding")
        << written([&](QDataStream &out) { out << arrays; }, current) << current;

    QTest::newRow("bit array with a padding bit set") << written(
        [](QDataStream &out) {
            out << quint32(1) << QStringLiteral("bits");
            head(out, QMetaType::QBitArray);
            out << quint64(3) << quint8(0xff);
        },
        current) << current;
    QTest::newRow("bit array longer than the stream") << written(
        [](QDataStream &out) {
            out << quint32(1) << QStringLiteral("bits");
            head(out, QMetaType::QBitArray);
            out << quint64(1000) << quint8(1);
        },
        current) << current;

    QVariantMap nested;
    nested.insert(QStringLiteral("list"), QVariantList {bits("101"), 3, QStringLiteral("x")});
    nested.insert(QStringLiteral("map"), QVariantMap {{QStringLiteral("a"), bits("11")}});
    nested.insert(QStringLiteral("hash"), QVariantHash {{QStringLiteral("b"), bits("0")}});
    nested.insert(QStringLiteral("pair"),
                  QVariant::fromValue(QVariantPair(bits("1"), QVariantList {bits("01")})));
    QTest::newRow("bit arrays in a list, a map, a hash and a pair")
        << written([&](QDataStream &out) { out << nested; }, current) << current;

    QTest::newRow("null flags, their lowest bit") << written(
        [](QDataStream &out) {
            out << quint32(3);
            out << QStringLiteral("a");
            head(out, QMetaType::QString, 1);
            out << QStringLiteral("kept");
            out << QStringLiteral("b");
            head(out, QMetaType::QString, 2);
            out << QStringLiteral("two");
            out << QStringLiteral("c");
            head(out, QMetaType::Int, -1);
            out << qint32(4);
        },
        current) << current;
    QTest::newRow("unknown user type") << written(
        [](QDataStream &out) {
            out << quint32(1) << QStringLiteral("user");
            head(out, QMetaType::User);
            out << QByteArray("NoSuchType");
        },
        current) << current;
    QTest::newRow("type that is not registered") << written(
        [](QDataStream &out) {
            out << quint32(2) << QStringLiteral("odd");
            head(out, 4000);
            out << QStringLiteral("next");
            head(out, QMetaType::Int);
            out << qint32(9);
        },
        current) << current;
    QTest::newRow("map cut short") << written(
        [](QDataStream &out) {
            out << quint32(5) << QStringLiteral("only");
            head(out, QMetaType::Bool);
            out << true;
        },
        current) << current;
    // An older stream stores the length unsigned: Qt reads it alone.
    QTest::newRow("stream of Qt 5") << written(
        [](QDataStream &out) {
            out << QVariantMap {{QStringLiteral("bits"), bits("1101")}};
        },
        QDataStream::Qt_5_15) << int(QDataStream::Qt_5_15);

    QVariantMap lists;
    lists.insert(QStringLiteral("strings"), QStringList {QStringLiteral("a"), QString()});
    lists.insert(QStringLiteral("byte arrays"), QVariant::fromValue(QByteArrayList {"x", {}}));
    lists.insert(QStringLiteral("variants"),
                 QVariantList {1, QStringLiteral("y"), QVariantList {}});
    lists.insert(QStringLiteral("empty"), QVariantList {});
    for (const int version :
         {current, int(QDataStream::Qt_6_0), int(QDataStream::Qt_5_15), int(QDataStream::Qt_5_0)}) {
        QTest::addRow("lists of every kind, version %d", version)
            << written([&](QDataStream &out) { out << lists; }, version) << version;
    }
    QTest::newRow("list cut short") << written(
        [](QDataStream &out) {
            out << quint32(1) << QStringLiteral("strings");
            head(out, QMetaType::QStringList);
            out << quint32(3) << QStringLiteral("only");
        },
        current) << current;
    // Qt 5 numbered the user types, the graphical types and the size policy otherwise.
    QTest::newRow("type numbers of Qt 5") << written(
        [](QDataStream &out) {
            out << quint32(3) << QStringLiteral("color");
            out << quint32(67) << qint8(0) << quint32(0);
            out << QStringLiteral("policy");
            out << quint32(121) << qint8(0) << quint32(0);
            out << QStringLiteral("user");
            out << quint32(1024) << qint8(0) << QByteArray("ZUM::SDK::CarInfo");
        },
        QDataStream::Qt_5_15) << int(QDataStream::Qt_5_15);
    QTest::newRow("car record of Qt 5")
        << written([&](QDataStream &out) { out << car; }, QDataStream::Qt_5_15)
        << int(QDataStream::Qt_5_15);
}

void tst_VariantReader::readsAsQtDoes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, version);
    const Read byQt = read(bytes, version, true);
    const Read byReader = read(bytes, version, false);
    QCOMPARE(byReader.map, byQt.map);
    QCOMPARE(byReader.status, byQt.status);
    QCOMPARE(byReader.position, byQt.position);
    QCOMPARE(byReader.saved, byQt.saved);
}

void tst_VariantReader::negativeBitArrayLengthIsCorrupt_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const int current = QDataStream::Qt_6_4;
    const auto entry = [](QDataStream &out, const char *key) {
        out << quint32(1) << QString::fromLatin1(key);
    };
    QTest::newRow("in the map") << written(
        [&](QDataStream &out) {
            entry(out, "bits");
            negativeBitArray(out);
        },
        current);
    QTest::newRow("in a list") << written(
        [&](QDataStream &out) {
            entry(out, "list");
            head(out, QMetaType::QVariantList);
            out << quint32(1);
            negativeBitArray(out);
        },
        current);
    QTest::newRow("in a map in the map") << written(
        [&](QDataStream &out) {
            entry(out, "map");
            head(out, QMetaType::QVariantMap);
            entry(out, "bits");
            negativeBitArray(out);
        },
        current);
    QTest::newRow("in a hash") << written(
        [&](QDataStream &out) {
            entry(out, "hash");
            head(out, QMetaType::QVariantHash);
            entry(out, "bits");
            negativeBitArray(out);
        },
        current);
    QTest::newRow("second of a pair") << written(
        [&](QDataStream &out) {
            entry(out, "pair");
            head(out, QMetaType::QVariantPair);
            head(out, QMetaType::Int);
            out << qint32(1);
            negativeBitArray(out);
        },
        current);
}

void tst_VariantReader::negativeBitArrayLengthIsCorrupt()
{
    QFETCH(QByteArray, bytes);
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_4);
    QVariantMap map {{QStringLiteral("before"), 1}};
    VariantReader::read(in, map);
    QCOMPARE(in.status(), QDataStream::ReadCorruptData);
    QVERIFY(map.isEmpty());
}

// The car list's reader goes through the same map: a damaged record reads as one without keys.
void tst_VariantReader::carRecordWithANegativeBitArrayReadsEmpty()
{
    const QByteArray bytes = written(
        [](QDataStream &out) {
            out << quint32(2) << QStringLiteral("carId");
            head(out, QMetaType::QString);
            out << QStringLiteral("7");
            out << QStringLiteral("teamName");
            negativeBitArray(out);
        },
        QDataStream::Qt_6_4);
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_4);
    ZUM::SDK::CarInfo car;
    in >> car;
    QCOMPARE(in.status(), QDataStream::ReadCorruptData);
    QCOMPARE(car.carId, QString());
    QCOMPARE(car.detailedTelemetry, false);
}

void tst_VariantReader::listOfSamplesReadsAsQtDoes_data()
{
    QTest::addColumn<int>("version");
    for (const int version : {int(QDataStream::Qt_6_4), int(QDataStream::Qt_5_15)})
        QTest::addRow("version %d", version) << version;
}

// Samples have no equality: what was read is compared as it writes.
void tst_VariantReader::listOfSamplesReadsAsQtDoes()
{
    QFETCH(int, version);
    ZUM::SDK::Sample sample;
    sample.carId = QStringLiteral("12");
    sample.driverName = QStringLiteral("Ana Souza");
    const QVariantMap samples {
        {QStringLiteral("samples"), QVariant::fromValue(QList<ZUM::SDK::Sample> {sample, {}})}};
    const QByteArray bytes = written([&](QDataStream &out) { out << samples; }, version);
    const Read byQt = read(bytes, version, true);
    const Read byReader = read(bytes, version, false);
    QCOMPARE(byReader.status, QDataStream::Ok);
    QCOMPARE(byReader.status, byQt.status);
    QCOMPARE(byReader.position, byQt.position);
    QCOMPARE(byReader.saved, byQt.saved);
    QCOMPARE(byReader.saved, bytes);
}

// A few damaged bytes claim a list of four billion entries: Qt would reserve room for them all
// (hundreds of gigabytes, or std::bad_alloc thrown into the host); the reader reserves only what
// the bytes left could hold and ends at the stream's end like any short stream.
void tst_VariantReader::listClaimingMoreThanTheStreamHoldsFailsCleanly_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("version");
    const auto list = [](quint32 type, const QByteArray &userName, const Writer &element) {
        return [=](QDataStream &out) {
            out << quint32(1) << QStringLiteral("list");
            head(out, type);
            if (!userName.isEmpty())
                out << userName;
            out << quint32(0xffffffff);
            element(out);
        };
    };
    const Writer variant = [](QDataStream &out) {
        head(out, QMetaType::Int);
        out << qint32(1);
    };
    const Writer text = [](QDataStream &out) {
        out << QStringLiteral("a");
    };
    const Writer bytes = [](QDataStream &out) {
        out << QByteArray("a");
    };
    const Writer sample = [](QDataStream &out) {
        out << ZUM::SDK::Sample();
    };
    for (const int version : {int(QDataStream::Qt_6_4), int(QDataStream::Qt_5_15)}) {
        const quint32 user = version >= QDataStream::Qt_6_0 ? quint32(QMetaType::User) : 1024;
        QTest::addRow("variants, version %d", version)
            << written(list(QMetaType::QVariantList, {}, variant), version) << version;
        QTest::addRow("strings, version %d", version)
            << written(list(QMetaType::QStringList, {}, text), version) << version;
        QTest::addRow("byte arrays, version %d", version)
            << written(list(QMetaType::QByteArrayList, {}, bytes), version) << version;
        QTest::addRow("samples, version %d", version)
            << written(list(user, "QList<ZUM::SDK::Sample>", sample), version) << version;
    }
}

void tst_VariantReader::listClaimingMoreThanTheStreamHoldsFailsCleanly()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, version);
    QDataStream in(bytes);
    in.setVersion(version);
    QVariantMap map {{QStringLiteral("before"), 1}};
    VariantReader::read(in, map);
    QCOMPARE(in.status(), QDataStream::ReadPastEnd);
    QVERIFY(map.isEmpty());
}

namespace {

// The most address space the process has held so far, in bytes; -1 where the system does not
// tell. Linux reports it as VmPeak in kB.
qint64 peakAddressSpace()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return -1;
    // The file claims no size: it is read whole, not up to its end.
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmPeak:"))
            return line.mid(7).trimmed().split(' ').first().toLongLong() * 1024;
    }
    return -1;
}

} // namespace

void tst_VariantReader::listReservesNoMoreThanTheStreamHolds_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<qint64>("elementSize");
    QTest::newRow("variants") << int(QMetaType::QVariantList) << qint64(sizeof(QVariant));
    QTest::newRow("strings") << int(QMetaType::QStringList) << qint64(sizeof(QString));
    QTest::newRow("byte arrays") << int(QMetaType::QByteArrayList) << qint64(sizeof(QByteArray));
}

// A count that claims gigabytes of elements, which the system grants as untouched address
// space: the reservation would raise the process's peak, though the read fails at once. The
// claim exceeds the peak so far by 4 GiB, so that each row could raise it again.
void tst_VariantReader::listReservesNoMoreThanTheStreamHolds()
{
    QFETCH(int, type);
    QFETCH(qint64, elementSize);
    const qint64 before = peakAddressSpace();
    if (before < 0)
        QSKIP("the system does not tell the process's peak address space");
    const qint64 claimed = before + (qint64(4) << 30);
    if (claimed / elementSize > std::numeric_limits<quint32>::max())
        QSKIP("the process holds more address space than a list can claim (a sanitizer's)");
    const QByteArray bytes = written(
        [&](QDataStream &out) {
            out << quint32(1) << QStringLiteral("list");
            head(out, quint32(type));
            out << quint32(claimed / elementSize);
        },
        QDataStream::Qt_6_4);
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_6_4);
    QVariantMap map;
    VariantReader::read(in, map);
    QCOMPARE(in.status(), QDataStream::ReadPastEnd);
    QVERIFY(map.isEmpty());
    const qint64 grown = peakAddressSpace() - before;
    QVERIFY2(grown < qint64(1) << 30,
             qPrintable(QStringLiteral("peak grew by %1 bytes").arg(grown)));
}

QTEST_GUILESS_MAIN(tst_VariantReader)
#include "tst_variantreader.moc"
