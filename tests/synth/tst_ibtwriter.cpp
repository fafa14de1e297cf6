#include "ibtwriter.h"
#include "ibtimage.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

#include <climits>
#include <cmath>
#include <cstring>

namespace {

// A writer with a few ordinary variables, as most cases need.
struct Sample
{
    IbtWriter writer;
    int time = -1;
    int lap = -1;
    int speed = -1;

    explicit Sample(const QByteArray &text
                    = QByteArrayLiteral("---\nWeekendInfo:\n TrackName: x\n...\n"))
    {
        writer.setSessionInfo(text);
        time = writer.addVariable("SessionTime", irsdk_double, 1, "s",
                                  "Seconds since session start");
        lap = writer.addVariable("Lap", irsdk_int, 1, "", "Laps started count");
        speed = writer.addVariable("Speed", irsdk_float, 1, "m/s", "GPS vehicle speed");
    }

    void records(int count, double start = 10.0)
    {
        for (int i = 0; i < count; ++i) {
            writer.setValue(time, start + i / 60.0);
            writer.setValue(lap, 1 + i / 10);
            writer.setValue(speed, i * 0.5);
            writer.appendRecord();
        }
    }
};

QString text(const char *bytes, size_t capacity)
{
    return QString::fromLatin1(bytes, qsizetype(strnlen(bytes, capacity)));
}

} // namespace

class tst_IbtWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void headerFields_data();
    void headerFields();
    void sectionsFollowEachOther();
    void subHeaderFollowsTheRecords_data();
    void subHeaderFollowsTheRecords();
    void descriptorFields_data();
    void descriptorFields();
    void longTextsAreCutAndTerminated();
    void variablesArePackedInOrder();
    void explicitOffsetsAndRecordLength();
    void recordsLieBackToBack();
    void valuesPersistBetweenRecords();
    void roundTripOfEveryType_data();
    void roundTripOfEveryType();
    void arraysRoundTrip();
    void charArrayTakesRawBytes();
    void sessionTextBytesAreVerbatim();
    void explicitLayoutLeavesZeroedGaps();
    void overlappingLayoutIsRefused();
    void damagedFiles_data();
    void damagedFiles();
    void unknownTypeCodeKeepsRoom();
    void descriptorsOutsideTheRecord();
    void writesToAnyDevice();
    void misuseIsReported();
    void destructorFinishes();

private:
    QTemporaryDir m_dir;
    QString m_path;
};

void tst_IbtWriter::init()
{
    QVERIFY(m_dir.isValid());
    m_path = m_dir.filePath(QString::fromLatin1(QTest::currentTestFunction()) + u'_'
                            + QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'_')
                            + QStringLiteral(".ibt"));
}

void tst_IbtWriter::headerFields_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("tickRate");
    QTest::addColumn<int>("variables");
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<int>("records");

    QTest::newRow("version 2 file as the simulator writes it")
        << 2 << 60 << 3 << QByteArrayLiteral("---\nA: 1\n...\n") << 5;
    QTest::newRow("old-style version 1 file") << 1 << 60 << 3 << QByteArrayLiteral("---\n") << 2;
    QTest::newRow("other tick rate") << 2 << 30 << 3 << QByteArrayLiteral("---\n") << 1;
    QTest::newRow("no variables at all") << 2 << 60 << 0 << QByteArrayLiteral("---\n") << 4;
    QTest::newRow("empty session text") << 2 << 60 << 3 << QByteArray() << 3;
    QTest::newRow("no records") << 2 << 60 << 3 << QByteArrayLiteral("---\n") << 0;
}

