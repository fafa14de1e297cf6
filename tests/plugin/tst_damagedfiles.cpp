#include "ibtwriter.h"
#include "plugininterfaceimport.h"
#include "sessiongenerator.h"
#include "smallfile.h"

#include <QFileInfo>
#include <QPluginLoader>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <new>
#include <optional>
#include <utility>

Q_DECLARE_METATYPE(IbtWriter::Overrides)

// Whatever a damaged file says, the import ends: with laps, or with its message, or (for a
// length no buffer can have) with an allocation failure for the host to report. Never a
// crash, a hang or a read outside a buffer: the sanitizer build runs these too.
class tst_DamagedFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void headerFields_data();
    void headerFields();
    void cutShort_data();
    void cutShort();
    void overlappingVariablesStopAtTheBound_data();
    void overlappingVariablesStopAtTheBound();
    void lapsBeforeTheBoundAreKept();

private:
    QString importAndDescribe(const QString &path);
    QList<QSharedPointer<ZUM::SDK::Lap>> importWithMessages(const QString &path,
                                                            QStringList *errors);
    QString write(const QString &name, const IbtWriter::Overrides &overrides, qint64 truncateAt);

    QTemporaryDir m_dir;
    ZUM::SDK::PluginInterfaceImport *m_plugin = nullptr;
    QString m_whole;
    qint64 m_wholeSize = 0;
};

void tst_DamagedFiles::initTestCase()
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    m_plugin = qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
    QVERIFY(m_plugin);
    QVERIFY(m_dir.isValid());

    m_whole = write(QStringLiteral("whole.ibt"), {}, -1);
    QVERIFY(!m_whole.isEmpty());
    m_wholeSize = QFileInfo(m_whole).size();
}

QString tst_DamagedFiles::write(const QString &name, const IbtWriter::Overrides &overrides,
                                qint64 truncateAt)
{
    const QString path = m_dir.filePath(name);
    return writeSmallFile(path, 120, overrides, truncateAt) ? path : QString();
}

// The import's outcome in a word: its last message, or the allocation failure.
QString tst_DamagedFiles::importAndDescribe(const QString &path)
{
    QSignalSpy spy(m_plugin->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    try {
        const auto laps = m_plugin->import(path, m_plugin->availableImportFormats().first(), {});
        for (const auto &lap : laps) {
            for (const QString &name : lap->getAvailableRecordedChannels()) {
                if (lap->channel(name)->size() != lap->size())
                    return QStringLiteral("channels of unequal length");
            }
        }
    } catch (const std::bad_alloc &) {
        return QStringLiteral("allocation failure");
    }
    if (spy.isEmpty())
        return QStringLiteral("no message");
    const QString last = spy.last().at(0).toString();
    return last.mid(last.indexOf(QLatin1String("] ")) + 2);
}

void tst_DamagedFiles::headerFields_data()
{
    QTest::addColumn<IbtWriter::Overrides>("overrides");

    const qint64 values[] = {-1,
                             0,
                             1,
                             112,
                             143,
                             144,
                             1000,
                             m_wholeSize - 1,
                             m_wholeSize,
                             m_wholeSize + 1,
                             std::numeric_limits<qint32>::max(),
                             std::numeric_limits<qint32>::min()};
    using Field = std::optional<int32_t> IbtWriter::Overrides::*;
    const std::pair<const char *, Field> fields[] = {
        {"sessionInfoLen", &IbtWriter::Overrides::sessionInfoLen},
        {"sessionInfoOffset", &IbtWriter::Overrides::sessionInfoOffset},
        {"numVars", &IbtWriter::Overrides::numVars},
        {"varHeaderOffset", &IbtWriter::Overrides::varHeaderOffset},
        {"bufLen", &IbtWriter::Overrides::bufLen},
        {"bufOffset", &IbtWriter::Overrides::bufOffset},
    };
    for (const auto &[name, field] : fields) {
        for (qint64 value : values) {
            IbtWriter::Overrides overrides;
            overrides.*field = qint32(value);
            QTest::newRow(qPrintable(QStringLiteral("%1 = %2").arg(QLatin1String(name)).arg(value)))
                << overrides;
        }
    }
}

void tst_DamagedFiles::headerFields()
{
    QFETCH(IbtWriter::Overrides, overrides);
    const QString path = write(QStringLiteral("damaged.ibt"), overrides, -1);
    QVERIFY(!path.isEmpty());

    const QString outcome = importAndDescribe(path);
    const QStringList expected
        = {QStringLiteral("allocation failure"),
           QStringLiteral("IBT import error:  Failed to read sessionInfoString"),
           QStringLiteral("IBT import error:  Failed to read irsdk_varHeader")};
    QVERIFY2(expected.contains(outcome) || outcome.startsWith(QLatin1String("Done in ")),
             qPrintable(outcome));
}

void tst_DamagedFiles::cutShort_data()
{
    QTest::addColumn<qint64>("bytes");
    for (qint64 bytes : {qint64(0), qint64(50), qint64(112), qint64(120), qint64(144), qint64(145),
                         qint64(1000), m_wholeSize / 3, m_wholeSize / 2, m_wholeSize - 1})
        QTest::newRow(qPrintable(QStringLiteral("%1 bytes").arg(bytes))) << bytes;
}

void tst_DamagedFiles::cutShort()
{
    QFETCH(qint64, bytes);
    const QString path = write(QStringLiteral("cut.ibt"), {}, bytes);
    QVERIFY(!path.isEmpty());
    QCOMPARE(QFileInfo(path).size(), bytes);

    const QString outcome = importAndDescribe(path);
    const QStringList failures
        = {QStringLiteral("IBT import error:  Error reading irsdk_header"),
           QStringLiteral("IBT import error:  Error reading irsdk_diskSubHeader"),
           QStringLiteral("IBT import error:  Failed to read sessionInfoString"),
           QStringLiteral("IBT import error:  Failed to read irsdk_varHeader")};
    QVERIFY2(failures.contains(outcome) || outcome.startsWith(QLatin1String("Done in ")),
             qPrintable(outcome));
}

namespace {

// One-byte variables of distinct names, all reading the record's first byte.
void addFlagsAtOffsetZero(IbtWriter &writer, int count)
{
    for (int v = 0; v < count; ++v) {
        IbtWriter::Variable variable;
        variable.name = "Flag" + QByteArray::number(v);
        variable.type = irsdk_bool;
        variable.offset = 0;
        writer.addVariable(variable);
    }
}

} // namespace

QList<QSharedPointer<ZUM::SDK::Lap>> tst_DamagedFiles::importWithMessages(const QString &path,
                                                                          QStringList *errors)
{
    QSignalSpy spy(m_plugin->dataEmitter(), &ZUM::SDK::DataEmitter::sendMessage);
    const auto laps = m_plugin->import(path, m_plugin->availableImportFormats().first(), {});
    for (const QList<QVariant> &message : std::as_const(spy)) {
        if (message.at(1).toInt() == ZUM::SDK::PluginInterfaceImport::Error) {
            const QString text = message.at(0).toString();
            errors->append(text.mid(text.indexOf(QLatin1String("] ")) + 2));
        }
    }
    return laps;
}

// Records of one byte, each read by every one of many one-byte variables at offset 0: a file
// of a few kilobytes would ask for gigabytes of channels. The import stops at a bound that no
// real file reaches, and says so.
void tst_DamagedFiles::overlappingVariablesStopAtTheBound_data()
{
    QTest::addColumn<int>("variables");
    QTest::addColumn<int>("records");
    QTest::newRow("64 KB file") << 200 << 36'000;
    QTest::newRow("256 KB file") << 800 << 140'000;
}

void tst_DamagedFiles::overlappingVariablesStopAtTheBound()
{
    QFETCH(int, variables);
    QFETCH(int, records);
    IbtWriter writer;
    writer.setSessionInfo(SessionGenerator().sessionInfo());
    addFlagsAtOffsetZero(writer, variables);
    writer.setRecordLength(1);
    const QString path = m_dir.filePath(QStringLiteral("overlapping.ibt"));
    QVERIFY(writer.open(path));
    for (int r = 0; r < records; ++r) {
        writer.setValue(0, r % 2);
        QVERIFY(writer.appendRecord());
    }
    QVERIFY(writer.finish());

    QStringList errors;
    const auto laps = importWithMessages(path, &errors);
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors.first().startsWith(QLatin1String("IBT import error:  ")),
             qPrintable(errors.first()));
    QVERIFY2(errors.first().contains(QString::number(QFileInfo(path).size())),
             qPrintable(errors.first()));
    QVERIFY(laps.isEmpty());
}

