#include "ibtimage.h"
#include "ibtwriter.h"
#include "irtelemetryreader.h"

#include <QBuffer>
#include <QTest>

using ZUM::SDK::Sample;

namespace {

// A session text naming car `myCar` as the player's, with drivers in slots 0 to 3.
QByteArray sessionText(int myCar, const char *simMode)
{
    QByteArray text = "---\n";
    if (simMode)
        text += QByteArray("WeekendInfo:\n SimMode: ") + simMode + "\n";
    text += "DriverInfo:\n";
    if (myCar >= 0)
        text += " DriverCarIdx: " + QByteArray::number(myCar) + "\n";
    text += " Drivers:\n";
    for (int i = 0; i < 4; ++i)
        text += " - CarIdx: " + QByteArray::number(i) + "\n   UserName: Driver "
            + QByteArray::number(i) + "\n";
    return text + "...\n";
}

struct Built
{
    QByteArray bytes;
    IbtImage file() const { return IbtImage::fromBytes(bytes); }
};

// Writes a file with the given variables and one record whose values come from `fill`.
template<typename Fill>
Built build(const QList<IbtWriter::Variable> &variables, Fill fill, const QByteArray &session = {})
{
    IbtWriter writer;
    writer.setSessionInfo(session);
    for (const IbtWriter::Variable &variable : variables)
        writer.addVariable(variable);
    Built built;
    QBuffer buffer(&built.bytes);
    buffer.open(QIODevice::WriteOnly);
    writer.open(&buffer);
    fill(writer);
    writer.appendRecord();
    writer.finish();
    return built;
}

IbtWriter::Variable variable(const char *name, int32_t type, int32_t count = 1,
                             const char *unit = "")
{
    IbtWriter::Variable v;
    v.name = name;
    v.type = type;
    v.count = count;
    v.unit = unit;
    return v;
}

// A reader that has read the session text as the import does.
std::unique_ptr<iRTelemetryReader> reader(iRTelemetryReader::Mode mode, const QByteArray &session)
{
    auto result = std::make_unique<iRTelemetryReader>(mode);
    result->setYaml(session.constData());
    result->updateCarList();
    return result;
}

QList<Sample> decode(iRTelemetryReader &reader, const IbtImage &file, int record = 0)
{
    return reader.getRawData(&file.header(), file.varHeaders().constData(), file.record(record));
}

} // namespace

class tst_RawExtraction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructionFollowsTheMode_data();
    void constructionFollowsTheMode();
    void typeCodes_data();
    void typeCodes();
    void units_data();
    void units();
    void charArrayGivesItsFirstCharacter();
    void namesAreLowerCased();
    void perCarArrayIsNotSplitForMyCarOnly();
    void otherArraysKeepTheirLastElement();
    void noPlayerCarStoresNothingForMyCarOnly();
    void perCarArraysGoToEachCar_data();
    void perCarArraysGoToEachCar();
    void sessionClockIsCopiedToOtherCars();
    void noVariablesGivesEmptySamples();
    void descriptorsOutsideTheRecordAreNeverRead_data();
    void descriptorsOutsideTheRecordAreNeverRead();
    void namesAreLearnedFromTheFirstRecordOnly();
    void recordRawDataFillsTheReadersOwnSamples();
    void simModeIsLearnedOnce();
};

void tst_RawExtraction::constructionFollowsTheMode_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("myCarOnly");
    QTest::addColumn<int>("samples");
    QTest::newRow("player's car only") << 1 << true << 1;
    QTest::newRow("every car") << 0 << false << 64;
}

