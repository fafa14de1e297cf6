#pragma once

#include "dynamicdatarange.h"
#include "value.h"
#include "zumsdk_global.h"

#include <QList>
#include <QString>
#include <QVariant>

namespace ZUM::SDK {

// Named values with units, keyed by exact, case-sensitive names.
class ZUMSDK_EXPORT DynamicData
{
public:
    // A copy of the named value; an invalid value with a null unit when the name is absent.
    Value value(const QString &name) const;
    // Whether the name is present, even when it holds an invalid variant.
    bool containsValue(const QString &name) const;
    // The stored value, or null when the name is absent: a look-up that copies nothing.
    const Value *find(const QString &name) const;

    void setValue(QString name, Value value);
    void setValue(QString name, QVariant value, QString unit);
    void removeValue(const QString &name);

    DynamicDataRange asRange() const { return {m_values.cbegin(), m_values.cend()}; }
    void clear() { m_values.clear(); }
    // Room for count names, so that filling the map does not rehash it on the way.
    void reserve(qsizetype count) { m_values.reserve(size_t(qMax<qsizetype>(count, 0))); }
    bool isEmpty() const { return m_values.empty(); }
    qsizetype size() const { return qsizetype(m_values.size()); }

    // All names, sorted by QString's operator< (upper case before lower case).
    QList<QString> valueNameList() const;

private:
    DynamicDataMap m_values;
};

} // namespace ZUM::SDK
