#pragma once

#include "linux/wayland/chord_keyboard.h"
#include "linux/wayland/wayland_connection.h"

#include <cstdint>

struct zwp_virtual_keyboard_v1;

namespace tavlo {

// A keyboard of our own, by the protocol virtual-keyboard-unstable-v1. It has its own modifiers: what the user holds on
// another takes no part in what it types. Main thread.
class VirtualKeyboard : public ChordKeyboard {
public:
    // Made at once: a compositor needs a moment to tell programs of a new keyboard, and the first key would be lost.
    // `connection` outlives it.
    explicit VirtualKeyboard(WaylandConnection& connection);

    bool isThere() const override { return m_keyboard != nullptr; }
    void press(std::uint32_t code) override;
    void release(std::uint32_t code) override;

private:
    void send(std::uint32_t code, wl_keyboard_key_state state);
    void setModifiers(std::uint32_t modifiers);

    WaylandPointer<zwp_virtual_keyboard_v1> m_keyboard;
    std::uint32_t m_modifiers = 0;
};

}  // namespace tavlo
