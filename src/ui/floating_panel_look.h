#pragma once

#include <QColor>

namespace tavlo {

// Where nothing composites the desktop, a panel is cut to its shape and drawn without its translucency.
enum class PanelLook { Translucent, Opaque };

// The dark ground of a panel: `white` of 0...1 at `alpha` where the look allows it.
inline QColor panelGround(double white, double alpha, PanelLook look)
{
    return QColor::fromRgbF(static_cast<float>(white), static_cast<float>(white), static_cast<float>(white),
                            look == PanelLook::Opaque ? 1.0F : static_cast<float>(alpha));
}

}  // namespace tavlo
