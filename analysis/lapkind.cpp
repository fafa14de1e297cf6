#include "lapkind.h"

QString lapKindLabel(const ZUM::SDK::LapHeader &header)
{
    switch (header.flyingLap) {
    case 0:
        return QStringLiteral("out");
    case 1:
        return QStringLiteral("flying");
    default:
        return QStringLiteral("-");
    }
}
