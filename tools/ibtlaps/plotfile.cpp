#include "plotfile.h"

#include <QDir>
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

bool writeSvg(const LapPlot::Input &input, const QString &path)
{
    const QSize size = LapPlot::size(input);
    QSvgGenerator generator;
    generator.setFileName(path);
    generator.setSize(size);
    generator.setViewBox(QRect(QPoint(0, 0), size));
    generator.setTitle(QFileInfo(input.file).fileName());
    generator.setDescription(QStringLiteral("Laps drawn by ibt-laps"));
    QPainter painter;
    if (!painter.begin(&generator))
        return false;
    LapPlot::paint(painter, input);
    return painter.end();
}

bool writePdf(const LapPlot::Input &input, const QString &path)
{
    const QSize size = LapPlot::size(input);
    QPdfWriter writer(path);
    writer.setResolution(pdfResolution);
    writer.setPageSize(QPageSize(QSizeF(size) * 72.0 / pdfResolution, QPageSize::Point, QString(),
                                 QPageSize::ExactMatch));
    writer.setPageMargins({});
    writer.setTitle(QFileInfo(input.file).fileName());
    writer.setCreator(QStringLiteral("ibt-laps"));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    LapPlot::paint(painter, input);
    return painter.end();
}

} // namespace

QByteArray PlotFile::format(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix.isEmpty() ? QByteArrayLiteral("png") : suffix.toLatin1();
}

bool PlotFile::isWritable(const QByteArray &format)
{
    return format == svg || format == pdf || QImageWriter::supportedImageFormats().contains(format);
}

QString PlotFile::writableFormats()
{
    QList<QByteArray> formats = QImageWriter::supportedImageFormats();
    formats << svg << pdf;
    std::sort(formats.begin(), formats.end());
    formats.erase(std::unique(formats.begin(), formats.end()), formats.end());
    return QString::fromLatin1(formats.join(", "));
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

bool PlotFile::write(const LapPlot::Input &input, const QString &path, QString *errorString)
{
    const QByteArray kind = format(path);
    if (kind == svg || kind == pdf) {
        if ((kind == svg ? writeSvg : writePdf)(input, path) && QFileInfo(path).size() > 0)
            return true;
        *errorString = QStringLiteral("cannot write the picture %1").arg(path);
        return false;
    }
    QImageWriter writer(path, kind);
    if (writer.write(LapPlot::render(input)))
        return true;
    *errorString
        = QStringLiteral("cannot write the picture %1: %2").arg(path, writer.errorString());
    return false;
}
