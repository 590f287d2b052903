#pragma once

#include "platform/panel_appearance.h"
#include "ui/tray/tavlo_icon.h"

#include <QColor>

namespace tavlo {

// The ink that stands out on the desktop's panel. `windowColour`, the background of windows in the application's
// palette, decides when the desktop says nothing.
IconInk panelInk(const PanelSurroundings& surroundings, const QColor& windowColour);

}  // namespace tavlo
