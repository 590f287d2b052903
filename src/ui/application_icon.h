#pragma once

#include <QIcon>
#include <QRectF>

class QPainter;

namespace tavlo {

// Draws the application's own icon, a rounded square with the bars of a voice, into a square. Any thread.
void drawApplicationIcon(QPainter& painter, const QRectF& square);

// Gives all windows of the program that icon, at the sizes that window managers ask for, unless they have one already.
// Main thread.
void useApplicationIcon();

}  // namespace tavlo
