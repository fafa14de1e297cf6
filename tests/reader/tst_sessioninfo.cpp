#include "irtelemetryreader.h"

#include <QColor>
#include <QTest>

using ZUM::SDK::Lap;
using ZUM::SDK::Sample;
using ZUM::SDK::Session;

namespace {

// A session text as the simulator writes it, one space per level.
QByteArray weekendText(const QByteArray &weekendLines, const QByteArray &rest = {})
{
    return "---\nWeekendInfo:\n" + weekendLines + rest + "...\n";
}

const QByteArray fullText = "---\n"
                            "WeekendInfo:\n"
                            " TrackName: interlagos\n"
                            " TrackLength: 4.31 km\n"
                            " TrackDisplayName: Aut dromo Jos  Carlos Pace\n"
                            " TrackDisplayShortName: Interlagos\n"
                            " TrackConfigName: Grand Prix\n"
                            " TrackCity: S o Paulo\n"
                            " TrackCountry: Brazil\n"
                            " TrackNorthOffset: 1.2345 rad\n"
                            " TrackNumTurns: 15\n"
                            " TrackSkies: Partly Cloudy\n"
                            " TrackSurfaceTemp: 38.51 C\n"
                            " TrackAirTemp: 25.56 C\n"
                            " SessionID: 1234\n"
                            " SubSessionID: 5678\n"
                            " Official: 0\n"
                            " Category: Road\n"
                            " SimMode: full\n"
                            " WeekendOptions:\n"
                            "  WeatherTemp: 25.56 C\n"
                            "SessionInfo:\n"
                            " Sessions:\n"
                            " - SessionNum: 0\n"
                            "   SessionType: Practice\n"
                            " - SessionNum: 1\n"
                            "   SessionType: Lone Qualify\n"
                            " - SessionNum: 2\n"
                            "   SessionType: Race\n"
                            "DriverInfo:\n"
                            " DriverCarIdx: 3\n"
                            " DriverCarFuelKgPerLtr: 0.750\n"
                            " DriverCarFuelMaxLtr: 100.0\n"
                            " DriverCarMaxFuelPct: 0.900\n"
                            " Drivers:\n"
                            " - CarIdx: 0\n"
                            "   UserName: Other Driver\n"
                            "   TeamName: Other Team\n"
                            "   CarScreenName: Porsche 911 GT3 R\n"
                            "   CarClassShortName: GT3\n"
                            "   LicColor: 0x00c702\n"
                            " - CarIdx: 3\n"
                            "   UserName: Ayrton Tester\n"
                            "   AbbrevName: Tester, A\n"
                            "   Initials: AT\n"
                            "   TeamName: Team Tester\n"
                            "   UserID: 424242\n"
                            "   CarID: 132\n"
                            "   CarPath: bmwm4gt3\n"
                            "   CarClassID: 2708\n"
                            "   CarScreenName: BMW M4 GT3\n"
                            "   CarClassShortName: GT3 Class\n"
                            "   IRating: 2345\n"
                            "   LicString: A 3.41\n"
                            "   LicColor: 0x0153db\n"
                            "   ClubName: Brazil\n"
                            "   DivisionName: Division 2\n"
                            "CarSetup:\n"
                            " TiresAero:\n"
                            "  AeroCalculator:\n"
                            "   FrontRhAtSpeed: 45.0 mm\n"
                            "   DownforceBalance: 41.50%\n"
                            "   Empty: \n"
                            " Chassis:\n"
                            "  Rear:\n"
                            "   FuelLevel: 58.0 L\n"
                            "...\n";

std::unique_ptr<iRTelemetryReader> readerWith(const QByteArray &text, int sessionNum = 0)
{
    auto reader = std::make_unique<iRTelemetryReader>(iRTelemetryReader::MyCarOnly);
    reader->setYaml(text.constData());
    reader->updateCarList();
    if (reader->myCarIdx() >= 0) {
        Sample sample;
        sample.dynamicData.setValue(QStringLiteral("sessionnum"), sessionNum, QString());
        reader->processData({sample});
    }
    return reader;
}

ZUM::SDK::LapHeader headerFor(iRTelemetryReader &reader, int carIdx)
{
    Lap lap;
    reader.getSessionInfo(carIdx, &lap);
    return lap.header();
}

} // namespace

