#pragma once

// The reader run over a file's records as the import runs it: the session text first, then
// one record per tick, and the player's laps taken by the import's own PlayerLapReplay.

#include "ibtimage.h"
#include "irtelemetryreader.h"
#include "playerlapreplay.h"

#include <QList>
#include <QSharedPointer>

class ReaderReplay
{
public:
    // Hands the reader the file's session text and lets it find the player's car.
    ReaderReplay(iRTelemetryReader &reader, const IbtImage &file)
        : m_reader(reader)
        , m_file(file)
    {
        const QByteArray text = file.terminatedSessionText();
        reader.setYaml(text.constData());
        reader.updateCarList();
    }

    // Decodes the next record and runs it as one tick; false when there is none left.
    bool next()
    {
        if (m_record + 1 >= m_file.recordCount())
            return false;
        ++m_record;
        m_samples = m_reader.getRawData(&m_file.header(), m_file.varHeaders().constData(),
                                        m_file.record(m_record));
        // The cars swap samples with the tick: samples() keeps what the record decoded into.
        QList<ZUM::SDK::Sample> tick = m_samples;
        m_handedOver = m_laps.tick(tick);
        return true;
    }

    // The record that the last next() ran, and the samples it decoded into.
    qsizetype record() const { return m_record; }
    const QList<ZUM::SDK::Sample> &samples() const { return m_samples; }

    // The player's lap that the last tick handed over, when it holds samples; null otherwise.
    QSharedPointer<ZUM::SDK::Lap> handedOverLap() const { return m_handedOver; }

    // After the last record: the lap under way closed as not completed, when it holds samples
    // and the last tick did not hand it over already; null otherwise.
    QSharedPointer<ZUM::SDK::Lap> closeLapUnderWay() { return m_laps.finish(); }

    // Every record run: the player's laps in the order they were handed over, and the lap
    // under way at the end.
    QList<QSharedPointer<ZUM::SDK::Lap>> playerLaps()
    {
        QList<QSharedPointer<ZUM::SDK::Lap>> laps;
        while (next()) {
            if (const QSharedPointer<ZUM::SDK::Lap> lap = handedOverLap())
                laps.append(lap);
        }
        if (const QSharedPointer<ZUM::SDK::Lap> lap = closeLapUnderWay())
            laps.append(lap);
        return laps;
    }

private:
    iRTelemetryReader &m_reader;
    const IbtImage &m_file;
    PlayerLapReplay m_laps {m_reader};
    qsizetype m_record = -1;
    QList<ZUM::SDK::Sample> m_samples;
    QSharedPointer<ZUM::SDK::Lap> m_handedOver;
};