void tst_RawExtraction::constructionFollowsTheMode()
{
    QFETCH(int, mode);
    QFETCH(bool, myCarOnly);
    QFETCH(int, samples);

    iRTelemetryReader reader {iRTelemetryReader::Mode(mode)};
    QCOMPARE(reader.myCarOnly(), myCarOnly);
    QCOMPARE(reader.maxCars(), 64);
    QCOMPARE(reader.myCarIdx(), -1);
    QCOMPARE(reader.simMode(), iRTelemetryReader::SimMode::Unknown);
    QCOMPARE(reader.recordedSamples().size(), samples);
    QCOMPARE(reader.cars().size(), 64);
    QVERIFY(reader.variableNames().isEmpty());
    for (const RecorderCar &car : reader.cars())
        QCOMPARE(car.useLapDistance, myCarOnly);

    const Built built = build({variable("Speed", irsdk_float)}, [](IbtWriter &) {});
    QCOMPARE(decode(reader, built.file()).size(), samples);
}

void tst_RawExtraction::typeCodes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("written");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("char is a signed int") << int(irsdk_char) << -5.0 << QVariant(int(-5));
    QTest::newRow("bool is a bool") << int(irsdk_bool) << 1.0 << QVariant(true);
    QTest::newRow("false bool") << int(irsdk_bool) << 0.0 << QVariant(false);
    QTest::newRow("int is an int") << int(irsdk_int) << -123456.0 << QVariant(int(-123456));
    QTest::newRow("bit field is an int, bits not split")
        << int(irsdk_bitField) << double(0x10000001) << QVariant(int(0x10000001));
    QTest::newRow("float is a float") << int(irsdk_float) << 0.1 << QVariant(0.1f);
    QTest::newRow("double is a double") << int(irsdk_double) << 0.1 << QVariant(0.1);
}

void tst_RawExtraction::typeCodes()
{
    QFETCH(int, type);
    QFETCH(double, written);
    QFETCH(QVariant, expected);

    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {variable("Value", type)}, [&](IbtWriter &writer) { writer.setValue(0, written); },
        session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, built.file());
    const ZUM::SDK::Value value = samples[0].dynamicData.value(QStringLiteral("value"));
    QCOMPARE(value.metaType(), expected.metaType());
    QCOMPARE(static_cast<const QVariant &>(value), expected);
}

void tst_RawExtraction::units_data()
{
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<QString>("expected");
    QTest::newRow("percent becomes per unit") << QByteArray("%") << "pu";
    QTest::newRow("longer unit starting with percent is kept") << QByteArray("%/s") << "%/s";
    QTest::newRow("percent with a blank is kept") << QByteArray("% ") << "% ";
    QTest::newRow("metres per second kept") << QByteArray("m/s") << "m/s";
    QTest::newRow("no unit is empty") << QByteArray() << "";
}

void tst_RawExtraction::units()
{
    QFETCH(QByteArray, unit);
    QFETCH(QString, expected);

    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {variable("LapDistPct", irsdk_float, 1, unit.constData())},
        [](IbtWriter &writer) { writer.setValue(0, 0.5); }, session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("lapdistpct")).unit(), expected);
    QCOMPARE(r->variableUnits(), QList<QString>({expected}));
}

void tst_RawExtraction::charArrayGivesItsFirstCharacter()
{
    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {variable("Name", irsdk_char, 8), variable("After", irsdk_int)},
        [](IbtWriter &writer) {
            writer.setBytes(0, "ABCDEFGH");
            writer.setValue(1, 7);
        },
        session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples[0].dynamicData.size(), 2);
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("name")).toInt(), int('A'));
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("after")).toInt(), 7);
}

void tst_RawExtraction::namesAreLowerCased()
{
    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {variable("SessionTime", irsdk_double, 1, "s"),
         variable("RPM", irsdk_float, 1, "revs/min")},
        [](IbtWriter &) {}, session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples[0].dynamicData.valueNameList(),
             QList<QString>({QStringLiteral("rpm"), QStringLiteral("sessiontime")}));
    QCOMPARE(r->variableNames(),
             QList<QString>({QStringLiteral("sessiontime"), QStringLiteral("rpm")}));
}

void tst_RawExtraction::perCarArrayIsNotSplitForMyCarOnly()
{
    const QByteArray session = sessionText(2, "full");
    const Built built = build(
        {variable("CarIdxLap", irsdk_int, 64)},
        [](IbtWriter &writer) {
            for (int i = 0; i < 64; ++i)
                writer.setValue(0, i, 100 + i);
        },
        session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples.size(), 1);
    QCOMPARE(samples[0].dynamicData.valueNameList(), QList<QString>({QStringLiteral("caridxlap")}));
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("caridxlap")).toInt(), 163);
}