class tst_SessionInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void simMode_data();
    void simMode();
    void simModeLearnedByALaterText();
    void sessionId_data();
    void sessionId();
    void trackBlock();
    void measuredValues_data();
    void measuredValues();
    void fuelAndSetupForThePlayersCar();
    void noFuelOrSetupForOtherCars();
    void zeroFuelDensityStoresNoWeight();
    void preferredFuelUnit_data();
    void preferredFuelUnit();
    void aeroBalanceCalcIsTheFallback();
    void driverBlock();
    void licenceColour_data();
    void licenceColour();
    void sessionKind_data();
    void sessionKind();
    void noPlayerCarLeavesTheSessionUnknown();
    void nameCorrections_data();
    void nameCorrections();
    void noWeekendInfoLeavesTrackUnset();
    void carList();
    void carListWithoutPlayer_data();
    void carListWithoutPlayer();
    void carListFillsOnlyNamedSlots();
    void carListSecondCallReportsStatusChanges();
    void carListWithoutDriversKeepsFlags();
};

void tst_SessionInfo::simMode_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<iRTelemetryReader::SimMode>("simMode");
    using SimMode = iRTelemetryReader::SimMode;
    QTest::newRow("replay") << weekendText(" SimMode: replay\n") << SimMode::Replay;
    QTest::newRow("Replay in other case is live")
        << weekendText(" SimMode: Replay\n") << SimMode::Live;
    QTest::newRow("full is live") << weekendText(" SimMode: full\n") << SimMode::Live;
    QTest::newRow("no SimMode is live") << weekendText(" TrackName: x\n") << SimMode::Live;
    QTest::newRow("no WeekendInfo is unknown")
        << QByteArray("---\nDriverInfo:\n DriverCarIdx: 0\n") << SimMode::Unknown;
}

void tst_SessionInfo::simMode()
{
    QFETCH(QByteArray, text);
    QFETCH(iRTelemetryReader::SimMode, simMode);
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml(text.constData());
    QCOMPARE(reader.simMode(), simMode);
}

void tst_SessionInfo::simModeLearnedByALaterText()
{
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml("---\nDriverInfo:\n DriverCarIdx: 0\n");
    QCOMPARE(reader.simMode(), iRTelemetryReader::SimMode::Unknown);
    reader.setYaml(weekendText(" SimMode: replay\n").constData());
    QCOMPARE(reader.simMode(), iRTelemetryReader::SimMode::Replay);
    reader.setYaml(weekendText(" SimMode: full\n").constData());
    QCOMPARE(reader.simMode(), iRTelemetryReader::SimMode::Replay);
    // The tree merges the texts.
    QCOMPARE(reader.pathValue("DriverInfo/DriverCarIdx"), QStringLiteral("0"));

    reader.initialize();
    QCOMPARE(reader.simMode(), iRTelemetryReader::SimMode::Unknown);
    QCOMPARE(reader.myCarIdx(), -1);
    QCOMPARE(reader.myCarOnly(), false);
}

void tst_SessionInfo::sessionId_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("uuid");
    QTest::newRow("session and subsession digits") << "12345678"
                                                   << "{00000000-0000-0000-0000-000012345678}";
    QTest::newRow("empty text is the null uuid") << ""
                                                 << "{00000000-0000-0000-0000-000000000000}";
    QTest::newRow("32 digits fill the uuid") << "12345678901234567890123456789012"
                                             << "{12345678-9012-3456-7890-123456789012}";
    QTest::newRow("33 digits give the null uuid") << "123456789012345678901234567890123"
                                                  << "{00000000-0000-0000-0000-000000000000}";
    QTest::newRow("hex letters give the null uuid") << "12ab"
                                                    << "{00000000-0000-0000-0000-000000000000}";
}

