#pragma once

#include "linux/paste_chord.h"
#include "linux/x11/x11_display.h"
#include "linux/x11/x11_keyboard_monitor.h"
#include "linux/x11/x11_keymap.h"
#include "platform/paste.h"

#include <QByteArrayList>

#include <bitset>
#include <optional>
#include <vector>

namespace tavlo {

// The window that gets the keys now: the one with the input focus, the one under the pointer where the focus follows
// it, else the window manager's active one; XCB_WINDOW_NONE when there is none. Waits for the server; main thread.
xcb_window_t focusedWindow(X11Display& display);
// The names in WM_CLASS of the window, or of the nearest window around it that has them; empty where none has. Waits
// for the server; main thread.
QByteArrayList windowClass(X11Display& display, xcb_window_t window);

// Types the paste chord through XTEST. Main thread.
//
// Modifiers that are down are released first and pressed again afterwards, so that they take no part in the chord and
// are then as the user holds them. Those are pressed on the server's test device, and released there as soon as the
// user releases the real key, so that nothing is left stuck.
class X11PasteKeystroke : public PasteKeystroke {
public:
    // All outlive this object; the first three belong together.
    X11PasteKeystroke(X11Display& display, X11Keymap& keymap, X11KeyboardMonitor& monitor, Pasteboard& pasteboard);
    ~X11PasteKeystroke() override;
    X11PasteKeystroke(const X11PasteKeystroke&) = delete;
    X11PasteKeystroke& operator=(const X11PasteKeystroke&) = delete;

    // Whether the server lets us send keys: a round trip.
    bool isTrusted() override;
    void sendPaste() override;

private:
    using Keys = std::bitset<256>;

    struct ChordKeys {
        xcb_keycode_t main = 0;               // Control or Shift, which is held around the others
        std::optional<xcb_keycode_t> second;  // Shift beside Control
        xcb_keycode_t typed = 0;
    };

    std::optional<ChordKeys> keysFor(PasteChord chord);
    std::optional<xcb_keycode_t> modifierKey(xkb_keysym_t left, xkb_keysym_t right, xkb_mod_mask_t modifier);
    void type(const ChordKeys& keys);
    void press(xcb_keycode_t key);
    void release(xcb_keycode_t key);
    void fake(std::uint8_t type, xcb_keycode_t key);
    Keys keysDown();
    void handle(const RawKey& key);

    X11Display& m_display;
    X11Keymap& m_keymap;
    X11KeyboardMonitor& m_monitor;
    Pasteboard& m_pasteboard;
    Keys m_heldForUser;  // pressed on the test device, while the user holds the real key
    Registration m_keys;
};

}  // namespace tavlo
