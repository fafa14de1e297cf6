#include "carinfo.h"
#include "variantreader.h"

#include <QBuffer>
#include <QDataStream>
#include <QHash>
#include <QMap>
#include <QTest>
#include <QVariant>

#include <functional>

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

QTEST_GUILESS_MAIN(tst_VariantReader)
#include "tst_variantreader.moc"
