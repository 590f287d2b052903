#pragma once

#include <QHash>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace tavlo {

class ConfigFile;
struct Config;

// Modifier flags as key events carry them; the left and the right key of a pair share one.
inline constexpr std::uint64_t kShiftFlag = 0x20000;
inline constexpr std::uint64_t kControlFlag = 0x40000;
inline constexpr std::uint64_t kOptionFlag = 0x80000;
inline constexpr std::uint64_t kCommandFlag = 0x100000;
inline constexpr std::uint64_t kFunctionFlag = 0x800000;

inline constexpr std::uint16_t kEscapeKeyCode = 53;
inline constexpr std::uint16_t kCapsLockKeyCode = 57;

struct HotkeyOption {
    QString id;
    QString nlLabel;
    QString enLabel;
    std::uint16_t keyCode = 0;  // virtual key code
    std::uint64_t flag = 0;     // the modifier flag that the key sets while held; 0 for a plain key

    QString label() const;  // in the interface language
    bool operator==(const HotkeyOption&) const = default;
};

// The ready-made hotkeys, in menu order.
extern const std::array<HotkeyOption, 5> kHotkeyOptions;
// Display names of plain keys, the same in both languages.
extern const QHash<std::uint16_t, QString> kKeyNames;

// The flag that a modifier key sets; 0 for Caps Lock and for every code outside 54 to 63.
std::uint64_t modifierFlag(std::uint16_t keyCode);
// A modifier key's name in the interface language; none for other keys, Caps Lock included.
std::optional<QString> modifierLabel(std::uint16_t keyCode);
// "Toets 50" or "Key 50": the name of a key that has no other.
QString numberedKeyLabel(std::int64_t keyCode);

// The hotkey in force by these settings. A custom key code above 65535 stops the program with a message that names
// `settingsPath` and the key.
HotkeyOption hotkeyFrom(const Config& config, const QString& settingsPath);
// The same, from the settings file read afresh, without asking the keychain.
HotkeyOption currentHotkey(const ConfigFile& file);

}  // namespace tavlo
