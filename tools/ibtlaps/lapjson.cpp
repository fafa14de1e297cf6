#include "lapjson.h"

#include "carsetup.h"

#include "jsonwriter.h"
#include "session.h"

#include <QColor>
#include <QTime>
#include <QUuid>
#include <QVariant>

#include <cstdlib>
#include <functional>
#include <limits>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;
using ZUM::SDK::LapHeader;

namespace {

QString uuidText(const QUuid &uuid)
{
    return uuid.isNull() ? QString() : uuid.toString(QUuid::WithoutBraces);
}

// Numbers stay numbers, texts texts, flags flags; a colour becomes "#rrggbb"; whatever else
// a plug-in may store is written as the text Qt gives it.
void writeVariant(JsonWriter &writer, const QVariant &value)
{
    if (!value.isValid()) {
        writer.null();
        return;
    }
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        writer.boolean(value.toBool());
        break;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
        writer.integer(value.toLongLong());
        break;
    case QMetaType::ULongLong:
        if (value.toULongLong() <= quint64(std::numeric_limits<qint64>::max()))
            writer.integer(value.toLongLong());
        else
            writer.number(value.toDouble());
        break;
    case QMetaType::Float:
    case QMetaType::Double:
        writer.number(value.toDouble());
        break;
    case QMetaType::QColor: {
        const QColor colour = value.value<QColor>();
        writer.string(colour.isValid() ? colour.name(QColor::HexRgb) : QString());
        break;
    }
    default:
        writer.string(value.toString());
    }
}

void writeCarInfo(JsonWriter &writer, const ZUM::SDK::CarInfo &car)
{
    writer.beginObject();
    const std::pair<const char *, const QString *> texts[] = {
        {"carId", &car.carId},           {"sourceName", &car.sourceName},
        {"pluginName", &car.pluginName}, {"carName", &car.carName},
        {"className", &car.className},   {"driverName", &car.driverName},
        {"teamName", &car.teamName},
    };
    for (const auto &[name, text] : texts) {
        writer.key(QLatin1String(name));
        writer.string(*text);
    }
    writer.key(QStringLiteral("status"));
    writer.integer(car.status);
    writer.key(QStringLiteral("detailedTelemetry"));
    writer.boolean(car.detailedTelemetry);
    writer.endObject();
}

void writeHeader(JsonWriter &writer, const LapHeader &header)
{
    writer.beginObject();
    const std::pair<const char *, qint32> integers[] = {
        {"lapNumber", header.lapNumber},
        {"lapInStint", header.lapInStint},
        {"stint", header.stint},
        {"session", qint32(header.session)},
    };
    for (const auto &[name, number] : integers) {
        writer.key(QLatin1String(name));
        writer.integer(number);
    }
    writer.key(QStringLiteral("sessionName"));
    writer.string(ZUM::SDK::sessionName(header.session));
    writer.key(QStringLiteral("flyingLap"));
    writer.integer(header.flyingLap);
    writer.key(QStringLiteral("completed"));
    writer.boolean(header.completed);

    writer.key(QStringLiteral("lapTime"));
    writer.string(header.lapTime.isValid() ? header.lapTime.toString(QStringLiteral("hh:mm:ss.zzz"))
                                           : QString());
    writer.key(QStringLiteral("lapTimeSeconds"));
    if (header.lapTime.isValid())
        writer.number(QTime(0, 0).msecsTo(header.lapTime) / 1000.0);
    else
        writer.null();
    writer.key(QStringLiteral("dateTime"));
    writer.string(LapJson::dateTimeText(header.dateTime));

    const std::pair<const char *, QString> texts[] = {
        {"trackName", header.trackName},       {"trackConfigName", header.trackConfigName},
        {"comment", header.comment},           {"lapId", uuidText(header.lapId)},
        {"stintId", uuidText(header.stintId)}, {"sessionId", uuidText(header.sessionId)},
    };
    for (const auto &[name, text] : texts) {
        writer.key(QLatin1String(name));
        writer.string(text);
    }

    writer.key(QStringLiteral("carInfo"));
    writeCarInfo(writer, header.carInfo);

    writer.key(QStringLiteral("values"));
    writer.beginObject();
    for (const QString &name : header.dynamicData.valueNameList()) {
        const ZUM::SDK::Value *value = header.dynamicData.find(name);
        writer.key(name);
        writer.beginObject(JsonWriter::Layout::Inline);
        writer.key(QStringLiteral("value"));
        writeVariant(writer, *value);
        writer.key(QStringLiteral("unit"));
        writer.string(value->unit());
        writer.endObject();
    }
    writer.endObject();
    writer.endObject();
}

