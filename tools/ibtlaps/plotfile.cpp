#include "plotfile.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>

QByteArray PlotFile::format(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix.isEmpty() ? QByteArrayLiteral("png") : suffix.toLatin1();
}

bool PlotFile::isWritable(const QByteArray &format)
{
    return QImageWriter::supportedImageFormats().contains(format);
}

QString PlotFile::writableFormats()
{
    return QString::fromLatin1(QImageWriter::supportedImageFormats().join(", "));
}

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

bool PlotFile::write(const QImage &image, const QString &path, QString *errorString)
{
    QImageWriter writer(path, format(path));
    if (writer.write(image))
        return true;
    *errorString
        = QStringLiteral("cannot write the picture %1: %2").arg(path, writer.errorString());
    return false;
}
