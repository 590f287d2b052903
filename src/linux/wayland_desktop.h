#pragma once

#include "platform/desktop.h"

namespace tavlo {

// What the module for Wayland offers under the name of kMakeWaylandDesktop: a desktop that the caller deletes, or null
// where no compositor answers. `x11` is the desktop as X11 programs see it through Xwayland, whose overlays, screens
// and clipboard serve where the compositor has nothing better; it outlives the result. Main thread.
using MakeWaylandDesktop = Desktop* (*)(Desktop& x11);
inline constexpr const char* kMakeWaylandDesktop = "tavloMakeWaylandDesktop";

}  // namespace tavlo
