#include "ibtfile.h"
#include "ibtwriter.h"
#include "samplefiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <limits>
#include <vector>

using Status = IbtFile::Status;

Q_DECLARE_METATYPE(IbtFile::Status)

namespace {

constexpr int recordCount = 10;

// Three variables and ten records whose SessionTime is the record's index.
bool writeFile(const QString &path, const IbtWriter::Overrides &overrides = {},
               qint64 truncateAt = -1, const QByteArray &text = "---\nWeekendInfo:\n...\n")
{
    IbtWriter writer;
    writer.setSessionInfo(text);
    writer.addVariable("SessionTime", irsdk_double, 1, "s");
    writer.addVariable("LapDistPct", irsdk_float, 1, "%");
    writer.addVariable("CarIdxLap", irsdk_int, 4);
    writer.setOverrides(overrides);
    writer.setTruncateAt(truncateAt);
    if (!writer.open(path))
        return false;
    for (int i = 0; i < recordCount; ++i) {
        writer.setValue(0, i);
        writer.appendRecord();
    }
    return writer.finish();
}

double sessionTimeOf(const char *record)
{
    double value;
    std::memcpy(&value, record, sizeof value);
    return value;
}

} // namespace

class tst_IbtFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsEveryPart();
    void status_data();
    void status();
    void errorTexts_data();
    void errorTexts();
    void sessionTextLosesItsLastStoredByte();
    void recordsInChunksAreTheRecordsOneByOne_data();
    void recordsInChunksAreTheRecordsOneByOne();
    void partialLastRecordIsCountedAndDropped();
    void unseekableRecordOffsetStartsAfterTheDescriptors();
    void noRecordOfNoBytes();
    void plan_data();
    void plan();
    void readableElements_data();
    void readableElements();
    void recordedFilesOpen();

private:
    QString path(const QString &name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
};

void tst_IbtFile::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void tst_IbtFile::readsEveryPart()
{
    IbtWriter::Overrides overrides;
    overrides.sessionStartDate = 1432823183;
    overrides.sessionStartTime = 25.5;
    QVERIFY(writeFile(path("whole.ibt"), overrides));
    IbtFile file;
    QCOMPARE(file.open(path("whole.ibt")), Status::Ok);
    QCOMPARE(file.status(), Status::Ok);
    QCOMPARE(file.header().numVars, 3);
    QCOMPARE(file.varHeaderCount(), 3);
    QCOMPARE(QByteArray(file.varHeaders()[1].name), QByteArray("LapDistPct"));
    // Copied out first: the packed structure's fields are not aligned for a reference.
    const irsdk_diskSubHeader subHeader = file.diskSubHeader();
    const qint64 startDate = subHeader.sessionStartDate;
    const double startTime = subHeader.sessionStartTime;
    QCOMPARE(startDate, qint64(1432823183));
    QCOMPARE(startTime, 25.5);
    QCOMPARE(file.fileSize(), QFileInfo(path("whole.ibt")).size());
    QCOMPARE(file.recordLength(), 8 + 4 + 16);
    QCOMPARE(file.recordOffset(), qint64(file.header().varBuf[0].bufOffset));
    QCOMPARE(file.wholeRecords(), qint64(recordCount));
    QCOMPARE(file.partialRecordBytes(), qint64(0));
}

