#pragma once

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

    // Why a picture cannot go to that path, for a message before anything is drawn; empty
    // when its format can be written.
    static QString formatProblem(const QString &path);

    // Paints the picture of that size into the file; title and creator go into the SVG's and
    // PDF's own fields. False with *error set when it cannot be written.
    static bool write(const QString &path, const QSize &size, const Painting &paint,
                      const QString &title, const QString &creator, QString *error);
};