void tst_IbtWriter::headerFields()
{
    QFETCH(int, version);
    QFETCH(int, tickRate);
    QFETCH(int, variables);
    QFETCH(QByteArray, session);
    QFETCH(int, records);

    IbtWriter writer;
    writer.setVersion(version);
    writer.setTickRate(tickRate);
    writer.setSessionInfo(session);
    for (int i = 0; i < variables; ++i)
        writer.addVariable("Var" + QByteArray::number(i), irsdk_int);
    QVERIFY2(writer.open(m_path), qPrintable(writer.errorString()));
    for (int i = 0; i < records; ++i)
        QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(h.ver, version);
    QCOMPARE(h.status, 1);
    QCOMPARE(h.tickRate, tickRate);
    QCOMPARE(h.sessionInfoUpdate, 0);
    QCOMPARE(h.numVars, variables);
    QCOMPARE(h.varHeaderOffset, 144);
    QCOMPARE(h.sessionInfoOffset, 144 + variables * 144);
    QCOMPARE(h.sessionInfoLen, int(session.size()));
    QCOMPARE(h.numBuf, 1);
    QCOMPARE(h.bufLen, variables * 4);
    QCOMPARE(h.pad1[0], 0);
    QCOMPARE(h.pad1[1], 0);
    QCOMPARE(h.varBuf[0].bufOffset, h.sessionInfoOffset + h.sessionInfoLen);
    for (int i = 1; i < IRSDK_MAX_BUFS; ++i) {
        QCOMPARE(h.varBuf[i].tickCount, 0);
        QCOMPARE(h.varBuf[i].bufOffset, 0);
    }
    QCOMPARE(file.size(), qint64(h.varBuf[0].bufOffset) + qint64(records) * h.bufLen);
    QCOMPARE(file.subHeader().sessionRecordCount, records);
    QCOMPARE(writer.header().bufLen, h.bufLen);
}

void tst_IbtWriter::sectionsFollowEachOther()
{
    Sample s;
    QVERIFY(s.writer.open(m_path));
    s.records(3);
    QVERIFY(s.writer.finish());

    // Header 0..112, sub-header 112..144, descriptors, session text, records.
    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(sizeof(irsdk_header), size_t(112));
    QCOMPARE(h.varHeaderOffset, int(irsdk_diskSubHeaderOffset + sizeof(irsdk_diskSubHeader)));
    QCOMPARE(h.sessionInfoOffset, h.varHeaderOffset + h.numVars * int(sizeof(irsdk_varHeader)));
    QCOMPARE(h.varBuf[0].bufOffset, h.sessionInfoOffset + h.sessionInfoLen);
    QCOMPARE(h.bufLen, 8 + 4 + 4);
    QCOMPARE(file.recordCount(), qint64(3));
}

void tst_IbtWriter::subHeaderFollowsTheRecords_data()
{
    QTest::addColumn<bool>("explicitValues");
    QTest::newRow("taken from SessionTime and Lap") << false;
    QTest::newRow("explicit values win") << true;
}

void tst_IbtWriter::subHeaderFollowsTheRecords()
{
    QFETCH(bool, explicitValues);
    Sample s;
    s.writer.setSessionStartDate(1717245296);
    if (explicitValues) {
        s.writer.setSessionTimes(1.5, 2.5);
        s.writer.setSessionLapCount(9);
    }
    QVERIFY(s.writer.open(m_path));
    s.records(25, 100.0); // laps 1, 2 and 3
    QVERIFY(s.writer.finish());

    const irsdk_diskSubHeader sub = IbtImage::load(m_path).subHeader();
    QCOMPARE(sub.sessionStartDate, int64_t(1717245296));
    QCOMPARE(sub.sessionRecordCount, 25);
    if (explicitValues) {
        QCOMPARE(sub.sessionStartTime, 1.5);
        QCOMPARE(sub.sessionEndTime, 2.5);
        QCOMPARE(sub.sessionLapCount, 9);
    } else {
        QCOMPARE(sub.sessionStartTime, 100.0);
        QCOMPARE(sub.sessionEndTime, 100.0 + 24 / 60.0);
        QCOMPARE(sub.sessionLapCount, 3);
    }
}