void tst_SessionInfo::sessionId()
{
    QFETCH(QString, digits);
    QFETCH(QString, uuid);
    QCOMPARE(iRTelemetryReader::sessionId(digits).toString(), uuid);
}

void tst_SessionInfo::trackBlock()
{
    auto reader = readerWith(fullText);
    const ZUM::SDK::LapHeader header = headerFor(*reader, 3);
    QCOMPARE(header.carInfo.carId, QStringLiteral("3"));
    QCOMPARE(header.trackConfigName, QStringLiteral("Grand Prix"));
    QCOMPARE(reader->sessionKey(), 12345678ULL);
    QCOMPARE(header.sessionId.toString(), QStringLiteral("{00000000-0000-0000-0000-000012345678}"));

    const auto text = [&](const char *name) {
        const ZUM::SDK::Value value = header.dynamicData.value(QString::fromLatin1(name));
        return std::make_pair(value.toString(), value.unit());
    };
    using Pair = std::pair<QString, QString>;
    QCOMPARE(text("Track short name"), Pair(QStringLiteral("Interlagos"), QString()));
    QCOMPARE(text("Track country"), Pair(QStringLiteral("Brazil"), QString()));
    QCOMPARE(text("Track turns"), Pair(QStringLiteral("15"), QString()));
    QCOMPARE(text("Skies"), Pair(QStringLiteral("Partly Cloudy"), QString()));
    QCOMPARE(text("Official"), Pair(QStringLiteral("0"), QString()));
    QCOMPARE(text("Category"), Pair(QStringLiteral("Road"), QString()));
    QCOMPARE(header.dynamicData.value(QStringLiteral("Track turns")).metaType(),
             QMetaType::fromType<QString>());

    // Texts the session text lacks are stored all the same, as empty texts.
    auto sparse = readerWith(weekendText(" TrackName: x\n"));
    const ZUM::SDK::LapHeader empty = headerFor(*sparse, 0);
    QVERIFY(empty.dynamicData.containsValue(QStringLiteral("Category")));
    QVERIFY(empty.dynamicData.value(QStringLiteral("Category")).toString().isEmpty());
    QVERIFY(empty.trackName.isNull());
}

void tst_SessionInfo::measuredValues_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("name");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("unit");

    QTest::newRow("track length in km")
        << QByteArray(" TrackLength: 3.70 km\n") << "Track length" << 3.70 << "km";
    QTest::newRow("absent track length is zero without unit")
        << QByteArray() << "Track length" << 0.0 << "";
    QTest::newRow("surface temperature") << QByteArray(" TrackSurfaceTemp: 38.51 C\n")
                                         << "Track surface temperature" << 38.51 << "C";
    QTest::newRow("air temperature")
        << QByteArray(" TrackAirTemp: 25.56 C\n") << "Air temperature" << 25.56 << "C";
    QTest::newRow("weekend temperature below the options")
        << QByteArray(" WeekendOptions:\n  WeatherTemp: 20.00 C\n") << "Weekend temperature" << 20.0
        << "C";
    QTest::newRow("north offset loses its unit")
        << QByteArray(" TrackNorthOffset: 1.2345 rad\n") << "YawOffset" << 1.2345 << "";
    QTest::newRow("extra blanks are simplified")
        << QByteArray(" TrackLength:   5.07    km\n") << "Track length" << 5.07 << "km";
    QTest::newRow("number without unit")
        << QByteArray(" TrackLength: 2.5\n") << "Track length" << 2.5 << "";
    QTest::newRow("text that is no number is zero")
        << QByteArray(" TrackLength: long km\n") << "Track length" << 0.0 << "km";
}

void tst_SessionInfo::measuredValues()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, name);
    QFETCH(double, value);
    QFETCH(QString, unit);

    auto reader = readerWith(weekendText(" TrackName: x\n" + line));
    const ZUM::SDK::Value stored = headerFor(*reader, 0).dynamicData.value(name);
    QCOMPARE(stored.metaType(), QMetaType::fromType<double>());
    QCOMPARE(stored.toDouble(), value);
    QCOMPARE(stored.unit(), unit);
}

