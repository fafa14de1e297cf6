#include "lapselection.h"

#include "lapranking.h"
#include "laptime.h"

#include <QRegularExpression>

namespace {

const QRegularExpression &rangePattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\s*(?:(\\d+)\\s*/\\s*)?(\\d+)\\s*(?:-\\s*(\\d+)\\s*)?$"));
    return pattern;
}

bool numberRepeats(const Laps &laps, qsizetype index)
{
    const ZUM::SDK::LapHeader &header = laps[index]->header();
    for (qsizetype i = 0; i < laps.size(); ++i) {
        if (i != index && laps[i]->header().lapNumber == header.lapNumber)
            return true;
    }
    return false;
}

} // namespace

QString LapSelection::LapName::text() const
{
    return stint ? QStringLiteral("%1/%2").arg(*stint).arg(number) : QString::number(number);
}

bool LapSelection::setNumbers(const QString &text, QString *errorString)
{
    QList<Range> ranges;
    for (const QString &part : text.split(QLatin1Char(','))) {
        const QRegularExpressionMatch match = rangePattern().match(part);
        bool stintOk = true;
        bool firstOk = false;
        bool lastOk = true;
        const std::optional<qint32> stint = match.hasCaptured(1)
            ? std::optional<qint32>(match.captured(1).toInt(&stintOk))
            : std::nullopt;
        const qint32 first = match.captured(2).toInt(&firstOk);
        const qint32 last = match.hasCaptured(3) ? match.captured(3).toInt(&lastOk) : first;
        if (!match.hasMatch() || !stintOk || !firstOk || !lastOk || last < first) {
            *errorString = QStringLiteral("'%1' is not a lap number or a range of them such as "
                                          "3,5-7, or such a lap of a stint such as 2/3")
                               .arg(part.trimmed());
            return false;
        }
        ranges.append({stint, first, last});
    }
    m_ranges = ranges;
    m_rangesText = text;
    return true;
}

QList<qsizetype> LapSelection::select(const Laps &laps) const
{
    QList<qsizetype> selected;
    Laps passing;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        if ((m_ranges.isEmpty() || holds(header))
            && (!m_timedOnly || LapTime::isTimedLap(header))) {
            selected.append(i);
            passing.append(laps[i]);
        }
    }
    if (!m_bestOnly)
        return selected;
    const qsizetype best = LapRanking::best(passing);
    return best < 0 ? QList<qsizetype>() : QList<qsizetype> {selected[best]};
}

QString LapSelection::nothingChosenText(const Laps &laps) const
{
    if (laps.isEmpty() || !select(laps).isEmpty())
        return {};
    if (!m_ranges.isEmpty()) {
        bool anyNumber = false;
        for (const QSharedPointer<ZUM::SDK::Lap> &lap : laps)
            anyNumber = anyNumber || holds(lap->header());
        if (!anyNumber)
            return QStringLiteral("no lap matches --laps %1; the laps are %2")
                .arg(m_rangesText, namesText(laps));
    }
    const QString among
        = m_ranges.isEmpty() ? QString() : QStringLiteral(" among --laps %1").arg(m_rangesText);
    return QStringLiteral("no lap is timed%1, so --%2 chooses none")
        .arg(among, m_bestOnly && !m_timedOnly ? u"best" : u"timed");
}

std::optional<LapSelection::LapName> LapSelection::lapName(const QString &text)
{
    const QRegularExpressionMatch match = rangePattern().match(text);
    if (!match.hasMatch() || match.hasCaptured(3))
        return std::nullopt;
    bool stintOk = true;
    bool numberOk = false;
    LapName name;
    if (match.hasCaptured(1))
        name.stint = match.captured(1).toInt(&stintOk);
    name.number = match.captured(2).toInt(&numberOk);
    if (!stintOk || !numberOk)
        return std::nullopt;
    return name;
}

QList<qsizetype> LapSelection::named(const Laps &laps, const LapName &name)
{
    QList<qsizetype> result;
    for (qsizetype i = 0; i < laps.size(); ++i) {
        const ZUM::SDK::LapHeader &header = laps[i]->header();
        if (name.stint ? header.stint == *name.stint && header.lapInStint == name.number
                       : header.lapNumber == name.number)
            result.append(i);
    }
    return result;
}

QString LapSelection::shortName(const Laps &laps, qsizetype index)
{
    const ZUM::SDK::LapHeader &header = laps[index]->header();
    return numberRepeats(laps, index)
        ? QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint)
        : QString::number(header.lapNumber);
}

QString LapSelection::namesText(const Laps &laps)
{
    QStringList runs;
    qsizetype i = 0;
    while (i < laps.size()) {
        // A run of laps one after the other, named alike: by number, or by stint and lap.
        const bool withStint = numberRepeats(laps, i);
        const auto counted = [&](qsizetype index) {
            const ZUM::SDK::LapHeader &header = laps[index]->header();
            return withStint ? header.lapInStint : header.lapNumber;
        };
        qsizetype end = i + 1;
        while (end < laps.size() && numberRepeats(laps, end) == withStint
               && laps[end]->header().stint == laps[i]->header().stint
               && counted(end) == counted(i) + (end - i))
            ++end;
        QString run = shortName(laps, i);
        if (end - i > 1)
            run += QStringLiteral("-%1").arg(counted(end - 1));
        runs.append(run);
        i = end;
    }
    return runs.join(QStringLiteral(", "));
}

bool LapSelection::holds(const ZUM::SDK::LapHeader &header) const
{
    for (const Range &range : m_ranges) {
        const qint32 number = range.stint ? header.lapInStint : header.lapNumber;
        if ((!range.stint || header.stint == *range.stint) && number >= range.first
            && number <= range.last)
            return true;
    }
    return false;
}
