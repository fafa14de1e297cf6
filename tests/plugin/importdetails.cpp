#include "importdetails.h"

#include "carinfo.h"
#include "ibtfile.h"
#include "ibtvariable.h"

#include <QColor>
#include <QCryptographicHash>
#include <QFile>

#include <cstring>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

QString variantText(const QVariant &value)
{
    QString text = QLatin1String(value.typeName()) + QLatin1Char(' ');
    switch (value.metaType().id()) {
    case QMetaType::Double:
    case QMetaType::Float:
        return text + QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QColor:
        return text + value.value<QColor>().name(QColor::HexArgb);
    default:
        return text + (value.isNull() ? QStringLiteral("null") : value.toString());
    }
}

QString escaped(QString text)
{
    return text.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
        .replace(QLatin1Char('\t'), QLatin1String("\\t"))
        .replace(QLatin1Char('\n'), QLatin1String("\\n"));
}

QString unescaped(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('\\') || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const QChar next = text[++i];
        result += next == QLatin1Char('t') ? QChar(QLatin1Char('\t'))
            : next == QLatin1Char('n')     ? QChar(QLatin1Char('\n'))
                                           : next;
    }
    return result;
}

// A channel's value: one hex digit per block, the entry count, the unit.
struct ChannelText
{
    QString blocks;
    qint64 size = 0;
    QString unit;

    explicit ChannelText(const QString &text)
        : blocks(text.left(ImportDetails::Blocks))
        , size(text.section(QLatin1Char(' '), 1, 1).toLongLong())
        , unit(text.section(QLatin1Char(' '), 2))
    { }
};

qint64 blockStart(qint64 size, int block)
{
    return size * block / ImportDetails::Blocks;
}

// One hex digit of hash per block of the entries.
QString blockDigits(const double *entries, qint64 size)
{
    QString digits;
    for (int block = 0; block < ImportDetails::Blocks; ++block) {
        const qint64 start = blockStart(size, block);
        const qint64 count = blockStart(size, block + 1) - start;
        const QByteArray bytes = QByteArray::fromRawData(
            reinterpret_cast<const char *>(entries + start), count * qint64(sizeof(double)));
        digits
            += QLatin1Char(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().at(0));
    }
    return digits;
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

} // namespace

// The records of the imported file as the import reads them, to re-derive what a channel that
// copies one of the file's variables must hold.
class ImportDetails::FileRecords
{
public:
    explicit FileRecords(const QString &path)
    {
        IbtFile file;
        if (file.open(path) != IbtFile::Status::Ok)
            return;
        m_variables = file.variables();
        m_length = file.recordLength();
        m_bytes.resize(file.wholeRecords() * m_length);
        m_count = file.readRecords(m_bytes.data(), file.wholeRecords());
    }

    // The variable whose values the player's car's samples hold under a name: the last of that
    // name, read at its last element.
    const IbtVariable *variable(const QString &name) const
    {
        for (qsizetype v = m_variables.size() - 1; v >= 0; --v) {
            if (m_variables[v].name == name)
                return &m_variables[v];
        }
        return nullptr;
    }
    double value(const IbtVariable &variable, qint64 record) const
    {
        return IbtVariable::visit(
            variable.type,
            variable.element(m_bytes.constData() + record * m_length, variable.count - 1),
            [](auto value) { return double(value); });
    }
    qint64 count() const { return m_count; }

private:
    QList<IbtVariable> m_variables;
    QByteArray m_bytes;
    qint64 m_length = 0;
    qint64 m_count = 0;
};

namespace {

using FileRecords = ImportDetails::FileRecords;

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// What a lap's channel holds when it copies the file's variable of its name: that variable at
// each record whose session time the lap's entries carry, in order. Empty when the file has no
// such variable, or the lap's session times are not the file's in order.
QList<double> copiedEntries(const FileRecords &file, const Lap &lap, const QString &name)
{
    const IbtVariable *copied = file.variable(name);
    const IbtVariable *clock = file.variable(QStringLiteral("sessiontime"));
    const QSharedPointer<Channel> times = lap.channel(QStringLiteral("sessiontime"));
    if (!copied || !clock || !times)
        return {};
    QList<double> entries;
    qint64 record = 0;
    for (qint64 k = 0; k < times->size(); ++k) {
        while (record < file.count() && !sameBits(file.value(*clock, record), times->value(k)))
            ++record;
        if (record == file.count())
            return {};
        entries.append(file.value(*copied, record));
    }
    return entries;
}

QString channelDifference(const ChannelText &expected, const ChannelText &actual)
{
    if (expected.size != actual.size)
        return QStringLiteral("%1 entries expected, got %2").arg(expected.size).arg(actual.size);
    if (expected.unit != actual.unit)
        return QStringLiteral("unit \"%1\" expected, got \"%2\"").arg(expected.unit, actual.unit);
    for (int block = 0; block < ImportDetails::Blocks; ++block) {
        if (expected.blocks[block] != actual.blocks[block])
            return QStringLiteral("entries %1 to %2 differ (block %3 of %4)")
                .arg(blockStart(actual.size, block))
                .arg(blockStart(actual.size, block + 1) - 1)
                .arg(block + 1)
                .arg(ImportDetails::Blocks);
    }
    return QStringLiteral("differs");
}

} // namespace

