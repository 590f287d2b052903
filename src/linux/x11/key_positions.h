#pragma once

#include "platform/keys.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace tavlo {

// The key at a place on the board, which has an XKB key name.
struct KeyPosition {
    std::string_view name;  // such as "RWIN"
    KeyCode keyCode;
};

// All places that have a code, the usual names first. A name may also be an alias in the keyboard description; of two
// names for one key the first in the table counts.
std::span<const KeyPosition> keyPositions();

// Keys without a virtual key code of their own (Print Screen, media keys, ...) get this plus their X key code, so that
// any key can be chosen as hotkey and no two keys share a code.
inline constexpr std::uint16_t kFirstUnnamedKeyCode = 256;

}  // namespace tavlo
