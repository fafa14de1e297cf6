#pragma once

#include "dynamicdatarange.h"
#include "value.h"
#include "zumsdk_global.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <type_traits>
#include <vector>

namespace ZUM::SDK {

// Named values with units, keyed by exact, case-sensitive names.
//
// A writer that stores the same names tick after tick (a telemetry decoder) can give the data
// a layout: the names made present once, in a fixed order, whose values it then replaces by
// position, without looking a name up; a reader that knows the layout (a lap adding samples)
// reads them by position too, or as one array of numbers. Any change by name drops the layout.
class ZUMSDK_EXPORT DynamicData
{
public:
    // Identifies one list of names; 0 is no layout.
    using Layout = quint64;
    // A layout that no other list of names in this process has.
    static Layout newLayout();

    DynamicData() = default;
    DynamicData(const DynamicData &other);
    DynamicData(DynamicData &&other) noexcept;
    DynamicData &operator=(const DynamicData &other);
    DynamicData &operator=(DynamicData &&other) noexcept;
    ~DynamicData() = default;

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
    void clear();
    // Room for count names, so that filling the map does not rehash it on the way.
    void reserve(qsizetype count) { m_values.reserve(size_t(qMax<qsizetype>(count, 0))); }
    bool isEmpty() const { return m_values.empty(); }
    qsizetype size() const { return qsizetype(m_values.size()); }

    // All names, sorted by QString's operator< (upper case before lower case).
    QList<QString> valueNameList() const;

    // Empties the data, then makes the names present in order, each with an invalid value and
    // its unit, under the given layout. The lists are of equal length and hold no name twice.
    void setLayout(Layout layout, const QList<QString> &names, const QList<QString> &units);
    Layout layout() const { return m_layout; }
    const QString &layoutName(qsizetype position) const { return m_slots[size_t(position)]->first; }
    const Value &layoutValue(qsizetype position) const { return m_slots[size_t(position)]->second; }
    // Replaces the value at a position of the layout, keeping its unit. T is one of the types
    // a number is stored as: int, bool, float or double.
    template<typename T>
    void setLayoutValue(qsizetype position, T value)
    {
        static_assert(
            std::is_same_v<
                T,
                int> || std::is_same_v<T, bool> || std::is_same_v<T, float> || std::is_same_v<T, double>);
        constexpr int type = QMetaTypeId2<T>::MetaType;
        const size_t i = size_t(position);
        Value &slot = m_slots[i]->second;
        if (m_types[i] == type) {
            // The variant already holds a T, in its own storage (these types are never shared):
            // overwriting it there is what setValue() would do, without its checks.
            *static_cast<T *>(const_cast<void *>(slot.constData())) = value;
        } else {
            if (m_types[i] == QMetaType::UnknownType)
                --m_unnumbered;
            slot.setValue(value);
            m_types[i] = type;
        }
        m_numbers[i] = double(value);
    }
    // Once every position of the layout holds a number: the values as doubles, in layout
    // order, as QVariant::toDouble() gives them. Null before.
    const double *layoutNumbers() const
    {
        return m_layout != 0 && m_unnumbered == 0 ? m_numbers.data() : nullptr;
    }

private:
    void dropLayout();

    DynamicDataMap m_values;
    // The layout's entries in order; the map's nodes stay where they are while it lives. A
    // change by name drops the layout, so its numbers always follow its values.
    std::vector<DynamicDataMap::value_type *> m_slots;
    std::vector<double> m_numbers;
    std::vector<int> m_types; // the meta-type each position holds; UnknownType before a number
    qsizetype m_unnumbered = 0;
    Layout m_layout = 0;
};

} // namespace ZUM::SDK
