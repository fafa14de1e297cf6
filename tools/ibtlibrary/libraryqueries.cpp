#include "libraryqueries.h"

#include "library.h"

#include <QCollator>
#include <QSqlQuery>
#include <QSqlRecord>

using Kind = RowOutput::Kind;

namespace {

// The first columns of a session, as the SELECT lists below give them.
QList<RowOutput::Column> sessionColumns()
{
    return {
        {QStringLiteral("sessionId"), QStringLiteral("Id"), Kind::Integer},
        {QStringLiteral("recordingStart"), QStringLiteral("Recorded (UTC)"), Kind::DateTime},
        {QStringLiteral("trackName"), QStringLiteral("Track"), Kind::Text},
        {QStringLiteral("trackConfigName"), QStringLiteral("Configuration"), Kind::Text},
        {QStringLiteral("carName"), QStringLiteral("Car"), Kind::Text},
        {QStringLiteral("driverName"), QStringLiteral("Driver"), Kind::Text},
        {QStringLiteral("sessionName"), QStringLiteral("Session"), Kind::Text},
    };
}

// The columns of one lap, as the SELECT lists below give them: its own identifier, its
// session's columns, then its own.
QList<RowOutput::Column> lapColumns()
{
    QList<RowOutput::Column> columns
        = {{QStringLiteral("id"), QStringLiteral("Id"), Kind::Integer}};
    columns += sessionColumns().mid(1);
    columns += {
        {QStringLiteral("lapNumber"), QStringLiteral("Lap"), Kind::Integer},
        {QStringLiteral("stint"), QStringLiteral("Stint"), Kind::Integer},
        {QStringLiteral("lapInStint"), QStringLiteral("In stint"), Kind::Integer},
        {QStringLiteral("completed"), QStringLiteral("Completed"), Kind::Boolean},
        {QStringLiteral("timed"), QStringLiteral("Timed"), Kind::Boolean},
        {QStringLiteral("lapTimeSeconds"), QStringLiteral("Time"), Kind::Seconds},
        {QStringLiteral("file"), QStringLiteral("File"), Kind::Text},
    };
    return columns;
}

const QString lapSelect = QStringLiteral(
    "SELECT l.id, f.recording_start, f.track_name, f.track_config, f.car_name, f.driver_name, "
    "f.session_label, l.lap_number, l.stint, l.lap_in_stint, l.completed, l.timed, l.lap_time, "
    "f.path");

} // namespace

LibraryQueries::LibraryQueries(Library &library)
    : m_library(library)
{ }

std::optional<RowOutput> LibraryQueries::rows(QList<RowOutput::Column> columns, const QString &sql,
                                              const QVariantList &values)
{
    QSqlQuery query(m_library.database());
    query.setForwardOnly(true);
    if (!m_library.run(query, sql, values))
        return std::nullopt;
    RowOutput output(columns);
    const int count = int(columns.size());
    while (query.next()) {
        QVariantList row;
        row.reserve(count);
        for (int i = 0; i < count; ++i)
            row.append(query.value(i));
        output.addRow(std::move(row));
    }
    return output;
}

std::optional<RowOutput> LibraryQueries::sessions(const LapFilter &filter)
{
    QVariantList values;
    const QString sql
        = QStringLiteral(
              "SELECT f.id, f.recording_start, f.track_name, f.track_config, f.car_name, "
              "f.driver_name, f.session_label, COUNT(l.id), "
              "COALESCE(SUM(CASE WHEN l.timed = 1 THEN 1 ELSE 0 END), 0), "
              "MIN(CASE WHEN l.timed = 1 THEN l.lap_time END), f.path, f.note "
              "FROM files f LEFT JOIN laps l ON l.file_id = f.id WHERE 1 = 1%1 "
              "GROUP BY f.id HAVING f.failure = '' OR COUNT(l.id) > 0 "
              "ORDER BY f.recording_start, f.path")
              .arg(filter.conditions(&values, false));
    QList<RowOutput::Column> columns = sessionColumns();
    columns += {
        {QStringLiteral("laps"), QStringLiteral("Laps"), Kind::Integer},
        {QStringLiteral("timedLaps"), QStringLiteral("Timed"), Kind::Integer},
        {QStringLiteral("bestLapTimeSeconds"), QStringLiteral("Best"), Kind::Seconds},
        {QStringLiteral("file"), QStringLiteral("File"), Kind::Text},
        {QStringLiteral("note"), QStringLiteral("Note"), Kind::Text},
    };
    return rows(columns, sql, values);
}

