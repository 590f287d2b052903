#pragma once

#include "platform/keys.h"

#include <QString>

#include <xkbcommon/xkbcommon.h>

#include <array>
#include <cstdint>
#include <memory>

namespace tavlo {

template <auto unref>
struct XkbUnref {
    void operator()(auto* object) const { unref(object); }
};
using XkbContext = std::unique_ptr<xkb_context, XkbUnref<xkb_context_unref>>;
using XkbKeymap = std::unique_ptr<xkb_keymap, XkbUnref<xkb_keymap_unref>>;
using XkbState = std::unique_ptr<xkb_state, XkbUnref<xkb_state_unref>>;

// Keys without a virtual key code of their own (Print Screen, media keys, ...) get this plus their XKB key code, so
// that any key can be chosen as hotkey and no two keys share a code.
inline constexpr std::uint16_t kFirstUnnamedKeyCode = 256;

// The code of the place on the board of each XKB key code from 0 to 255.
using KeyCodes = std::array<KeyCode, 256>;
// By a keyboard description; without one every key is unnamed.
KeyCodes keyCodesOf(xkb_keymap* keymap);

// What the key gives in this layout when it is pressed alone; NoSymbol where it gives none, or where the layout is not
// valid.
xkb_keysym_t levelOneSymbol(xkb_keymap* keymap, xkb_keycode_t key, xkb_layout_index_t layout);
// What a symbol types: one character, the accent for a dead key; empty for those that type nothing.
QString typedText(xkb_keysym_t symbol);

}  // namespace tavlo