void tst_SessionInfo::fuelAndSetupForThePlayersCar()
{
    auto reader = readerWith(fullText);
    QCOMPARE(reader->myCarIdx(), 3);
    const ZUM::SDK::DynamicData values = headerFor(*reader, 3).dynamicData;

    QCOMPARE(values.value(QStringLiteral("Maximum fuel level")).toDouble(), 100.0 * 0.9);
    QCOMPARE(values.value(QStringLiteral("Maximum fuel level")).unit(), QStringLiteral("l"));
    QCOMPARE(values.value(QStringLiteral("Maximum fuel percent")).toDouble(), 0.9);
    QCOMPARE(values.value(QStringLiteral("Maximum fuel percent")).unit(), QStringLiteral("pu"));
    QCOMPARE(values.value(QStringLiteral("Kg per fuel litre")).toDouble(), 0.75);
    QVERIFY(values.value(QStringLiteral("Kg per fuel litre")).unit().isEmpty());
    QCOMPARE(values.value(QStringLiteral("Maximum fuel weight")).toDouble(), 100.0 * 0.9 * 0.75);
    QCOMPARE(values.value(QStringLiteral("Maximum fuel weight")).unit(), QStringLiteral("kg"));
    QCOMPARE(values.value(QStringLiteral("Preferred fuel unit")).toString(),
             QStringLiteral("volume"));

    // The aero calculator's values stay texts, split from their units.
    QCOMPARE(values.value(QStringLiteral("FrontRhAtSpeed")).metaType(),
             QMetaType::fromType<QString>());
    QCOMPARE(values.value(QStringLiteral("FrontRhAtSpeed")).toString(), QStringLiteral("45.0"));
    QCOMPARE(values.value(QStringLiteral("FrontRhAtSpeed")).unit(), QStringLiteral("mm"));
    QCOMPARE(values.value(QStringLiteral("DownforceBalance")).toString(), QStringLiteral("41.50%"));
    QVERIFY(values.value(QStringLiteral("DownforceBalance")).unit().isEmpty());
    QVERIFY(!values.containsValue(QStringLiteral("Empty")));
}

void tst_SessionInfo::noFuelOrSetupForOtherCars()
{
    auto reader = readerWith(fullText);
    const ZUM::SDK::LapHeader header = headerFor(*reader, 0);
    for (const char *name : {"Maximum fuel level", "Maximum fuel percent", "Kg per fuel litre",
                             "Maximum fuel weight", "Preferred fuel unit", "FrontRhAtSpeed"})
        QVERIFY2(!header.dynamicData.containsValue(QString::fromLatin1(name)), name);
    QCOMPARE(header.carInfo.driverName, QStringLiteral("Other Driver"));
    QCOMPARE(header.dynamicData.value(QStringLiteral("Team")).toString(),
             QStringLiteral("Other Team"));
}

void tst_SessionInfo::zeroFuelDensityStoresNoWeight()
{
    QByteArray text = fullText;
    text.replace("DriverCarFuelKgPerLtr: 0.750", "DriverCarFuelKgPerLtr: 0.000");
    auto reader = readerWith(text);
    const ZUM::SDK::DynamicData values = headerFor(*reader, 3).dynamicData;
    QVERIFY(!values.containsValue(QStringLiteral("Kg per fuel litre")));
    QVERIFY(!values.containsValue(QStringLiteral("Maximum fuel weight")));
    QVERIFY(values.containsValue(QStringLiteral("Maximum fuel level")));
}

void tst_SessionInfo::preferredFuelUnit_data()
{
    QTest::addColumn<QByteArray>("fuelLevel");
    QTest::addColumn<QString>("preferred"); // null: nothing stored
    QTest::newRow("kilograms are weight") << QByteArray("12.5 kg") << "weight";
    QTest::newRow("litres are volume") << QByteArray("12.5 L") << "volume";
    QTest::newRow("upper-case KG is volume") << QByteArray("12.5 KG") << "volume";
    QTest::newRow("one piece stores nothing") << QByteArray("12.5") << QString();
    QTest::newRow("three pieces store nothing") << QByteArray("12.5 kg x") << QString();
}

