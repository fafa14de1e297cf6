#pragma once

// Where the tests find the simulator's recorded .ibt files. They live outside the
// repository; a fresh clone has none, and the tests that need them skip.

#include <QDir>
#include <QString>
#include <QStringList>
#include <QTest>

namespace SampleFiles {

inline QString folder()
{
    const QString fromEnvironment = qEnvironmentVariable("ZUM_IBT_SAMPLES");
    return fromEnvironment.isEmpty() ? QStringLiteral(ZUM_DEFAULT_IBT_SAMPLES) : fromEnvironment;
}

// Absolute paths of every .ibt file in the folder, sorted by name; empty when there is none.
inline QStringList all()
{
    const QDir dir(folder());
    QStringList paths;
    for (const QString &name : dir.entryList({QStringLiteral("*.ibt")}, QDir::Files, QDir::Name))
        paths.append(dir.absoluteFilePath(name));
    return paths;
}

inline QString path(const QString &name)
{
    return QDir(folder()).absoluteFilePath(name);
}

} // namespace SampleFiles

// Skips the current test when the recorded files are not there.
#define ZUM_REQUIRE_SAMPLE_FILES()                                                                 \
    do {                                                                                           \
        if (SampleFiles::all().isEmpty())                                                          \
            QSKIP("no recorded .ibt files in ZUM_IBT_SAMPLES or ../shared/ibt");                   \
    } while (false)
