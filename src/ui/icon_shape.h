#pragma once

#include <QPainterPath>
#include <QRectF>
#include <QString>

namespace tavlo {

// The measures of the icon's shapes within its rectangle, in one unit.
struct IconMeasures {
    QSizeF size;        // of the icon
    double lineWidth;   // of the frame, which lies with its outer edge on the icon's edge
    double blockInset;  // of the solid block, which has no outline
    double cornerRadius;
    double barWidth;  // bars have round ends
    double barGap;
    double shortBar;  // heights
    double tallBar;
    double dotDiameter;
    double questionMarkSize;  // of the font
};

// The icon as it is designed: 18 wide, 16 high.
IconMeasures designedIcon();

// The icon in a square of `side` device pixels: scaled, with all edges moved onto whole pixels so that none is blurred.
// As in other panel icons the shape leaves some room at the edges of the square from 22 pixels up.
IconMeasures iconForPixels(int side);

// What is solid in the icon of that state: "mic", "waveform", "hourglass" or "keyboard"; any other name looks like
// "mic". From the top-left corner downwards.
QPainterPath iconShape(const QString& state, const IconMeasures& measures);

}  // namespace tavlo
