#include "generateuniquefilename.h"

#include <QFileInfo>
#include <QStringList>

namespace ZUM::SDK {

QString generateUniqueFileName(const QDir &dir, const QString &fileName)
{
    static const QStringList nameFilters = {QStringLiteral("*.*")};

    const QFileInfo info(fileName);
    const QString base = info.baseName();
    const QString suffix = info.suffix();
    const QStringList existing
        = dir.entryList(nameFilters, QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort);

    QString candidate = base + QLatin1Char('.') + suffix;
    for (qint64 k = 1; existing.contains(candidate); ++k)
        candidate = base + QLatin1Char('_') + QString::number(k) + QLatin1Char('.') + suffix;
    return dir.absolutePath() + QLatin1Char('/') + candidate;
}

} // namespace ZUM::SDK
