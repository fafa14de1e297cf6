#include "driverroster.h"

#include "field.h"
#include "sessiontextbuilder.h"

#include <QStringList>

#include <algorithm>

namespace {

const QStringList &driverNames()
{
    static const QStringList names = {
        QStringLiteral("Tomas Brenner"),  QStringLiteral("Aiko Saito"),
        QStringLiteral("Rafael Duarte"),  QStringLiteral("Priya Raman"),
        QStringLiteral("Jonas Kettunen"), QStringLiteral("Lea Moreau"),
        QStringLiteral("Samuel Okafor"),  QStringLiteral("Irene Castell"),
        QStringLiteral("Viktor Hale"),    QStringLiteral("Nadia Petrova"),
        QStringLiteral("Hugo Lindgren"),  QStringLiteral("Chloe Martins"),
    };
    return names;
}

} // namespace

DriverRoster::DriverRoster(const Options &o, const Field &field)
{
    const QStringList &names = driverNames();
    const char *licenceColours[] = {"0x0153db", "0x00c702", "0xfeec04", "0xfc8a27", "0xfc0706"};
    const char *licenceClasses[] = {"A", "B", "C", "D", "R"};
    const char *clubs[] = {"Scandinavia", "Japan", "Brazil", "India", "Finland", "France"};
    const std::vector<Field::Car> &others = field.cars();
    for (int idx : field.carIdxs()) {
        Driver d;
        d.carIdx = idx;
        const bool mine = idx == o.playerCarIdx;
        const int n = int(std::find_if(others.begin(), others.end(),
                                       [&](const Field::Car &car) { return car.carIdx == idx; })
                          - others.begin());
        d.name = mine ? o.playerName
                      : (n < names.size() ? names[n] : QStringLiteral("Driver %1").arg(n + 1));
        d.userId = mine ? 402215 : 100003 + 7919 * n;
        d.carNumber = mine ? 7 : 11 + 3 * n;
        d.iRating = mine ? 2240 : 1350 + (217 * n) % 2500;
        const int cls = mine ? 0 : n % 5;
        d.licLevel = 20 - 4 * cls;
        d.licSubLevel = mine ? 412 : 150 + (37 * n) % 349;
        d.licence
            = QStringLiteral("%1 %2").arg(QLatin1String(licenceClasses[cls]),
                                          SessionTextBuilder::number(d.licSubLevel / 100.0, 2));
        d.licenceColour = QLatin1String(licenceColours[cls]);
        d.club = QLatin1String(mine ? "Scandinavia" : clubs[n % 6]);
        d.division = QStringLiteral("Division %1").arg(mine ? 2 : 1 + n % 7);
        m_drivers.push_back(d);
    }
}
