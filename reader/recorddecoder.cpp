#include "recorddecoder.h"

#include <QHash>

#include <utility>

using ZUM::SDK::DynamicData;
using ZUM::SDK::Sample;
using ZUM::SDK::Value;

namespace {

// Element i of a variable, decoded by its type, stored under a name with the variable's unit.
void store(DynamicData &values, const QString &name, const IbtVariable &variable,
           const char *record, int i)
{
    IbtVariable::visit(variable.type, variable.element(record, i), [&](auto value) {
        values.setValue(name, Value(QVariant(value), variable.unit));
    });
}

} // namespace

void RecordDecoder::learn(const irsdk_varHeader *varHeaders, qint64 count, QList<IbtVariable> plan)
{
    m_learnt = true;
    m_descriptors.assign(varHeaders, varHeaders + qMax<qint64>(count, 0));
    m_variables = std::move(plan);
    for (const IbtVariable &variable : std::as_const(m_variables)) {
        m_perCar.append(variable.name.startsWith(m_carIdxKey));
        m_perCarNames.append(variable.name.mid(m_carIdxKey.size()));
    }

    // Every element of a variable goes under its one name, and a later variable of the same
    // name overwrites an earlier one: the last writer's value and unit are what a record
    // leaves.
    QHash<QString, qsizetype> position;
    for (const IbtVariable &variable : std::as_const(m_variables)) {
        const Slot slot {variable.type,
                         variable.offset + (variable.count - 1) * variable.elementSize()};
        const auto known = position.constFind(variable.name);
        if (known == position.cend()) {
            position.insert(variable.name, m_slots.size());
            m_slots.append(slot);
            m_slotNames.append(variable.name);
            m_slotUnits.append(variable.unit);
        } else {
            m_slots[*known] = slot;
            m_slotUnits[*known] = variable.unit;
        }
    }
    m_slotLayout = DynamicData::newLayout();
}

// Names and units of every descriptor, readable or not, converted when first asked for: the
// decoding needs only those of the readable ones.
const QList<QString> &RecordDecoder::variableNames() const
{
    if (m_names.size() != qsizetype(m_descriptors.size())) {
        m_names.clear();
        for (const irsdk_varHeader &descriptor : m_descriptors)
            m_names.append(IbtVariable::nameOf(descriptor));
    }
    return m_names;
}

const QList<QString> &RecordDecoder::variableUnits() const
{
    if (m_units.size() != qsizetype(m_descriptors.size())) {
        m_units.clear();
        for (const irsdk_varHeader &descriptor : m_descriptors)
            m_units.append(IbtVariable::unitOf(descriptor));
    }
    return m_units;
}

void RecordDecoder::recycle(QList<Sample> &samples) const
{
    for (Sample &sample : samples) {
        static_cast<ZUM::SDK::CarInfo &>(sample) = ZUM::SDK::CarInfo();
        if (sample.dynamicData.layout() == 0 || sample.dynamicData.layout() != m_slotLayout)
            sample.dynamicData.clear();
    }
}

void RecordDecoder::decodeMyCar(const char *record, Sample &sample) const
{
    DynamicData &values = sample.dynamicData;
    if (values.layout() != m_slotLayout) {
        // Values already there stay beside the record's: only an empty sample takes the layout.
        if (!values.isEmpty()) {
            for (const IbtVariable &variable : m_variables) {
                for (int i = 0; i < variable.count; ++i)
                    store(values, variable.name, variable, record, i);
            }
            return;
        }
        values.setLayout(m_slotLayout, m_slotNames, m_slotUnits);
    }
    for (qsizetype i = 0; i < m_slots.size(); ++i) {
        IbtVariable::visit(m_slots[i].type, record + m_slots[i].offset,
                           [&values, i](auto value) { values.setLayoutValue(i, value); });
    }
}

void RecordDecoder::decodeAllCars(const char *record, QList<Sample> &samples, int myCarIdx,
                                  bool playerFromScalars) const
{
    const int mine = myCarIdx;
    for (qsizetype v = 0; v < m_variables.size(); ++v) {
        const IbtVariable &variable = m_variables[v];
        for (int i = 0; i < variable.count; ++i) {
            if (m_perCar[v]) {
                // Element i belongs to car i.
                if ((i == mine && playerFromScalars) || i >= samples.size())
                    continue;
                store(samples[i].dynamicData, m_perCarNames[v], variable, record, i);
                continue;
            }
            // An array that is not per car keeps its last element under the one name.
            if (mine >= 0 && mine < samples.size())
                store(samples[mine].dynamicData, variable.name, variable, record, i);
        }
    }

    if (mine < 0 || mine >= samples.size())
        return;

    // Other cars carry no clock of their own: they take the player's.
    const DynamicData &player = samples[mine].dynamicData;
    const Value sessionTime = player.value(m_sessionTimeKey);
    const Value sessionTimeRemain = player.value(m_sessionTimeRemainKey);
    const QVariant sessionTick(player.value(m_sessionTickKey).toULongLong());
    for (int c = 0; c < samples.size(); ++c) {
        if (c == mine)
            continue;
        DynamicData &values = samples[c].dynamicData;
        values.setValue(m_sessionTimeKey, sessionTime);
        values.setValue(m_sessionTimeRemainKey, sessionTimeRemain);
        values.setValue(m_sessionTickKey, sessionTick, QStringLiteral(""));
    }
}

// A variable of the tick, or null when the sample lacks it or holds no valid value. A sample
// in the player's car's layout holds exactly the layout's names.
const Value *RecordDecoder::validValue(const DynamicData &values, const Variable &variable) const
{
    const Value *value = nullptr;
    if (values.layout() != 0 && values.layout() == m_slotLayout)
        value = variable.position >= 0 ? &values.layoutValue(variable.position) : nullptr;
    else
        value = values.find(variable.name);
    return value && value->isValid() ? value : nullptr;
}

float RecordDecoder::readFloat(const DynamicData &values, const Variable &variable,
                               float fallback) const
{
    const Value *value = validValue(values, variable);
    return value ? value->toFloat() : fallback;
}

int RecordDecoder::readInt(const DynamicData &values, const Variable &variable, int fallback) const
{
    const Value *value = validValue(values, variable);
    return value ? value->toInt() : fallback;
}

bool RecordDecoder::readBool(const DynamicData &values, const Variable &variable,
                             bool fallback) const
{
    const Value *value = validValue(values, variable);
    return value ? value->toBool() : fallback;
}
