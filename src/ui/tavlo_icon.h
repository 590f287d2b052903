#pragma once

#include <QByteArray>
#include <QIcon>
#include <QRectF>
#include <QString>

class QPainter;

namespace tavlo {

// The colour in which the icon is drawn, so that it stands out on its panel.
enum class IconInk { Dark, Light };

// The icon of the status item, drawn in code; its shape tells the state. Main thread.
class TavloIcon {
public:
    TavloIcon() = delete;

    // The icon of a state; the same image for the same state and ink at every call. It is drawn anew for every size
    // and scale that is asked for. In dark ink it is an alpha mask in black.
    static QIcon menuBar(const QString& state, IconInk ink = IconInk::Dark);

    // Draws the designed shape, as large as it fits, into the middle of `bounds`.
    static void draw(QPainter& painter, const QRectF& bounds, const QString& state, const QColor& colour);

    // The designed shape as an SVG document of 18 by 18, in the colour that desktops replace in symbolic icons.
    static QByteArray svg(const QString& state);
};

}  // namespace tavlo
