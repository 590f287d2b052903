#include "linux/x11/key_positions.h"

namespace tavlo {

namespace {

constexpr KeyPosition kKeyPositions[] = {
    // Modifier keys.
    {"RWIN", 54},
    {"LWIN", 55},
    {"LFSH", 56},
    {"CAPS", 57},
    {"LALT", 58},
    {"LCTL", 59},
    {"RTSH", 60},
    {"RALT", 61},
    {"RCTL", 62},
    // The row of digits; the key left of 1 is 50, the one that only ISO boards have beside left Shift is 10.
    {"TLDE", 50},
    {"LSGT", 10},
    {"AE01", 18},
    {"AE02", 19},
    {"AE03", 20},
    {"AE04", 21},
    {"AE05", 23},
    {"AE06", 22},
    {"AE07", 26},
    {"AE08", 28},
    {"AE09", 25},
    {"AE10", 29},
    {"AE11", 27},
    {"AE12", 24},
    {"BKSP", 51},
    // The upper row of letters.
    {"TAB", 48},
    {"AD01", 12},
    {"AD02", 13},
    {"AD03", 14},
    {"AD04", 15},
    {"AD05", 17},
    {"AD06", 16},
    {"AD07", 32},
    {"AD08", 34},
    {"AD09", 31},
    {"AD10", 35},
    {"AD11", 33},
    {"AD12", 30},
    {"BKSL", 42},
    {"RTRN", 36},
    // The middle row.
    {"AC01", 0},
    {"AC02", 1},
    {"AC03", 2},
    {"AC04", 3},
    {"AC05", 5},
    {"AC06", 4},
    {"AC07", 38},
    {"AC08", 40},
    {"AC09", 37},
    {"AC10", 41},
    {"AC11", 39},
    // The lower row.
    {"AB01", 6},
    {"AB02", 7},
    {"AB03", 8},
    {"AB04", 9},
    {"AB05", 11},
    {"AB06", 45},
    {"AB07", 46},
    {"AB08", 43},
    {"AB09", 47},
    {"AB10", 44},
    {"SPCE", 49},
    {"ESC", 53},
    // Function keys.
    {"FK01", 122},
    {"FK02", 120},
    {"FK03", 99},
    {"FK04", 118},
    {"FK05", 96},
    {"FK06", 97},
    {"FK07", 98},
    {"FK08", 100},
    {"FK09", 101},
    {"FK10", 109},
    {"FK11", 103},
    {"FK12", 111},
    {"FK13", 105},
    {"FK14", 107},
    {"FK15", 113},
    {"FK16", 106},
    {"FK17", 64},
    {"FK18", 79},
    {"FK19", 80},
    {"FK20", 90},
    // Editing and moving.
    {"INS", 114},
    {"HOME", 115},
    {"PGUP", 116},
    {"DELE", 117},
    {"END", 119},
    {"PGDN", 121},
    {"LEFT", 123},
    {"RGHT", 124},
    {"DOWN", 125},
    {"UP", 126},
    {"COMP", 110},
    // The keypad.
    {"NMLK", 71},
    {"KPDV", 75},
    {"KPMU", 67},
    {"KPSU", 78},
    {"KPAD", 69},
    {"KPEN", 76},
    {"KPDL", 65},
    {"KPEQ", 81},
    {"KPPT", 95},
    {"KP0", 82},
    {"KP1", 83},
    {"KP2", 84},
    {"KP3", 85},
    {"KP4", 86},
    {"KP5", 87},
    {"KP6", 88},
    {"KP7", 89},
    {"KP8", 91},
    {"KP9", 92},
    // Japanese boards.
    {"AE13", 93},
    {"AB11", 94},
    {"MUHE", 102},
    {"HENK", 104},
    // Other names for the same places, in other sets of key codes and as keys that exist only for programs that type.
    {"LMTA", 55},
    {"RMTA", 54},
    {"SUPR", 55},
    {"ALGR", 61},
    {"LVL3", 61},
    {"ALT", 58},
    {"MENU", 110},
    {"AA00", 50},
    {"AC12", 42},
};

constexpr std::uint64_t kShift = 0x20000;
constexpr std::uint64_t kControl = 0x40000;
constexpr std::uint64_t kOption = 0x80000;
constexpr std::uint64_t kCommand = 0x100000;
constexpr std::uint64_t kFunction = 0x800000;

// By key code, from 54 on; Caps Lock sets none.
constexpr std::uint16_t kFirstModifier = 54;
constexpr std::uint64_t kModifierFlags[] = {kCommand, kCommand, kShift,  0,        kOption,
                                            kControl, kShift,   kOption, kControl, kFunction};

}  // namespace

std::span<const KeyPosition> keyPositions()
{
    return kKeyPositions;
}

bool isModifierKey(std::uint16_t keyCode)
{
    return keyCode >= kFirstModifier && keyCode < kFirstModifier + std::size(kModifierFlags);
}

std::uint64_t modifierFlagOfKey(std::uint16_t keyCode)
{
    return isModifierKey(keyCode) ? kModifierFlags[keyCode - kFirstModifier] : 0;
}

}  // namespace tavlo
