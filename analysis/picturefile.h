#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

#include <functional>

class QPainter;

// A picture written to a file in the format its suffix names, PNG when it has none: any
// format Qt's image writers know as pixels, SVG and PDF as vectors of the same painting.
class PictureFile
{
public:
    using Painting = std::function<void(QPainter &)>;

    // "png", "jpg", ...: the suffix in lower case.
    static QByteArray format(const QString &path);
    // Whether Qt's image writers know the format, or it is svg or pdf.
    static bool isWritable(const QByteArray &format);
    static QString writableFormats();

    // Paints the picture of that size into the file; title and creator go into the SVG's and
    // PDF's own fields. False with *error set when it cannot be written.
    static bool write(const QString &path, const QSize &size, const Painting &paint,
                      const QString &title, const QString &creator, QString *error);
};
