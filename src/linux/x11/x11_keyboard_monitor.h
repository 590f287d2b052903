#pragma once

#include "linux/x11/x11_keymap.h"
#include "linux/x11/x11_raw_keys.h"
#include "platform/keyboard_monitor.h"

#include <utility>

namespace tavlo {

// The keys of the whole desktop by their places on the board. Main thread.
class X11KeyboardMonitor : public KeyboardMonitor {
public:
    // All three outlive the monitor and share one display.
    X11KeyboardMonitor(X11Display& display, X11Keymap& keymap, X11RawKeys& rawKeys);

    Registration onKeyDown(Handler handler) override { return m_keyDown.add(std::move(handler)); }
    Registration onFlagsChanged(Handler handler) override { return m_flagsChanged.add(std::move(handler)); }
    Words unavailableReason() const override;
    void catchUp() override;

private:
    void handle(const RawKey& key);
    ModifierFlags modifierFlags();

    X11Display& m_display;
    X11Keymap& m_keymap;
    X11RawKeys& m_rawKeys;
    HandlerList<const KeyEvent&> m_keyDown;
    HandlerList<const KeyEvent&> m_flagsChanged;
    Registration m_keys;
};

}  // namespace tavlo