void tst_SessionInfo::preferredFuelUnit()
{
    QFETCH(QByteArray, fuelLevel);
    QFETCH(QString, preferred);
    QByteArray text = fullText;
    text.replace("FuelLevel: 58.0 L", "FuelLevel: " + fuelLevel);
    auto reader = readerWith(text);
    const ZUM::SDK::Value value
        = headerFor(*reader, 3).dynamicData.value(QStringLiteral("Preferred fuel unit"));
    if (preferred.isNull())
        QVERIFY(!value.isValid());
    else
        QCOMPARE(value.toString(), preferred);
}

void tst_SessionInfo::aeroBalanceCalcIsTheFallback()
{
    QByteArray text = fullText;
    text.replace("AeroCalculator:", "AeroBalanceCalc:");
    auto reader = readerWith(text);
    const ZUM::SDK::DynamicData values = headerFor(*reader, 3).dynamicData;
    QCOMPARE(values.value(QStringLiteral("FrontRhAtSpeed")).unit(), QStringLiteral("mm"));
}

void tst_SessionInfo::driverBlock()
{
    auto reader = readerWith(fullText);
    const ZUM::SDK::LapHeader header = headerFor(*reader, 3);
    QCOMPARE(header.carInfo.driverName, QStringLiteral("Ayrton Tester"));
    QCOMPARE(header.carInfo.carName, QStringLiteral("BMW M4 GT3"));
    const std::pair<const char *, const char *> expected[] = {
        {"Team", "Team Tester"},
        {"Driver abbreviation", "Tester, A"},
        {"iRating", "2345"},
        {"License", "A 3.41"},
        {"Driver initials", "AT"},
        {"iRacing UserID", "424242"},
        {"iRacing car path", "bmwm4gt3"},
        {"iRacing car class ID", "2708"},
        {"iRacing car ID", "132"},
        {"Class", "GT3 Class"},
        {"Club", "Brazil"},
        {"Division", "Division 2"},
    };
    for (const auto &[name, text] : expected) {
        const ZUM::SDK::Value value = header.dynamicData.value(QString::fromLatin1(name));
        QCOMPARE(value.metaType(), QMetaType::fromType<QString>());
        QCOMPARE(value.toString(), QString::fromLatin1(text));
        QVERIFY(value.unit().isEmpty());
    }
}

void tst_SessionInfo::licenceColour_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("colour"); // empty: invalid colour
    QTest::newRow("hex number becomes a colour") << QByteArray("0x0153db") << "#0153db";
    QTest::newRow("upper-case hex digits") << QByteArray("0xFC0706") << "#fc0706";
    QTest::newRow("text that is no colour") << QByteArray("blue-ish") << "";
}

void tst_SessionInfo::licenceColour()
{
    QFETCH(QByteArray, written);
    QFETCH(QString, colour);
    QByteArray text = fullText;
    text.replace("LicColor: 0x0153db", "LicColor: " + written);
    auto reader = readerWith(text);
    const ZUM::SDK::Value value
        = headerFor(*reader, 3).dynamicData.value(QStringLiteral("Licence color"));
    QCOMPARE(value.metaType(), QMetaType::fromType<QColor>());
    const QColor stored = value.value<QColor>();
    QCOMPARE(stored.isValid(), !colour.isEmpty());
    if (!colour.isEmpty())
        QCOMPARE(stored.name(), colour);
}

void tst_SessionInfo::sessionKind_data()
{
    QTest::addColumn<int>("sessionNum");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("session");
    QTest::newRow("practice") << 0 << "Practice" << int(Session::Practice);
    QTest::newRow("lone qualify keeps the kind unknown") << 1 << "Lone Qualify" << -1;
    QTest::newRow("race") << 2 << "Race" << int(Session::Race);
    QTest::newRow("missing session has an empty name") << 7 << "" << -1;
}