void tst_IbtWriter::descriptorFields_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<bool>("countAsTime");

    QTest::newRow("double seconds")
        << QByteArrayLiteral("SessionTime") << int(irsdk_double) << 1 << QByteArrayLiteral("s")
        << QByteArrayLiteral("Seconds since session start") << false;
    QTest::newRow("percent unit kept verbatim")
        << QByteArrayLiteral("LapDistPct") << int(irsdk_float) << 1 << QByteArrayLiteral("%")
        << QByteArrayLiteral("Percentage distance around lap") << false;
    QTest::newRow("unit that begins with percent")
        << QByteArrayLiteral("Odd") << int(irsdk_float) << 1 << QByteArrayLiteral("%/s")
        << QByteArrayLiteral("") << false;
    QTest::newRow("empty unit") << QByteArrayLiteral("Gear") << int(irsdk_int) << 1 << QByteArray()
                                << QByteArrayLiteral("-1=reverse  0=neutral") << false;
    QTest::newRow("per-car array")
        << QByteArrayLiteral("CarIdxLap") << int(irsdk_int) << 64 << QByteArray()
        << QByteArrayLiteral("Laps started by car index") << false;
    QTest::newRow("bit field") << QByteArrayLiteral("SessionFlags") << int(irsdk_bitField) << 1
                               << QByteArrayLiteral("irsdk_Flags")
                               << QByteArrayLiteral("Session flags") << false;
    QTest::newRow("high-rate array counted as time")
        << QByteArrayLiteral("SteeringWheelTorque_ST") << int(irsdk_float) << 6
        << QByteArrayLiteral("N*m") << QByteArrayLiteral("Output torque at 360 Hz") << true;
    QTest::newRow("char array") << QByteArrayLiteral("Label") << int(irsdk_char) << 8
                                << QByteArray() << QByteArrayLiteral("Eight characters") << false;
    QTest::newRow("bool") << QByteArrayLiteral("OnPitRoad") << int(irsdk_bool) << 1 << QByteArray()
                          << QByteArrayLiteral("Is the player car on pit road") << false;
}

void tst_IbtWriter::descriptorFields()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    QFETCH(int, count);
    QFETCH(QByteArray, unit);
    QFETCH(QByteArray, description);
    QFETCH(bool, countAsTime);

    IbtWriter writer;
    writer.addVariable("Before", irsdk_double);
    IbtWriter::Variable variable;
    variable.name = name;
    variable.type = type;
    variable.count = count;
    variable.unit = unit;
    variable.description = description;
    variable.countAsTime = countAsTime;
    const int index = writer.addVariable(variable);
    QCOMPARE(index, 1);
    QCOMPARE(writer.indexOf(name), 1);
    QVERIFY(writer.open(m_path));
    QVERIFY(writer.finish());

    const QList<irsdk_varHeader> vars = IbtImage::load(m_path).varHeaders();
    QCOMPARE(vars.size(), 2);
    const irsdk_varHeader &v = vars[1];
    QCOMPARE(v.type, type);
    QCOMPARE(v.offset, 8);
    QCOMPARE(v.count, count);
    QCOMPARE(v.countAsTime, char(countAsTime ? 1 : 0));
    QCOMPARE(v.pad[0], char(0));
    QCOMPARE(text(v.name, sizeof v.name), QString::fromLatin1(name));
    QCOMPARE(text(v.unit, sizeof v.unit), QString::fromLatin1(unit));
    QCOMPARE(text(v.desc, sizeof v.desc), QString::fromLatin1(description));
    // Every byte after the terminator is zero, as the simulator leaves it.
    for (size_t i = size_t(name.size()); i < sizeof v.name; ++i)
        QCOMPARE(v.name[i], char(0));
    QCOMPARE(IbtImage::load(m_path).header().bufLen, 8 + count * irsdk_varTypeSize(type));
}

void tst_IbtWriter::longTextsAreCutAndTerminated()
{
    IbtWriter writer;
    writer.addVariable(QByteArray(40, 'N'), irsdk_float, 1, QByteArray(40, 'U'),
                       QByteArray(80, 'D'));
    QVERIFY(writer.open(m_path));
    QVERIFY(writer.finish());
    const irsdk_varHeader v = IbtImage::load(m_path).varHeaders().front();
    QCOMPARE(text(v.name, sizeof v.name), QString(31, u'N'));
    QCOMPARE(text(v.unit, sizeof v.unit), QString(31, u'U'));
    QCOMPARE(text(v.desc, sizeof v.desc), QString(63, u'D'));
    QCOMPARE(v.name[31], char(0));
    QCOMPARE(v.desc[63], char(0));
}

