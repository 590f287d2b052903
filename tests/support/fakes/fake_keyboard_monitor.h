#pragma once

#include "platform/keyboard_monitor.h"

#include <utility>

namespace tavlo {

// A keyboard on which the test presses the keys.
class FakeKeyboardMonitor : public KeyboardMonitor {
public:
    [[nodiscard]] Registration monitor(Handler keyDown, Handler flagsChanged) override
    {
        return m_handlers.add(
            [keyDown = std::move(keyDown), flagsChanged = std::move(flagsChanged)](Kind kind, const KeyEvent& event) {
                (kind == Kind::KeyDown ? keyDown : flagsChanged)(event);
            });
    }

    QString unavailableReason() const override { return reason; }

    void catchUp() override { ++catchUpCount; }

    void sendKeyDown(const KeyEvent& event) { m_handlers.call(Kind::KeyDown, event); }
    void sendFlagsChanged(const KeyEvent& event) { m_handlers.call(Kind::FlagsChanged, event); }

    QString reason;  // why keys cannot be seen; empty: they can
    int catchUpCount = 0;

private:
    enum class Kind { KeyDown, FlagsChanged };

    HandlerList<Kind, const KeyEvent&> m_handlers;
};

}  // namespace tavlo
