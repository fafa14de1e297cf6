#include "dynamicdata.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace ZUM::SDK {

DynamicData::Layout DynamicData::newLayout()
{
    static std::atomic<Layout> last {0};
    return ++last;
}

// A copy holds its own map: positions into the other's do not apply to it.
DynamicData::DynamicData(const DynamicData &other)
    : m_values(other.m_values)
{ }

// The map's nodes move with it, and the layout's positions with them.
DynamicData::DynamicData(DynamicData &&other) noexcept
    : m_values(std::move(other.m_values))
    , m_slots(std::move(other.m_slots))
    , m_numbers(std::move(other.m_numbers))
    , m_types(std::move(other.m_types))
    , m_unnumbered(other.m_unnumbered)
    , m_layout(std::exchange(other.m_layout, 0))
{
    other.m_values.clear();
    other.dropLayout();
}

DynamicData &DynamicData::operator=(const DynamicData &other)
{
    if (this != &other) {
        m_values = other.m_values;
        dropLayout();
    }
    return *this;
}

DynamicData &DynamicData::operator=(DynamicData &&other) noexcept
{
    if (this != &other) {
        m_values = std::move(other.m_values);
        m_slots = std::move(other.m_slots);
        m_numbers = std::move(other.m_numbers);
        m_types = std::move(other.m_types);
        m_unnumbered = other.m_unnumbered;
        m_layout = std::exchange(other.m_layout, 0);
        other.m_values.clear();
        other.dropLayout();
    }
    return *this;
}

void DynamicData::dropLayout()
{
    m_slots.clear();
    m_numbers.clear();
    m_types.clear();
    m_unnumbered = 0;
    m_layout = 0;
}

void DynamicData::setLayout(Layout layout, const QList<QString> &names, const QList<QString> &units)
{
    clear();
    m_values.reserve(size_t(names.size()));
    m_slots.reserve(size_t(names.size()));
    for (qsizetype i = 0; i < names.size(); ++i)
        m_slots.push_back(&*m_values.try_emplace(names[i], QVariant(), units[i]).first);
    m_numbers.assign(size_t(names.size()), 0.0);
    m_types.assign(size_t(names.size()), QMetaType::UnknownType);
    m_unnumbered = names.size();
    m_layout = layout;
}

Value DynamicData::value(const QString &name) const
{
    const auto it = m_values.find(name);
    return it != m_values.end() ? it->second : Value(QVariant(), QString());
}

bool DynamicData::containsValue(const QString &name) const
{
    return m_values.find(name) != m_values.end();
}

const Value *DynamicData::find(const QString &name) const
{
    const auto it = m_values.find(name);
    return it != m_values.end() ? &it->second : nullptr;
}

void DynamicData::setValue(QString name, Value value)
{
    m_values.insert_or_assign(std::move(name), std::move(value));
    dropLayout();
}

void DynamicData::setValue(QString name, QVariant value, QString unit)
{
    setValue(std::move(name), Value(value, std::move(unit)));
}

void DynamicData::removeValue(const QString &name)
{
    if (m_values.erase(name) > 0)
        dropLayout();
}

void DynamicData::clear()
{
    m_values.clear();
    dropLayout();
}

QList<QString> DynamicData::valueNameList() const
{
    QList<QString> names;
    names.reserve(size());
    for (const auto &entry : m_values)
        names.append(entry.first);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace ZUM::SDK