void tst_IbtFile::status_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<qint32>("value");
    QTest::addColumn<qint64>("truncateAt");
    QTest::addColumn<Status>("expected");

    QTest::newRow("whole file") << QString() << 0 << qint64(-1) << Status::Ok;
    QTest::newRow("empty file") << QString() << 0 << qint64(0) << Status::ShortHeader;
    QTest::newRow("ends in the header") << QString() << 0 << qint64(111) << Status::ShortHeader;
    QTest::newRow("ends in the disk sub-header")
        << QString() << 0 << qint64(143) << Status::ShortDiskSubHeader;
    // The writer puts the session text after the descriptors; it is read first.
    QTest::newRow("ends in the descriptors, before the session text")
        << QString() << 0 << qint64(144 + 144) << Status::ShortSessionText;
    QTest::newRow("session text past the end")
        << "sessionInfoLen" << 1'000'000 << qint64(-1) << Status::ShortSessionText;
    QTest::newRow("session text at a negative offset")
        << "sessionInfoOffset" << -1 << qint64(-1) << Status::ShortSessionText;
    QTest::newRow("negative session text length")
        << "sessionInfoLen" << -1 << qint64(-1) << Status::ImpossibleLength;
    QTest::newRow("more descriptors than the file holds")
        << "numVars" << 100'000 << qint64(-1) << Status::ShortVarHeaders;
    QTest::newRow("descriptors beyond 2 GiB")
        << "numVars" << std::numeric_limits<qint32>::max() << qint64(-1) << Status::ShortVarHeaders;
    QTest::newRow("negative descriptor count")
        << "numVars" << -1 << qint64(-1) << Status::ImpossibleLength;
    QTest::newRow("descriptors at a negative offset")
        << "varHeaderOffset" << -144 << qint64(-1) << Status::ShortVarHeaders;
    QTest::newRow("negative record length")
        << "bufLen" << -1 << qint64(-1) << Status::ImpossibleLength;
    QTest::newRow("record length past the end")
        << "bufLen" << std::numeric_limits<qint32>::max() << qint64(-1) << Status::Ok;
}

void tst_IbtFile::status()
{
    QFETCH(QString, field);
    QFETCH(qint32, value);
    QFETCH(qint64, truncateAt);
    QFETCH(Status, expected);

    IbtWriter::Overrides overrides;
    if (field == QLatin1String("sessionInfoLen"))
        overrides.sessionInfoLen = value;
    else if (field == QLatin1String("sessionInfoOffset"))
        overrides.sessionInfoOffset = value;
    else if (field == QLatin1String("numVars"))
        overrides.numVars = value;
    else if (field == QLatin1String("varHeaderOffset"))
        overrides.varHeaderOffset = value;
    else if (field == QLatin1String("bufLen"))
        overrides.bufLen = value;
    QFile::remove(path("status.ibt"));
    QVERIFY(writeFile(path("status.ibt"), overrides, truncateAt));

    IbtFile file;
    QCOMPARE(file.open(path("status.ibt")), expected);
    if (expected != Status::Ok) {
        QCOMPARE(file.wholeRecords(), qint64(0));
        char record[64];
        QCOMPARE(file.readRecords(record, 1), qint64(0));
    }
}

void tst_IbtFile::errorTexts_data()
{
    QTest::addColumn<Status>("status");
    QTest::addColumn<QString>("text");
    QTest::newRow("header") << Status::ShortHeader << "Error reading irsdk_header";
    QTest::newRow("disk sub-header")
        << Status::ShortDiskSubHeader << "Error reading irsdk_diskSubHeader";
    QTest::newRow("session text") << Status::ShortSessionText << "Failed to read sessionInfoString";
    QTest::newRow("descriptors") << Status::ShortVarHeaders << "Failed to read irsdk_varHeader";
    QTest::newRow("opened") << Status::Ok << QString();
    QTest::newRow("not opened") << Status::CannotOpen << QString();
}

void tst_IbtFile::errorTexts()
{
    QFETCH(Status, status);
    QFETCH(QString, text);
    QCOMPARE(IbtFile::errorText(status), text);
}

void tst_IbtFile::sessionTextLosesItsLastStoredByte()
{
    QVERIFY(writeFile(path("text.ibt"), {}, -1, "---\nA: b\n...\nX"));
    IbtFile file;
    QCOMPARE(file.open(path("text.ibt")), Status::Ok);
    QCOMPARE(QByteArray(file.sessionText()), QByteArray("---\nA: b\n...\n"));

    IbtWriter::Overrides none;
    none.sessionInfoLen = 0;
    QVERIFY(writeFile(path("no-text.ibt"), none));
    QCOMPARE(file.open(path("no-text.ibt")), Status::Ok);
    QCOMPARE(QByteArray(file.sessionText()), QByteArray());
}