// The same session with and without variables laid over each other: what was completed
// before the import stopped is what the whole session gives, lap for lap.
void tst_DamagedFiles::lapsBeforeTheBoundAreKept()
{
    SessionGenerator::Options options;
    options.laps = 4;
    options.carArrays = false;
    const SessionGenerator generator(options);
    const QString whole = m_dir.filePath(QStringLiteral("session.ibt"));
    QVERIFY(generator.write(whole));

    // Enough extra one-byte variables at offset 0 that the records hold twice the file's bytes
    // in values about halfway through the session.
    const qint64 size = QFileInfo(whole).size();
    const qint64 records = generator.summary().recordCount;
    const qint64 values = generator.summary().variableCount;
    const qint64 extra
        = (2 * size - records * values / 2) / (records / 2 - 2 * qint64(sizeof(irsdk_varHeader)));
    QVERIFY(extra > 0);
    IbtWriter writer;
    generator.configure(writer);
    addFlagsAtOffsetZero(writer, int(extra));
    const QString damaged = m_dir.filePath(QStringLiteral("overlaid.ibt"));
    QVERIFY(writer.open(damaged));
    QVERIFY(generator.writeRecords(writer));
    QVERIFY(writer.finish());

    QStringList errors;
    const auto complete = importWithMessages(whole, &errors);
    QVERIFY(errors.isEmpty());
    const auto kept = importWithMessages(damaged, &errors);
    QCOMPARE(errors.size(), 1);
    QVERIFY(errors.first().startsWith(QLatin1String("IBT import error:  ")));
    QVERIFY2(!kept.isEmpty() && kept.size() < complete.size(),
             qPrintable(QStringLiteral("%1 of %2 laps: %3")
                            .arg(kept.size())
                            .arg(complete.size())
                            .arg(errors.first())));
    for (qsizetype i = 0; i < kept.size(); ++i) {
        QCOMPARE(kept[i]->header().lapNumber, complete[i]->header().lapNumber);
        QCOMPARE(kept[i]->header().lapTime, complete[i]->header().lapTime);
        QCOMPARE(kept[i]->size(), complete[i]->size());
    }
}

QTEST_GUILESS_MAIN(tst_DamagedFiles)
#include "tst_damagedfiles.moc"
