#include "lapcsv.h"

#include "generateuniquefilename.h"
#include "outputbuffer.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

const QString sessionTimeName = QStringLiteral("sessiontime");
const QString lapDistanceName = QStringLiteral("lapdist");

struct Column
{
    QString title;
    // Either the channel's own entries, or values worked out or converted here (NaN where
    // there is none).
    QSharedPointer<Channel> channel;
    std::vector<double> values;
};

// A cell quoted when it holds the separator, a quote or a line break.
QByteArray cellText(const QString &text)
{
    QByteArray utf8 = text.toUtf8();
    if (!utf8.contains(',') && !utf8.contains('"') && !utf8.contains('\n') && !utf8.contains('\r'))
        return utf8;
    utf8.replace("\"", "\"\"");
    return '"' + utf8 + '"';
}

QString title(const QString &name, const QString &unit)
{
    return unit.isEmpty() ? name : name + QStringLiteral(" [") + unit + u']';
}

// The three columns that place a sample: session time, time since the lap's first sample,
// lap distance.
void addPlaceColumns(QList<Column> &columns, const Lap &lap)
{
    const QSharedPointer<Channel> sessionTime = LapChannels::find(lap, sessionTimeName);
    const QString timeUnit = sessionTime ? sessionTime->unit() : QStringLiteral("s");
    columns.append(
        {title(sessionTimeName, timeUnit), {}, LapChannels::values(lap, sessionTimeName)});
    columns.append({title(QStringLiteral("laptime"), timeUnit), {}, LapChannels::elapsed(lap)});
    columns.append({title(lapDistanceName, QStringLiteral("m")),
                    {},
                    LapChannels::distance(lap, std::nullopt)});
}

void addChannelColumn(QList<Column> &columns, const QString &name,
                      const QSharedPointer<Channel> &channel, Units units)
{
    const UnitSystem::Conversion conversion
        = UnitSystem::channelConversion(name, channel->unit(), units);
    if (!conversion.changes()) {
        columns.append({title(name, channel->unit()), channel, {}});
        return;
    }
    std::vector<double> values(size_t(channel->size()));
    for (qint64 i = 0; i < channel->size(); ++i)
        values[size_t(i)] = channel->isValid(i) ? conversion(channel->value(i)) : NAN;
    columns.append({title(name, conversion.unit), {}, std::move(values)});
}

QList<Column> columnsOf(const Lap &lap, const LapCsv::Settings &settings)
{
    QList<Column> columns;
    addPlaceColumns(columns, lap);
    for (const QString &name : lap.getAvailableRecordedChannels()) {
        if (name != sessionTimeName && name != lapDistanceName && settings.channels.contains(name))
            addChannelColumn(columns, name, lap.channel(name), settings.units);
    }
    for (const QString &name : lap.getAvailableCalculatedChannels()) {
        if (settings.channels.contains(name))
            addChannelColumn(columns, name, lap.calculatedChannel(name), settings.units);
    }
    return columns;
}

bool writeLap(const Lap &lap, const LapCsv::Settings &settings, const QString &path)
{
    const QList<Column> columns = columnsOf(lap, settings);
    struct Values
    {
        const double *data;
        qint64 size;
    };
    std::vector<Values> values;
    // Every sample gets a row, also when a channel came out longer than the lap's count.
    qint64 rows = lap.size();
    for (const Column &column : columns) {
        values.push_back(column.channel
                             ? Values {column.channel->constData(), column.channel->size()}
                             : Values {column.values.data(), qint64(column.values.size())});
        rows = std::max(rows, values.back().size);
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    OutputBuffer text(&file);
    for (qsizetype i = 0; i < columns.size(); ++i) {
        if (i > 0)
            text.append(',');
        text.append(cellText(columns[i].title));
    }
    text.append('\n');
    // The rows come a block at a time through a small table in row order, gathered a
    // channel at a time: each channel is then read front to back, not one value out of
    // every channel for every row.
    constexpr qint64 blockRows = 64;
    const size_t width = values.size();
    std::vector<double> block(size_t(blockRows) * width);
    for (qint64 first = 0; first < rows; first += blockRows) {
        const qint64 count = std::min(blockRows, rows - first);
        for (size_t i = 0; i < width; ++i) {
            const Values &column = values[i];
            for (qint64 k = 0; k < count; ++k)
                block[size_t(k) * width + i]
                    = first + k < column.size ? column.data[first + k] : NAN;
        }
        for (qint64 k = 0; k < count; ++k) {
            const double *cells = block.data() + size_t(k) * width;
            for (size_t i = 0; i < width; ++i) {
                if (i > 0)
                    text.append(',');
                // NaN and the infinities leave the cell empty, as does the invalid marker.
                if (ZUM::SDK::isValidValue(cells[i]))
                    text.appendNumber(cells[i]);
            }
            text.append('\n');
            text.flushWhenFull();
        }
    }
    return text.flush() && file.commit();
}

// "<input>_stint<S>_lap<N>.csv" for every lap, each made unique before any is written: a name
// already taken on disk, or by an earlier lap of this run (a lap number the simulator
// repeats), gets the unique-name helper's counter, which an empty file holds for the lap
// until it is written. With force a file from before is overwritten.
QStringList reservePaths(const ImportResult &result, const QList<qsizetype> &chosen,
                         const LapCsv::Settings &settings)
{
    // The unique-name helper keeps only the part before the first dot, so dots inside the
    // input's name would cut it short.
    const QString base
        = QFileInfo(result.file).completeBaseName().replace(QLatin1Char('.'), QLatin1Char('_'));
    QStringList paths;
    for (const qsizetype index : chosen) {
        const ZUM::SDK::LapHeader &header = result.laps[index]->header();
        const QString name = QStringLiteral("%1_stint%2_lap%3.csv")
                                 .arg(base)
                                 .arg(header.stint)
                                 .arg(header.lapNumber);
        QString path = settings.directory.absoluteFilePath(name);
        if (!settings.force || paths.contains(path))
            path = ZUM::SDK::generateUniqueFileName(settings.directory, name);
        QFile(path).open(QIODevice::WriteOnly | QIODevice::Append);
        paths.append(path);
    }
    return paths;
}

} // namespace

bool LapCsv::write(const ImportResult &result, const QList<qsizetype> &chosen,
                   const Settings &settings, QStringList *written, QString *errorString)
{
    const QStringList paths = reservePaths(result, chosen, settings);

    // Every lap is a file of its own: the laps are written side by side.
    std::vector<char> done(size_t(chosen.size()), false);
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < chosen.size(); i = next++)
            done[size_t(i)] = writeLap(*result.laps[chosen[i]], settings, paths[i]);
    };
    std::vector<std::thread> workers;
    const qsizetype helpers
        = std::min<qsizetype>(std::thread::hardware_concurrency(), chosen.size()) - 1;
    for (qsizetype i = 0; i < helpers; ++i)
        workers.emplace_back(work);
    work();
    for (std::thread &worker : workers)
        worker.join();

    for (qsizetype i = 0; i < chosen.size(); ++i) {
        if (!done[size_t(i)]) {
            *errorString = QStringLiteral("cannot write %1").arg(paths[i]);
            // The names held for the laps that were not written.
            for (qsizetype j = i; j < chosen.size(); ++j) {
                if (!done[size_t(j)] && QFileInfo(paths[j]).size() == 0)
                    QFile::remove(paths[j]);
            }
            return false;
        }
        written->append(paths[i]);
    }
    return true;
}
