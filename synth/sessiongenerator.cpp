#include "sessiongenerator.h"

#include "carkinematics.h"
#include "channeltable.h"
#include "field.h"
#include "recordwriter.h"
#include "routeplan.h"
#include "sessionclock.h"
#include "sessiontext.h"
#include "sessiontextbuilder.h"

#include <QIODevice>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::pair<SessionGenerator::Scenario, const char *> ScenarioNames[] = {
    {SessionGenerator::Scenario::Practice, "practice"},
    {SessionGenerator::Scenario::Race, "race"},
    {SessionGenerator::Scenario::Replay, "replay"},
    {SessionGenerator::Scenario::SessionChange, "session-change"},
};

// The options brought within the generator's limits.
SessionGenerator::Options normalised(SessionGenerator::Options o)
{
    o.trackLength = std::max(o.trackLength, SessionGenerator::MinTrackLength);
    o.lapTime = std::max(o.lapTime, SessionGenerator::MinLapTime);
    o.lapTimeSpread = std::clamp(o.lapTimeSpread, 0.0, o.lapTime / 4.0);
    o.laps = std::max(o.laps, 0);
    o.paradeLaps = std::max(o.paradeLaps, 0);
    o.otherCars = std::clamp(o.otherCars, 0, SessionGenerator::CarSlots - 1);
    o.playerCarIdx = std::clamp(o.playerCarIdx, 0, SessionGenerator::CarSlots - 1);
    o.stallWait = std::max(o.stallWait, 0.0);
    o.lastLapTimeDelay = std::max(o.lastLapTimeDelay, 0.0);
    o.replayFastRecords = std::max(o.replayFastRecords, 0);
    const auto fraction = [](double v) {
        return v - std::floor(v);
    };
    o.pitEntryPct = fraction(o.pitEntryPct);
    o.pitStallPct = fraction(o.pitStallPct);
    o.pitExitPct = fraction(o.pitExitPct);
    o.gridPct = std::clamp(o.gridPct, 0.5, 0.999);
    return o;
}

} // namespace

SessionGenerator::SessionGenerator(const Options &options)
    : m_options(normalised(options))
{
    const Options &o = m_options;
    // With a duration, as many laps as fit, and exactly that many records.
    const int laps = SessionClock::durationRecords(o) > 0
        ? RoutePlan::lapsFitting(o, SessionClock::durationEnd(o))
        : o.laps;
    m_plan = std::make_unique<RoutePlan>(o, laps);
    m_clock = std::make_unique<SessionClock>(o, *m_plan);
    m_field = std::make_unique<Field>(o, *m_plan);
    m_channels = std::make_unique<ChannelTable>(o);
    summarise();
    m_sessionInfo = SessionText(o, m_summary, *m_plan, *m_clock, *m_field).text();
    IbtWriter probe;
    configure(probe);
    m_summary.variableCount = probe.variableCount();
    m_summary.recordLength = probe.recordLength();
}

SessionGenerator::SessionGenerator()
    : SessionGenerator(Options())
{ }

SessionGenerator::~SessionGenerator() = default;

