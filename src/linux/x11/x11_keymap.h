#pragma once

#include "linux/x11/x11_display.h"
#include "linux/xkb_keys.h"
#include "platform/keys.h"

#include <QString>

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <optional>

namespace tavlo {

// What the server's keyboard description says about the keys. Follows changes of layout and of keyboard. Main thread.
class X11Keymap : private X11EventReader {
public:
    explicit X11Keymap(X11Display& display);

    // Whether the server describes its keyboard (it has the XKB extension). Without, every key is unnamed.
    bool isAvailable();

    // The code of the key's place on the board.
    KeyCode keyCode(xcb_keycode_t key);
    // What the key types at level one of the active layout; empty for keys that type nothing, the accent for a dead
    // key.
    QString charactersIgnoringModifiers(xcb_keycode_t key);
    // A key that gives this symbol at level one of the active layout.
    std::optional<xcb_keycode_t> keyGiving(xkb_keysym_t symbol);
    // The real modifiers that the key sets while it is held, and only while it is held: 0 for keys that lock, latch or
    // set nothing.
    xkb_mod_mask_t modifiersWhileHeld(xcb_keycode_t key);
    // Whether the key means the same when these keys are held as when none is; a switch of layouts such as
    // Control+Shift is a key that does not.
    bool isSameUnder(xcb_keycode_t key, xcb_keycode_t held);

private:
    void selectEvents();
    void read(const xcb_generic_event_t& event) override;
    void refresh();
    xkb_keysym_t symbol(xcb_keycode_t key) const;
    XkbState stateOfActiveLayout() const;

    X11Display& m_display;
    std::uint8_t m_firstEvent = 0;
    std::int32_t m_device = -1;
    bool m_stale = true;  // the description has changed since it was read
    XkbContext m_context;
    XkbKeymap m_keymap;
    XkbState m_state;
    KeyCodes m_keyCodes = keyCodesOf(nullptr);
    Registration m_events;
};

}  // namespace tavlo
