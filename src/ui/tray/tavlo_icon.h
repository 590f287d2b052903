#pragma once

#include "platform/activity.h"

#include <QByteArray>
#include <QIcon>
#include <QPainterPath>
#include <QRectF>

class QPainter;

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

// What is solid in the icon of that activity, from the top-left corner downwards: bars in a frame while ready, the bars
// cut out of a block while recording, three dots while transcribing, a question mark while a key is chosen.
QPainterPath iconShape(Activity activity, const IconMeasures& measures);

// The colour in which the icon is drawn, so that it stands out on its panel.
enum class IconInk { Dark, Light };

// The icon of the status item, drawn in code; its shape tells the activity. Main thread.
class TavloIcon {
public:
    TavloIcon() = delete;

    // The icon of an activity; the same image for the same activity and ink at every call. It is drawn anew for every
    // size and scale that is asked for. In dark ink it is an alpha mask in black.
    static QIcon menuBar(Activity activity, IconInk ink = IconInk::Dark);

    // Draws the designed shape, as large as it fits, into the middle of `bounds`.
    static void draw(QPainter& painter, const QRectF& bounds, Activity activity, const QColor& colour);

    // The designed shape as an SVG document of 18 by 18, in the colour that desktops replace in symbolic icons.
    static QByteArray svg(Activity activity);
};

}  // namespace tavlo
