#pragma once

#include "linux/x11/x11_keyboard_monitor.h"
#include "linux/x11/x11_paste_keystroke.h"
#include "linux/x11/x11_screens.h"
#include "platform/desktop.h"

namespace tavlo {

// An X11 desktop, whose ports share one connection of their own. Main thread; lives no longer than the application
// object.
class X11Desktop : public Desktop {
public:
    // `pasteboard` outlives it. Without a display name it is the one that the environment names.
    explicit X11Desktop(Pasteboard& pasteboard, const QByteArray& displayName = QByteArray());

    KeyboardMonitor& keys() override { return m_keys; }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    Screens& screens() override { return m_screens; }
    DesktopService service(DesktopCapability capability) override;

    // What the ports work with, for the tests.
    X11Display& display() { return m_display; }
    X11Keymap& keymap() { return m_keymap; }

private:
    Pasteboard& m_pasteboard;
    X11Display m_display;
    X11Keymap m_keymap;
    X11KeyboardMonitor m_keys;
    X11PasteKeystroke m_keystroke;
    X11Screens m_screens;
};

}  // namespace tavlo