void tst_SessionInfo::sessionKind()
{
    QFETCH(int, sessionNum);
    QFETCH(QString, name);
    QFETCH(int, session);
    auto reader = readerWith(fullText, sessionNum);
    // The player's session counts, whatever car the lap belongs to.
    for (int car : {3, 0}) {
        const ZUM::SDK::LapHeader header = headerFor(*reader, car);
        QCOMPARE(header.dynamicData.value(QStringLiteral("Session name")).toString(), name);
        QCOMPARE(int(header.session), session);
    }
}

void tst_SessionInfo::noPlayerCarLeavesTheSessionUnknown()
{
    QByteArray text = fullText;
    text.replace(" DriverCarIdx: 3\n", "");
    auto reader = readerWith(text);
    QCOMPARE(reader->myCarIdx(), -1);
    const ZUM::SDK::LapHeader header = headerFor(*reader, 3);
    QVERIFY(header.dynamicData.value(QStringLiteral("Session name")).toString().isEmpty());
    QCOMPARE(header.session, Session::Unknown);
    QVERIFY(!header.dynamicData.containsValue(QStringLiteral("Maximum fuel level")));
    QCOMPARE(header.carInfo.driverName, QStringLiteral("Ayrton Tester"));
}

void tst_SessionInfo::nameCorrections_data()
{
    QTest::addColumn<QByteArray>("track");
    QTest::addColumn<QByteArray>("city");
    QTest::addColumn<QString>("expectedTrack");
    QTest::addColumn<QString>("expectedCity");

    QTest::newRow("accents restored in track and city")
        << QByteArray("Aut dromo Jos  Carlos Pace") << QByteArray("S o Paulo")
        << QStringLiteral("Autódromo José Carlos Pace") << QStringLiteral("São Paulo");
    QTest::newRow("other names left alone")
        << QByteArray("Red Bull Ring") << QByteArray("Spielberg") << "Red Bull Ring"
        << "Spielberg";
    QTest::newRow("a single blank is not the circuit")
        << QByteArray("Aut dromo Jos Carlos Pace") << QByteArray("So Paulo")
        << "Aut dromo Jos Carlos Pace"
        << "So Paulo";
}

void tst_SessionInfo::nameCorrections()
{
    QFETCH(QByteArray, track);
    QFETCH(QByteArray, city);
    QFETCH(QString, expectedTrack);
    QFETCH(QString, expectedCity);

    QCOMPARE(QByteArray("Aut dromo Jos  Carlos Pace").size(), 26);
    QCOMPARE(QStringLiteral("Autódromo José Carlos Pace").toUtf8().size(), 28);

    auto reader
        = readerWith(weekendText(" TrackDisplayName: " + track + "\n TrackCity: " + city + "\n"));
    const ZUM::SDK::LapHeader header = headerFor(*reader, 0);
    QCOMPARE(header.trackName, expectedTrack);
    QCOMPARE(header.dynamicData.value(QStringLiteral("Track city")).toString(), expectedCity);
}

void tst_SessionInfo::noWeekendInfoLeavesTrackUnset()
{
    auto reader = readerWith(
        "---\nDriverInfo:\n DriverCarIdx: 0\n Drivers:\n - CarIdx: 0\n   UserName: Solo\n");
    const ZUM::SDK::LapHeader header = headerFor(*reader, 0);
    QVERIFY(header.trackName.isNull());
    QVERIFY(header.sessionId.isNull());
    QVERIFY(!header.dynamicData.containsValue(QStringLiteral("Track length")));
    QCOMPARE(header.carInfo.driverName, QStringLiteral("Solo"));
    QCOMPARE(reader->sessionKey(), 0ULL);
}

