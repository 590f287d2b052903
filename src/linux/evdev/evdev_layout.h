#pragma once

#include "linux/xkb_keys.h"

#include <cstdint>
#include <string>

namespace tavlo {

// What the kernel's keys mean: their places on the board, and what they type in the first layout of a keyboard
// description.
class EvdevLayout {
public:
    // With the layout that the environment names, or the American one.
    EvdevLayout();

    // Uses this description in XKB's text format from now on; one that cannot be read, or that is no
    // whole keyboard, changes nothing.
    void setKeymap(const std::string& text);

    // `code` as in linux/input-event-codes.h.
    KeyCode keyCode(std::uint16_t code) const;
    QString typedText(std::uint16_t code) const;

private:
    void use(XkbKeymap keymap);

    XkbContext m_context;
    XkbKeymap m_keymap;
    KeyCodes m_keyCodes;
};

}  // namespace tavlo
