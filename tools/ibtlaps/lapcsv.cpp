#include "lapcsv.h"

#include "generateuniquefilename.h"
#include "outputbuffer.h"

#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

using ZUM::SDK::Channel;
using ZUM::SDK::Lap;

namespace {

struct Column
{
    QString title;
    QSharedPointer<Channel> channel;
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

QList<Column> columnsOf(const Lap &lap)
{
    QList<Column> columns;
    const auto add = [&columns](const QString &name, const QSharedPointer<Channel> &channel) {
        const QString unit = channel->unit();
        columns.append(
            {unit.isEmpty() ? name : name + QStringLiteral(" [") + unit + u']', channel});
    };
    for (const QString &name : lap.getAvailableRecordedChannels())
        add(name, lap.channel(name));
    for (const QString &name : lap.getAvailableCalculatedChannels())
        add(name, lap.calculatedChannel(name));
    return columns;
}

bool writeLap(const Lap &lap, const QString &path)
{
    const QList<Column> columns = columnsOf(lap);
    // Every sample gets a row, also when a channel came out longer than the lap's count.
    qint64 rows = lap.size();
    struct Values
    {
        const double *data;
        qint64 size;
    };
    std::vector<Values> values;
    values.reserve(size_t(columns.size()));
    for (const Column &column : columns) {
        rows = std::max(rows, column.channel->size());
        values.push_back({column.channel->constData(), column.channel->size()});
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    OutputBuffer text(&file);
    for (qsizetype i = 0; i < columns.size(); ++i) {
        if (i > 0)
            text.append(',');
        text.append(cellText(columns[i].title));
    }
    text.append('\n');
    for (qint64 row = 0; row < rows; ++row) {
        for (size_t i = 0; i < values.size(); ++i) {
            if (i > 0)
                text.append(',');
            if (row < values[i].size && ZUM::SDK::isValidValue(values[i].data[row]))
                text.appendNumber(values[i].data[row]);
        }
        text.append('\n');
        text.flushWhenFull();
    }
    return text.flush() && file.commit();
}

} // namespace

bool LapCsv::write(const ImportResult &result, const QDir &dir, QStringList *written,
                   QString *errorString)
{
    // The unique-name helper keeps only the part before the first dot, so dots inside the
    // input's name would cut it short.
    const QString base
        = QFileInfo(result.file).completeBaseName().replace(QLatin1Char('.'), QLatin1Char('_'));
    for (const QSharedPointer<Lap> &lap : result.laps) {
        const QString path = ZUM::SDK::generateUniqueFileName(
            dir, QStringLiteral("%1_lap%2.csv").arg(base).arg(lap->header().lapNumber));
        if (!writeLap(*lap, path)) {
            *errorString = QStringLiteral("cannot write %1").arg(path);
            return false;
        }
        written->append(path);
    }
    return true;
}