void tst_IbtWriter::variablesArePackedInOrder()
{
    // The simulator packs without alignment: a bool moves the next float to an odd offset.
    IbtWriter writer;
    const int a = writer.addVariable("A", irsdk_double);
    const int b = writer.addVariable("B", irsdk_bool);
    const int c = writer.addVariable("C", irsdk_float);
    const int d = writer.addVariable("D", irsdk_int, 64);
    const int e = writer.addVariable("E", irsdk_char, 3);
    QCOMPARE(writer.variable(a).offset, 0);
    QCOMPARE(writer.variable(b).offset, 8);
    QCOMPARE(writer.variable(c).offset, 9);
    QCOMPARE(writer.variable(d).offset, 13);
    QCOMPARE(writer.variable(e).offset, 13 + 256);
    QCOMPARE(writer.recordLength(), 13 + 256 + 3);
}

void tst_IbtWriter::explicitOffsetsAndRecordLength()
{
    IbtWriter writer;
    IbtWriter::Variable late;
    late.name = "Late";
    late.type = irsdk_int;
    late.offset = 20;
    writer.addVariable(late);
    const int early = writer.addVariable("Early", irsdk_float); // auto-placed from 0
    writer.setRecordLength(32);
    QCOMPARE(writer.variable(early).offset, 0);
    QVERIFY(writer.open(m_path));
    writer.setValue(0, 77);
    writer.setValue(early, 2.5);
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.header().bufLen, 32);
    QCOMPARE(file.varHeaders()[0].offset, 20);
    QCOMPARE(file.value("Late", 0), 77.0);
    QCOMPARE(file.value("Early", 0), 2.5);
    QCOMPARE(file.size(), qint64(file.header().varBuf[0].bufOffset) + 32);
}

void tst_IbtWriter::recordsLieBackToBack()
{
    Sample s;
    QVERIFY(s.writer.open(m_path));
    const int count = 1000;
    s.records(count, 0.0);
    QVERIFY(s.writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(file.recordCount(), qint64(count));
    QCOMPARE(file.size(), h.varBuf[0].bufOffset + qint64(count) * h.bufLen);
    for (int i = 0; i < count; i += 97) {
        const qint64 record = h.varBuf[0].bufOffset + qint64(i) * h.bufLen;
        QCOMPARE(file.at<double>(record), i / 60.0);
        QCOMPARE(file.at<int32_t>(record + 8), 1 + i / 10);
        QCOMPARE(file.at<float>(record + 12), float(i * 0.5));
    }
}

void tst_IbtWriter::valuesPersistBetweenRecords()
{
    Sample s;
    QVERIFY(s.writer.open(m_path));
    s.writer.setValue(s.lap, 4);
    s.writer.appendRecord();
    s.writer.setValue(s.speed, 12.0);
    s.writer.appendRecord();
    s.writer.clearRecord();
    s.writer.appendRecord();
    QVERIFY(s.writer.finish());
    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.series("Lap"), QList<double>({4, 4, 0}));
    QCOMPARE(file.series("Speed"), QList<double>({0, 12, 0}));
}

