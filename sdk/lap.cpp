#include "lap.h"

#include <algorithm>

namespace ZUM::SDK {

namespace {

QSharedPointer<Channel> find(const Lap::ChannelMap &channels, const QString &name)
{
    const auto it = channels.find(name);
    return it != channels.end() ? it->second : QSharedPointer<Channel>();
}

QList<QString> sortedNames(const Lap::ChannelMap &channels)
{
    QList<QString> names;
    names.reserve(qsizetype(channels.size()));
    for (const auto &entry : channels)
        names.append(entry.first);
    std::sort(names.begin(), names.end());
    return names;
}

QSharedPointer<Channel> newChannel(const QString &unit)
{
    auto channel = QSharedPointer<Channel>::create();
    channel->setUnit(unit);
    return channel;
}

} // namespace

QSharedPointer<Channel> Lap::channel(const QString &name) const
{
    return find(m_recorded, name);
}

QSharedPointer<Channel> Lap::calculatedChannel(const QString &name) const
{
    return find(m_calculated, name);
}

QList<QString> Lap::getAvailableRecordedChannels() const
{
    return sortedNames(m_recorded);
}

QList<QString> Lap::getAvailableCalculatedChannels() const
{
    return sortedNames(m_calculated);
}

void Lap::clear()
{
    m_layout.reset();
    m_recorded.clear();
    m_calculated.clear();
    m_header.dynamicData.clear();
}

qint64 Lap::size() const
{
    if (!m_recorded.empty())
        return m_recorded.begin()->second->size();
    if (!m_calculated.empty())
        return m_calculated.begin()->second->size();
    return 0;
}

bool Lap::isEmpty() const
{
    return m_recorded.empty() && m_calculated.empty();
}

void Lap::addSample(const Sample &sample)
{
    const DynamicData &values = sample.dynamicData;
    if (appendInLayout(values))
        return;
    addSampleByName(values);
    rememberLayout(values);
}

// The common case by position: the sample holds exactly the lap's channels, each with a
// number, so adding by name would append each value's toDouble() and nothing else.
bool Lap::appendInLayout(const DynamicData &values)
{
    if (values.layout() == 0 || values.layout() != m_layout.layout)
        return false;
    const double *numbers = values.layoutNumbers();
    if (!numbers)
        return false;
    const size_t count = m_layout.channels.size();
    for (size_t i = 0; i < count; ++i)
        m_layout.channels[i]->append(numbers[i]);
    return true;
}

void Lap::rememberLayout(const DynamicData &values)
{
    m_layout.reset();
    if (values.layout() == 0 || values.size() != qsizetype(m_recorded.size()))
        return;
    m_layout.channels.reserve(m_recorded.size());
    for (qsizetype i = 0; i < values.size(); ++i) {
        const auto it = m_recorded.find(values.layoutName(i));
        if (it == m_recorded.end()) {
            m_layout.reset();
            return;
        }
        m_layout.channels.push_back(it->second.data());
    }
    m_layout.layout = values.layout();
}

void Lap::addSampleByName(const DynamicData &values)
{
    if (m_recorded.empty()) {
        for (const QString &name : values.valueNameList()) {
            const Value *value = values.find(name);
            auto channel = newChannel(value->unit());
            channel->append(value->toDouble());
            m_recorded.emplace(name, std::move(channel));
        }
        return;
    }

    bool mismatch = values.size() != qsizetype(m_recorded.size());
    for (const auto &[name, channel] : m_recorded) {
        const Value *value = values.find(name);
        if (!value || !value->isValid()) {
            mismatch = true;
            continue;
        }
        channel->append(value->toDouble());
    }
    if (!mismatch)
        return;

    // Only an absent name is padded: a name present with an invalid value leaves its channel
    // one entry short. Hosts have always seen it so, and it is kept.
    qint64 longest = -1;
    for (const auto &[name, channel] : m_recorded) {
        if (!values.containsValue(name))
            channel->append(InvalidValue);
        longest = std::max(longest, channel->size());
    }

    for (const QString &name : values.valueNameList()) {
        if (m_recorded.find(name) != m_recorded.end())
            continue;
        const Value *value = values.find(name);
        auto channel = newChannel(value->unit());
        channel->reserve(longest);
        for (qint64 i = 1; i < longest; ++i)
            channel->append(InvalidValue);
        channel->append(value->toDouble());
        m_recorded.emplace(name, std::move(channel));
    }
}

void Lap::addChannel(QSharedPointer<Channel> channel, const QString &name)
{
    m_layout.reset();
    m_recorded.insert_or_assign(name, std::move(channel));
}

void Lap::addCalculatedChannel(QSharedPointer<Channel> channel, const QString &name)
{
    m_calculated.insert_or_assign(name, std::move(channel));
}

void Lap::removeRecordedChannel(const QString &name)
{
    m_layout.reset();
    m_recorded.erase(name);
}

void Lap::removeCalculatedChannel(const QString &name)
{
    m_calculated.erase(name);
}

bool Lap::containsRecordedChannel(const QString &name) const
{
    return m_recorded.find(name) != m_recorded.end();
}

bool Lap::containsCalculatedChannel(const QString &name) const
{
    return m_calculated.find(name) != m_calculated.end();
}

bool Lap::containsChannel(const QString &name) const
{
    return containsRecordedChannel(name) || containsCalculatedChannel(name);
}

} // namespace ZUM::SDK
