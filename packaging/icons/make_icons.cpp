// Writes the pixel icons that the desktop shows for Tavlo, drawn by the same code as the icon of its windows.
//
// Usage: tavlo_make_icons FOLDER SIZE ...
// Makes SIZE.png in that folder for each size, in pixels. Ends with 1, and a sentence on standard error, when a file
// cannot be written.

#include "ui/application_icon.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QPainter>

#include <cstdio>

namespace {

QImage pixels(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    tavlo::drawApplicationIcon(painter, QRectF(0, 0, size, size));
    return image;
}

}  // namespace

int main(int argc, char* argv[])
{
    // Paths painted into memory need no display, and so no application with one: a build machine has none.
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "Usage: tavlo_make_icons FOLDER SIZE ...\n");
        return 2;
    }
    bool written = true;
    for (const QString& size : arguments.mid(2)) {
        const QString path = QDir(arguments.at(1)).filePath(size + QStringLiteral(".png"));
        if (!pixels(size.toInt()).save(path)) {
            std::fprintf(stderr, "%s: cannot be written\n", qPrintable(path));
            written = false;
        }
    }
    return written ? 0 : 1;
}