ImportDetails::ImportDetails(const QList<std::pair<QString, int>> &messages,
                             const QList<QSharedPointer<Lap>> &laps, const QString &path)
    : m_laps(laps)
    , m_path(path)
{
    for (qsizetype i = 0; i < messages.size(); ++i)
        m_items.append({QStringLiteral("message %1").arg(i),
                        QStringLiteral("%1 %2").arg(messages[i].second).arg(messages[i].first)});
    m_items.append({QStringLiteral("laps"), QString::number(laps.size())});
    const QDateTime lastStart = laps.isEmpty() ? QDateTime() : laps.last()->header().dateTime;
    for (qsizetype i = 0; i < laps.size(); ++i)
        addLap(int(i), *laps[i], lastStart);
}

void ImportDetails::addLap(int index, const Lap &lap, const QDateTime &lastStart)
{
    const QString prefix = QStringLiteral("lap %1 ").arg(index);
    const auto field = [&](const char *name, const QString &value) {
        m_items.append({prefix + QLatin1String("header ") + QLatin1String(name), value});
    };
    const auto flag = [](bool value) {
        return QString::fromLatin1(value ? "true" : "false");
    };
    const ZUM::SDK::LapHeader &header = lap.header();
    const ZUM::SDK::CarInfo &car = header.carInfo;
    field("carInfo.carId", car.carId);
    field("carInfo.sourceName", car.sourceName);
    field("carInfo.pluginName", car.pluginName);
    field("carInfo.carName", car.carName);
    field("carInfo.className", car.className);
    field("carInfo.driverName", car.driverName);
    field("carInfo.teamName", car.teamName);
    field("carInfo.status", QString::number(car.status));
    field("carInfo.detailedTelemetry", flag(car.detailedTelemetry));
    // As in the digest: date-times follow the file's time, only their spacing is the import's.
    field("dateTime",
          header.dateTime.isValid()
              ? QString::number(lastStart.msecsTo(header.dateTime)) + QLatin1String(" ms")
              : QStringLiteral("invalid"));
    field("comment", header.comment.isNull() ? QStringLiteral("null") : header.comment);
    field("lapTime",
          header.lapTime.isValid() ? header.lapTime.toString(Qt::ISODateWithMs)
                                   : QStringLiteral("invalid"));
    field("trackName", header.trackName);
    field("trackConfigName", header.trackConfigName);
    field("sessionId", header.sessionId.toString());
    field("lapId set", flag(!header.lapId.isNull()));
    field("stintId set", flag(!header.stintId.isNull()));
    field("lapNumber", QString::number(header.lapNumber));
    field("lapInStint", QString::number(header.lapInStint));
    field("stint", QString::number(header.stint));
    field("session", QString::number(qint32(header.session)));
    field("flyingLap", QString::number(header.flyingLap));
    field("completed", flag(header.completed));
    for (const QString &name : header.dynamicData.valueNameList()) {
        const ZUM::SDK::Value value = header.dynamicData.value(name);
        m_items.append({prefix + QLatin1String("value ") + name,
                        variantText(value) + QLatin1Char(' ') + value.unit()});
    }
    for (const QString &name : lap.getAvailableRecordedChannels())
        addChannel(prefix + QLatin1String("channel ") + name, *lap.channel(name));
    for (const QString &name : lap.getAvailableCalculatedChannels())
        addChannel(prefix + QLatin1String("calculated channel ") + name,
                   *lap.calculatedChannel(name));
}

void ImportDetails::addChannel(const QString &key, const Channel &channel)
{
    m_items.append({key,
                    QStringLiteral("%1 %2 %3")
                        .arg(blockDigits(channel.constData(), channel.size()))
                        .arg(channel.size())
                        .arg(channel.unit())});
}