void tst_IbtFile::recordsInChunksAreTheRecordsOneByOne_data()
{
    QTest::addColumn<int>("perRead");
    for (int perRead : {1, 3, recordCount, 64})
        QTest::newRow(qPrintable(QStringLiteral("%1 at a time").arg(perRead))) << perRead;
}

void tst_IbtFile::recordsInChunksAreTheRecordsOneByOne()
{
    QFETCH(int, perRead);
    QVERIFY(writeFile(path("chunks.ibt")));
    IbtFile file;
    QCOMPARE(file.open(path("chunks.ibt")), Status::Ok);
    std::vector<char> buffer(size_t(perRead * file.recordLength()));
    QList<double> times;
    while (const qint64 records = file.readRecords(buffer.data(), perRead)) {
        QVERIFY(records <= perRead);
        for (qint64 r = 0; r < records; ++r)
            times.append(sessionTimeOf(buffer.data() + r * file.recordLength()));
    }
    QCOMPARE(times, QList<double>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    QCOMPARE(file.readRecords(buffer.data(), perRead), qint64(0));
}

void tst_IbtFile::partialLastRecordIsCountedAndDropped()
{
    QVERIFY(writeFile(path("whole-for-cut.ibt")));
    const qint64 size = QFileInfo(path("whole-for-cut.ibt")).size();
    QVERIFY(writeFile(path("cut.ibt"), {}, size - 5));
    IbtFile file;
    QCOMPARE(file.open(path("cut.ibt")), Status::Ok);
    QCOMPARE(file.wholeRecords(), qint64(recordCount - 1));
    QCOMPARE(file.partialRecordBytes(), qint64(file.recordLength() - 5));
    std::vector<char> buffer(size_t(4 * file.recordLength()));
    qint64 read = 0;
    while (const qint64 records = file.readRecords(buffer.data(), 4))
        read += records;
    QCOMPARE(read, qint64(recordCount - 1));
}

// A record offset that cannot be sought leaves reading where the descriptors ended.
void tst_IbtFile::unseekableRecordOffsetStartsAfterTheDescriptors()
{
    IbtWriter::Overrides overrides;
    overrides.bufOffset = -1;
    QVERIFY(writeFile(path("unseekable.ibt"), overrides));
    IbtFile file;
    QCOMPARE(file.open(path("unseekable.ibt")), Status::Ok);
    QCOMPARE(file.recordOffset(),
             qint64(file.header().varHeaderOffset) + 3 * qint64(sizeof(irsdk_varHeader)));
}

void tst_IbtFile::noRecordOfNoBytes()
{
    IbtWriter::Overrides overrides;
    overrides.bufLen = 0;
    QVERIFY(writeFile(path("zero.ibt"), overrides));
    IbtFile file;
    QCOMPARE(file.open(path("zero.ibt")), Status::Ok);
    QCOMPARE(file.wholeRecords(), qint64(0));
    char record[8];
    QCOMPARE(file.readRecords(record, 1), qint64(0));
}

void tst_IbtFile::plan_data()
{
    QTest::addColumn<qint32>("type");
    QTest::addColumn<qint32>("count");
    QTest::addColumn<qint32>("offset"); // -1: after the time
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<int>("elements"); // 0: not in the plan
    QTest::addColumn<QString>("expectedUnit");

    QTest::newRow("float with percent unit")
        << qint32(irsdk_float) << 1 << -1 << QByteArray("%") << 1 << "pu";
    QTest::newRow("longer unit beginning with percent kept")
        << qint32(irsdk_float) << 1 << -1 << QByteArray("%/s") << 1 << "%/s";
    QTest::newRow("char array reads its first character")
        << qint32(irsdk_char) << 8 << -1 << QByteArray() << 1 << "";
    QTest::newRow("int array reads every element")
        << qint32(irsdk_int) << 2 << -1 << QByteArray("m") << 2 << "m";
    QTest::newRow("unknown type code") << 9 << 1 << -1 << QByteArray() << 0 << "";
    QTest::newRow("no elements") << qint32(irsdk_float) << 0 << -1 << QByteArray() << 0 << "";
    QTest::newRow("elements past the record")
        << qint32(irsdk_double) << 1 << 12 << QByteArray() << 0 << "";
    QTest::newRow("array reaching past the record")
        << qint32(irsdk_int) << 3 << -1 << QByteArray() << 0 << "";
}

void tst_IbtFile::plan()
{
    QFETCH(qint32, type);
    QFETCH(qint32, count);
    QFETCH(qint32, offset);
    QFETCH(QByteArray, unit);
    QFETCH(int, elements);
    QFETCH(QString, expectedUnit);

    IbtWriter writer;
    writer.setSessionInfo("---\n...\n");
    writer.addVariable("SessionTime", irsdk_double, 1, "s");
    IbtWriter::Variable variable;
    variable.name = "Mixed_Case";
    variable.type = type;
    variable.count = count;
    variable.unit = unit;
    variable.offset = offset;
    writer.addVariable(variable);
    writer.setRecordLength(8 + 8);
    QFile::remove(path("plan.ibt"));
    QVERIFY(writer.open(path("plan.ibt")));
    QVERIFY(writer.appendRecord());
    QVERIFY(writer.finish());

    IbtFile file;
    QCOMPARE(file.open(path("plan.ibt")), Status::Ok);
    const QList<IbtVariable> &variables = file.variables();
    QCOMPARE(variables.first().name, QStringLiteral("sessiontime"));
    QCOMPARE(variables.size(), elements > 0 ? 2 : 1);
    if (elements == 0)
        return;
    const IbtVariable &mixed = variables.last();
    QCOMPARE(mixed.name, QStringLiteral("mixed_case"));
    QCOMPARE(mixed.unit, expectedUnit);
    QCOMPARE(mixed.count, elements);
    QCOMPARE(mixed.descriptor, 1);
    QCOMPARE(mixed.offset, offset < 0 ? 8 : offset);
}

// Descriptors that the writer cannot make, such as a negative offset, set field by field.
void tst_IbtFile::readableElements_data()
{
    QTest::addColumn<qint32>("type");
    QTest::addColumn<qint32>("offset");
    QTest::addColumn<qint32>("count");
    QTest::addColumn<int>("elements");

    QTest::newRow("double that fills the record") << qint32(irsdk_double) << 8 << 1 << 1;
    QTest::newRow("negative offset") << qint32(irsdk_float) << -4 << 1 << 0;
    QTest::newRow("negative count") << qint32(irsdk_int) << 0 << -1 << 0;
    QTest::newRow("negative type code") << -1 << 0 << 1 << 0;
    QTest::newRow("char array with a negative count reads its first character")
        << qint32(irsdk_char) << 0 << -5 << 1;
    QTest::newRow("huge count") << qint32(irsdk_bool) << 0 << std::numeric_limits<qint32>::max()
                                << 0;
}

void tst_IbtFile::readableElements()
{
    QFETCH(qint32, type);
    QFETCH(qint32, offset);
    QFETCH(qint32, count);
    QFETCH(int, elements);
    irsdk_varHeader descriptor {};
    descriptor.type = type;
    descriptor.offset = offset;
    descriptor.count = count;
    QCOMPARE(IbtVariable::readableElements(descriptor, 16), elements);
}

void tst_IbtFile::recordedFilesOpen()
{
    ZUM_REQUIRE_SAMPLE_FILES();
    for (const QString &path : SampleFiles::all()) {
        IbtFile file;
        const Status status = file.open(path);
        // Even the file that is not telemetry opens: its lengths are all 0.
        QVERIFY2(status == Status::Ok, qPrintable(path));
        QVERIFY(file.wholeRecords() >= 0);
        QCOMPARE(file.wholeRecords() * file.recordLength() + file.partialRecordBytes(),
                 file.recordLength() > 0 ? file.fileSize() - file.recordOffset() : 0);
        for (const IbtVariable &variable : file.variables())
            QVERIFY(variable.offset + qint64(variable.count) * variable.elementSize()
                    <= file.recordLength());
    }
}

QTEST_GUILESS_MAIN(tst_IbtFile)
#include "tst_ibtfile.moc"
