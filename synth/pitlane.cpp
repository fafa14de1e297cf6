#include "pitlane.h"

#include "trackoutline.h"

#include <algorithm>
#include <cmath>

PitLane::PitLane(const TrackOutline &outline, double entryPct, double exitPct)
    : m_length(outline.length())
    , m_width(std::min(Width, 0.5 * outline.cornerRadius()))
    , m_entry(entryPct * outline.length())
{
    const double span = (exitPct - entryPct) * m_length;
    m_span = span - m_length * std::floor(span / m_length);
    m_transition = std::min(Transition, 0.5 * m_span);
}

PitLane::Offset PitLane::at(double distance) const
{
    double into = distance - m_entry;
    into -= m_length * std::floor(into / m_length);
    if (into > m_span || m_transition <= 0.0)
        return {};
    // Across on a smoothstep, 3u^2 - 2u^3, from the entry and towards the exit.
    const bool leaving = into > 0.5 * m_span;
    const double u = std::min(1.0, (leaving ? m_span - into : into) / m_transition);
    if (u >= 1.0)
        return {m_width, 0.0, 0.0};
    const double sign = leaving ? -1.0 : 1.0;
    return {m_width * u * u * (3.0 - 2.0 * u), sign * m_width * 6.0 * u * (1.0 - u) / m_transition,
            m_width * (6.0 - 12.0 * u) / (m_transition * m_transition)};
}
