#include "lapranking.h"

#include "laptime.h"

#include <algorithm>

QList<qsizetype> LapRanking::fastestFirst(const Laps &laps)
{
    QList<qsizetype> timed;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        if (LapTime::isTimedLap(laps[i]->header()))
            timed.append(i);
    }
    std::stable_sort(timed.begin(), timed.end(), [&laps](qsizetype a, qsizetype b) {
        return laps[a]->header().lapTime < laps[b]->header().lapTime;
    });
    return timed;
}

qsizetype LapRanking::best(const Laps &laps)
{
    const QList<qsizetype> ranked = fastestFirst(laps);
    return ranked.isEmpty() ? -1 : ranked.first();
}

QList<qsizetype> LapRanking::shown(const Laps &laps, const QList<qsizetype> &candidates,
                                   qsizetype most)
{
    if (candidates.size() <= most)
        return candidates;

    QList<qsizetype> kept;
    const auto keep = [&kept, &candidates, most](qsizetype index) {
        if (kept.size() < most && candidates.contains(index) && !kept.contains(index))
            kept.append(index);
    };
    const QList<qsizetype> ranked = fastestFirst(laps);
    if (!ranked.isEmpty())
        keep(ranked.first());
    keep(candidates.last());
    for (const qsizetype index : ranked)
        keep(index);
    // Too few timed laps to fill the picture: the untimed ones follow in lap order.
    for (const qsizetype index : candidates)
        keep(index);
    std::sort(kept.begin(), kept.end());
    return kept;
}
