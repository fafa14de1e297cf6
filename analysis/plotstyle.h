#pragma once

#include <QColor>
#include <QFont>

// The look shared by every panel of the lap picture. The lap colours are the Okabe-Ito set
// and the speed scale is viridis: both stay apart for readers with the common kinds of
// colour blindness, and the scale reads from dark to light also in grey.
class PlotStyle
{
public:
    // The best lap's colour, in every picture.
    static QColor bestColour();
    // The other laps' colours, in the order laps get them; there are OtherColours of them.
    static constexpr int OtherColours = 7;
    static QColor otherColour(int index);

    static QColor textColour() { return {0x22, 0x22, 0x22}; }
    static QColor quietColour() { return {0x70, 0x70, 0x70}; }
    static QColor gridColour() { return {0xe4, 0xe4, 0xe4}; }

    // The colour of a share from 0 (slowest) to 1 (fastest) on the speed scale.
    static QColor scaleColour(double share);

    static QFont font(int pixelSize, bool bold = false);
};