void tst_RawExtraction::otherArraysKeepTheirLastElement()
{
    const QByteArray session = sessionText(1, "full");
    const Built built = build(
        {variable("TireTemps", irsdk_float, 3, "C")},
        [](IbtWriter &writer) {
            writer.setValue(0, 0, 80.0);
            writer.setValue(0, 1, 85.0);
            writer.setValue(0, 2, 90.0);
        },
        session);
    for (auto mode : {iRTelemetryReader::MyCarOnly, iRTelemetryReader::AllCars}) {
        auto r = reader(mode, session);
        const QList<Sample> samples = decode(*r, built.file());
        const int player = mode == iRTelemetryReader::MyCarOnly ? 0 : 1;
        QCOMPARE(samples[player].dynamicData.value(QStringLiteral("tiretemps")).toFloat(), 90.0f);
    }
}

void tst_RawExtraction::noPlayerCarStoresNothingForMyCarOnly()
{
    const QByteArray session = sessionText(-1, "full");
    const Built built = build(
        {variable("Speed", irsdk_float, 1, "m/s"), variable("CarIdxLap", irsdk_int, 64)},
        [](IbtWriter &writer) { writer.setValue(0, 30.0); }, session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    QCOMPARE(r->myCarIdx(), -1);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples.size(), 1);
    QVERIFY(samples[0].dynamicData.isEmpty());

    // Every car still gets its per-car values when the reader tracks every car.
    auto all = reader(iRTelemetryReader::AllCars, session);
    const QList<Sample> allSamples = decode(*all, built.file());
    QCOMPARE(allSamples[5].dynamicData.valueNameList(), QList<QString>({QStringLiteral("lap")}));
}

void tst_RawExtraction::perCarArraysGoToEachCar_data()
{
    QTest::addColumn<QByteArray>("simMode");
    QTest::addColumn<bool>("playerGetsOwnElement");
    QTest::newRow("live recording leaves the player's element out") << QByteArray("full") << false;
    QTest::newRow("replay stores the player's element") << QByteArray("replay") << true;
    QTest::newRow("unknown mode stores the player's element") << QByteArray() << true;
}

void tst_RawExtraction::perCarArraysGoToEachCar()
{
    QFETCH(QByteArray, simMode);
    QFETCH(bool, playerGetsOwnElement);

    const QByteArray session = sessionText(2, simMode.isEmpty() ? nullptr : simMode.constData());
    const Built built = build(
        {variable("CarIdxLapDistPct", irsdk_float, 64, "%"),
         variable("CarIdxOnPitRoad", irsdk_bool, 64), variable("Speed", irsdk_float, 1, "m/s")},
        [](IbtWriter &writer) {
            for (int i = 0; i < 64; ++i) {
                writer.setValue(0, i, i / 100.0);
                writer.setValue(1, i, i % 2);
            }
            writer.setValue(2, 44.0);
        },
        session);
    auto r = reader(iRTelemetryReader::AllCars, session);
    QCOMPARE(r->myCarIdx(), 2);
    const QList<Sample> samples = decode(*r, built.file());
    QCOMPARE(samples.size(), 64);

    const ZUM::SDK::Value other = samples[5].dynamicData.value(QStringLiteral("lapdistpct"));
    QCOMPARE(other.toFloat(), 0.05f);
    QCOMPARE(other.unit(), QStringLiteral("pu"));
    QCOMPARE(samples[5].dynamicData.value(QStringLiteral("onpitroad")).toBool(), true);
    QVERIFY(!samples[5].dynamicData.containsValue(QStringLiteral("speed")));
    QVERIFY(!samples[5].dynamicData.containsValue(QStringLiteral("caridxlapdistpct")));
    QCOMPARE(samples[63].dynamicData.value(QStringLiteral("lapdistpct")).toFloat(), 0.63f);

    const ZUM::SDK::DynamicData &player = samples[2].dynamicData;
    QCOMPARE(player.value(QStringLiteral("speed")).toFloat(), 44.0f);
    QCOMPARE(player.containsValue(QStringLiteral("lapdistpct")), playerGetsOwnElement);
    QCOMPARE(player.containsValue(QStringLiteral("onpitroad")), playerGetsOwnElement);
    if (playerGetsOwnElement)
        QCOMPARE(player.value(QStringLiteral("lapdistpct")).toFloat(), 0.02f);
}

