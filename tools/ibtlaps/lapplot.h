#pragma once

#include "importresult.h"

#include <QImage>

// Draws what a driver looks at first: speed over lap distance for every completed lap of an
// import, one colour per lap, with a legend of lap numbers and times (the fastest marked),
// axes with ticks, labels and units, and a title with track and driver.
//
// Speed is the "speed" channel, in km/h when it is recorded in m/s. Distance is the
// "lapdist" channel in metres, or "lapdistpct" times the header's "Track length" when the
// lap has no distance channel. Needs a QGuiApplication for its fonts.
class LapPlot
{
public:
    static constexpr int Width = 1600;
    static constexpr int Height = 900;

    static QImage render(const ImportResult &result);
};
