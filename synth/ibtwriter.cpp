#include "ibtwriter.h"

#include <QFile>
#include <QIODevice>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr qint64 ChunkBytes = 1 << 20;
constexpr int32_t SubHeaderEnd = int32_t(irsdk_diskSubHeaderOffset + sizeof(irsdk_diskSubHeader));

// Undefined type codes still occupy room in the record, as wide as an int.
int32_t placementSize(int32_t type)
{
    const int size = irsdk_varTypeSize(type);
    return size > 0 ? size : 4;
}

void copyText(char *target, size_t capacity, const QByteArray &text)
{
    std::memset(target, 0, capacity);
    std::memcpy(target, text.constData(), std::min(size_t(text.size()), capacity - 1));
}

template<typename T>
void store(char *target, T value)
{
    std::memcpy(target, &value, sizeof value);
}

template<typename T>
T load(const char *source)
{
    T value;
    std::memcpy(&value, source, sizeof value);
    return value;
}

// Truncates toward zero, NaN to 0. Only the conversion from double is clamped (to the 64-bit
// range, where it is defined); narrowing to the variable's 8 or 32 bits then wraps, keeping
// the low bits, so an out-of-range value is not clamped to the variable's range.
int64_t toInteger(double value)
{
    if (std::isnan(value))
        return 0;
    return int64_t(std::clamp(value, -9.0e18, 9.0e18));
}

} // namespace

IbtWriter::IbtWriter() = default;

IbtWriter::~IbtWriter()
{
    if (m_device)
        finish();
}

void IbtWriter::setSessionTimes(double start, double end)
{
    m_startTime = start;
    m_endTime = end;
}

int IbtWriter::addVariable(const Variable &variable)
{
    Variable placed = variable;
    const int32_t size = placementSize(placed.type);
    // Damaged descriptors may claim counts no record could hold: placement saturates.
    const int64_t bytes = int64_t(size) * std::max(placed.count, 0);
    if (placed.offset < 0) {
        placed.offset = m_autoEnd;
        m_autoEnd = int32_t(std::min<int64_t>(m_autoEnd + bytes, INT32_MAX));
    }
    m_variables.push_back(placed);
    m_slots.push_back({placed.type, placed.offset, placed.count, size});
    if (m_sessionTimeIndex < 0 && placed.name == "SessionTime" && placed.type == irsdk_double)
        m_sessionTimeIndex = int(m_variables.size()) - 1;
    if (m_lapIndex < 0 && placed.name == "Lap" && placed.type == irsdk_int)
        m_lapIndex = int(m_variables.size()) - 1;
    return int(m_variables.size()) - 1;
}

int IbtWriter::addVariable(const QByteArray &name, int32_t type, int32_t count,
                           const QByteArray &unit, const QByteArray &description)
{
    Variable variable;
    variable.name = name;
    variable.type = type;
    variable.count = count;
    variable.unit = unit;
    variable.description = description;
    return addVariable(variable);
}

int IbtWriter::indexOf(QByteArrayView name) const
{
    for (size_t i = 0; i < m_variables.size(); ++i) {
        if (QByteArrayView(m_variables[i].name) == name)
            return int(i);
    }
    return -1;
}

int32_t IbtWriter::recordLength() const
{
    if (m_bufLen >= 0)
        return m_bufLen;
    int64_t end = 0;
    for (const Slot &slot : m_slots)
        end = std::max(end, int64_t(slot.offset) + int64_t(slot.size) * std::max(slot.count, 0));
    return int32_t(std::min<int64_t>(end, INT32_MAX));
}

IbtWriter::Layout IbtWriter::layout() const
{
    Layout layout;
    const qint64 descriptorBytes = qint64(m_variables.size()) * qint64(sizeof(irsdk_varHeader));
    layout.varHeaderOffset = m_varHeaderOffset >= 0 ? m_varHeaderOffset : SubHeaderEnd;
    layout.sessionInfoOffset = m_sessionInfoOffset >= 0
        ? m_sessionInfoOffset
        : int32_t(layout.varHeaderOffset + descriptorBytes);
    layout.fixedEnd = std::max({qint64(SubHeaderEnd), layout.varHeaderOffset + descriptorBytes,
                                layout.sessionInfoOffset + qint64(m_sessionInfo.size())});
    layout.bufOffset = m_bufOffset >= 0 ? m_bufOffset : int32_t(layout.fixedEnd);
    layout.bufLen = recordLength();
    return layout;
}

