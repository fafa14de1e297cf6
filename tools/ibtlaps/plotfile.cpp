#include "plotfile.h"

#include "picturefile.h"

#include <QDir>
#include <QFileInfo>

QString PlotFile::pathFor(const QString &plot, const QString &input, bool several)
{
    if (!several)
        return plot;
    const QFileInfo file(plot);
    const QString suffix = file.suffix().isEmpty() ? QStringLiteral("png") : file.suffix();
    return file.dir().filePath(
        QStringLiteral("%1_%2.%3")
            .arg(file.completeBaseName(), QFileInfo(input).completeBaseName(), suffix));
}

bool PlotFile::write(const LapPlot::Input &input, const QString &path, QString *errorString)
{
    const LapPicture::Input picture = LapPlot::picture(input);
    return PictureFile::write(
        path, LapPicture::size(picture),
        [&picture](QPainter &painter) { LapPicture::paint(painter, picture); },
        QFileInfo(input.file).fileName(), QStringLiteral("ibt-laps"), errorString);
}
