#include "libraryschema.h"

namespace {

// Version 0 to 1: the first tables. The *_search columns hold the names the filters match,
// folded to lower case by the tool, since SQLite's lower() knows only ASCII letters. A file
// keeps its best timed lap, so that the best lap per track and car is found among the files
// rather than among all laps. Indexes follow the questions asked: the best lap per track and
// car, a date range, and a file's laps (the filters match names anywhere in them, which the
// files table, one row per file, answers without an index).
QStringList firstTables(const SqlDialect &dialect)
{
    const QString key = dialect.keyColumn();
    return {
        QStringLiteral("CREATE TABLE library_info (name TEXT NOT NULL, version INTEGER NOT NULL)"),
        QStringLiteral("CREATE TABLE files (%1, path TEXT NOT NULL UNIQUE, size BIGINT NOT NULL, "
                       "modified BIGINT NOT NULL, hash TEXT NOT NULL UNIQUE, "
                       "recording_start BIGINT, session_kind TEXT NOT NULL, "
                       "session_name TEXT NOT NULL, track_name TEXT NOT NULL, "
                       "track_config TEXT NOT NULL, track_length DOUBLE PRECISION, "
                       "car_name TEXT NOT NULL, driver_name TEXT NOT NULL, skies TEXT NOT NULL, "
                       "air_temperature DOUBLE PRECISION, messages TEXT NOT NULL, "
                       "failure TEXT NOT NULL, best_lap_id BIGINT, best_lap_time DOUBLE PRECISION, "
                       "track_search TEXT NOT NULL, "
                       "car_search TEXT NOT NULL, driver_search TEXT NOT NULL, "
                       "session_search TEXT NOT NULL)")
            .arg(key),
        QStringLiteral("CREATE INDEX files_track_car ON files (track_name, car_name)"),
        QStringLiteral("CREATE INDEX files_recording_start ON files (recording_start)"),
        QStringLiteral("CREATE TABLE laps (%1, "
                       "file_id BIGINT NOT NULL REFERENCES files (id) ON DELETE CASCADE, "
                       "lap_number INTEGER NOT NULL, stint INTEGER NOT NULL, "
                       "lap_in_stint INTEGER NOT NULL, lap_time DOUBLE PRECISION, "
                       "completed INTEGER NOT NULL, kind INTEGER NOT NULL, "
                       "timed INTEGER NOT NULL, start_session_time DOUBLE PRECISION, "
                       "fuel_used DOUBLE PRECISION, top_speed DOUBLE PRECISION)")
            .arg(key),
        QStringLiteral("CREATE INDEX laps_file ON laps (file_id, lap_number)"),
        QStringLiteral("CREATE TABLE sectors ("
                       "lap_id BIGINT NOT NULL REFERENCES laps (id) ON DELETE CASCADE, "
                       "sector INTEGER NOT NULL, seconds DOUBLE PRECISION NOT NULL, "
                       "PRIMARY KEY (lap_id, sector))"),
        QStringLiteral("CREATE TABLE traces ("
                       "lap_id BIGINT PRIMARY KEY REFERENCES laps (id) ON DELETE CASCADE, "
                       "data %1 NOT NULL)")
            .arg(dialect.bytesType()),
    };
}

// Version 1 to 2: a file's session as a driver reads it (the import's kind, or where that is
// unknown, the session text's name beside it; for a file without laps the session text's
// types), and the tool's own note on the file: why it gives no laps, or what is odd in its
// header or records. A note is null for a file stored before notes were kept that has no laps
// and did not fail: the next add reads it again to learn why.
QStringList sessionLabelAndNote(const SqlDialect &)
{
    return {
        QStringLiteral("ALTER TABLE files ADD COLUMN session_label TEXT NOT NULL DEFAULT ''"),
        QStringLiteral("ALTER TABLE files ADD COLUMN note TEXT DEFAULT ''"),
        QStringLiteral("UPDATE files SET note = NULL WHERE failure = '' "
                       "AND NOT EXISTS (SELECT 1 FROM laps WHERE laps.file_id = files.id)"),
    };
}

} // namespace

QStringList LibrarySchema::migration(int fromVersion, const SqlDialect &dialect)
{
    // One entry per version step; the next version appends its own.
    using Step = QStringList (*)(const SqlDialect &);
    static constexpr Step steps[CurrentVersion] = {firstTables, sessionLabelAndNote};
    QStringList statements;
    for (int version = fromVersion; version < CurrentVersion; ++version)
        statements += steps[version](dialect);
    return statements;
}
