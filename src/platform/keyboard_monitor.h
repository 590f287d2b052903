#pragma once

#include "platform/registration.h"

#include <QString>

#include <cstdint>
#include <functional>

namespace tavlo {

enum class KeyRepeat { FirstPress, AutoRepeat };

// One keyboard event, in the codes that the settings file stores: virtual key codes name a key's position on the
// board, modifier flags are those of hotkeys/hotkey_catalogue.h, worked out from the keys that are down.
struct KeyEvent {
    std::uint16_t keyCode = 0;
    std::uint64_t modifierFlags = 0;
    KeyRepeat repeat = KeyRepeat::FirstPress;
    // The key's symbols at level one of the active layout; empty for a key that gives no text.
    QString charactersIgnoringModifiers;
    // The desktop's clock in milliseconds, which may wrap around. Where a key goes to a window of this program, the
    // window's event carries the same time.
    std::uint32_t time = 0;
};

// Sees the key events of the whole desktop, this program's own windows included. Never consumes a key; keys that the
// paste keystroke of this program sends are left out.
class KeyboardMonitor {
public:
    using Handler = std::function<void(const KeyEvent&)>;

    virtual ~KeyboardMonitor() = default;

    // `keyDown` gets the presses and repeats of all keys but the modifiers (key codes 54 to 63); `flagsChanged` gets
    // presses and releases of the modifiers, with the flags as they are after the event. Both are called on the main
    // thread, in the order of the events. Main thread.
    [[nodiscard]] virtual Registration monitor(Handler keyDown, Handler flagsChanged) = 0;

    // Hands out every event that happened before this call, now. Main thread.
    virtual void catchUp() {}

    // Empty where keys can be seen; else one sentence that says why not.
    virtual QString unavailableReason() const = 0;
};

}  // namespace tavlo
