#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tavlo {

// One row of the table that turns a key's place on the board, by its XKB key name, into the virtual key code that the
// settings file stores.
struct KeyPosition {
    std::string_view name;  // such as "RWIN"
    std::uint16_t keyCode;
};

// The names that keyboard descriptions use, usual ones first. A name may also be an alias in the description; of two
// names for one key the first in the table counts.
std::span<const KeyPosition> keyPositions();

// Keys without a virtual key code of their own (Print Screen, media keys, ...) get this plus their X key code, so that
// any key can be chosen as hotkey and no two keys share a code.
inline constexpr std::uint16_t kFirstUnnamedKeyCode = 256;

// Key codes 54 to 63 are the modifier keys.
bool isModifierKey(std::uint16_t keyCode);
// The modifier flag that a key sets while it is down, as in hotkeys/hotkey_catalogue.h; 0 for keys that set none.
std::uint64_t modifierFlagOfKey(std::uint16_t keyCode);

}  // namespace tavlo
