#include "dynamicdata.h"

#include <algorithm>

namespace ZUM::SDK {

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
}

void DynamicData::setValue(QString name, QVariant value, QString unit)
{
    setValue(std::move(name), Value(value, std::move(unit)));
}

void DynamicData::removeValue(const QString &name)
{
    m_values.erase(name);
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
