#include "plotstyle.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

// Neighbours in this order differ in hue and in lightness, so that laps next to each other
// in a file, which often cross in a chart, are told apart.
const QColor others[PlotStyle::OtherColours] = {
    QColor(0xd5, 0x5e, 0x00), // vermillion
    QColor(0x00, 0x9e, 0x73), // bluish green
    QColor(0xcc, 0x79, 0xa7), // reddish purple
    QColor(0xe6, 0x9f, 0x00), // orange
    QColor(0x8c, 0x51, 0x0a), // brown: sky blue would be too near the best lap's blue
    QColor(0x00, 0x00, 0x00), // black
    QColor(0x99, 0x99, 0x33), // olive
};

// viridis at nine equal steps.
const QColor scale[] = {
    QColor(0x44, 0x01, 0x54), QColor(0x48, 0x28, 0x78), QColor(0x3e, 0x49, 0x89),
    QColor(0x31, 0x68, 0x8e), QColor(0x26, 0x82, 0x8e), QColor(0x1f, 0x9e, 0x89),
    QColor(0x35, 0xb7, 0x79), QColor(0x6d, 0xcd, 0x59), QColor(0xfd, 0xe7, 0x25),
};

int mix(int from, int to, double share)
{
    return int(std::lround(from + (to - from) * share));
}

} // namespace

QColor PlotStyle::bestColour()
{
    return {0x00, 0x72, 0xb2}; // blue
}

QColor PlotStyle::otherColour(int index)
{
    return others[index % OtherColours];
}

QColor PlotStyle::scaleColour(double share)
{
    const double position
        = std::clamp(std::isfinite(share) ? share : 0.0, 0.0, 1.0) * double(std::size(scale) - 1);
    const int below = std::min(int(position), int(std::size(scale)) - 2);
    const double rest = position - below;
    const QColor &a = scale[below];
    const QColor &b = scale[below + 1];
    return QColor(mix(a.red(), b.red(), rest), mix(a.green(), b.green(), rest),
                  mix(a.blue(), b.blue(), rest));
}

QFont PlotStyle::font(int pixelSize, bool bold)
{
    QFont result(QStringLiteral("DejaVu Sans"));
    result.setPixelSize(pixelSize);
    result.setBold(bold);
    return result;
}
