#pragma once

#include "lapchannels.h"

#include <QString>
#include <QStringList>

// The channels a driver asked for with --channels, and the list --list-channels prints.
class ChannelChoice
{
public:
    ChannelChoice() = default; // every channel
    explicit ChannelChoice(QStringList names);

    bool isAll() const { return m_names.isEmpty(); }
    // Names match without regard to case: the simulator writes them in mixed case, the
    // plug-in in lower case.
    bool contains(const QString &name) const
    {
        return isAll() || m_names.contains(name, Qt::CaseInsensitive);
    }

    // For the names that no lap has, one line each with the names that come near it ("did
    // you mean"); empty when every name is known.
    QString unknownNamesText(const Laps &laps) const;

    // Every channel of the laps with its unit and whether it was recorded or calculated.
    static QString listText(const Laps &laps);

private:
    QStringList m_names;
};
