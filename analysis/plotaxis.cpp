#include "plotaxis.h"

#include <algorithm>

namespace {

// A step of 1, 2 or 5 times a power of ten that cuts the span into about count pieces.
double niceStep(double span, int count)
{
    const double raw = span / count;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    const double fraction = raw / magnitude;
    if (fraction < 1.5)
        return magnitude;
    if (fraction < 3.0)
        return 2.0 * magnitude;
    if (fraction < 7.0)
        return 5.0 * magnitude;
    return 10.0 * magnitude;
}

} // namespace

PlotAxis PlotAxis::fitting(Range range, int ticks, Ends ends, double leastStep)
{
    if (range.isEmpty())
        range = {0.0, 1.0};
    if (range.high - range.low < 1e-9) {
        // A flat line sits in the middle of its axis.
        const double half = std::max(std::abs(range.low) * 0.1, 0.5);
        range = {range.low - half, range.high + half};
    }
    PlotAxis axis;
    axis.m_step = std::max(niceStep(range.high - range.low, ticks), leastStep);
    if (ends == Ends::Data) {
        axis.m_low = range.low;
        axis.m_high = range.high;
    } else {
        axis.m_low = std::floor(range.low / axis.m_step) * axis.m_step;
        axis.m_high = std::ceil(range.high / axis.m_step) * axis.m_step;
    }
    return axis;
}

double PlotAxis::firstTick() const
{
    // A value a hair below a tick, from rounding, still counts as that tick.
    return std::ceil(m_low / m_step - 1e-9) * m_step;
}

QString PlotAxis::label(double value) const
{
    const int decimals = m_step >= 1.0 ? 0 : int(std::ceil(-std::log10(m_step) - 1e-9));
    return QString::number(std::abs(value) < m_step * 1e-6 ? 0.0 : value, 'f', decimals);
}
