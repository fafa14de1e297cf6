#include "numbertext.h"

#include <QLocale>

#include <cmath>

QByteArray shortestNumberText(double value)
{
    if (!std::isfinite(value))
        return {};
    if (value == 0.0 && std::signbit(value))
        return QByteArrayLiteral("-0.0");
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}
