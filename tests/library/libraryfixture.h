#pragma once

// What the tests of ibt-library start from: a folder of generated sessions with awkward
// names (quotes, a semicolon, spaces, letters beyond ASCII) and a broken file, and what the
// plug-in itself gives for each session, computed here to compare the tool's answers with.

#include "ideallap.h"
#include "lapchannels.h"
#include "laptime.h"
#include "pluginhost.h"
#include "sectortimes.h"
#include "sessiongenerator.h"
#include "testlibrary.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTest>

#include <optional>

namespace TestLibrary {

// What the plug-in gives of one lap, in the terms the tool lists it.
struct ExpectedLap
{
    QString file;
    int lapNumber = 0;
    int stint = 0;
    int lapInStint = 0;
    std::optional<double> lapTime;
    bool completed = false;
    bool timed = false;
    QString trackName;
    QString trackConfigName;
    QString carName;
    QString driverName;
    QString recordingStart;
    QList<double> sectorTimes;
};

inline QJsonArray jsonRows(const TestLibrary::Run &result)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
    return error.error == QJsonParseError::NoError ? document.array() : QJsonArray();
}

// RFC 4180 fields, quoted ones with their doubled quotes.
inline QList<QStringList> csvRows(const QByteArray &bytes)
{
    QList<QStringList> rows;
    QStringList row;
    QString field;
    bool quoted = false;
    const QString text = QString::fromUtf8(bytes);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == u'"' && i + 1 < text.size() && text[i + 1] == u'"') {
                field += c;
                ++i;
            } else if (c == u'"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == u'"') {
            quoted = true;
        } else if (c == u',') {
            row.append(field);
            field.clear();
        } else if (c == u'\n') {
            row.append(field);
            rows.append(row);
            row.clear();
            field.clear();
        } else if (c != u'\r') {
            field += c;
        }
    }
    return rows;
}

class Fixture : public QObject
{
protected:
    // Writes the sessions and imports them here to compare against; for initTestCase.
    void prepareSessions()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(QDir().mkpath(folder() + QStringLiteral("/sub dir")));
        SessionGenerator::Options quick;
        quick.trackLength = 1500.0;
        quick.lapTime = 40.0;
        quick.laps = 3;
        quick.otherCars = 1;
        SessionGenerator::Options second = quick;
        second.playerName = QStringLiteral("Second Driver");
        second.startDate -= 30 * 86400;
        SessionGenerator::Options otherTrack = quick;
        otherTrack.trackDisplayName = QStringLiteral("Circuit Ünïcode");
        otherTrack.trackLength = 1800.0;
        otherTrack.lapTime = 45.0;
        otherTrack.startDate += 10 * 86400;
        SessionGenerator::Options race = quick;
        race.scenario = SessionGenerator::Scenario::Race;
        race.startDate += 86400;
        const std::pair<QString, SessionGenerator::Options> sessions[] = {
            {QStringLiteral("it's; a \"quoted\" run.ibt"), quick},
            {QStringLiteral("Ärger über Kurve 3.ibt"), race},
            {QStringLiteral("sub dir/second driver.ibt"), second},
            {QStringLiteral("sub dir/other track.ibt"), otherTrack},
        };
        for (const auto &[name, options] : sessions) {
            const QString path = folder() + QLatin1Char('/') + name;
            QVERIFY2(SessionGenerator(options).write(path), qPrintable(path));
            m_files.append(path);
            const QList<ExpectedLap> laps = expectedFor(path);
            QVERIFY2(!laps.isEmpty(), qPrintable(path));
            m_laps += laps;
        }
        m_broken = folder() + QStringLiteral("/broken.ibt");
        QFile broken(m_broken);
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write(QByteArray(4000, 'x'));
    }

    // A fresh library with the folder added: the broken file fails, the others are stored.
    bool addFolder(TestLibrary::Fresh &library, TestLibrary::Run *result = nullptr)
    {
        if (!library.isReady()) {
            qWarning() << "no library:" << library.error();
            return false;
        }
        const TestLibrary::Run added
            = run({QStringLiteral("add"), folder(), QStringLiteral("--db"), library.address()});
        if (result)
            *result = added;
        // The broken file fails, the others are stored.
        if (added.exitCode != 1)
            qWarning() << added.exitCode << added.err;
        return added.exitCode == 1;
    }

    QList<ExpectedLap> expectedFor(const QString &path)
    {
        static PluginHost host(QStringLiteral(ZUM_PLUGIN_PATH));
        static const bool loaded = host.load();
        if (!loaded)
            return {};
        const ImportResult result = host.importFile(path);
        const RecordingInfo recording = RecordingInfo::read(path);
        const std::optional<double> trackLength = LapChannels::trackLength(result.laps);
        const std::optional<IdealLap> ideal
            = IdealLap::of(result.laps, trackLength, recording.sectorStarts());
        m_idealLaps[QFileInfo(path).absoluteFilePath()]
            = ideal ? std::optional<double>(ideal->time()) : std::nullopt;
        QList<ExpectedLap> laps;
        for (const auto &lap : result.laps) {
            const ZUM::SDK::LapHeader &header = lap->header();
            ExpectedLap expected;
            expected.file = QFileInfo(path).absoluteFilePath();
            expected.lapNumber = header.lapNumber;
            expected.stint = header.stint;
            expected.lapInStint = header.lapInStint;
            if (LapTime::isTimed(header.lapTime))
                expected.lapTime = LapTime::seconds(header.lapTime);
            expected.completed = header.completed;
            expected.timed = LapTime::isTimedLap(header);
            expected.trackName = header.trackName;
            expected.trackConfigName = header.trackConfigName;
            expected.carName = header.carInfo.carName;
            expected.driverName = header.carInfo.driverName;
            expected.recordingStart
                = recording.start().toUTC().toString(QStringLiteral("yyyy-MM-ddThh:mm:ss.zzz"))
                + QStringLiteral("+00:00");
            if (trackLength) {
                if (const auto sectors
                    = SectorTimes::of(*lap, *trackLength,
                                      SectorTimes::starts(*trackLength, recording.sectorStarts())))
                    expected.sectorTimes = sectors->times();
            }
            laps.append(expected);
        }
        return laps;
    }

    QString folder() const { return m_dir.filePath(QStringLiteral("sessions")); }

    QTemporaryDir m_dir;
    QStringList m_files; // the importable ones
    QString m_broken;
    QList<ExpectedLap> m_laps;
    QMap<QString, std::optional<double>> m_idealLaps; // by file, over the track's own sectors
};

} // namespace TestLibrary
