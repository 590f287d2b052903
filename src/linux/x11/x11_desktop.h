#pragma once

#include "linux/x11/x11_keyboard_monitor.h"
#include "linux/x11/x11_paste_keystroke.h"
#include "linux/x11/x11_screens.h"

namespace tavlo {

// The ports of an X11 desktop, which share one connection. Main thread; lives no longer than the pasteboard and the
// application object.
struct X11Desktop {
    explicit X11Desktop(Pasteboard& pasteboard, const QByteArray& displayName = QByteArray())
        : display(displayName),
          keymap(display),
          rawKeys(display),
          keyboardMonitor(display, keymap, rawKeys),
          pasteKeystroke(display, keymap, rawKeys, pasteboard),
          screens(display)
    {
    }

    X11Display display;
    X11Keymap keymap;
    X11RawKeys rawKeys;
    X11KeyboardMonitor keyboardMonitor;
    X11PasteKeystroke pasteKeystroke;
    X11Screens screens;
};

}  // namespace tavlo