void tst_IbtWriter::roundTripOfEveryType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("written");
    QTest::addColumn<QByteArray>("expectedBytes");

    const auto bytesOf = [](auto value) {
        return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
    };
    QTest::newRow("char negative") << int(irsdk_char) << -5.0 << bytesOf(int8_t(-5));
    QTest::newRow("char largest") << int(irsdk_char) << 127.0 << bytesOf(int8_t(127));
    QTest::newRow("char smallest") << int(irsdk_char) << -128.0 << bytesOf(int8_t(-128));
    QTest::newRow("bool false") << int(irsdk_bool) << 0.0 << bytesOf(uint8_t(0));
    QTest::newRow("bool true") << int(irsdk_bool) << 1.0 << bytesOf(uint8_t(1));
    QTest::newRow("bool from other non-zero value")
        << int(irsdk_bool) << 7.0 << bytesOf(uint8_t(1));
    QTest::newRow("int negative") << int(irsdk_int) << -123456.0 << bytesOf(int32_t(-123456));
    QTest::newRow("int largest") << int(irsdk_int) << double(INT_MAX) << bytesOf(int32_t(INT_MAX));
    QTest::newRow("int truncated toward zero") << int(irsdk_int) << -2.7 << bytesOf(int32_t(-2));
    QTest::newRow("bit field with the top bit")
        << int(irsdk_bitField) << double(0x80000001u) << bytesOf(uint32_t(0x80000001u));
    QTest::newRow("bit field of session flags")
        << int(irsdk_bitField) << double(0x10040200) << bytesOf(uint32_t(0x10040200));
    QTest::newRow("float") << int(irsdk_float) << 1.5 << bytesOf(1.5f);
    QTest::newRow("float rounded to single") << int(irsdk_float) << 0.1 << bytesOf(0.1f);
    QTest::newRow("double") << int(irsdk_double) << 3.141592653589793 << bytesOf(3.141592653589793);
    QTest::newRow("double negative zero") << int(irsdk_double) << -0.0 << bytesOf(-0.0);
}

void tst_IbtWriter::roundTripOfEveryType()
{
    QFETCH(int, type);
    QFETCH(double, written);
    QFETCH(QByteArray, expectedBytes);

    IbtWriter writer;
    writer.addVariable("Pad", irsdk_bool);
    const int index = writer.addVariable("Value", type);
    QVERIFY(writer.open(m_path));
    writer.setValue(index, written);
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(h.bufLen, 1 + irsdk_varTypeSize(type));
    QCOMPARE(file.bytes().mid(h.varBuf[0].bufOffset + 1, irsdk_varTypeSize(type)), expectedBytes);
    QCOMPARE(file.bytes().at(h.varBuf[0].bufOffset), '\0');
}

void tst_IbtWriter::arraysRoundTrip()
{
    IbtWriter writer;
    const int laps = writer.addVariable("CarIdxLap", irsdk_int, 64);
    const int pct = writer.addVariable("CarIdxLapDistPct", irsdk_float, 64, "%");
    const int pit = writer.addVariable("CarIdxOnPitRoad", irsdk_bool, 64);
    const int st = writer.addVariable("Torque_ST", irsdk_double, 6);
    QVERIFY(writer.open(m_path));
    writer.fill(laps, -1);
    writer.fill(pct, -1);
    for (int car = 0; car < 64; car += 3) {
        writer.setValue(laps, car, car * 3);
        writer.setValue(pct, car, car / 64.0);
        writer.setValue(pit, car, car % 2);
    }
    for (int i = 0; i < 6; ++i)
        writer.setValue(st, i, i * 0.25);
    writer.setValue(laps, 64, 99); // past the last element: ignored
    writer.setValue(laps, -1, 99);
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.header().bufLen, 64 * 4 + 64 * 4 + 64 + 6 * 8);
    for (int car = 0; car < 64; ++car) {
        const bool set = car % 3 == 0;
        QCOMPARE(file.value("CarIdxLap", 0, car), set ? car * 3.0 : -1.0);
        QCOMPARE(file.value("CarIdxLapDistPct", 0, car), set ? double(float(car / 64.0)) : -1.0);
        QCOMPARE(file.value("CarIdxOnPitRoad", 0, car), set ? double(car % 2) : 0.0);
    }
    for (int i = 0; i < 6; ++i)
        QCOMPARE(file.value("Torque_ST", 0, i), i * 0.25);
}

void tst_IbtWriter::charArrayTakesRawBytes()
{
    IbtWriter writer;
    const int label = writer.addVariable("Label", irsdk_char, 8);
    writer.addVariable("After", irsdk_int);
    QVERIFY(writer.open(m_path));
    writer.setBytes(label, "abcdefghijkl"); // longer than the array: runs into the next one
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());
    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.bytes().mid(file.header().varBuf[0].bufOffset, 12), QByteArray("abcdefghijkl"));
}