void tst_RawExtraction::sessionClockIsCopiedToOtherCars()
{
    const QByteArray session = sessionText(1, "full");
    const Built built = build(
        {variable("SessionTime", irsdk_double, 1, "s"),
         variable("SessionTimeRemain", irsdk_double, 1, "s"), variable("SessionTick", irsdk_int),
         variable("CarIdxLap", irsdk_int, 64)},
        [](IbtWriter &writer) {
            writer.setValue(0, 123.25);
            writer.setValue(1, 600.5);
            writer.setValue(2, 7396);
        },
        session);
    auto r = reader(iRTelemetryReader::AllCars, session);
    const QList<Sample> samples = decode(*r, built.file());

    for (int c : {0, 2, 63}) {
        const ZUM::SDK::DynamicData &values = samples[c].dynamicData;
        QCOMPARE(values.value(QStringLiteral("sessiontime")).toDouble(), 123.25);
        QCOMPARE(values.value(QStringLiteral("sessiontime")).unit(), QStringLiteral("s"));
        QCOMPARE(values.value(QStringLiteral("sessiontimeremain")).toDouble(), 600.5);
        const ZUM::SDK::Value tick = values.value(QStringLiteral("sessiontick"));
        QCOMPARE(tick.metaType(), QMetaType::fromType<qulonglong>());
        QCOMPARE(tick.toULongLong(), 7396ULL);
        QVERIFY(tick.unit().isEmpty());
        QVERIFY(!tick.unit().isNull());
        QCOMPARE(values.value(QStringLiteral("lap")).toInt(), 0);
    }
    // The player's own tick stays as the file holds it.
    QCOMPARE(samples[1].dynamicData.value(QStringLiteral("sessiontick")).metaType(),
             QMetaType::fromType<int>());
}

void tst_RawExtraction::noVariablesGivesEmptySamples()
{
    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {}, [](IbtWriter &) {}, session);
    const IbtImage file = built.file();
    QCOMPARE(file.header().numVars, 0);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const QList<Sample> samples = decode(*r, file);
    QCOMPARE(samples.size(), 1);
    QVERIFY(samples[0].dynamicData.isEmpty());
}

void tst_RawExtraction::descriptorsOutsideTheRecordAreNeverRead_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("count");

    // The record is 16 bytes: "Good" (a double at 0) and padding up to 16.
    QTest::newRow("unknown type code") << 9 << 8 << 1;
    QTest::newRow("negative type code") << -1 << 8 << 1;
    QTest::newRow("offset past the record") << int(irsdk_int) << 16 << 1;
    QTest::newRow("last element past the record") << int(irsdk_int) << 12 << 2;
    QTest::newRow("double straddling the end") << int(irsdk_double) << 12 << 1;
    QTest::newRow("negative offset") << int(irsdk_int) << -4 << 1;
    QTest::newRow("huge offset") << int(irsdk_double) << 2147483640 << 1;
    QTest::newRow("huge count") << int(irsdk_double) << 8 << 2147483647;
    QTest::newRow("zero count") << int(irsdk_int) << 8 << 0;
    QTest::newRow("negative count") << int(irsdk_int) << 8 << -3;
}

