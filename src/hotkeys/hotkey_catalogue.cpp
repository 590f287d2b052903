#include "hotkeys/hotkey_catalogue.h"

#include "platform/text_literals.h"
#include "settings/config.h"
#include "settings/language.h"

#include <algorithm>
#include <limits>

namespace tavlo {

const std::array<HotkeyOption, 5> kHotkeyOptions = {{
    {kHotkeyRightCommand, u"Rechter ⌘ Command"_s, u"Right ⌘ Command"_s, KeyCode::RightCommand, ModifierFlags::Command},
    {u"rechter-option"_s, u"Rechter ⌥ Option"_s, u"Right ⌥ Option"_s, KeyCode::RightOption, ModifierFlags::Option},
    {u"rechter-control"_s, u"Rechter ⌃ Control"_s, u"Right ⌃ Control"_s, KeyCode::RightControl, ModifierFlags::Control},
    {u"rechter-shift"_s, u"Rechter ⇧ Shift"_s, u"Right ⇧ Shift"_s, KeyCode::RightShift, ModifierFlags::Shift},
    {kHotkeyFn, u"Fn 🌐 (wereldbol)"_s, u"Fn 🌐 (globe)"_s, KeyCode::Function, ModifierFlags::Function},
}};

const QHash<KeyCode, QString> kKeyNames = {
    {KeyCode::F1, u"F1"_s},
    {KeyCode::F2, u"F2"_s},
    {KeyCode::F3, u"F3"_s},
    {KeyCode::F4, u"F4"_s},
    {KeyCode::F5, u"F5"_s},
    {KeyCode::F6, u"F6"_s},
    {KeyCode::F7, u"F7"_s},
    {KeyCode::F8, u"F8"_s},
    {KeyCode::F9, u"F9"_s},
    {KeyCode::F10, u"F10"_s},
    {KeyCode::F11, u"F11"_s},
    {KeyCode::F12, u"F12"_s},
    {KeyCode::F13, u"F13"_s},
    {KeyCode::F14, u"F14"_s},
    {KeyCode::F15, u"F15"_s},
    {KeyCode::F16, u"F16"_s},
    {KeyCode::F17, u"F17"_s},
    {KeyCode::F18, u"F18"_s},
    {KeyCode::F19, u"F19"_s},
    {KeyCode::F20, u"F20"_s},
    {KeyCode::Space, u"Spatie"_s},
    {KeyCode::Return, u"Return"_s},
    {KeyCode::Tab, u"Tab"_s},
    {KeyCode::Backspace, u"⌫"_s},
    {KeyCode::Delete, u"⌦"_s},
    {KeyCode::Home, u"Home"_s},
    {KeyCode::End, u"End"_s},
    {KeyCode::PageUp, u"Page Up"_s},
    {KeyCode::PageDown, u"Page Down"_s},
    {KeyCode::Left, u"←"_s},
    {KeyCode::Right, u"→"_s},
    {KeyCode::Down, u"↓"_s},
    {KeyCode::Up, u"↑"_s},
    {KeyCode::Section, u"§"_s},
};

QString HotkeyOption::label() const
{
    return t(nlLabel, enLabel);
}

std::optional<QString> modifierLabel(KeyCode keyCode)
{
    switch (keyCode) {
        case KeyCode::RightCommand:
            return t(u"Rechter ⌘"_s, u"Right ⌘"_s);
        case KeyCode::LeftCommand:
            return t(u"Linker ⌘"_s, u"Left ⌘"_s);
        case KeyCode::LeftShift:
            return t(u"Linker ⇧"_s, u"Left ⇧"_s);
        case KeyCode::RightShift:
            return t(u"Rechter ⇧"_s, u"Right ⇧"_s);
        case KeyCode::LeftOption:
            return t(u"Linker ⌥"_s, u"Left ⌥"_s);
        case KeyCode::RightOption:
            return t(u"Rechter ⌥"_s, u"Right ⌥"_s);
        case KeyCode::LeftControl:
            return t(u"Linker ⌃"_s, u"Left ⌃"_s);
        case KeyCode::RightControl:
            return t(u"Rechter ⌃"_s, u"Right ⌃"_s);
        case KeyCode::Function:
            return u"Fn 🌐"_s;
        default:
            return std::nullopt;
    }
}

QString numberedKeyLabel(KeyCode keyCode)
{
    return t(u"Toets "_s, u"Key "_s) + QString::number(keyNumber(keyCode));
}

bool namesHotkey(const Config& config)
{
    return config.hotkey != kHotkeyCustom || config.customKeycode <= std::numeric_limits<std::uint16_t>::max();
}

HotkeyOption hotkeyFrom(const Config& config, const QString& settingsPath)
{
    if (config.hotkey == kHotkeyCustom && config.customKeycode >= 0) {
        if (!namesHotkey(config)) {
            qFatal("The settings file %s holds no key code under \"custom_keycode\": %lld is above 65535.",
                   qUtf8Printable(settingsPath), static_cast<long long>(config.customKeycode));
        }
        const auto keyCode = static_cast<KeyCode>(config.customKeycode);
        const QString label = config.customLabel.isEmpty() ? numberedKeyLabel(keyCode) : config.customLabel;
        return {config.hotkey, label, label, keyCode,
                config.customIsModifier ? modifierFlag(keyCode) : ModifierFlags::None};
    }
    const auto found = std::find_if(kHotkeyOptions.begin(), kHotkeyOptions.end(),
                                    [&](const HotkeyOption& option) { return option.id == config.hotkey; });
    return found != kHotkeyOptions.end() ? *found : kHotkeyOptions.front();
}

HotkeyOption currentHotkey(const ConfigFile& file)
{
    return hotkeyFrom(file.loadWithoutKey(), file.path());
}

}  // namespace tavlo