irsdk_header IbtWriter::header() const
{
    const Layout place = layout();
    irsdk_header header {};
    header.ver = m_overrides.ver.value_or(m_version);
    header.status = m_overrides.status.value_or(1); // the simulator marks disk files connected
    header.tickRate = m_overrides.tickRate.value_or(m_tickRate);
    header.sessionInfoUpdate = m_overrides.sessionInfoUpdate.value_or(0);
    header.sessionInfoLen = m_overrides.sessionInfoLen.value_or(int32_t(m_sessionInfo.size()));
    header.sessionInfoOffset = m_overrides.sessionInfoOffset.value_or(place.sessionInfoOffset);
    header.numVars = m_overrides.numVars.value_or(int32_t(m_variables.size()));
    header.varHeaderOffset = m_overrides.varHeaderOffset.value_or(place.varHeaderOffset);
    header.numBuf = m_overrides.numBuf.value_or(1);
    header.bufLen = m_overrides.bufLen.value_or(place.bufLen);
    header.varBuf[0].tickCount = m_overrides.tickCount.value_or(m_tickCount);
    header.varBuf[0].bufOffset = m_overrides.bufOffset.value_or(place.bufOffset);
    return header;
}

irsdk_diskSubHeader IbtWriter::diskSubHeader() const
{
    irsdk_diskSubHeader sub {};
    sub.sessionStartDate = m_overrides.sessionStartDate.value_or(m_startDate);
    const double firstTime = m_recordCount > 0 ? m_firstTime : 0.0;
    const double lastTime = m_recordCount > 0 ? m_lastTime : 0.0;
    const bool timed = m_sessionTimeIndex >= 0;
    sub.sessionStartTime
        = m_overrides.sessionStartTime.value_or(m_startTime.value_or(timed ? firstTime : 0.0));
    sub.sessionEndTime
        = m_overrides.sessionEndTime.value_or(m_endTime.value_or(timed ? lastTime : 0.0));
    const int32_t laps = m_lapIndex >= 0 && m_recordCount > 0 ? m_lapChanges + 1 : 0;
    sub.sessionLapCount = m_overrides.sessionLapCount.value_or(m_lapCount.value_or(laps));
    sub.sessionRecordCount = m_overrides.sessionRecordCount.value_or(
        int32_t(std::min<qint64>(m_recordCount, INT32_MAX)));
    return sub;
}

bool IbtWriter::open(const QString &path)
{
    if (m_device)
        return fail(QStringLiteral("already open"));
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(QStringLiteral("cannot create %1: %2").arg(path, file->errorString()));
    m_file = std::move(file);
    if (!open(m_file.get())) {
        m_file.reset();
        return false;
    }
    return true;
}

bool IbtWriter::open(QIODevice *device)
{
    if (m_device)
        return fail(QStringLiteral("already open"));
    if (!device || !device->isWritable())
        return fail(QStringLiteral("the device is not open for writing"));
    const Layout place = layout();
    if (place.bufOffset < place.fixedEnd)
        return fail(
            QStringLiteral("the records would overlap the descriptors or the session text"));

    m_error.clear();
    m_broken = false;
    m_device = device;
    m_base = device->isSequential() ? 0 : device->pos();
    m_position = 0;
    m_recordCount = 0;
    m_lapChanges = 0;
    m_record = QByteArray(std::max(place.bufLen, 0), '\0');
    m_chunk.clear();
    m_chunk.reserve(ChunkBytes + std::max(place.bufLen, 0));

    QByteArray image(place.bufOffset, '\0');
    const irsdk_header head = header();
    std::memcpy(image.data(), &head, sizeof head);
    const irsdk_diskSubHeader sub = diskSubHeader();
    std::memcpy(image.data() + irsdk_diskSubHeaderOffset, &sub, sizeof sub);
    for (size_t i = 0; i < m_variables.size(); ++i) {
        const Variable &variable = m_variables[i];
        irsdk_varHeader descriptor {};
        descriptor.type = variable.type;
        descriptor.offset = variable.offset;
        descriptor.count = variable.count;
        descriptor.countAsTime = variable.countAsTime ? 1 : 0;
        copyText(descriptor.name, sizeof descriptor.name, variable.name);
        copyText(descriptor.desc, sizeof descriptor.desc, variable.description);
        copyText(descriptor.unit, sizeof descriptor.unit, variable.unit);
        std::memcpy(image.data() + place.varHeaderOffset + i * sizeof descriptor, &descriptor,
                    sizeof descriptor);
    }
    std::memcpy(image.data() + place.sessionInfoOffset, m_sessionInfo.constData(),
                size_t(m_sessionInfo.size()));
    return put(image.constData(), image.size()) && flushChunk();
}