void tst_IbtWriter::sessionTextBytesAreVerbatim()
{
    // Latin-1 bytes, carriage returns and no terminating zero: written as given.
    const QByteArray session = QByteArrayLiteral("---\r\nWeekendInfo:\n TrackDisplayName: Aut\xf3"
                                                 "dromo Jos\xe9 Carlos Pace\n...\n");
    Sample s(session);
    QVERIFY(s.writer.open(m_path));
    s.records(1);
    QVERIFY(s.writer.finish());
    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.header().sessionInfoLen, int(session.size()));
    QCOMPARE(file.sessionInfo(), session);
    QCOMPARE(file.bytes().at(file.header().varBuf[0].bufOffset - 1), '\n');
}

void tst_IbtWriter::explicitLayoutLeavesZeroedGaps()
{
    Sample s(QByteArrayLiteral("TEXT"));
    s.writer.setVariableHeaderOffset(200);
    s.writer.setSessionInfoOffset(1000);
    s.writer.setRecordOffset(2048);
    QVERIFY(s.writer.open(m_path));
    s.records(2);
    QVERIFY(s.writer.finish());
    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(h.varHeaderOffset, 200);
    QCOMPARE(h.sessionInfoOffset, 1000);
    QCOMPARE(h.varBuf[0].bufOffset, 2048);
    QCOMPARE(file.bytes().mid(144, 56), QByteArray(56, '\0'));
    QCOMPARE(file.bytes().mid(200 + 3 * 144, 1000 - 200 - 3 * 144), QByteArray(1000 - 632, '\0'));
    QCOMPARE(file.sessionInfo(), QByteArray("TEXT"));
    QCOMPARE(file.value("Lap", 1), 1.0);
    QCOMPARE(file.size(), qint64(2048 + 2 * 16));
}

void tst_IbtWriter::overlappingLayoutIsRefused()
{
    Sample s;
    s.writer.setRecordOffset(150);
    QVERIFY(!s.writer.open(m_path));
    QVERIFY(s.writer.errorString().contains(QStringLiteral("overlap")));
    QVERIFY(!s.writer.isOpen());
}

void tst_IbtWriter::damagedFiles_data()
{
    QTest::addColumn<qint64>("truncateAt");
    QTest::addColumn<int>("partialBytes");
    QTest::addColumn<QString>("field");
    QTest::addColumn<int>("forced");
    QTest::addColumn<qint64>("expectedSize"); // -1: the intact size plus the partial record
    QTest::addColumn<qint64>("wholeRecords");

    // Intact: 144 + 3 * 144 descriptors + 4 bytes of text, then 10 records of 16 bytes.
    QTest::newRow("cut short inside the header")
        << qint64(50) << -1 << QString() << 0 << qint64(50) << qint64(0);
    QTest::newRow("cut short inside the sub-header")
        << qint64(130) << -1 << QString() << 0 << qint64(130) << qint64(0);
    QTest::newRow("cut short inside the descriptors")
        << qint64(300) << -1 << QString() << 0 << qint64(300) << qint64(0);
    QTest::newRow("cut short inside the first record")
        << qint64(580 + 7) << -1 << QString() << 0 << qint64(587) << qint64(0);
    QTest::newRow("cut short between records")
        << qint64(580 + 48) << -1 << QString() << 0 << qint64(628) << qint64(3);
    QTest::newRow("short last record")
        << qint64(-1) << 5 << QString() << 0 << qint64(580 + 165) << qint64(10);
    QTest::newRow("empty last record")
        << qint64(-1) << 0 << QString() << 0 << qint64(580 + 160) << qint64(10);
    QTest::newRow("session text length past the end")
        << qint64(-1) << -1 << QStringLiteral("sessionInfoLen") << 999999 << qint64(740)
        << qint64(10);
    QTest::newRow("session text offset past the end")
        << qint64(-1) << -1 << QStringLiteral("sessionInfoOffset") << 1000000 << qint64(740)
        << qint64(10);
    QTest::newRow("negative session text length")
        << qint64(-1) << -1 << QStringLiteral("sessionInfoLen") << -1 << qint64(740) << qint64(10);
    QTest::newRow("descriptors past the end")
        << qint64(-1) << -1 << QStringLiteral("varHeaderOffset") << 5000 << qint64(740)
        << qint64(10);
    QTest::newRow("more descriptors than written")
        << qint64(-1) << -1 << QStringLiteral("numVars") << 1000 << qint64(740) << qint64(10);
    QTest::newRow("records past the end")
        << qint64(-1) << -1 << QStringLiteral("bufOffset") << 100000 << qint64(740) << qint64(10);
    QTest::newRow("zero record length")
        << qint64(-1) << -1 << QStringLiteral("bufLen") << 0 << qint64(740) << qint64(10);
    QTest::newRow("garbage version")
        << qint64(-1) << -1 << QStringLiteral("ver") << 1635021600 << qint64(740) << qint64(10);
}

