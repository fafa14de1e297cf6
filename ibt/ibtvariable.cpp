#include "ibtvariable.h"

namespace {

QString fieldText(const char *field, size_t capacity)
{
    return QString::fromUtf8(field, qsizetype(qstrnlen(field, capacity)));
}

} // namespace

QString IbtVariable::nameOf(const irsdk_varHeader &descriptor)
{
    return fieldText(descriptor.name, sizeof descriptor.name).toLower();
}

QString IbtVariable::unitOf(const irsdk_varHeader &descriptor)
{
    const QString unit = fieldText(descriptor.unit, sizeof descriptor.unit);
    return unit == QLatin1String("%") ? QStringLiteral("pu") : unit;
}

int IbtVariable::readableElements(const irsdk_varHeader &descriptor, qint64 recordLength)
{
    const int size = irsdk_varTypeSize(descriptor.type);
    const qint64 count = descriptor.type == irsdk_char ? 1 : descriptor.count;
    if (size == 0 || count <= 0 || descriptor.offset < 0)
        return 0;
    if (descriptor.offset + count * size > recordLength)
        return 0;
    return int(count);
}

QList<IbtVariable> IbtVariable::plan(const irsdk_varHeader *descriptors, qint64 count,
                                     qint64 recordLength)
{
    QList<IbtVariable> variables;
    for (qint64 v = 0; v < count; ++v) {
        const irsdk_varHeader &descriptor = descriptors[v];
        const int elements = readableElements(descriptor, recordLength);
        if (elements == 0)
            continue;
        variables.append({nameOf(descriptor), unitOf(descriptor), irsdk_VarType(descriptor.type),
                          descriptor.offset, elements, qint32(v)});
    }
    return variables;
}
