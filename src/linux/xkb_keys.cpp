#include "linux/xkb_keys.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <string_view>

namespace tavlo {

namespace {

// The key at a place on the board, which has an XKB key name.
struct KeyPosition {
    std::string_view name;  // such as "RWIN"
    KeyCode keyCode;
};

// All places that have a code, the usual names first. A name may also be an alias in the keyboard description; of two
// names for one key the first in the table counts.
constexpr KeyPosition kKeyPositions[] = {
    // Modifier keys.
    {"RWIN", KeyCode::RightCommand},
    {"LWIN", KeyCode::LeftCommand},
    {"LFSH", KeyCode::LeftShift},
    {"CAPS", KeyCode::CapsLock},
    {"LALT", KeyCode::LeftOption},
    {"LCTL", KeyCode::LeftControl},
    {"RTSH", KeyCode::RightShift},
    {"RALT", KeyCode::RightOption},
    {"RCTL", KeyCode::RightControl},
    // The row of digits.
    {"TLDE", KeyCode::Grave},
    {"LSGT", KeyCode::Section},
    {"AE01", KeyCode::Digit1},
    {"AE02", KeyCode::Digit2},
    {"AE03", KeyCode::Digit3},
    {"AE04", KeyCode::Digit4},
    {"AE05", KeyCode::Digit5},
    {"AE06", KeyCode::Digit6},
    {"AE07", KeyCode::Digit7},
    {"AE08", KeyCode::Digit8},
    {"AE09", KeyCode::Digit9},
    {"AE10", KeyCode::Digit0},
    {"AE11", KeyCode::Minus},
    {"AE12", KeyCode::Equal},
    {"BKSP", KeyCode::Backspace},
    // The upper row of letters.
    {"TAB", KeyCode::Tab},
    {"AD01", KeyCode::Q},
    {"AD02", KeyCode::W},
    {"AD03", KeyCode::E},
    {"AD04", KeyCode::R},
    {"AD05", KeyCode::T},
    {"AD06", KeyCode::Y},
    {"AD07", KeyCode::U},
    {"AD08", KeyCode::I},
    {"AD09", KeyCode::O},
    {"AD10", KeyCode::P},
    {"AD11", KeyCode::LeftBracket},
    {"AD12", KeyCode::RightBracket},
    {"BKSL", KeyCode::Backslash},
    {"RTRN", KeyCode::Return},
    // The middle row.
    {"AC01", KeyCode::A},
    {"AC02", KeyCode::S},
    {"AC03", KeyCode::D},
    {"AC04", KeyCode::F},
    {"AC05", KeyCode::G},
    {"AC06", KeyCode::H},
    {"AC07", KeyCode::J},
    {"AC08", KeyCode::K},
    {"AC09", KeyCode::L},
    {"AC10", KeyCode::Semicolon},
    {"AC11", KeyCode::Quote},
    // The lower row.
    {"AB01", KeyCode::Z},
    {"AB02", KeyCode::X},
    {"AB03", KeyCode::C},
    {"AB04", KeyCode::V},
    {"AB05", KeyCode::B},
    {"AB06", KeyCode::N},
    {"AB07", KeyCode::M},
    {"AB08", KeyCode::Comma},
    {"AB09", KeyCode::Period},
    {"AB10", KeyCode::Slash},
    {"SPCE", KeyCode::Space},
    {"ESC", KeyCode::Escape},
    // Function keys.
    {"FK01", KeyCode::F1},
    {"FK02", KeyCode::F2},
    {"FK03", KeyCode::F3},
    {"FK04", KeyCode::F4},
    {"FK05", KeyCode::F5},
    {"FK06", KeyCode::F6},
    {"FK07", KeyCode::F7},
    {"FK08", KeyCode::F8},
    {"FK09", KeyCode::F9},
    {"FK10", KeyCode::F10},
    {"FK11", KeyCode::F11},
    {"FK12", KeyCode::F12},
    {"FK13", KeyCode::F13},
    {"FK14", KeyCode::F14},
    {"FK15", KeyCode::F15},
    {"FK16", KeyCode::F16},
    {"FK17", KeyCode::F17},
    {"FK18", KeyCode::F18},
    {"FK19", KeyCode::F19},
    {"FK20", KeyCode::F20},
    // Editing and moving.
    {"INS", KeyCode::Insert},
    {"HOME", KeyCode::Home},
    {"PGUP", KeyCode::PageUp},
    {"DELE", KeyCode::Delete},
    {"END", KeyCode::End},
    {"PGDN", KeyCode::PageDown},
    {"LEFT", KeyCode::Left},
    {"RGHT", KeyCode::Right},
    {"DOWN", KeyCode::Down},
    {"UP", KeyCode::Up},
    {"COMP", KeyCode::Menu},
    // The keypad.
    {"NMLK", KeyCode::NumLock},
    {"KPDV", KeyCode::KeypadDivide},
    {"KPMU", KeyCode::KeypadMultiply},
    {"KPSU", KeyCode::KeypadMinus},
    {"KPAD", KeyCode::KeypadPlus},
    {"KPEN", KeyCode::KeypadEnter},
    {"KPDL", KeyCode::KeypadDecimal},
    {"KPEQ", KeyCode::KeypadEqual},
    {"KPPT", KeyCode::KeypadComma},
    {"KP0", KeyCode::Keypad0},
    {"KP1", KeyCode::Keypad1},
    {"KP2", KeyCode::Keypad2},
    {"KP3", KeyCode::Keypad3},
    {"KP4", KeyCode::Keypad4},
    {"KP5", KeyCode::Keypad5},
    {"KP6", KeyCode::Keypad6},
    {"KP7", KeyCode::Keypad7},
    {"KP8", KeyCode::Keypad8},
    {"KP9", KeyCode::Keypad9},
    // Japanese boards.
    {"AE13", KeyCode::Yen},
    {"AB11", KeyCode::Underscore},
    {"MUHE", KeyCode::Muhenkan},
    {"HENK", KeyCode::Henkan},
    // Other names for the same places, in other sets of key codes and as keys that exist only for programs that type.
    {"LMTA", KeyCode::LeftCommand},
    {"RMTA", KeyCode::RightCommand},
    {"SUPR", KeyCode::LeftCommand},
    {"ALGR", KeyCode::RightOption},
    {"LVL3", KeyCode::RightOption},
    {"ALT", KeyCode::LeftOption},
    {"MENU", KeyCode::Menu},
    {"AA00", KeyCode::Grave},
    {"AC12", KeyCode::Backslash},
};

// Accents of dead keys, which type nothing by themselves, by their spacing form.
char32_t accentOfDeadKey(xkb_keysym_t symbol)
{
    switch (symbol) {
        case XKB_KEY_dead_grave:
            return U'`';
        case XKB_KEY_dead_acute:
            return U'\u00B4';
        case XKB_KEY_dead_circumflex:
            return U'^';
        case XKB_KEY_dead_tilde:
            return U'~';
        case XKB_KEY_dead_macron:
            return U'\u00AF';
        case XKB_KEY_dead_breve:
            return U'\u02D8';
        case XKB_KEY_dead_abovedot:
            return U'\u02D9';
        case XKB_KEY_dead_diaeresis:
            return U'\u00A8';
        case XKB_KEY_dead_abovering:
            return U'\u02DA';
        case XKB_KEY_dead_doubleacute:
            return U'\u02DD';
        case XKB_KEY_dead_caron:
            return U'\u02C7';
        case XKB_KEY_dead_cedilla:
            return U'\u00B8';
        case XKB_KEY_dead_ogonek:
            return U'\u02DB';
        default:
            return 0;
    }
}

}  // namespace

KeyCodes keyCodesOf(xkb_keymap* keymap)
{
    KeyCodes codes{};
    for (std::size_t key = 0; key < codes.size(); ++key) {
        codes[key] = static_cast<KeyCode>(kFirstUnnamedKeyCode + key);
    }
    if (keymap != nullptr) {
        for (const KeyPosition& position : kKeyPositions) {
            // Resolves aliases too.
            const xkb_keycode_t key = xkb_keymap_key_by_name(keymap, position.name.data());
            if (key < codes.size() && keyNumber(codes[key]) >= kFirstUnnamedKeyCode) {
                codes[key] = position.keyCode;
            }
        }
    }
    return codes;
}

xkb_keysym_t levelOneSymbol(xkb_keymap* keymap, xkb_keycode_t key, xkb_layout_index_t layout)
{
    const xkb_keysym_t* symbols = nullptr;
    if (layout == XKB_LAYOUT_INVALID || xkb_keymap_key_get_syms_by_level(keymap, key, layout, 0, &symbols) < 1) {
        return XKB_KEY_NoSymbol;
    }
    return symbols[0];
}

QString typedText(xkb_keysym_t symbol)
{
    char32_t character = xkb_keysym_to_utf32(symbol);
    if (character == 0) {
        character = accentOfDeadKey(symbol);
    }
    if (character == 0 || QChar::category(character) == QChar::Other_Control) {
        return {};
    }
    return QString::fromUcs4(&character, 1);
}

}  // namespace tavlo
