#pragma once

#include <cstdint>

namespace tavlo {

// A key by its place on the board, as the virtual key code that the settings file stores. The names are those of an
// American board; what a key types depends on the layout. A key that has no name here has a code all the same, from a
// backend, so that any key can be a hotkey.
// clang-format off
enum class KeyCode : std::uint16_t {
    // Modifier keys, left and right.
    RightCommand = 54, LeftCommand = 55, LeftShift = 56, CapsLock = 57, LeftOption = 58, LeftControl = 59,
    RightShift = 60, RightOption = 61, RightControl = 62, Function = 63,
    // The row of digits. Grave stands left of 1; Section, beside left Shift, only on ISO boards.
    Grave = 50, Section = 10, Digit1 = 18, Digit2 = 19, Digit3 = 20, Digit4 = 21, Digit5 = 23, Digit6 = 22,
    Digit7 = 26, Digit8 = 28, Digit9 = 25, Digit0 = 29, Minus = 27, Equal = 24, Backspace = 51,
    // The upper row of letters.
    Tab = 48, Q = 12, W = 13, E = 14, R = 15, T = 17, Y = 16, U = 32, I = 34, O = 31, P = 35, LeftBracket = 33,
    RightBracket = 30, Backslash = 42, Return = 36,
    // The middle row.
    A = 0, S = 1, D = 2, F = 3, G = 5, H = 4, J = 38, K = 40, L = 37, Semicolon = 41, Quote = 39,
    // The lower row.
    Z = 6, X = 7, C = 8, V = 9, B = 11, N = 45, M = 46, Comma = 43, Period = 47, Slash = 44, Space = 49, Escape = 53,
    // Function keys.
    F1 = 122, F2 = 120, F3 = 99, F4 = 118, F5 = 96, F6 = 97, F7 = 98, F8 = 100, F9 = 101, F10 = 109, F11 = 103,
    F12 = 111, F13 = 105, F14 = 107, F15 = 113, F16 = 106, F17 = 64, F18 = 79, F19 = 80, F20 = 90,
    // Editing and moving.
    Insert = 114, Home = 115, PageUp = 116, Delete = 117, End = 119, PageDown = 121, Left = 123, Right = 124,
    Down = 125, Up = 126, Menu = 110,
    // The keypad.
    NumLock = 71, KeypadDivide = 75, KeypadMultiply = 67, KeypadMinus = 78, KeypadPlus = 69, KeypadEnter = 76,
    KeypadDecimal = 65, KeypadEqual = 81, KeypadComma = 95, Keypad0 = 82, Keypad1 = 83, Keypad2 = 84, Keypad3 = 85,
    Keypad4 = 86, Keypad5 = 87, Keypad6 = 88, Keypad7 = 89, Keypad8 = 91, Keypad9 = 92,
    // Japanese boards.
    Yen = 93, Underscore = 94, Muhenkan = 102, Henkan = 104,
};
// clang-format on

// The number that the settings file stores.
constexpr std::uint16_t keyNumber(KeyCode key)
{
    return static_cast<std::uint16_t>(key);
}

// The modifiers that are down, as key events carry them; the left and the right key of a pair share one flag.
enum class ModifierFlags : std::uint32_t {
    None = 0,
    Shift = 0x20000,
    Control = 0x40000,
    Option = 0x80000,
    Command = 0x100000,
    Function = 0x800000
};

constexpr ModifierFlags operator|(ModifierFlags one, ModifierFlags other)
{
    return static_cast<ModifierFlags>(static_cast<std::uint32_t>(one) | static_cast<std::uint32_t>(other));
}

constexpr ModifierFlags& operator|=(ModifierFlags& flags, ModifierFlags more)
{
    return flags = flags | more;
}

// Whether all of `wanted` are among `flags`.
constexpr bool contains(ModifierFlags flags, ModifierFlags wanted)
{
    return (flags | wanted) == flags;
}

// Whether the key is a modifier: codes 54 to 63. Those arrive as modifier changes only, never as key-downs.
constexpr bool isModifierKey(KeyCode key)
{
    return key >= KeyCode::RightCommand && key <= KeyCode::Function;
}

// The flag that a modifier key sets while it is down; None for Caps Lock and for all other keys.
constexpr ModifierFlags modifierFlag(KeyCode key)
{
    switch (key) {
        case KeyCode::LeftCommand:
        case KeyCode::RightCommand:
            return ModifierFlags::Command;
        case KeyCode::LeftShift:
        case KeyCode::RightShift:
            return ModifierFlags::Shift;
        case KeyCode::LeftOption:
        case KeyCode::RightOption:
            return ModifierFlags::Option;
        case KeyCode::LeftControl:
        case KeyCode::RightControl:
            return ModifierFlags::Control;
        case KeyCode::Function:
            return ModifierFlags::Function;
        default:
            return ModifierFlags::None;
    }
}

}  // namespace tavlo