// The first entry of a recorded channel that differs, with both values, when the channel copies
// a variable of the imported file: the entries re-derived from the file must then have the
// expected block digits, which makes them the expected entries. Empty otherwise.
QString ImportDetails::entryDifference(const QString &key, const QString &expected) const
{
    const QString lapPrefix = key.section(QLatin1Char(' '), 0, 1);
    const QString channelPrefix = lapPrefix + QLatin1String(" channel ");
    const qsizetype index = key.section(QLatin1Char(' '), 1, 1).toLongLong();
    if (m_path.isEmpty() || !key.startsWith(channelPrefix) || index < 0 || index >= m_laps.size())
        return {};
    if (!m_records)
        m_records = std::make_shared<const FileRecords>(m_path);
    const Lap &lap = *m_laps[index];
    const QString name = key.mid(channelPrefix.size());
    const QSharedPointer<Channel> channel = lap.channel(name);
    const QList<double> entries = copiedEntries(*m_records, lap, name);
    if (!channel || entries.size() != channel->size()
        || blockDigits(entries.constData(), entries.size()) != expected.left(Blocks))
        return {};
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!sameBits(entries[i], channel->value(i)))
            return QStringLiteral("entry %1: expected %2, got %3")
                .arg(i)
                .arg(number(entries[i]), number(channel->value(i)));
    }
    return {};
}

// "lap 2 (number 3)" for an item of the third lap, from the expected header.
QString ImportDetails::lapNumber(const QString &key) const
{
    if (!key.startsWith(QLatin1String("lap ")))
        return key;
    const QString lap = key.section(QLatin1Char(' '), 0, 1);
    const QString numberKey = lap + QLatin1String(" header lapNumber");
    for (const Item &item : m_items) {
        if (item.key == numberKey)
            return QStringLiteral("%1 (number %2)%3").arg(lap, item.value, key.mid(lap.size()));
    }
    return key;
}

QString ImportDetails::firstDifference(const QString &name, const ImportDetails &expected) const
{
    const qsizetype common = std::min(m_items.size(), expected.m_items.size());
    for (qsizetype i = 0; i < common; ++i) {
        const Item &want = expected.m_items[i];
        const Item &got = m_items[i];
        if (want.key != got.key)
            return QStringLiteral("%1: expected %2 = \"%3\", got %4 = \"%5\"")
                .arg(name, expected.lapNumber(want.key), want.value, lapNumber(got.key), got.value);
        if (want.value == got.value)
            continue;
        const QString where = expected.lapNumber(want.key);
        const QString kind = want.key.section(QLatin1Char(' '), 2, 2);
        if (kind == QLatin1String("channel") || kind == QLatin1String("calculated")) {
            const ChannelText expectedChannel(want.value);
            const ChannelText actualChannel(got.value);
            QString difference;
            if (expectedChannel.size == actualChannel.size
                && expectedChannel.unit == actualChannel.unit)
                difference = entryDifference(got.key, want.value);
            if (difference.isEmpty())
                difference = channelDifference(expectedChannel, actualChannel);
            return QStringLiteral("%1: %2: %3").arg(name, where, difference);
        }
        return QStringLiteral("%1: %2: expected \"%3\", got \"%4\"")
            .arg(name, where, want.value, got.value);
    }
    // A change that no short hash shows may still be found in a channel that copies the file.
    if (m_items.size() == expected.m_items.size()) {
        for (qsizetype i = 0; i < common; ++i) {
            const QString difference = entryDifference(m_items[i].key, expected.m_items[i].value);
            if (!difference.isEmpty())
                return QStringLiteral("%1: %2: %3")
                    .arg(name, expected.lapNumber(m_items[i].key), difference);
        }
    }
    if (m_items.size() > common)
        return QStringLiteral("%1: unexpected %2 = \"%3\"")
            .arg(name, lapNumber(m_items[common].key), m_items[common].value);
    if (expected.m_items.size() > common)
        return QStringLiteral("%1: missing %2 = \"%3\"")
            .arg(name, expected.lapNumber(expected.m_items[common].key),
                 expected.m_items[common].value);
    return {};
}

QHash<QString, ImportDetails> ImportDetails::read(const QString &path)
{
    QHash<QString, ImportDetails> cases;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return cases;
    const QString text = QString::fromUtf8(qUncompress(file.readAll()));
    ImportDetails *current = nullptr;
    for (const QStringView line : QStringView(text).split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("= "))) {
            current = &cases[unescaped(line.mid(2).toString())];
            continue;
        }
        const qsizetype tab = line.indexOf(QLatin1Char('\t'));
        if (current && tab > 0)
            current->m_items.append(
                {unescaped(line.left(tab).toString()), unescaped(line.mid(tab + 1).toString())});
    }
    return cases;
}

bool ImportDetails::write(const QString &path,
                          const QList<std::pair<QString, ImportDetails>> &cases)
{
    QString text;
    for (const auto &[name, details] : cases) {
        text += QLatin1String("= ") + escaped(name) + QLatin1Char('\n');
        for (const Item &item : details.m_items)
            text += escaped(item.key) + QLatin1Char('\t') + escaped(item.value) + QLatin1Char('\n');
    }
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(qCompress(text.toUtf8(), 9)) >= 0;
}
