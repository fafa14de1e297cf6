#include "plotlaps.h"

#include "lapranking.h"
#include "lapselection.h"
#include "plotstyle.h"
#include "summarytext.h"

#include <algorithm>

namespace {

// Laps that cover less of the track say little and squeeze the axes.
constexpr double shortestShare = 0.25;

qsizetype secondFastest(const Laps &laps)
{
    const QList<qsizetype> ranked = LapRanking::fastestFirst(laps);
    return ranked.size() >= 2 ? ranked[1] : -1;
}

} // namespace

PlotLaps PlotLaps::of(const Laps &laps, const QList<qsizetype> &chosen, qsizetype compare,
                      Units units, const Reference &reference)
{
    PlotLaps result;
    result.m_laps = laps;
    result.m_fileLaps = laps;
    result.m_units = units;
    result.m_trackLength = LapChannels::trackLength(laps);
    result.m_best = LapRanking::best(laps);
    result.m_reference = result.m_best;
    if (reference.lap) {
        result.m_laps.append(reference.lap);
        result.m_reference = result.m_laps.size() - 1;
        result.m_referenceName = reference.name;
    }
    result.m_compare = compare >= 0 ? compare
        : reference.lap             ? result.m_best
                                    : secondFastest(laps);
    if (result.m_compare == result.m_reference)
        result.m_compare = -1;

    // The compared lap and the reference are drawn in every panel, chosen or not.
    QList<qsizetype> toDraw = chosen;
    for (const qsizetype always : {result.m_compare, result.m_reference}) {
        if (always >= 0 && !toDraw.contains(always))
            toDraw.append(always);
    }
    std::sort(toDraw.begin(), toDraw.end());
    QList<Drawn> candidates;
    double longest = 0.0;
    QList<double> covered;
    for (const qsizetype index : toDraw) {
        const QString name = QStringLiteral("speed");
        const QSharedPointer<ZUM::SDK::Channel> speedChannel
            = LapChannels::find(*result.m_laps[index], name);
        const std::vector<double> distance
            = LapChannels::distance(*result.m_laps[index], result.m_trackLength);
        if (!speedChannel || distance.empty()) {
            result.m_blankLaps.append(index);
            continue;
        }
        const UnitSystem::Conversion conversion
            = UnitSystem::conversion(speedChannel->unit(), units);
        std::vector<double> speed = LapChannels::values(*result.m_laps[index], name);
        for (double &value : speed)
            value = conversion(value);
        if (result.m_speedUnit.isEmpty())
            result.m_speedUnit = conversion.unit;
        DistanceTrace trace = DistanceTrace::of(distance, speed);
        const auto [lowest, highest] = trace.valueRange();
        if (trace.isEmpty() || !(lowest <= highest)) {
            result.m_blankLaps.append(index);
            continue;
        }
        covered.append(trace.lastDistance() - trace.firstDistance());
        candidates.append({index, std::move(trace)});
        longest = std::max(longest, covered.last());
    }

    const double shortest = shortestShare * result.m_trackLength.value_or(longest);
    QList<qsizetype> longEnough;
    QList<Drawn> kept;
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        if (covered[i] < shortest) {
            result.m_shortLaps.append(candidates[i].index);
        } else {
            longEnough.append(candidates[i].index);
            kept.append(std::move(candidates[i]));
        }
    }
    if (kept.isEmpty() && !candidates.isEmpty()) {
        // Better the longest of the short laps than empty panels.
        const qsizetype longestIndex
            = std::max_element(covered.cbegin(), covered.cend()) - covered.cbegin();
        result.m_longestShortLap = candidates[longestIndex].index;
        result.m_shortLaps.removeOne(result.m_longestShortLap);
        longEnough.append(result.m_longestShortLap);
        kept.append(std::move(candidates[longestIndex]));
    }
    const QList<qsizetype> shown = LapRanking::shown(result.m_laps, longEnough, MostLaps);
    result.m_moreLaps = longEnough.size() - shown.size();
    for (Drawn &drawn : kept) {
        if (shown.contains(drawn.index) || drawn.index == result.m_compare
            || drawn.index == result.m_reference)
            result.m_drawn.append(std::move(drawn));
    }
    return result;
}

QColor PlotLaps::colour(qsizetype index) const
{
    // By the lap's place in the file, so that a lap keeps its colour whichever laps are drawn.
    if (index == m_reference)
        return PlotStyle::bestColour();
    return PlotStyle::otherColour(int(index % PlotStyle::OtherColours));
}

QString PlotLaps::name(qsizetype index) const
{
    return index >= m_fileLaps.size() ? m_referenceName : SummaryText::lapName(m_fileLaps, index);
}

QString PlotLaps::shortName(qsizetype index) const
{
    return index >= m_fileLaps.size() ? QStringLiteral("ref")
                                      : LapSelection::shortName(m_fileLaps, index);
}
