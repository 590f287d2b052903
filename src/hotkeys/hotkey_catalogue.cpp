#include "hotkeys/hotkey_catalogue.h"

#include "platform/text_literals.h"
#include "settings/config_file.h"
#include "settings/language.h"

#include <algorithm>
#include <limits>

namespace tavlo {

const std::array<HotkeyOption, 5> kHotkeyOptions = {{
    {kHotkeyRightCommand, u"Rechter ⌘ Command"_s, u"Right ⌘ Command"_s, 54, kCommandFlag},
    {u"rechter-option"_s, u"Rechter ⌥ Option"_s, u"Right ⌥ Option"_s, 61, kOptionFlag},
    {u"rechter-control"_s, u"Rechter ⌃ Control"_s, u"Right ⌃ Control"_s, 62, kControlFlag},
    {u"rechter-shift"_s, u"Rechter ⇧ Shift"_s, u"Right ⇧ Shift"_s, 60, kShiftFlag},
    {kHotkeyFn, u"Fn 🌐 (wereldbol)"_s, u"Fn 🌐 (globe)"_s, 63, kFunctionFlag},
}};

const QHash<std::uint16_t, QString> kKeyNames = {
    {122, u"F1"_s},  {120, u"F2"_s},   {99, u"F3"_s},     {118, u"F4"_s},      {96, u"F5"_s},         {97, u"F6"_s},
    {98, u"F7"_s},   {100, u"F8"_s},   {101, u"F9"_s},    {109, u"F10"_s},     {103, u"F11"_s},       {111, u"F12"_s},
    {105, u"F13"_s}, {107, u"F14"_s},  {113, u"F15"_s},   {106, u"F16"_s},     {64, u"F17"_s},        {79, u"F18"_s},
    {80, u"F19"_s},  {90, u"F20"_s},   {49, u"Spatie"_s}, {36, u"Return"_s},   {48, u"Tab"_s},        {51, u"⌫"_s},
    {117, u"⌦"_s},   {115, u"Home"_s}, {119, u"End"_s},   {116, u"Page Up"_s}, {121, u"Page Down"_s}, {123, u"←"_s},
    {124, u"→"_s},   {125, u"↓"_s},    {126, u"↑"_s},     {10, u"§"_s},
};

QString HotkeyOption::label() const
{
    return t(nlLabel, enLabel);
}

std::uint64_t modifierFlag(std::uint16_t keyCode)
{
    switch (keyCode) {
        case 54:
        case 55:
            return kCommandFlag;
        case 56:
        case 60:
            return kShiftFlag;
        case 58:
        case 61:
            return kOptionFlag;
        case 59:
        case 62:
            return kControlFlag;
        case 63:
            return kFunctionFlag;
        default:
            return 0;
    }
}

std::optional<QString> modifierLabel(std::uint16_t keyCode)
{
    switch (keyCode) {
        case 54:
            return t(u"Rechter ⌘"_s, u"Right ⌘"_s);
        case 55:
            return t(u"Linker ⌘"_s, u"Left ⌘"_s);
        case 56:
            return t(u"Linker ⇧"_s, u"Left ⇧"_s);
        case 60:
            return t(u"Rechter ⇧"_s, u"Right ⇧"_s);
        case 58:
            return t(u"Linker ⌥"_s, u"Left ⌥"_s);
        case 61:
            return t(u"Rechter ⌥"_s, u"Right ⌥"_s);
        case 59:
            return t(u"Linker ⌃"_s, u"Left ⌃"_s);
        case 62:
            return t(u"Rechter ⌃"_s, u"Right ⌃"_s);
        case 63:
            return u"Fn 🌐"_s;
        default:
            return std::nullopt;
    }
}

QString numberedKeyLabel(std::int64_t keyCode)
{
    return t(u"Toets "_s, u"Key "_s) + QString::number(keyCode);
}

HotkeyOption hotkeyFrom(const Config& config, const QString& settingsPath)
{
    if (config.hotkey == kHotkeyCustom && config.customKeycode >= 0) {
        if (config.customKeycode > std::numeric_limits<std::uint16_t>::max()) {
            qFatal("The settings file %s holds no key code under \"custom_keycode\": %lld is above 65535.",
                   qUtf8Printable(settingsPath), static_cast<long long>(config.customKeycode));
        }
        const auto keyCode = static_cast<std::uint16_t>(config.customKeycode);
        const QString label = config.customLabel.isEmpty() ? numberedKeyLabel(keyCode) : config.customLabel;
        return {config.hotkey, label, label, keyCode, config.customIsModifier ? modifierFlag(keyCode) : 0};
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
