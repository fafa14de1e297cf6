#include "importdetails.h"

#include "carinfo.h"

#include <QColor>
#include <QCryptographicHash>
#include <QFile>

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
                             const QList<QSharedPointer<Lap>> &laps)
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
    QString blocks;
    for (int block = 0; block < Blocks; ++block) {
        const qint64 start = blockStart(channel.size(), block);
        const qint64 count = blockStart(channel.size(), block + 1) - start;
        const QByteArray bytes
            = QByteArray::fromRawData(reinterpret_cast<const char *>(channel.constData() + start),
                                      count * qint64(sizeof(double)));
        blocks
            += QLatin1Char(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().at(0));
    }
    m_items.append(
        {key, QStringLiteral("%1 %2 %3").arg(blocks).arg(channel.size()).arg(channel.unit())});
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
        if (kind == QLatin1String("channel") || kind == QLatin1String("calculated"))
            return QStringLiteral("%1: %2: %3")
                .arg(name, where,
                     channelDifference(ChannelText(want.value), ChannelText(got.value)));
        return QStringLiteral("%1: %2: expected \"%3\", got \"%4\"")
            .arg(name, where, want.value, got.value);
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
