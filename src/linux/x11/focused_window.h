#pragma once

#include "linux/x11/x11_display.h"

#include <QByteArrayList>

namespace tavlo {

// The window that gets the keys now: the one with the input focus, the one under the pointer where the focus follows
// it, else the window manager's active one; XCB_WINDOW_NONE when there is none. Waits for the server; main thread.
xcb_window_t focusedWindow(X11Display& display);
// The names in WM_CLASS of the window, or of the nearest window around it that has them; empty where none has. Waits
// for the server; main thread.
QByteArrayList windowClass(X11Display& display, xcb_window_t window);

}  // namespace tavlo