std::optional<RowOutput> LibraryQueries::laps(const LapFilter &filter, LapOrder order)
{
    QVariantList values;
    // Untimed laps after the timed ones on both engines, which order nulls differently.
    const QString orderBy = order == LapOrder::Time
        ? QStringLiteral("CASE WHEN l.lap_time IS NULL THEN 1 ELSE 0 END, l.lap_time, "
                         "f.recording_start, l.id")
        : QStringLiteral("f.recording_start, f.path, l.lap_number, l.id");
    const QString sql = lapSelect
        + QStringLiteral(" FROM laps l JOIN files f ON f.id = l.file_id WHERE 1 = 1%1 ORDER BY %2")
              .arg(filter.conditions(&values, true), orderBy);
    return rows(lapColumns(), sql, values);
}

std::optional<RowOutput> LibraryQueries::best(const LapFilter &filter)
{
    QVariantList values;
    // The fastest of the files' best laps for each track, configuration, car and driver; of
    // equal times the one driven first.
    const QString sql = lapSelect
        + QStringLiteral(
              " FROM (SELECT f.best_lap_id, ROW_NUMBER() OVER (PARTITION BY f.track_name, "
              "f.track_config, f.car_name, f.driver_name ORDER BY f.best_lap_time, "
              "f.recording_start, f.best_lap_id) AS place FROM files f "
              "WHERE f.best_lap_id IS NOT NULL%1) ranked "
              "JOIN laps l ON l.id = ranked.best_lap_id JOIN files f ON f.id = l.file_id "
              "WHERE ranked.place = 1 "
              "ORDER BY f.track_name, f.track_config, f.car_name, l.lap_time, f.driver_name")
              .arg(filter.conditions(&values, false));
    return rows(lapColumns(), sql, values);
}

std::optional<RowOutput> LibraryQueries::progress(const LapFilter &filter)
{
    QVariantList values;
    const QString conditions = filter.conditions(&values, false);
    values += values;
    // The ideal lap from the sector times of the session's timed laps; a lap that did not
    // drive the whole track has none, one that did has every sector.
    const QString sql
        = QStringLiteral(
              "SELECT f.id, f.recording_start, f.track_name, f.track_config, f.car_name, "
              "f.driver_name, f.session_label, COUNT(l.id), MIN(l.lap_time), AVG(l.lap_time), "
              "MIN(ideal.seconds), f.path "
              "FROM files f JOIN laps l ON l.file_id = f.id "
              "LEFT JOIN (SELECT file_id, SUM(seconds) AS seconds FROM "
              "(SELECT l.file_id, s.sector, MIN(s.seconds) AS seconds FROM sectors s "
              "JOIN laps l ON l.id = s.lap_id JOIN files f ON f.id = l.file_id "
              "WHERE l.timed = 1%1 GROUP BY l.file_id, s.sector) fastest GROUP BY file_id) ideal "
              "ON ideal.file_id = f.id "
              "WHERE l.timed = 1%1 GROUP BY f.id ORDER BY f.recording_start, f.path")
              .arg(conditions);
    QList<RowOutput::Column> columns = sessionColumns();
    columns += {
        {QStringLiteral("timedLaps"), QStringLiteral("Timed"), Kind::Integer},
        {QStringLiteral("bestLapTimeSeconds"), QStringLiteral("Best"), Kind::Seconds},
        {QStringLiteral("averageLapTimeSeconds"), QStringLiteral("Average"), Kind::Seconds},
        {QStringLiteral("idealLapTimeSeconds"), QStringLiteral("Ideal"), Kind::Seconds},
        {QStringLiteral("file"), QStringLiteral("File"), Kind::Text},
    };
    return rows(columns, sql, values);
}

