#pragma once

#include "zumsdk_global.h"

#include <QString>
#include <QVariant>

namespace ZUM::SDK {

// One quantity's value together with its unit ("m", "kg", empty where it has none).
class ZUMSDK_EXPORT Value : public QVariant
{
public:
    Value(const QVariant &value, QString unit);

    const QString &unit() const { return m_unit; }
    void setUnit(QString unit) { m_unit = std::move(unit); }

    // Equal when the units are equal and the variants compare equal (numbers by value).
    bool operator==(const Value &other);
    bool operator!=(const Value &other);

private:
    QString m_unit;
};

} // namespace ZUM::SDK