void tst_SessionInfo::carList()
{
    QByteArray text = fullText;
    text.replace(" DriverCarIdx: 3\n", " DriverCarIdx: 12\n");
    text.replace(" - CarIdx: 3\n", " - CarIdx: 12\n");
    iRTelemetryReader reader(iRTelemetryReader::AllCars);
    reader.setYaml(text.constData());
    QVERIFY(reader.updateCarList());
    QCOMPARE(reader.myCarIdx(), 12);
    for (int i = 0; i < reader.cars().size(); ++i) {
        QCOMPARE(reader.detailedTelemetry(i), i == 12);
        QCOMPARE(reader.cars()[i].sample.detailedTelemetry, i == 12);
        QCOMPARE(reader.cars()[i].sample.carId, QString::number(i));
    }
    QCOMPARE(reader.driverName(12), QStringLiteral("Ayrton Tester"));
    QCOMPARE(reader.teamName(12), QStringLiteral("Team Tester"));
    QCOMPARE(reader.carName(12), QStringLiteral("BMW M4 GT3"));
    QCOMPARE(reader.className(12), QStringLiteral("GT3 Class"));
    QCOMPARE(reader.driverName(0), QStringLiteral("Other Driver"));
    QCOMPARE(reader.status(12), int(ZUM::SDK::CarStatus::Undefined));
}

void tst_SessionInfo::carListWithoutPlayer_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("missing DriverCarIdx") << QByteArray();
    QTest::newRow("DriverCarIdx not a number") << QByteArray(" DriverCarIdx: three\n");
    QTest::newRow("DriverCarIdx beyond 32 bits") << QByteArray(" DriverCarIdx: 4294967296\n");
}

void tst_SessionInfo::carListWithoutPlayer()
{
    QFETCH(QByteArray, line);
    QByteArray text = fullText;
    text.replace(" DriverCarIdx: 3\n", line);
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml(text.constData());
    reader.updateCarList();
    QCOMPARE(reader.myCarIdx(), -1);
    for (int i = 0; i < reader.cars().size(); ++i)
        QVERIFY(!reader.detailedTelemetry(i));
    QVERIFY(reader.myLap().isNull());
    QVERIFY(!reader.isMyLapReady());
}

void tst_SessionInfo::carListFillsOnlyNamedSlots()
{
    iRTelemetryReader reader(iRTelemetryReader::AllCars);
    reader.setYaml("---\nDriverInfo:\n DriverCarIdx: 0\n Drivers:\n - CarIdx: 0\n   UserName: A\n"
                   " - CarIdx: 3\n   UserName: B\n   CarScreenName: Car B\n");
    reader.updateCarList();
    QCOMPARE(reader.driverName(0), QStringLiteral("A"));
    QCOMPARE(reader.driverName(3), QStringLiteral("B"));
    QCOMPARE(reader.carName(3), QStringLiteral("Car B"));
    for (int i : {1, 2, 4, 63})
        QVERIFY(reader.driverName(i).isEmpty());
}

void tst_SessionInfo::carListSecondCallReportsStatusChanges()
{
    iRTelemetryReader reader(iRTelemetryReader::MyCarOnly);
    reader.setYaml("---\nDriverInfo:\n DriverCarIdx: 0\n Drivers:\n - CarIdx: 0\n   UserName: A\n");
    QVERIFY(reader.updateCarList());
    QVERIFY(!reader.updateCarList());

    // One tick on track moves the car from Undefined to an out lap.
    Sample sample;
    sample.dynamicData.setValue(QStringLiteral("lapdistpct"), 0.5f, QStringLiteral("pu"));
    sample.dynamicData.setValue(QStringLiteral("isontrack"), true, QString());
    reader.setYaml("---\nWeekendInfo:\n SimMode: full\n");
    reader.prepareTick();
    reader.processData({sample});
    QCOMPARE(reader.status(0), int(ZUM::SDK::CarStatus::OutLap));
    QVERIFY(reader.updateCarList());
}

void tst_SessionInfo::carListWithoutDriversKeepsFlags()
{
    iRTelemetryReader reader(iRTelemetryReader::AllCars);
    reader.setYaml("---\nDriverInfo:\n DriverCarIdx: 2\n");
    QVERIFY(!reader.updateCarList());
    QCOMPARE(reader.myCarIdx(), 2);
    QVERIFY(!reader.detailedTelemetry(2));
    QVERIFY(reader.cars()[2].sample.carId.isEmpty());
    QVERIFY(reader.cars()[2].sample.detailedTelemetry);
}

QTEST_APPLESS_MAIN(tst_SessionInfo)
#include "tst_sessioninfo.moc"