// What the file will say, for the tests to compare with.
void SessionGenerator::summarise()
{
    const Options &o = m_options;
    const RoutePlan &plan = *m_plan;
    const SessionClock &clock = *m_clock;
    Summary &s = m_summary;
    s.recordCount = clock.recordCount();
    s.firstSessionTime = o.startTime;
    s.lastSessionTime = clock.lastTime();
    s.firstTick = clock.firstTick();
    s.lastTick = clock.tickOf(clock.recordCount() - 1);
    s.playerCarIdx = o.player ? o.playerCarIdx : -1;
    s.carIdxs = QList<int>(m_field->carIdxs().begin(), m_field->carIdxs().end());
    s.fastFirstRecord = clock.fastFirst();
    s.fastRecordCount = clock.fastCount();
    s.greenFlagTime = plan.greenTime();
    s.fuelAtStart = plan.fuelAtStart();
    s.cornerRadius = CarKinematics::cornerRadius(o);
    s.trackDisplayName = o.trackDisplayName.toLatin1();
    s.trackCity = o.trackCity.toLatin1();
    s.trackLengthText
        = (SessionTextBuilder::number(o.trackLength / 1000.0, 2) + QStringLiteral(" km"))
              .toLatin1();
    if (plan.sessionChangeTime() >= 0.0) {
        for (int r = 0; r < clock.recordCount(); ++r) {
            if (clock.timeOf(r) >= plan.sessionChangeTime()) {
                s.sessionChangeRecord = r;
                break;
            }
        }
    }

    // The record after a crossing is the first to show it.
    const double lastTime = s.lastSessionTime;
    Lap lap {plan.initialKind(),
             o.startLap,
             plan.sessionNumAt(o.startTime),
             o.startTime,
             lastTime,
             -1.0,
             false};
    for (const RoutePlan::Crossing &c : plan.crossings()) {
        if (c.time > lastTime)
            break;
        lap.endTime = c.time;
        lap.complete = true;
        lap.lapTime = c.time + o.lastLapTimeDelay <= lastTime ? c.lapTime : -1.0;
        if (lap.lapTime >= 0.0)
            s.timedLapTimes.append(lap.lapTime);
        s.laps.append(lap);
        ++s.lapsCompleted;
        lap = {plan.kindAfterLine(c.index),
               lap.lap + (c.counted ? 1 : 0),
               plan.sessionNumAt(c.time),
               c.time,
               lastTime,
               -1.0,
               false};
    }
    s.laps.append(lap);
}

void SessionGenerator::configure(IbtWriter &writer) const
{
    writer.setVersion(m_options.version);
    writer.setTickRate(SessionClock::TickRate);
    writer.setSessionInfo(m_sessionInfo);
    writer.setSessionStartDate(m_options.startDate);
    m_channels->describe(writer);
    writer.setOverrides(m_options.overrides);
    writer.setTruncateAt(m_options.truncateAt);
}

bool SessionGenerator::writeRecords(IbtWriter &writer) const
{
    return RecordWriter(m_options, *m_plan, *m_clock, *m_field, *m_channels, writer).writeAll();
}

template<typename Target>
bool SessionGenerator::writeTo(Target target, QString *errorMessage) const
{
    IbtWriter writer;
    configure(writer);
    const bool ok = writer.open(target) && writeRecords(writer) && writer.finish();
    if (!ok && errorMessage)
        *errorMessage = writer.errorString();
    return ok;
}

bool SessionGenerator::write(QIODevice *device, QString *errorMessage) const
{
    return writeTo(device, errorMessage);
}

bool SessionGenerator::write(const QString &path, QString *errorMessage) const
{
    return writeTo(path, errorMessage);
}

QString SessionGenerator::scenarioName(Scenario scenario)
{
    for (const auto &[value, name] : ScenarioNames) {
        if (value == scenario)
            return QLatin1String(name);
    }
    return {};
}

QStringList SessionGenerator::scenarioNames()
{
    QStringList names;
    for (const auto &entry : ScenarioNames)
        names.append(QLatin1String(entry.second));
    return names;
}

std::optional<SessionGenerator::Scenario> SessionGenerator::scenarioNamed(const QString &name)
{
    for (const auto &[value, text] : ScenarioNames) {
        if (name == QLatin1String(text))
            return value;
    }
    return std::nullopt;
}

QString SessionGenerator::lapKindName(LapKind kind)
{
    switch (kind) {
    case LapKind::OutLap:
        return QStringLiteral("out lap");
    case LapKind::Flying:
        return QStringLiteral("flying");
    case LapKind::InLap:
        return QStringLiteral("in lap");
    case LapKind::PitStall:
        return QStringLiteral("pit stall");
    case LapKind::Grid:
        return QStringLiteral("grid");
    case LapKind::Racing:
        return QStringLiteral("racing");
    case LapKind::CoolDown:
        return QStringLiteral("cool-down");
    }
    return {};
}
