#pragma once

#include <QIcon>
#include <QRectF>

class QPainter;

namespace tavlo {

// Draws the application's own icon, a rounded square with the bars of a voice, into a square. Any thread.
void drawApplicationIcon(QPainter& painter, const QRectF& square);

// The same as an icon, at the sizes that window managers and desktops ask for. Main thread.
QIcon applicationIcon();

// Gives all windows of the program that icon, once. Main thread.
void useApplicationIcon();

}  // namespace tavlo
