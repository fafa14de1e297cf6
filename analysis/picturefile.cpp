#include "picturefile.h"

#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <algorithm>

namespace {

const QByteArray svg = QByteArrayLiteral("svg");
const QByteArray pdf = QByteArrayLiteral("pdf");

// The picture's pixels at a screen's resolution, so that a PDF page is as large as the PNG
// shown at 100%.
constexpr int pdfResolution = 96;

bool paintInto(QPaintDevice &device, const PictureFile::Painting &paint)
{
    QPainter painter;
    if (!painter.begin(&device))
        return false;
    paint(painter);
    return painter.end();
}

bool writeVectors(const QByteArray &format, const QString &path, const QSize &size,
                  const PictureFile::Painting &paint, const QString &title, const QString &creator)
{
    if (format == svg) {
        QSvgGenerator generator;
        generator.setFileName(path);
        generator.setSize(size);
        generator.setViewBox(QRect(QPoint(0, 0), size));
        generator.setTitle(title);
        generator.setDescription(QStringLiteral("Drawn by %1").arg(creator));
        return paintInto(generator, paint);
    }
    QPdfWriter writer(path);
    writer.setResolution(pdfResolution);
    writer.setPageSize(QPageSize(QSizeF(size) * 72.0 / pdfResolution, QPageSize::Point, QString(),
                                 QPageSize::ExactMatch));
    writer.setPageMargins({});
    writer.setTitle(title);
    writer.setCreator(creator);
    return paintInto(writer, paint);
}

// "png", "jpg", ...: the suffix in lower case, png without one.
QByteArray format(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix.isEmpty() ? QByteArrayLiteral("png") : suffix.toLatin1();
}

// Whether Qt's image writers know the format, or it is svg or pdf.
bool isWritable(const QByteArray &format)
{
    return format == svg || format == pdf || QImageWriter::supportedImageFormats().contains(format);
}

QString writableFormats()
{
    QList<QByteArray> formats = QImageWriter::supportedImageFormats();
    formats << svg << pdf;
    std::sort(formats.begin(), formats.end());
    formats.erase(std::unique(formats.begin(), formats.end()), formats.end());
    return QString::fromLatin1(formats.join(", "));
}

} // namespace

QString PictureFile::formatProblem(const QString &path)
{
    const QByteArray kind = format(path);
    if (isWritable(kind))
        return {};
    return QStringLiteral("Qt cannot write pictures of the format '%1'; it writes %2")
        .arg(QString::fromLatin1(kind), writableFormats());
}

bool PictureFile::write(const QString &path, const QSize &size, const Painting &paint,
                        const QString &title, const QString &creator, QString *error)
{
    const QByteArray kind = format(path);
    if (kind == svg || kind == pdf) {
        if (writeVectors(kind, path, size, paint, title, creator) && QFileInfo(path).size() > 0)
            return true;
        *error = QStringLiteral("cannot write the picture %1").arg(path);
        return false;
    }
    QImage image(size, QImage::Format_RGB32);
    {
        QPainter painter(&image);
        paint(painter);
    }
    QImageWriter writer(path, kind);
    if (writer.write(image))
        return true;
    *error = QStringLiteral("cannot write the picture %1: %2").arg(path, writer.errorString());
    return false;
}
