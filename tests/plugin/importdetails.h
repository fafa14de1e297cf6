#pragma once

#include "lap.h"

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>

#include <memory>

// What the host received from one import, item by item, finer than one digest so that a change
// can be told where it happened: each message and each lap header field and named value as
// text, and each channel as its unit, its size and one hex digit of hash per eighth of its
// entries. A channel's digits can miss a change (one in sixteen per block); the digest of the
// whole import still catches it. A recorded channel that copies a variable of the file is
// re-derived from the file when it differs, to name its first differing entry.
class ImportDetails
{
public:
    // One item: its key ("lap 1 channel Speed") and its value as text.
    struct Item
    {
        QString key;
        QString value;
    };

    ImportDetails() = default;
    // messages are the texts the host received, with their levels, already made independent of
    // the file's path and of the time the import took; path is the imported file, when it is
    // there to re-derive channels from.
    ImportDetails(const QList<std::pair<QString, int>> &messages,
                  const QList<QSharedPointer<ZUM::SDK::Lap>> &laps, const QString &path = {});

    const QList<Item> &items() const { return m_items; }

    // The first item that differs from expected, in words, after the name of the case: which lap
    // (by index and number), which header field, named value, message or channel, and both values;
    // for a channel, its first differing entry and both values when it copies a variable of the
    // file this import read, else the entries of the block whose hash differs. Empty when nothing
    // differs.
    QString firstDifference(const QString &name, const ImportDetails &expected) const;

    // The data file: one "= case" line per case, then one "key<TAB>value" line per item, the
    // whole compressed with qCompress.
    static QHash<QString, ImportDetails> read(const QString &path);
    static bool write(const QString &path, const QList<std::pair<QString, ImportDetails>> &cases);

    static constexpr int Blocks = 8;

    class FileRecords;

private:
    void addLap(int index, const ZUM::SDK::Lap &lap, const QDateTime &lastStart);
    void addChannel(const QString &key, const ZUM::SDK::Channel &channel);
    QString lapNumber(const QString &key) const;
    QString entryDifference(const QString &key, const QString &expected) const;

    QList<Item> m_items;
    QList<QSharedPointer<ZUM::SDK::Lap>> m_laps;
    QString m_path;
    mutable std::shared_ptr<const FileRecords> m_records; // read when first needed
};