void writeChannel(JsonWriter &writer, const Channel &channel, bool withValues)
{
    writer.beginObject(JsonWriter::Layout::Inline);
    writer.key(QStringLiteral("unit"));
    writer.string(channel.unit());
    if (withValues) {
        writer.key(QStringLiteral("values"));
        writer.beginArray(JsonWriter::Layout::Inline);
        // Entries without a real value (the InvalidValue marker) are null, not the marker.
        const double *values = channel.constData();
        for (qint64 i = 0; i < channel.size(); ++i) {
            if (ZUM::SDK::isValidValue(values[i]))
                writer.number(values[i]);
            else
                writer.null();
        }
        writer.endArray();
    }
    writer.endObject();
}

void writeChannels(JsonWriter &writer, const QList<QString> &names,
                   const std::function<QSharedPointer<Channel>(const QString &)> &channel,
                   const ChannelChoice &choice, bool withValues)
{
    writer.beginObject();
    for (const QString &name : names) {
        if (!choice.contains(name))
            continue;
        writer.key(name);
        writeChannel(writer, *channel(name), withValues);
    }
    writer.endObject();
}

} // namespace

namespace {

void writeSetup(JsonWriter &writer, const QList<CarSetup::Node> &nodes)
{
    writer.beginObject();
    for (const CarSetup::Node &node : nodes) {
        writer.key(node.name);
        if (node.children.isEmpty())
            writer.string(node.value);
        else
            writeSetup(writer, node.children);
    }
    writer.endObject();
}

} // namespace

void LapJson::write(JsonWriter &writer, const ImportResult &result, const QList<qsizetype> &chosen,
                    const ChannelChoice &channels, bool withChannelValues)
{
    writer.beginObject();
    writer.key(QStringLiteral("file"));
    writer.string(result.file);
    writer.key(QStringLiteral("recordingStart"));
    writer.string(dateTimeText(result.recording.start()));
    writer.key(QStringLiteral("recordingStartSessionTime"));
    if (const std::optional<double> sessionTime = result.recording.startSessionTime())
        writer.number(*sessionTime);
    else
        writer.null();
    // The car's set-up as the session text carries it; empty when it carries none.
    writer.key(QStringLiteral("setup"));
    writeSetup(writer, CarSetup::of(result.recording.sessionText()).groups());

    writer.key(QStringLiteral("messages"));
    writer.beginArray();
    for (const ImportResult::Message &message : result.messages) {
        writer.beginObject(JsonWriter::Layout::Inline);
        writer.key(QStringLiteral("level"));
        writer.integer(message.level);
        writer.key(QStringLiteral("text"));
        writer.string(message.text);
        writer.endObject();
    }
    writer.endArray();

    writer.key(QStringLiteral("laps"));
    writer.beginArray();
    for (const qsizetype index : chosen) {
        const QSharedPointer<Lap> &lap = result.laps[index];
        writer.beginObject();
        writer.key(QStringLiteral("header"));
        writeHeader(writer, lap->header());
        writer.key(QStringLiteral("recorded"));
        writeChannels(
            writer, lap->getAvailableRecordedChannels(),
            [&lap](const QString &name) { return lap->channel(name); }, channels,
            withChannelValues);
        writer.key(QStringLiteral("calculated"));
        writeChannels(
            writer, lap->getAvailableCalculatedChannels(),
            [&lap](const QString &name) { return lap->calculatedChannel(name); }, channels,
            withChannelValues);
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
}

QString LapJson::dateTimeText(const QDateTime &dateTime)
{
    if (!dateTime.isValid())
        return {};
    // The wall-clock time in the date-time's own zone, then that zone's offset, written out
    // even when it is zero so that every value has the same shape.
    const int offset = dateTime.offsetFromUtc();
    const QDateTime local = dateTime.toOffsetFromUtc(offset);
    const int minutes = std::abs(offset) / 60;
    return local.date().toString(Qt::ISODate) + QLatin1Char('T')
        + local.time().toString(QStringLiteral("hh:mm:ss.zzz"))
        + QStringLiteral("%1%2:%3")
              .arg(offset < 0 ? QLatin1Char('-') : QLatin1Char('+'))
              .arg(minutes / 60, 2, 10, QLatin1Char('0'))
              .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}