void tst_IbtWriter::damagedFiles()
{
    QFETCH(qint64, truncateAt);
    QFETCH(int, partialBytes);
    QFETCH(QString, field);
    QFETCH(int, forced);
    QFETCH(qint64, expectedSize);
    QFETCH(qint64, wholeRecords);

    Sample s(QByteArrayLiteral("---\n"));
    IbtWriter::Overrides overrides;
    if (field == QLatin1String("sessionInfoLen"))
        overrides.sessionInfoLen = forced;
    else if (field == QLatin1String("sessionInfoOffset"))
        overrides.sessionInfoOffset = forced;
    else if (field == QLatin1String("varHeaderOffset"))
        overrides.varHeaderOffset = forced;
    else if (field == QLatin1String("numVars"))
        overrides.numVars = forced;
    else if (field == QLatin1String("bufOffset"))
        overrides.bufOffset = forced;
    else if (field == QLatin1String("bufLen"))
        overrides.bufLen = forced;
    else if (field == QLatin1String("ver"))
        overrides.ver = forced;
    s.writer.setOverrides(overrides);
    s.writer.setTruncateAt(truncateAt);
    QVERIFY(s.writer.open(m_path));
    s.records(10);
    if (partialBytes >= 0)
        QVERIFY(s.writer.appendPartialRecord(partialBytes));
    QVERIFY(s.writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.size(), expectedSize);
    QCOMPARE(s.writer.bytesWritten(), expectedSize);
    if (expectedSize < 112)
        return;
    const irsdk_header h = file.header();
    // The forced field is what the file says; everything else is the intact layout.
    QCOMPARE(h.sessionInfoLen, field == QLatin1String("sessionInfoLen") ? forced : 4);
    QCOMPARE(h.sessionInfoOffset, field == QLatin1String("sessionInfoOffset") ? forced : 576);
    QCOMPARE(h.varHeaderOffset, field == QLatin1String("varHeaderOffset") ? forced : 144);
    QCOMPARE(h.numVars, field == QLatin1String("numVars") ? forced : 3);
    QCOMPARE(h.varBuf[0].bufOffset, field == QLatin1String("bufOffset") ? forced : 580);
    QCOMPARE(h.bufLen, field == QLatin1String("bufLen") ? forced : 16);
    QCOMPARE(h.ver, field == QLatin1String("ver") ? forced : 2);
    if (file.size() >= 580)
        QCOMPARE(file.bytes().mid(576, 4), QByteArray("---\n"));
    if (!field.isEmpty())
        return;
    QCOMPARE(file.recordCount(), wholeRecords);
    if (file.size() >= 144)
        QCOMPARE(file.subHeader().sessionRecordCount, 10);
}

void tst_IbtWriter::unknownTypeCodeKeepsRoom()
{
    IbtWriter writer;
    const int odd = writer.addVariable("Odd", 9, 2, "", "Not a type the format knows");
    const int after = writer.addVariable("After", irsdk_int);
    QCOMPARE(writer.variable(after).offset, 8); // two elements of four bytes
    QVERIFY(writer.open(m_path));
    writer.setValue(odd, 1, 5); // stored like an int, for a reader to ignore
    writer.setValue(after, 42);
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());
    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.varHeaders()[0].type, 9);
    QCOMPARE(file.varHeaders()[0].count, 2);
    QCOMPARE(file.header().bufLen, 12);
    QCOMPARE(file.at<int32_t>(file.header().varBuf[0].bufOffset + 4), 5);
    QCOMPARE(file.value("After", 0), 42.0);
}

