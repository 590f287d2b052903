#pragma once

#include "platform/keys.h"
#include "platform/registration.h"
#include "platform/words.h"

#include <QString>

#include <cstdint>
#include <functional>

namespace tavlo {

enum class KeyRepeat { FirstPress, AutoRepeat };

// One keyboard event. The modifier flags are worked out from the keys that are down.
struct KeyEvent {
    KeyCode keyCode{};
    ModifierFlags modifierFlags = ModifierFlags::None;
    KeyRepeat repeat = KeyRepeat::FirstPress;
    // The key's symbols at level one of the active layout; empty for a key that gives no text.
    QString charactersIgnoringModifiers;
    // The desktop's clock in milliseconds, which may wrap around. Where a key goes to a window of this program, the
    // window's event carries the same time.
    std::uint32_t time = 0;
};

// Which keys somebody waits for, apart from the modifiers and Escape.
struct KeyInterest {
    KeyCode hotkey = KeyCode::RightCommand;
    bool everyKey = false;  // a key is being chosen

    bool operator==(const KeyInterest&) const = default;
};

// Sees the key events of the whole desktop, this program's own windows included. Never consumes a key; keys that the
// paste keystroke of this program sends are left out.
class KeyboardMonitor {
public:
    using Handler = std::function<void(const KeyEvent&)>;

    virtual ~KeyboardMonitor() = default;

    // The presses and repeats of all keys but the modifiers. Handlers of both kinds are called on
    // the main thread, in the order of the events. Main thread.
    virtual Registration onKeyDown(Handler handler) = 0;
    // The presses and releases of the modifiers, with the flags as they are after the event.
    virtual Registration onFlagsChanged(Handler handler) = 0;

    // From now on other keys need not be seen: a backend that can be spared them reads none that nobody waits for.
    virtual void setInterest(const KeyInterest&) {}

    // Calls the handlers, before it returns, for every event that happened before this call. Main thread.
    virtual void catchUp() {}

    // Empty where keys can be seen; else one sentence that says why not.
    virtual Words unavailableReason() const = 0;
    // Told when `unavailableReason` may have become another one.
    virtual Registration onAvailabilityChange(std::function<void()>) { return {}; }
};

}  // namespace tavlo
