#pragma once

#include "lapchannels.h"

#include <QList>

// Orders laps by their time, for the best lap and for choosing which laps a picture shows.
class LapRanking
{
public:
    // Indexes of the timed laps, fastest first; of two equal times the earlier lap first.
    static QList<qsizetype> fastestFirst(const Laps &laps);
    // The index of the fastest timed lap; -1 when no lap is timed.
    static qsizetype best(const Laps &laps);

    // Of the candidates (indexes into laps, in lap order), the ones a picture shows: all of
    // them when they are at most `most`; else the best, the last and the fastest of the
    // others up to `most`, in lap order.
    static QList<qsizetype> shown(const Laps &laps, const QList<qsizetype> &candidates,
                                  qsizetype most);
};
