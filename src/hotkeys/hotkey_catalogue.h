#pragma once

#include "platform/keys.h"

#include <QHash>
#include <QString>

#include <array>
#include <optional>

namespace tavlo {

class ConfigFile;
struct Config;

struct HotkeyOption {
    QString id;
    QString nlLabel;
    QString enLabel;
    KeyCode keyCode{};
    ModifierFlags flag = ModifierFlags::None;  // what the key sets while held; None for a plain key

    QString label() const;  // in the interface language
    bool operator==(const HotkeyOption&) const = default;
};

// The ready-made hotkeys, in menu order.
extern const std::array<HotkeyOption, 5> kHotkeyOptions;
// Display names of plain keys, the same in both languages.
extern const QHash<KeyCode, QString> kKeyNames;

// A modifier key's name in the interface language; none for other keys, Caps Lock included.
std::optional<QString> modifierLabel(KeyCode keyCode);
// "Toets 50" or "Key 50": the name of a key that has no other.
QString numberedKeyLabel(KeyCode keyCode);

// Whether these settings name a hotkey: all do but those with a custom key code above 65535 in force.
bool namesHotkey(const Config& config);
// The hotkey in force by these settings. A custom key code above 65535 stops the program with a message that names
// `settingsPath` and the key.
HotkeyOption hotkeyFrom(const Config& config, const QString& settingsPath);
// The same, from the settings file read afresh, without asking the keychain.
HotkeyOption currentHotkey(const ConfigFile& file);

}  // namespace tavlo
