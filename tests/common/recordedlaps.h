#pragma once

// The laps that the simulator's own recordings give, checked by hand against each file's lap
// clock and last-lap time. Shared by the tests of the reader and of the import.

#include "lapheader.h"

#include <QString>
#include <QStringList>
#include <QTest>
#include <QTime>

namespace RecordedLaps {

// How a lap time is pinned: m:ss.zzz, or "-" for a lap without a trusted time (an out lap, a
// lap cut by the end of the file).
inline QString text(const QTime &lapTime)
{
    return lapTime == ZUM::SDK::UntimedLapTime ? QStringLiteral("-")
                                               : lapTime.toString(QStringLiteral("m:ss.zzz"));
}

// Columns "file" and "lapTimes", one row per recorded file.
inline void addRows()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("lapTimes");

    QTest::newRow("fg_test.ibt") << "fg_test.ibt" << QStringList {"-"};
    QTest::newRow("gm_amg.ibt") << "gm_amg.ibt" << QStringList {"-"};
    QTest::newRow("js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt")
        << "js17_trucks_silverado2019_bristol_2025-11-06_17-39-03.ibt"
        << QStringList {"-", "0:15.225", "0:15.066", "-"};
    QTest::newRow("rr_sk.ibt") << "rr_sk.ibt" << QStringList {};
    QTest::newRow("rr_sk2.ibt") << "rr_sk2.ibt" << QStringList {};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-45-12.ibt")
        << "rr_skmodified_langley_2015-05-28_14-45-12.ibt" << QStringList {"-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-45-28.ibt")
        << "rr_skmodified_langley_2015-05-28_14-45-28.ibt" << QStringList {"-", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-46-23.ibt")
        << "rr_skmodified_langley_2015-05-28_14-46-23.ibt"
        << QStringList {"-", "0:15.187", "0:15.098", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-47-39.ibt")
        << "rr_skmodified_langley_2015-05-28_14-47-39.ibt" << QStringList {"-", "0:15.070", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-48-39.ibt")
        << "rr_skmodified_langley_2015-05-28_14-48-39.ibt"
        << QStringList {"-", "0:15.175", "0:15.203", "-"};
    QTest::newRow("rr_skmodified_langley_2015-05-28_14-49-50.ibt")
        << "rr_skmodified_langley_2015-05-28_14-49-50.ibt" << QStringList {"-", "0:15.167", "-"};
    QTest::newRow("rr_skmodified_langley_2015-08-24_20-48-50.ibt")
        << "rr_skmodified_langley_2015-08-24_20-48-50.ibt" << QStringList {"-", "0:15.239", "-"};
    QTest::newRow("rr_skmodified_martinsville_2016-02-07_21-01-44.ibt")
        << "rr_skmodified_martinsville_2016-02-07_21-01-44.ibt" << QStringList {"-"};
    QTest::newRow("rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt")
        << "rr_skmodified_tour_martinsville_2015-05-30_20-32-44.ibt"
        << QStringList {"-", "0:19.301", "0:19.545", "-"};
    QTest::newRow("ss_session.ibt") << "ss_session.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-07_21-39-18.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-07_21-39-18.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-07_22-00-50.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-07_22-00-50.ibt" << QStringList {"-"};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-09_18-25-53.ibt" << QStringList {"-"};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-12_20-09-08.ibt" << QStringList {};
    QTest::newRow("tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt")
        << "tfio_bmwlmdh_sebring_international_2026-03-13_21-40-39.ibt" << QStringList {};
    QTest::newRow("tfio_ferrari499p_sebring_international_2026-03-06_17-52-30.ibt")
        << "tfio_ferrari499p_sebring_international_2026-03-06_17-52-30.ibt" << QStringList {};
    QTest::newRow("tj_invalid_test_file.ibt") << "tj_invalid_test_file.ibt" << QStringList {};
    QTest::newRow("tj_live_test_file.ibt") << "tj_live_test_file.ibt" << QStringList {};
    QTest::newRow("tj_valid_test_file.ibt") << "tj_valid_test_file.ibt" << QStringList {};
}

} // namespace RecordedLaps
