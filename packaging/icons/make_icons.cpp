// Writes the icons that the desktop shows for Tavlo, drawn by the same code as the icons inside the program.
//
// Usage: tavlo_make_icons FOLDER
// Makes scalable.svg, symbolic.svg and NUMBER.png in that folder. Ends with 1, and a sentence on standard error, when a
// file cannot be written.

#include "icons/svg_canvas.h"
#include "ui/application_icon.h"
#include "ui/tray/tavlo_icon.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSaveFile>

#include <cstdio>

namespace {

// Pixel icons serve the desktops that have no reader for SVG; 48 is the size that every one of them looks for.
constexpr int kPixelSizes[] = {16, 22, 24, 32, 48, 64, 128, 256};

QByteArray scalable()
{
    constexpr double kSize = 64;
    tavlo::SvgCanvas canvas(QSizeF(kSize, kSize));
    QPainter painter(&canvas);
    tavlo::drawApplicationIcon(painter, QRectF(0, 0, kSize, kSize));
    painter.end();
    return canvas.document();
}

QImage pixels(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    tavlo::drawApplicationIcon(painter, QRectF(0, 0, size, size));
    return image;
}

bool write(const QString& path, const QByteArray& content)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit()) {
        return true;
    }
    std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

}  // namespace

int main(int argc, char* argv[])
{
    // Paths painted into memory need no display, and so no application with one: a build machine has none.
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().size() != 2) {
        std::fprintf(stderr, "Usage: tavlo_make_icons FOLDER\n");
        return 2;
    }
    const QDir folder(QCoreApplication::arguments().at(1));

    bool written = write(folder.filePath(QStringLiteral("scalable.svg")), scalable());
    written = write(folder.filePath(QStringLiteral("symbolic.svg")), tavlo::TavloIcon::svg(tavlo::Activity::Ready)) &&
              written;
    for (const int size : kPixelSizes) {
        const QString path = folder.filePath(QString::number(size) + QStringLiteral(".png"));
        if (!pixels(size).save(path)) {
            std::fprintf(stderr, "%s: cannot be written\n", qPrintable(path));
            written = false;
        }
    }
    return written ? 0 : 1;
}