std::optional<RowOutput> LibraryQueries::compare(const QList<qint64> &ids, QString *problem)
{
    QSqlQuery query(m_library.database());
    QList<QVariantList> laps;
    QList<QList<double>> sectors;
    qsizetype sectorCount = 0;
    QString track;
    for (const qint64 id : ids) {
        if (!m_library.run(
                query,
                QStringLiteral("SELECT l.id, f.recording_start, f.driver_name, l.lap_number, "
                               "l.lap_time, f.path, f.track_name, f.track_config "
                               "FROM laps l JOIN files f ON f.id = l.file_id WHERE l.id = ?"),
                {id}))
            return std::nullopt;
        if (!query.next()) {
            *problem = QStringLiteral("the library holds no lap %1").arg(id);
            return std::nullopt;
        }
        QVariantList lap;
        for (int i = 0; i < 6; ++i)
            lap.append(query.value(i));
        const QString lapTrack
            = query.value(6).toString() + QStringLiteral(", ") + query.value(7).toString();
        if (!track.isEmpty() && lapTrack != track) {
            *problem = QStringLiteral("lap %1 is of %2, lap %3 of %4: only laps of one track "
                                      "compare")
                           .arg(ids.first())
                           .arg(track)
                           .arg(id)
                           .arg(lapTrack);
            return std::nullopt;
        }
        track = lapTrack;
        if (!m_library.run(query,
                           QStringLiteral("SELECT seconds FROM sectors WHERE lap_id = ? "
                                          "ORDER BY sector"),
                           {id}))
            return std::nullopt;
        QList<double> times;
        while (query.next())
            times.append(query.value(0).toDouble());
        sectorCount = std::max(sectorCount, times.size());
        laps.append(lap);
        sectors.append(times);
    }

    QList<RowOutput::Column> columns {
        {QStringLiteral("id"), QStringLiteral("Id"), Kind::Integer},
        {QStringLiteral("recordingStart"), QStringLiteral("Recorded (UTC)"), Kind::DateTime},
        {QStringLiteral("driverName"), QStringLiteral("Driver"), Kind::Text},
        {QStringLiteral("lapNumber"), QStringLiteral("Lap"), Kind::Integer},
        {QStringLiteral("lapTimeSeconds"), QStringLiteral("Time"), Kind::Seconds},
        {QStringLiteral("file"), QStringLiteral("File"), Kind::Text},
        {QStringLiteral("deltaSeconds"), QStringLiteral("Delta"), Kind::Delta},
    };
    for (qsizetype s = 0; s < sectorCount; ++s)
        columns.append({QStringLiteral("sector%1Seconds").arg(s + 1),
                        QStringLiteral("S%1").arg(s + 1), Kind::Seconds});
    RowOutput output(columns);
    const QVariant reference = laps.first()[4];
    for (qsizetype i = 0; i < laps.size(); ++i) {
        QVariantList row = laps[i];
        const QVariant time = row[4];
        row.append(time.isNull() || reference.isNull()
                       ? QVariant(QMetaType::fromType<double>())
                       : QVariant(time.toDouble() - reference.toDouble()));
        for (qsizetype s = 0; s < sectorCount; ++s)
            row.append(s < sectors[i].size() ? QVariant(sectors[i][s])
                                             : QVariant(QMetaType::fromType<double>()));
        output.addRow(row);
    }
    return output;
}

std::optional<QStringList> LibraryQueries::names(Field field)
{
    const char *column = field == Field::Track ? "track_name"
        : field == Field::Car                  ? "car_name"
        : field == Field::Driver               ? "driver_name"
                                               : "session_kind";
    QSqlQuery query(m_library.database());
    query.setForwardOnly(true);
    if (!m_library.run(query,
                       QStringLiteral("SELECT DISTINCT %1 FROM files WHERE %1 <> ''")
                           .arg(QLatin1String(column))))
        return std::nullopt;
    QStringList names;
    while (query.next())
        names.append(query.value(0).toString());
    // The engines order text by different rules; a person reads it in their language's.
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(names.begin(), names.end(), collator);
    return names;
}

std::optional<QList<LibraryQueries::LapPlace>> LibraryQueries::lapPlaces(const QList<qint64> &ids)
{
    if (ids.isEmpty())
        return QList<LapPlace>();
    QVariantList values;
    for (const qint64 id : ids)
        values.append(id);
    const QStringList placeholders(ids.size(), QStringLiteral("?"));
    QSqlQuery query(m_library.database());
    query.setForwardOnly(true);
    if (!m_library.run(query,
                       QStringLiteral("SELECT l.id, l.lap_number, l.stint, l.lap_in_stint, f.id, "
                                      "f.path, f.size, f.modified, f.hash, f.failure "
                                      "FROM laps l JOIN files f ON f.id = l.file_id "
                                      "WHERE l.id IN (%1)")
                           .arg(placeholders.join(QStringLiteral(", "))),
                       values))
        return std::nullopt;
    QHash<qint64, LapPlace> found;
    while (query.next()) {
        LapPlace place;
        place.id = query.value(0).toLongLong();
        place.lapNumber = query.value(1).toInt();
        place.stint = query.value(2).toInt();
        place.lapInStint = query.value(3).toInt();
        place.file = Library::KnownFile::fromRow(query, 4);
        found.insert(place.id, place);
    }
    QList<LapPlace> places;
    for (const qint64 id : ids) {
        if (const auto place = found.constFind(id); place != found.cend())
            places.append(*place);
    }
    return places;
}
