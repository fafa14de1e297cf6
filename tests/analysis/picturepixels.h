#pragma once

// Reads the lap picture by its pixels: how much of a colour a part of it holds.

#include <QColor>
#include <QImage>
#include <QRect>

#include <algorithm>

namespace PicturePixels {

// Pixels of exactly that colour: the inside of a line drawn in it.
inline int count(const QImage &image, const QRect &area, const QColor &colour)
{
    int found = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixelColor(x, y) == colour)
                ++found;
        }
    }
    return found;
}

// A clear colour, not black, white or grey.
inline bool isColourful(const QColor &c)
{
    return std::max({c.red(), c.green(), c.blue()}) - std::min({c.red(), c.green(), c.blue()}) > 60;
}

// Colourful pixels, every second one in both directions.
inline int colourful(const QImage &image, const QRect &area)
{
    int found = 0;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        for (int x = area.left(); x <= area.right(); x += 2) {
            if (isColourful(image.pixelColor(x, y)))
                ++found;
        }
    }
    return found;
}

// Pixels with ink on them (text, frames, lines), every second one in both directions.
inline int inked(const QImage &image, const QRect &area)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        for (int x = area.left(); x <= area.right(); x += 2) {
            if (qGray(image.pixel(x, y)) < 200)
                ++n;
        }
    }
    return n;
}

} // namespace PicturePixels
