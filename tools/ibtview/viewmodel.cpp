#include "viewmodel.h"

#include "lapchannels.h"
#include "lapranking.h"
#include "laptime.h"
#include "summarytext.h"

#include <QFileInfo>

#include <algorithm>

ViewModel::ViewModel(QObject *parent)
    : QObject(parent)
{ }

qsizetype ViewModel::addFile(const ImportResult &result)
{
    OpenFile file;
    file.result = result;
    const Laps &laps = result.laps;
    file.trackLength = LapChannels::trackLength(laps);
    if (file.trackLength && !result.recording.sectorStarts().isEmpty())
        file.sectorStarts = SectorTimes::starts(*file.trackLength, result.recording.sectorStarts());
    file.best = LapRanking::best(laps);
    file.bestSectors = QList<qsizetype>(file.sectorStarts.size(), -1);
    for (qsizetype i = 0; i < laps.size(); ++i) {
        std::optional<SectorTimes> times;
        if (file.trackLength && !file.sectorStarts.isEmpty())
            times = SectorTimes::of(*laps[i], *file.trackLength, file.sectorStarts);
        if (times) {
            for (qsizetype s = 0; s < file.bestSectors.size(); ++s) {
                const qsizetype best = file.bestSectors[s];
                if (best < 0 || times->times()[s] < file.sectorTimes[best]->times()[s])
                    file.bestSectors[s] = i;
            }
        }
        file.sectorTimes.append(times);
    }
    m_files.append(file);
    const qsizetype index = m_files.size() - 1;

    const bool firstFile = m_files.size() == 1;
    // A file opens with its best lap overlaid, ready to be set against the others.
    if (file.best >= 0)
        m_overlaid.append({index, file.best});
    if (!m_referenceChosen)
        m_reference = best();
    emit lapsChanged();
    emit overlayChanged();
    emit referenceChanged();
    if (firstFile || !isZoomed())
        resetZoom();
    return index;
}

QList<ViewModel::LapKey> ViewModel::laps() const
{
    QList<LapKey> keys;
    for (qsizetype f = 0; f < m_files.size(); ++f) {
        for (qsizetype l = 0; l < m_files[f].result.laps.size(); ++l)
            keys.append({f, l});
    }
    return keys;
}

const ZUM::SDK::Lap &ViewModel::lap(LapKey key) const
{
    return *m_files[key.file].result.laps[key.lap];
}

QString ViewModel::lapName(LapKey key) const
{
    const QString lapName = SummaryText::lapName(m_files[key.file].result.laps, key.lap);
    if (m_files.size() < 2)
        return lapName;
    return QFileInfo(m_files[key.file].result.file).fileName() + QLatin1Char(' ') + lapName;
}

bool ViewModel::isOverlaid(LapKey key) const
{
    return m_overlaid.contains(key);
}

void ViewModel::setOverlaid(LapKey key, bool overlaid)
{
    if (overlaid == isOverlaid(key))
        return;
    if (overlaid)
        m_overlaid.append(key);
    else
        m_overlaid.removeOne(key);
    emit overlayChanged();
}

void ViewModel::setOverlaidLaps(qsizetype file, const QList<qsizetype> &laps)
{
    // Those that stay keep their place, and with it their colour.
    QList<LapKey> overlaid;
    for (const LapKey &key : std::as_const(m_overlaid)) {
        if (key.file != file || laps.contains(key.lap))
            overlaid.append(key);
    }
    for (const qsizetype lap : laps) {
        if (!overlaid.contains(LapKey {file, lap}))
            overlaid.append({file, lap});
    }
    if (overlaid == m_overlaid)
        return;
    m_overlaid = overlaid;
    emit overlayChanged();
}

QList<ViewModel::LapKey> ViewModel::overlaid() const
{
    QList<LapKey> keys;
    for (const LapKey &key : laps()) {
        if (isOverlaid(key))
            keys.append(key);
    }
    return keys;
}

ViewModel::LapKey ViewModel::best() const
{
    LapKey fastest;
    double fastestTime = INFINITY;
    for (qsizetype f = 0; f < m_files.size(); ++f) {
        const qsizetype index = m_files[f].best;
        if (index < 0)
            continue;
        const double time = LapTime::seconds(m_files[f].result.laps[index]->header().lapTime);
        if (time < fastestTime) {
            fastestTime = time;
            fastest = {f, index};
        }
    }
    return fastest;
}

void ViewModel::setReference(LapKey key)
{
    m_referenceChosen = true;
    if (key == m_reference)
        return;
    m_reference = key;
    if (!isOverlaid(key)) {
        m_overlaid.append(key);
        emit overlayChanged();
    }
    emit referenceChanged();
}

std::optional<double> ViewModel::trackLength() const
{
    if (m_reference.isValid())
        return m_files[m_reference.file].trackLength;
    return m_files.isEmpty() ? std::nullopt : m_files.first().trackLength;
}

double ViewModel::fullHigh() const
{
    if (const std::optional<double> length = trackLength())
        return *length;
    double longest = 0.0;
    for (const OpenFile &file : m_files)
        longest = std::max(longest, file.trackLength.value_or(0.0));
    return longest > 0.0 ? longest : 1000.0;
}

void ViewModel::setCursor(double distance)
{
    const double clamped = std::clamp(distance, fullLow(), fullHigh());
    if (clamped < m_visibleLow)
        fitRange(clamped, clamped + (m_visibleHigh - m_visibleLow));
    else if (clamped > m_visibleHigh)
        fitRange(clamped - (m_visibleHigh - m_visibleLow), clamped);
    if (clamped == m_cursor)
        return;
    m_cursor = clamped;
    emit cursorChanged();
}

void ViewModel::stepCursor(int steps)
{
    setCursor(m_cursor + steps * (m_visibleHigh - m_visibleLow) / 200.0);
}

void ViewModel::setVisibleRange(double from, double to)
{
    fitRange(std::min(from, to), std::max(from, to));
}

void ViewModel::zoom(double around, double factor)
{
    if (!(factor > 0.0))
        return;
    fitRange(around - (around - m_visibleLow) * factor, around + (m_visibleHigh - around) * factor);
}

void ViewModel::resetZoom()
{
    fitRange(fullLow(), fullHigh());
}

void ViewModel::fitRange(double low, double high)
{
    const double full = fullHigh() - fullLow();
    double width = std::clamp(high - low, std::min(NarrowestRange, full), full);
    // Keep the middle of what was asked for when it has to widen.
    low = (low + high) / 2.0 - width / 2.0;
    low = std::clamp(low, fullLow(), fullHigh() - width);
    high = low + width;
    if (low == m_visibleLow && high == m_visibleHigh)
        return;
    m_visibleLow = low;
    m_visibleHigh = high;
    emit rangeChanged();
}

void ViewModel::setUnits(Units units)
{
    if (units == m_units)
        return;
    m_units = units;
    emit unitsChanged();
}
