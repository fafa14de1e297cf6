#include "summarytext.h"

#include "laptime.h"

namespace {

QString lapsText(int count, const QString &what)
{
    return QStringLiteral("%1 %2 %3").arg(count).arg(what, count == 1 ? u"lap" : u"laps");
}

} // namespace

QList<SummaryText::Line> SummaryText::lines(const SessionSummary &summary, const Laps &laps,
                                            Units units)
{
    QList<Line> lines;
    if (summary.best < 0) {
        lines.append({QStringLiteral("Best lap"), QStringLiteral("no timed lap")});
    } else {
        lines.append({QStringLiteral("Best lap"),
                      QStringLiteral("%1 on %2")
                          .arg(LapTime::text(laps[summary.best]->header().lapTime),
                               lapName(laps, summary.best))});
        QString average = QStringLiteral("%1 over %2")
                              .arg(LapTime::text(summary.average),
                                   lapsText(summary.timedLaps, QStringLiteral("timed")));
        if (!std::isnan(summary.spread))
            average += QStringLiteral(", spread %1 s (standard deviation)")
                           .arg(summary.spread, 0, 'f', 3);
        lines.append({QStringLiteral("Average"), average});
    }
    if (summary.ideal)
        lines.append({QStringLiteral("Ideal lap"),
                      QStringLiteral("%1, the best of each of %2 equal mini-sectors by lap "
                                     "distance over %3")
                          .arg(LapTime::text(summary.ideal->time()))
                          .arg(summary.ideal->sectors().size())
                          .arg(lapsText(summary.ideal->lapCount(), QStringLiteral("timed")))});
    if (!std::isnan(summary.topSpeed)) {
        const UnitSystem::Conversion speed = UnitSystem::conversion(summary.speedUnit, units);
        lines.append({QStringLiteral("Top speed"),
                      QStringLiteral("%1 on %2")
                          .arg(quantity(speed(summary.topSpeed), 1, speed.unit),
                               lapName(laps, summary.topSpeedLap))});
    }
    if (!std::isnan(summary.fuelPerLap)) {
        const UnitSystem::Conversion fuel = UnitSystem::conversion(summary.fuelUnit, units);
        lines.append({QStringLiteral("Fuel per lap"),
                      QStringLiteral("%1, the average of %2")
                          .arg(quantity(fuel(summary.fuelPerLap), 3, fuel.unit),
                               lapsText(summary.fuelLaps, QStringLiteral("timed")))});
    }
    return lines;
}

QString SummaryText::lapName(const Laps &laps, qsizetype index)
{
    const ZUM::SDK::LapHeader &header = laps[index]->header();
    for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps) {
        if (lap->header().stint != header.stint)
            return QStringLiteral("lap %1 of stint %2").arg(header.lapNumber).arg(header.stint);
    }
    return QStringLiteral("lap %1").arg(header.lapNumber);
}

QString SummaryText::quantity(double value, int decimals, const QString &unit)
{
    const QString number = QString::number(value, 'f', decimals);
    return unit.isEmpty() ? number : number + QLatin1Char(' ') + unit;
}
