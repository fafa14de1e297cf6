#pragma once

#include "irsdk.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <cstring>

// One variable of the sample records as a decoder reads it: a descriptor whose elements lie
// inside the record, with its name and unit as the samples carry them. The list of them is
// the decode plan of a file, built once from its descriptors; descriptors that no record can
// hold (an unknown type code, elements past the record) are not in it and cost nothing.
struct IbtVariable
{
    QString name; // lower-cased
    QString unit; // "%" is reported as "pu"
    irsdk_VarType type = irsdk_char;
    qint32 offset = 0; // of element 0 within a record
    qint32 count = 0; // elements read: a char array gives its first character only
    qint32 descriptor = 0; // index in the file's descriptor table

    int elementSize() const { return irsdk_varTypeSize(type); }
    const char *element(const char *record, int i) const
    {
        return record + offset + qint64(i) * elementSize();
    }
    // Element i as a variant of the simulator's type, by visit(): for readers that want no more
    // than a value, not the decoders.
    QVariant variant(const char *record, int i) const;
    // The one decoding of a value by its type code: the value at `at` as that type (int for
    // char, int and bit field, then bool, float and double), handed to the visitor, whose result
    // is returned. An unknown type code, which no decode plan holds, gives the visitor's result
    // type default-made.
    template<typename Visitor>
    static auto visit(irsdk_VarType type, const char *at, Visitor &&visitor);

    // The descriptor's own texts, which the file does not promise to terminate.
    static QString nameOf(const irsdk_varHeader &descriptor);
    static QString unitOf(const irsdk_varHeader &descriptor);
    // How many elements of the descriptor a record of that length holds: all of them or, when
    // any would lie outside, none; a char array holds one.
    static int readableElements(const irsdk_varHeader &descriptor, qint64 recordLength);
    static QList<IbtVariable> plan(const irsdk_varHeader *descriptors, qint64 count,
                                   qint64 recordLength);
};

template<typename Visitor>
auto IbtVariable::visit(irsdk_VarType type, const char *at, Visitor &&visitor)
{
    using Result = decltype(visitor(0));
    switch (type) {
    case irsdk_char:
        return visitor(int(int8_t(*at)));
    case irsdk_bool:
        return visitor(*at != 0);
    case irsdk_int:
    case irsdk_bitField: {
        int32_t value;
        std::memcpy(&value, at, sizeof value);
        return visitor(int(value));
    }
    case irsdk_float: {
        float value;
        std::memcpy(&value, at, sizeof value);
        return visitor(value);
    }
    case irsdk_double: {
        double value;
        std::memcpy(&value, at, sizeof value);
        return visitor(value);
    }
    }
    return Result();
}

inline QVariant IbtVariable::variant(const char *record, int i) const
{
    return visit(type, element(record, i), [](auto value) { return QVariant(value); });
}
