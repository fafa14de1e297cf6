#include "playerlapreplay.h"

using ZUM::SDK::Lap;

QSharedPointer<Lap> PlayerLapReplay::tick(QList<ZUM::SDK::Sample> &samples)
{
    m_reader.prepareTick();
    m_reader.processTick(samples);
    return handedOverLap();
}

QSharedPointer<Lap> PlayerLapReplay::finish()
{
    if (m_reader.isMyLapReady())
        return nullptr;
    m_reader.processMyLap(false);
    return handedOverLap();
}

QSharedPointer<Lap> PlayerLapReplay::handedOverLap() const
{
    if (!m_reader.isMyLapReady())
        return nullptr;
    const QSharedPointer<Lap> lap = m_reader.myLap();
    return lap && !lap->isEmpty() ? lap : nullptr;
}
