#include "ui/application_icon.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

#include <array>

namespace tavlo {

void drawApplicationIcon(QPainter& painter, const QRectF& square)
{
    // Drawn in a square of 64 units, scaled to the one that is asked for.
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / 64, square.height() / 64);

    const QRectF tile(3, 3, 58, 58);
    QLinearGradient ground(tile.topLeft(), tile.bottomRight());
    ground.setColorAt(0, QColor(91, 103, 240));
    ground.setColorAt(1, QColor(132, 61, 214));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(tile, 14, 14);

    // A faint light from above makes the tile stand out on dark and on light backgrounds.
    QLinearGradient light(0, tile.top(), 0, tile.bottom());
    light.setColorAt(0, QColor(255, 255, 255, 70));
    light.setColorAt(0.5, QColor(255, 255, 255, 0));
    painter.setBrush(light);
    painter.drawRoundedRect(tile, 14, 14);

    painter.setBrush(Qt::white);
    constexpr double kBarWidth = 5;
    constexpr double kBarDistance = 9;
    constexpr std::array kBarHeights{11.0, 22.0, 36.0, 26.0, 13.0};
    double left = 32 - 2 * kBarDistance - kBarWidth / 2;
    for (const double height : kBarHeights) {
        painter.drawRoundedRect(QRectF(left, 32 - height / 2, kBarWidth, height), kBarWidth / 2, kBarWidth / 2);
        left += kBarDistance;
    }
    painter.restore();
}

namespace {

QIcon applicationIcon()
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        drawApplicationIcon(painter, QRectF(0, 0, size, size));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace

void useApplicationIcon()
{
    if (QGuiApplication::windowIcon().isNull()) {
        QGuiApplication::setWindowIcon(applicationIcon());
    }
}

}  // namespace tavlo