void tst_RawExtraction::descriptorsOutsideTheRecordAreNeverRead()
{
    QFETCH(int, type);
    QFETCH(int, offset);
    QFETCH(int, count);

    const QByteArray session = sessionText(0, "full");
    IbtWriter::Variable bad = variable("Bad", type, count);
    bad.offset = offset;
    IbtWriter::Variable good = variable("Good", irsdk_double);
    good.offset = 0;

    IbtWriter writer;
    writer.setSessionInfo(session);
    writer.addVariable(good);
    writer.addVariable(bad);
    writer.setRecordLength(16);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(writer.open(&buffer));
    writer.setValue(0, 2.5);
    writer.appendRecord();
    writer.finish();

    // The descriptor exactly as the row says, whatever the writer would have placed.
    irsdk_header header;
    std::memcpy(&header, bytes.constData(), sizeof header);
    irsdk_varHeader descriptor;
    char *at = bytes.data() + header.varHeaderOffset + sizeof descriptor;
    std::memcpy(&descriptor, at, sizeof descriptor);
    descriptor.type = type;
    descriptor.offset = offset;
    descriptor.count = count;
    std::memcpy(at, &descriptor, sizeof descriptor);

    const IbtImage file = IbtImage::fromBytes(bytes);
    QCOMPARE(file.header().bufLen, 16);
    QCOMPARE(file.varHeaders()[1].offset, offset);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    // The record handed over is exactly bufLen bytes long, so a read past it is caught by the
    // address sanitizer.
    const QByteArray record(file.record(0), file.header().bufLen);
    const QList<Sample> samples
        = r->getRawData(&file.header(), file.varHeaders().constData(), record.constData());
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("good")).toDouble(), 2.5);
    QVERIFY(!samples[0].dynamicData.value(QStringLiteral("bad")).isValid());
}

void tst_RawExtraction::namesAreLearnedFromTheFirstRecordOnly()
{
    const QByteArray session = sessionText(0, "full");
    const Built first = build(
        {variable("Speed", irsdk_float, 1, "m/s")},
        [](IbtWriter &writer) { writer.setValue(0, 1.0); }, session);
    const Built second = build(
        {variable("Other", irsdk_float, 1, "kg")},
        [](IbtWriter &writer) { writer.setValue(0, 2.0); }, session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    decode(*r, first.file());
    const QList<Sample> samples = decode(*r, second.file());
    QCOMPARE(samples[0].dynamicData.valueNameList(), QList<QString>({QStringLiteral("speed")}));
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("speed")).unit(), QStringLiteral("m/s"));
    QCOMPARE(samples[0].dynamicData.value(QStringLiteral("speed")).toFloat(), 2.0f);
}

void tst_RawExtraction::recordRawDataFillsTheReadersOwnSamples()
{
    const QByteArray session = sessionText(0, "full");
    const Built built = build(
        {variable("Gear", irsdk_int)}, [](IbtWriter &writer) { writer.setValue(0, 4); }, session);
    auto r = reader(iRTelemetryReader::MyCarOnly, session);
    const IbtImage file = built.file();
    r->recordRawData(&file.header(), file.varHeaders().constData(), file.record(0));
    QCOMPARE(r->recordedSamples().size(), 1);
    QCOMPARE(r->recordedSamples()[0].dynamicData.value(QStringLiteral("gear")).toInt(), 4);
}

void tst_RawExtraction::simModeIsLearnedOnce()
{
    iRTelemetryReader r(iRTelemetryReader::MyCarOnly);
    r.setYaml("---\nDriverInfo:\n DriverCarIdx: 0\n");
    QCOMPARE(r.simMode(), iRTelemetryReader::SimMode::Unknown);
    r.setYaml("---\nWeekendInfo:\n SimMode: replay\n");
    QCOMPARE(r.simMode(), iRTelemetryReader::SimMode::Replay);
    r.setYaml("---\nWeekendInfo:\n SimMode: full\n");
    QCOMPARE(r.simMode(), iRTelemetryReader::SimMode::Replay);

    iRTelemetryReader live(iRTelemetryReader::MyCarOnly);
    live.setYaml("---\nWeekendInfo:\n SimMode: Replay\n");
    QCOMPARE(live.simMode(), iRTelemetryReader::SimMode::Live);
}

QTEST_APPLESS_MAIN(tst_RawExtraction)
#include "tst_rawextraction.moc"
