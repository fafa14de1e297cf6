#pragma once

#include "lapfilter.h"
#include "library.h"
#include "rowoutput.h"

#include <QStringList>

#include <optional>

// The library's answers to the listing commands, as rows to print. They read the lap index
// only, never a trace.
class LibraryQueries
{
public:
    enum class LapOrder { Date, Time };
    // The names a filter matches.
    enum class Field { Track, Car, Driver, SessionKind };

    // Where a lap is: its file as the library knows it, and the lap's numbers in that file.
    struct LapPlace
    {
        qint64 id = 0;
        int lapNumber = 0;
        int stint = 0;
        int lapInStint = 0;
        Library::KnownFile file;
    };

    explicit LibraryQueries(Library &library);

    // Null with the library's errorString() set when a query fails.
    std::optional<RowOutput> sessions(const LapFilter &filter);
    std::optional<RowOutput> laps(const LapFilter &filter, LapOrder order);
    // The best timed lap per track, configuration, car and driver.
    std::optional<RowOutput> best(const LapFilter &filter);
    // Per session in date order: its best and average timed lap, and its ideal lap, the
    // fastest time through each of the track's sectors that any of its laps drove, added up.
    std::optional<RowOutput> progress(const LapFilter &filter);
    // The laps side by side, from the stored data alone: their times, the difference to the
    // first one's, and their times through each of the track's sectors. Null with *problem
    // set for an identifier the library does not hold or laps of different tracks (or with
    // the library's errorString() set when a query fails).
    std::optional<RowOutput> compare(const QList<qint64> &ids, QString *problem);

    // Each name the library's files give in the field once, in alphabetical order, for a
    // filter to offer.
    std::optional<QStringList> names(Field field);
    // The laps of these identifiers, in the order given; one the library does not hold is
    // left out.
    std::optional<QList<LapPlace>> lapPlaces(const QList<qint64> &ids);

private:
    std::optional<RowOutput> rows(QList<RowOutput::Column> columns, const QString &sql,
                                  const QVariantList &values);

    Library &m_library;
};
