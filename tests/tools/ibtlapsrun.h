#pragma once

// Runs ibt-laps as a user would and reads what it gives: its streams, the table and the
// summary on standard output, the JSON, the CSV files. Shared by the tests of the tool.

#include "irsdk.h"
#include "lap.h"
#include "plugininterfaceimport.h"
#include "sessiongenerator.h"
#include "toolprocess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QPluginLoader>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTime>

#include <cstring>

namespace IbtLapsRun {

using Laps = QList<QSharedPointer<ZUM::SDK::Lap>>;

inline const QString pluginPrefix = QStringLiteral("[ZUM iRacing ibt import plugin plugin] ");

using Run = ToolProcess::Run;

// The sessions the tool's tests run on: the default practice session, two short ones (the
// second with another driver, recorded a day earlier) and one without the player's car.
struct Sessions
{
    SessionGenerator::Options practiceOptions;
    QString practice;
    QString shortOne;
    QString second;
    QString noPlayer;

    bool write(const QTemporaryDir &dir)
    {
        practice = dir.filePath(QStringLiteral("practice.ibt"));
        SessionGenerator::Options quick;
        quick.trackLength = 1500.0;
        quick.lapTime = 40.0;
        quick.laps = 2;
        quick.otherCars = 1;
        shortOne = dir.filePath(QStringLiteral("short.ibt"));
        SessionGenerator::Options secondOptions = quick;
        secondOptions.playerName = QStringLiteral("Second Driver");
        secondOptions.startDate -= 86400;
        second = dir.filePath(QStringLiteral("second.ibt"));
        SessionGenerator::Options noPlayerOptions = quick;
        noPlayerOptions.player = false;
        noPlayer = dir.filePath(QStringLiteral("no-player.ibt"));
        return SessionGenerator(practiceOptions).write(practice)
            && SessionGenerator(quick).write(shortOne)
            && SessionGenerator(secondOptions).write(second)
            && SessionGenerator(noPlayerOptions).write(noPlayer);
    }
};

Run run(const QStringList &arguments,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
Laps importDirectly(const QString &path);

// What each test of the tool starts from: a folder of its own with the sessions in it, and
// the practice session run once by the tool and imported here to compare against.
class IbtLapsTest : public QObject
{
protected:
    // For initTestCase; practiceOptions go to the tool's run of the practice session.
    bool prepare(const QStringList &practiceOptions = {})
    {
        Sessions sessions;
        if (!m_dir.isValid() || !sessions.write(m_dir))
            return false;
        m_practiceOptions = sessions.practiceOptions;
        m_practice = sessions.practice;
        m_short = sessions.shortOne;
        m_shortSecond = sessions.second;
        m_noPlayer = sessions.noPlayer;
        m_practiceRun = run(QStringList {m_practice} + practiceOptions);
        m_practiceLaps = importDirectly(m_practice);
        return m_practiceRun.exitCode == 0 && m_practiceLaps.size() == 5;
    }

    QString path(const QString &name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    SessionGenerator::Options m_practiceOptions; // the default practice session
    QString m_practice; // practice.ibt
    Run m_practiceRun;
    Laps m_practiceLaps; // the same file imported here
    QString m_short; // a short practice session for the quicker runs
    QString m_shortSecond; // another one, with a second driver, recorded a day earlier
    QString m_noPlayer; // a session without the player's car: no laps
};

inline Run run(const QStringList &arguments, const QProcessEnvironment &environment)
{
    return ToolProcess::run(QStringLiteral(IBT_LAPS_PATH), arguments, environment);
}

inline ZUM::SDK::PluginInterfaceImport *plugin()
{
    static QPluginLoader loader(QStringLiteral(ZUM_PLUGIN_PATH));
    return qobject_cast<ZUM::SDK::PluginInterfaceImport *>(loader.instance());
}

// The same import the tool runs, done here through the plug-in, to compare against.
inline Laps importDirectly(const QString &path)
{
    ZUM::SDK::PluginInterfaceImport *import = plugin();
    if (!import)
        return {};
    return import->import(path, import->availableImportFormats().first(), {});
}

// When the recording started, from the disk sub-header of the file itself: seconds since
// the epoch, and the session time of the first record.
struct RecordingStart
{
    qint64 date = 0;
    double sessionTime = 0.0;
};

inline RecordingStart recordingStart(const QString &path)
{
    irsdk_diskSubHeader sub {};
    QFile file(path);
    if (file.open(QIODevice::ReadOnly) && file.seek(irsdk_diskSubHeaderOffset))
        file.read(reinterpret_cast<char *>(&sub), sizeof sub);
    // Copied out field by field: the sub-header is packed.
    return {sub.sessionStartDate, sub.sessionStartTime};
}

// A lap time in seconds as the tool writes it, m:ss.zzz.
inline QString lapTimeText(double seconds)
{
    const qint64 ms = qRound64(seconds * 1000.0);
    return QStringLiteral("%1:%2.%3")
        .arg(ms / 60000)
        .arg(ms / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

// A session time in seconds as h:mm:ss.zzz.
inline QString clockText(double seconds)
{
    const qint64 ms = qRound64(seconds * 1000.0);
    return QStringLiteral("%1:%2:%3.%4")
        .arg(ms / 3600000)
        .arg(ms / 60000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

// The rows of the first table after a rule line, cut into cells at the columns the rule
// line marks.
inline QList<QStringList> tableRows(const QByteArray &output, qsizetype fromLine = 0)
{
    const QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'));
    const qsizetype ruleLine
        = lines.indexOf(QRegularExpression(QStringLiteral("^-+( +-+)+$")), fromLine);
    if (ruleLine < 0)
        return {};
    QList<std::pair<qsizetype, qsizetype>> columns;
    const QRegularExpression dashes(QStringLiteral("-+"));
    for (auto it = dashes.globalMatch(lines[ruleLine]); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        columns.append({match.capturedStart(), match.capturedLength()});
    }
    QList<QStringList> rows;
    for (qsizetype i = ruleLine + 1; i < lines.size() && !lines[i].isEmpty(); ++i) {
        QStringList cells;
        for (qsizetype c = 0; c < columns.size(); ++c) {
            const auto [start, length] = columns[c];
            // The last column takes the rest of the line.
            cells.append(lines[i].mid(start, c + 1 < columns.size() ? length : -1).trimmed());
        }
        rows.append(cells);
    }
    return rows;
}

// The value after "Label:" in the summary lines; null when there is no such line.
inline QString summaryValue(const QByteArray &output, const QString &label)
{
    const QRegularExpression line(
        QStringLiteral("^%1: +(.*)$").arg(QRegularExpression::escape(label)),
        QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(output));
    return match.hasMatch() ? match.captured(1) : QString();
}

inline QJsonDocument readJson(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll());
}

inline bool sameDouble(double actual, double expected)
{
    // QJsonDocument reads "-0.0" as +0, the one value whose sign it does not keep.
    if (expected == 0.0)
        return actual == 0.0;
    return std::memcmp(&actual, &expected, sizeof(double)) == 0;
}

inline QStringList csvFiles(const QString &dir)
{
    return QDir(dir).entryList({QStringLiteral("*.csv")}, QDir::Files, QDir::Name);
}

inline QList<QByteArray> csvLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

// Every line on standard error is the plug-in's or the tool's own, tagged.
inline bool onlyTaggedLines(const QByteArray &err)
{
    static const QRegularExpression tagged(QStringLiteral("^(info|note|error): "));
    for (const QString &line :
         QString::fromUtf8(err).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (!tagged.match(line).hasMatch())
            return false;
    }
    return true;
}

} // namespace IbtLapsRun
