#pragma once

#include "zumsdk_global.h"

#include <QString>

#include <initializer_list>
#include <vector>

namespace ZUM::SDK {

// Marker stored in a channel entry that has no real value. Written as the single-precision
// literal widened to double, because other components compare against exactly this number.
inline constexpr double InvalidValue = double(1e25f);
// A value is real when it lies strictly below this limit.
inline constexpr double ValidValueLimit = double(1e24f);

// True for real values: below ValidValueLimit. NaN is not; any negative number is.
ZUMSDK_EXPORT bool isValidValue(double value);

// One recorded or calculated quantity of a lap: one double per sample, with a unit.
class ZUMSDK_EXPORT Channel
{
public:
    Channel() = default;
    Channel(std::initializer_list<double> values);

    // Direct element access: the caller keeps 0 <= index < size().
    void setValue(qint64 index, double value) { m_values[size_t(index)] = value; }
    double value(qint64 index) const { return m_values[size_t(index)]; }
    bool isValid(qint64 index) const { return isValidValue(value(index)); }

    void append(double value) { m_values.push_back(value); }
    qint64 size() const { return qint64(m_values.size()); }
    bool isEmpty() const { return m_values.empty(); }

    // Neither checks for emptiness: the caller guarantees an entry.
    void popBack() { m_values.pop_back(); }
    void popFront() { m_values.erase(m_values.begin()); }

    void shrinkToFit() { m_values.shrink_to_fit(); }
    void reserve(qint64 count);
    // Entries the channel holds room for without moving.
    qint64 capacity() const { return qint64(m_values.capacity()); }
    // Grows with 0.0, not with InvalidValue: callers that pad append InvalidValue themselves.
    void resize(qint64 count);

    // All entries, contiguous, for readers that walk a whole channel.
    const double *constData() const { return m_values.data(); }

    QString unit() const { return m_unit; }
    void setUnit(const QString &unit) { m_unit = unit; }

private:
    std::vector<double> m_values;
    QString m_unit;
};

} // namespace ZUM::SDK
