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
    Registration onAvailabilityChange(std::function<void()> changed) override
    {
        return m_availabilityChanged.add(std::move(changed));
    }
    void setInterest(const KeyInterest& wanted) override { interest = wanted; }
    void catchUp() override { ++catchUpCount; }

    void sendKeyDown(const KeyEvent& event) const { m_keyDown.call(event); }
    void sendFlagsChanged(const KeyEvent& event) const { m_flagsChanged.call(event); }

    // Keys can, or can no longer, be seen.
    void setReason(const Words& why)
    {
        reason = why;
        m_availabilityChanged.call();
    }

    KeyInterest interest;
    Words reason;  // why keys cannot be seen; empty: they can
    int catchUpCount = 0;

private:
    HandlerList<const KeyEvent&> m_keyDown;
    HandlerList<const KeyEvent&> m_flagsChanged;
    HandlerList<> m_availabilityChanged;
};

}  // namespace tavlo
