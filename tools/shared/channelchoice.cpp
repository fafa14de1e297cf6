#include "channelchoice.h"

#include "texttable.h"

#include <QMap>

#include <algorithm>
#include <vector>

namespace {

// At most this many near names are offered.
constexpr qsizetype mostNearNames = 6;

// The number of single-letter edits that turn one text into the other.
qsizetype editDistance(const QString &a, const QString &b)
{
    std::vector<qsizetype> previous(size_t(b.size()) + 1);
    std::vector<qsizetype> current(previous.size());
    for (size_t j = 0; j < previous.size(); ++j)
        previous[j] = qsizetype(j);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const qsizetype change = a[i - 1] == b[j - 1] ? 0 : 1;
            current[size_t(j)] = std::min({previous[size_t(j)] + 1, current[size_t(j - 1)] + 1,
                                           previous[size_t(j - 1)] + change});
        }
        std::swap(previous, current);
    }
    return previous.back();
}

struct Known
{
    QString unit;
    bool recorded;
};

// Every channel name of the laps, sorted, with its unit.
QMap<QString, Known> knownChannels(const Laps &laps)
{
    QMap<QString, Known> known;
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        for (const QString &name : lap->getAvailableRecordedChannels())
            known.insert(name, {lap->channel(name)->unit(), true});
        for (const QString &name : lap->getAvailableCalculatedChannels()) {
            if (!known.contains(name))
                known.insert(name, {lap->calculatedChannel(name)->unit(), false});
        }
    }
    return known;
}

// Names within a few edits of the wanted one, or holding it; the nearest first.
QStringList nearNames(const QString &wanted, const QStringList &names)
{
    const QString lower = wanted.toLower();
    const qsizetype allowed = std::max<qsizetype>(2, lower.size() / 3);
    QList<std::pair<qsizetype, QString>> near;
    for (const QString &name : names) {
        const qsizetype distance = editDistance(lower, name.toLower());
        if (distance <= allowed || name.contains(lower, Qt::CaseInsensitive))
            near.append({distance, name});
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    QStringList result;
    for (qsizetype i = 0; i < std::min(near.size(), mostNearNames); ++i)
        result.append(near[i].second);
    return result;
}

} // namespace

ChannelChoice::ChannelChoice(QStringList names)
    : m_names(std::move(names))
{ }

QString ChannelChoice::unknownNamesText(const Laps &laps) const
{
    const QStringList known = knownChannels(laps).keys();
    QString text;
    for (const QString &name : m_names) {
        if (known.contains(name, Qt::CaseInsensitive))
            continue;
        const QStringList near = nearNames(name, known);
        text += QStringLiteral("--channels: no channel '%1'").arg(name)
            + (near.isEmpty() ? QStringLiteral("; --list-channels lists them")
                              : QStringLiteral("; near names: ") + near.join(QStringLiteral(", ")))
            + QLatin1Char('\n');
    }
    return text;
}

QString ChannelChoice::listText(const Laps &laps)
{
    TextTable table({
        {QStringLiteral("Channel"), false},
        {QStringLiteral("Unit"), false},
        {QStringLiteral("Set"), false},
    });
    const QMap<QString, Known> known = knownChannels(laps);
    for (auto it = known.cbegin(); it != known.cend(); ++it)
        table.addRow({it.key(), it->unit.isEmpty() ? QStringLiteral("-") : it->unit,
                      it->recorded ? QStringLiteral("recorded") : QStringLiteral("calculated")});
    return table.text();
}
