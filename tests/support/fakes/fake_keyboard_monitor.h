#pragma once

#include "platform/keyboard_monitor.h"

#include <utility>

namespace tavlo {

// A keyboard on which the test presses the keys.
class FakeKeyboardMonitor : public KeyboardMonitor {
public:
    Registration onKeyDown(Handler handler) override { return m_keyDown.add(std::move(handler)); }
    Registration onFlagsChanged(Handler handler) override { return m_flagsChanged.add(std::move(handler)); }
    Words unavailableReason() const override { return reason; }
    void catchUp() override { ++catchUpCount; }

    void sendKeyDown(const KeyEvent& event) const { m_keyDown.call(event); }
    void sendFlagsChanged(const KeyEvent& event) const { m_flagsChanged.call(event); }

    Words reason;  // why keys cannot be seen; empty: they can
    int catchUpCount = 0;

private:
    HandlerList<const KeyEvent&> m_keyDown;
    HandlerList<const KeyEvent&> m_flagsChanged;
};

}  // namespace tavlo
