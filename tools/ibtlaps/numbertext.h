#pragma once

#include <QByteArray>

// The shortest decimal text that reads back as exactly the same double, in the C locale;
// "-0.0" for negative zero, whose shortest form "0" would lose the sign. Empty for NaN and
// the infinities, which have no decimal form.
QByteArray shortestNumberText(double value);