void IbtWriter::setValue(int index, int element, double value)
{
    if (index < 0 || size_t(index) >= m_slots.size())
        return;
    const Slot &slot = m_slots[size_t(index)];
    if (element < 0 || element >= slot.count)
        return;
    const int64_t at = int64_t(slot.offset) + int64_t(element) * slot.size;
    if (at < 0 || at + slot.size > m_record.size())
        return;
    char *target = m_record.data() + at;
    switch (slot.type) {
    case irsdk_char:
        store(target, int8_t(toInteger(value)));
        break;
    case irsdk_bool:
        store(target, uint8_t(value != 0.0 ? 1 : 0));
        break;
    case irsdk_int:
        store(target, int32_t(toInteger(value)));
        break;
    case irsdk_bitField:
        store(target, uint32_t(uint64_t(toInteger(value))));
        break;
    case irsdk_float:
        store(target, float(value));
        break;
    case irsdk_double:
        store(target, value);
        break;
    default:
        store(target, int32_t(toInteger(value)));
        break;
    }
}

void IbtWriter::fill(int index, double value)
{
    if (index < 0 || size_t(index) >= m_slots.size())
        return;
    for (int element = 0; element < m_slots[size_t(index)].count; ++element)
        setValue(index, element, value);
}

void IbtWriter::setBytes(int index, QByteArrayView bytes)
{
    if (index < 0 || size_t(index) >= m_slots.size())
        return;
    const int64_t at = m_slots[size_t(index)].offset;
    if (at < 0 || at >= m_record.size())
        return;
    const int64_t length = std::min<int64_t>(bytes.size(), m_record.size() - at);
    std::memcpy(m_record.data() + at, bytes.data(), size_t(length));
}

void IbtWriter::clearRecord()
{
    m_record.fill('\0');
}

void IbtWriter::trackRecord()
{
    if (m_sessionTimeIndex >= 0) {
        const Slot &slot = m_slots[size_t(m_sessionTimeIndex)];
        if (slot.offset >= 0 && int64_t(slot.offset) + 8 <= m_record.size()) {
            const double time = load<double>(m_record.constData() + slot.offset);
            if (m_recordCount == 0)
                m_firstTime = time;
            m_lastTime = time;
        }
    }
    if (m_lapIndex >= 0) {
        const Slot &slot = m_slots[size_t(m_lapIndex)];
        if (slot.offset >= 0 && int64_t(slot.offset) + 4 <= m_record.size()) {
            const int32_t lap = load<int32_t>(m_record.constData() + slot.offset);
            if (m_recordCount > 0 && lap != m_lastLap)
                ++m_lapChanges;
            m_lastLap = lap;
        }
    }
}

bool IbtWriter::appendRecord()
{
    if (!m_device)
        return fail(QStringLiteral("not open"));
    trackRecord();
    ++m_recordCount;
    return put(m_record.constData(), m_record.size());
}

bool IbtWriter::appendPartialRecord(int32_t bytes)
{
    if (!m_device)
        return fail(QStringLiteral("not open"));
    return put(m_record.constData(), std::clamp<qint64>(bytes, 0, m_record.size()));
}

bool IbtWriter::put(const char *data, qint64 size)
{
    if (m_broken)
        return false;
    if (m_truncateAt >= 0)
        size = std::clamp<qint64>(m_truncateAt - m_position, 0, size);
    if (size <= 0)
        return true;
    m_chunk.append(data, size);
    m_position += size;
    return m_chunk.size() < ChunkBytes || flushChunk();
}

bool IbtWriter::flushChunk()
{
    if (m_broken)
        return false;
    if (!m_chunk.isEmpty() && m_device->write(m_chunk) != m_chunk.size())
        return breakDown(QStringLiteral("write failed: %1").arg(m_device->errorString()));
    m_chunk.clear();
    return true;
}

bool IbtWriter::finish()
{
    if (!m_device)
        return !m_broken;
    bool ok = flushChunk();
    // The sub-header is known only now; rewrite what of it lies inside the file.
    if (ok && !m_device->isSequential() && m_position > irsdk_diskSubHeaderOffset) {
        const irsdk_diskSubHeader sub = diskSubHeader();
        const qint64 bytes = std::min<qint64>(sizeof sub, m_position - irsdk_diskSubHeaderOffset);
        const qint64 end = m_device->pos();
        ok = m_device->seek(m_base + irsdk_diskSubHeaderOffset)
            && m_device->write(reinterpret_cast<const char *>(&sub), bytes) == bytes
            && m_device->seek(end);
        if (!ok)
            breakDown(
                QStringLiteral("cannot rewrite the sub-header: %1").arg(m_device->errorString()));
    }
    if (m_file) {
        if (ok && !m_file->flush())
            ok = breakDown(QStringLiteral("write failed: %1").arg(m_file->errorString()));
        m_file->close();
        m_file.reset();
    }
    m_device = nullptr;
    return ok;
}

bool IbtWriter::fail(const QString &message)
{
    m_error = message;
    return false;
}

bool IbtWriter::breakDown(const QString &message)
{
    if (!m_broken)
        m_error = message;
    m_broken = true;
    return false;
}