void tst_IbtWriter::descriptorsOutsideTheRecord()
{
    IbtWriter writer;
    const int inside = writer.addVariable("Inside", irsdk_float, 2);
    IbtWriter::Variable past;
    past.name = "PastTheEnd";
    past.type = irsdk_double;
    past.offset = 100;
    const int pastIndex = writer.addVariable(past);
    IbtWriter::Variable across;
    across.name = "Across";
    across.type = irsdk_int;
    across.offset = 4;
    across.count = 10;
    const int acrossIndex = writer.addVariable(across);
    writer.setRecordLength(8);
    QVERIFY(writer.open(m_path));
    writer.setValue(inside, 0, 1.0);
    writer.setValue(inside, 1, 2.0);
    writer.setValue(pastIndex, 123.0); // nowhere to go: ignored
    writer.setValue(acrossIndex, 3, 7.0); // element 3 lies past the record: ignored
    writer.setBytes(pastIndex, "xyz");
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    const IbtImage file = IbtImage::load(m_path);
    const irsdk_header h = file.header();
    QCOMPARE(h.bufLen, 8);
    QCOMPARE(file.varHeaders()[1].offset, 100);
    QCOMPARE(file.varHeaders()[2].count, 10);
    QCOMPARE(file.size(), qint64(h.varBuf[0].bufOffset) + 8);
    QCOMPARE(file.value("Inside", 0, 0), 1.0);
    QCOMPARE(file.value("Inside", 0, 1), 2.0);
}

void tst_IbtWriter::writesToAnyDevice()
{
    // A buffer with something before the file: the sub-header is rewritten in place.
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    buffer.write("PREFIX");
    Sample s;
    QVERIFY(s.writer.open(&buffer));
    s.records(4, 5.0);
    QVERIFY(s.writer.finish());
    QVERIFY(buffer.isOpen());
    const QByteArray all = buffer.data();
    QVERIFY(all.startsWith("PREFIX"));
    const IbtImage file = IbtImage::fromBytes(all.mid(6));
    QCOMPARE(file.subHeader().sessionRecordCount, 4);
    QCOMPARE(file.subHeader().sessionStartTime, 5.0);
    QCOMPARE(file.recordCount(), qint64(4));
}

void tst_IbtWriter::misuseIsReported()
{
    IbtWriter writer;
    QVERIFY(!writer.appendRecord());
    QVERIFY(!writer.errorString().isEmpty());

    QBuffer readOnly;
    QVERIFY(readOnly.open(QIODevice::ReadOnly));
    QVERIFY(!writer.open(&readOnly));
    QVERIFY(!writer.open(static_cast<QIODevice *>(nullptr)));

    QVERIFY(!writer.open(m_dir.filePath(QStringLiteral("missing/folder/file.ibt"))));
    QVERIFY(writer.errorString().contains(QStringLiteral("cannot create")));

    QVERIFY(writer.open(m_path));
    QVERIFY(!writer.open(m_path)); // already open; the file under way is unharmed
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());
    // Without variables a record has no bytes, yet it still counts.
    QCOMPARE(IbtImage::load(m_path).subHeader().sessionRecordCount, 1);
    QVERIFY(writer.finish()); // twice is harmless

    writer.setValue(-1, 1.0);
    writer.setValue(50, 1.0);
    writer.fill(50, 1.0);
    writer.setBytes(50, "x");
}

void tst_IbtWriter::destructorFinishes()
{
    {
        Sample s;
        QVERIFY(s.writer.open(m_path));
        s.records(7);
    }
    const IbtImage file = IbtImage::load(m_path);
    QCOMPARE(file.recordCount(), qint64(7));
    QCOMPARE(file.subHeader().sessionRecordCount, 7);
}

QTEST_GUILESS_MAIN(tst_IbtWriter)
#include "tst_ibtwriter.moc"
