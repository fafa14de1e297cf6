#pragma once

#include "ibtvariable.h"
#include "irsdk.h"
#include "lapkeys.h"

#include "dynamicdata.h"
#include "sample.h"

#include <QList>
#include <QString>

#include <vector>

// Decodes the records of one .ibt file into samples, by the variable descriptors that it
// learns once per file, and reads the decoded samples' variables, by position where it can.
// The import learns the descriptors on its own thread before the worker starts; afterwards
// they are only read, by the worker that decodes.
class RecordDecoder
{
public:
    bool isLearnt() const { return m_learnt; }
    // Learns the file's descriptors and its decode plan (IbtVariable::plan of them).
    void learn(const irsdk_varHeader *varHeaders, qint64 count, QList<IbtVariable> plan);

    // The player's car alone: each name once, read from the element that a record writes last
    // under it, in the order the names first appear. A sample that is empty or already in
    // layout() takes the record by position.
    void decodeMyCar(const char *record, ZUM::SDK::Sample &sample) const;
    // One sample per car slot from the per-car arrays; the player's car also takes every other
    // variable, and other cars its clock. With playerFromScalars the player's element of the
    // per-car arrays is left out.
    void decodeAllCars(const char *record, QList<ZUM::SDK::Sample> &samples, int myCarIdx,
                       bool playerFromScalars) const;
    // Readies decoded samples for the next record: as good as new, keeping the storage of
    // values in layout().
    void recycle(QList<ZUM::SDK::Sample> &samples) const;

    // The layout of the player's car's samples, and where a name stands in it (-1: not there).
    ZUM::SDK::DynamicData::Layout layout() const { return m_slotLayout; }
    qsizetype position(const QString &name) const { return m_slotNames.indexOf(name); }

    // A variable of a car's sample, and where it stands in the player's car's layout (-1: not
    // in it), so that the player's variables are read by position.
    struct Variable
    {
        const QString name;
        qsizetype position = -1;
    };
    // A variable of a decoded sample, or null when the sample lacks it or holds no valid value.
    const ZUM::SDK::Value *validValue(const ZUM::SDK::DynamicData &values,
                                      const Variable &variable) const;
    // Its value, or the fallback.
    float readFloat(const ZUM::SDK::DynamicData &values, const Variable &variable,
                    float fallback) const;
    int readInt(const ZUM::SDK::DynamicData &values, const Variable &variable, int fallback) const;
    bool readBool(const ZUM::SDK::DynamicData &values, const Variable &variable,
                  bool fallback) const;

    // Lower-cased names and units of every descriptor, readable or not.
    const QList<QString> &variableNames() const;
    const QList<QString> &variableUnits() const;

private:
    struct Slot
    {
        irsdk_VarType type;
        qint32 offset;
    };

    bool m_learnt = false;
    std::vector<irsdk_varHeader> m_descriptors;
    mutable QList<QString> m_names;
    mutable QList<QString> m_units;
    QList<IbtVariable> m_variables; // the readable ones
    QList<bool> m_perCar; // per readable variable: an array with one element per car slot
    QList<QString> m_perCarNames; // its name without the per-car prefix
    QList<Slot> m_slots;
    QList<QString> m_slotNames;
    QList<QString> m_slotUnits;
    ZUM::SDK::DynamicData::Layout m_slotLayout = 0;

    const QString m_carIdxKey = QStringLiteral("caridx");
    const QString m_sessionTimeKey = LapKeys::sessionTime;
    const QString m_sessionTimeRemainKey = QStringLiteral("sessiontimeremain");
    const QString m_sessionTickKey = LapKeys::sessionTick;
};
