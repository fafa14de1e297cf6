#pragma once

#include <QString>

#include <cmath>

// One axis of a panel: the span of values it shows and the step between its ticks.
class PlotAxis
{
public:
    // The values an axis is to hold; empty until a value is included.
    struct Range
    {
        double low = INFINITY;
        double high = -INFINITY;

        void include(double value)
        {
            if (std::isfinite(value)) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
        }
        bool isEmpty() const { return !(low <= high); }
    };

    enum class Ends {
        Data, // the axis ends where the data ends: lap distance
        Ticks, // the axis ends at the ticks around the data: a little room above and below
    };

    PlotAxis() = default;
    // About `ticks` ticks over the range, at least leastStep apart (1 for a count such as
    // a gear); an empty range gives 0 to 1.
    static PlotAxis fitting(Range range, int ticks, Ends ends, double leastStep = 0.0);

    // The same axis over values in another unit: a value v is shown at v × factor, such as
    // lap distances in metres on an axis in feet.
    PlotAxis scaled(double factor) const
    {
        PlotAxis axis = *this;
        axis.m_factor = factor;
        return axis;
    }
    double factor() const { return m_factor; }

    double low() const { return m_low; }
    double high() const { return m_high; }
    double step() const { return m_step; }
    // The first tick at or above low().
    double firstTick() const;
    // A tick's label with as many decimals as the step needs.
    QString label(double value) const;

private:
    double m_low = 0.0;
    double m_high = 1.0;
    double m_step = 0.2;
    double m_factor = 1.0;
};
