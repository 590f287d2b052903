#pragma once

#include <cstdint>

namespace tavlo {

// Types the keys of a paste chord into the window that has the keyboard. Main thread.
class ChordKeyboard {
public:
    virtual ~ChordKeyboard() = default;

    // Whether the compositor lets this program type in this way.
    virtual bool isThere() const = 0;
    // Sent with the connection's next flush. Only while it is there. `code` is one of the kernel's input layer:
    // KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V or KEY_INSERT.
    virtual void press(std::uint32_t code) = 0;
    virtual void release(std::uint32_t code) = 0;
};

}  // namespace tavlo
