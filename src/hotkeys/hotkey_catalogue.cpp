#include "hotkeys/hotkey_catalogue.h"

#include "settings/config_file.h"
#include "settings/language.h"

#include <algorithm>
#include <limits>

namespace tavlo {

const std::array<HotkeyOption, 5> kHotkeyOptions = {{
    {QStringLiteral("rechter-command"), QStringLiteral("Rechter ⌘ Command"), QStringLiteral("Right ⌘ Command"), 54,
     kCommandFlag},
    {QStringLiteral("rechter-option"), QStringLiteral("Rechter ⌥ Option"), QStringLiteral("Right ⌥ Option"), 61,
     kOptionFlag},
    {QStringLiteral("rechter-control"), QStringLiteral("Rechter ⌃ Control"), QStringLiteral("Right ⌃ Control"), 62,
     kControlFlag},
    {QStringLiteral("rechter-shift"), QStringLiteral("Rechter ⇧ Shift"), QStringLiteral("Right ⇧ Shift"), 60,
     kShiftFlag},
    {QStringLiteral("fn"), QStringLiteral("Fn 🌐 (wereldbol)"), QStringLiteral("Fn 🌐 (globe)"), 63, kFunctionFlag},
}};

const QHash<std::uint16_t, QString> kKeyNames = {
    {122, QStringLiteral("F1")},      {120, QStringLiteral("F2")},        {99, QStringLiteral("F3")},
    {118, QStringLiteral("F4")},      {96, QStringLiteral("F5")},         {97, QStringLiteral("F6")},
    {98, QStringLiteral("F7")},       {100, QStringLiteral("F8")},        {101, QStringLiteral("F9")},
    {109, QStringLiteral("F10")},     {103, QStringLiteral("F11")},       {111, QStringLiteral("F12")},
    {105, QStringLiteral("F13")},     {107, QStringLiteral("F14")},       {113, QStringLiteral("F15")},
    {106, QStringLiteral("F16")},     {64, QStringLiteral("F17")},        {79, QStringLiteral("F18")},
    {80, QStringLiteral("F19")},      {90, QStringLiteral("F20")},        {49, QStringLiteral("Spatie")},
    {36, QStringLiteral("Return")},   {48, QStringLiteral("Tab")},        {51, QStringLiteral("⌫")},
    {117, QStringLiteral("⌦")},       {115, QStringLiteral("Home")},      {119, QStringLiteral("End")},
    {116, QStringLiteral("Page Up")}, {121, QStringLiteral("Page Down")}, {123, QStringLiteral("←")},
    {124, QStringLiteral("→")},       {125, QStringLiteral("↓")},         {126, QStringLiteral("↑")},
    {10, QStringLiteral("§")},
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
            return t(QStringLiteral("Rechter ⌘"), QStringLiteral("Right ⌘"));
        case 55:
            return t(QStringLiteral("Linker ⌘"), QStringLiteral("Left ⌘"));
        case 56:
            return t(QStringLiteral("Linker ⇧"), QStringLiteral("Left ⇧"));
        case 60:
            return t(QStringLiteral("Rechter ⇧"), QStringLiteral("Right ⇧"));
        case 58:
            return t(QStringLiteral("Linker ⌥"), QStringLiteral("Left ⌥"));
        case 61:
            return t(QStringLiteral("Rechter ⌥"), QStringLiteral("Right ⌥"));
        case 59:
            return t(QStringLiteral("Linker ⌃"), QStringLiteral("Left ⌃"));
        case 62:
            return t(QStringLiteral("Rechter ⌃"), QStringLiteral("Right ⌃"));
        case 63:
            return QStringLiteral("Fn 🌐");
        default:
            return std::nullopt;
    }
}

QString numberedKeyLabel(std::int64_t keyCode)
{
    return t(QStringLiteral("Toets "), QStringLiteral("Key ")) + QString::number(keyCode);
}

HotkeyOption hotkeyFrom(const Config& config, const QString& settingsPath)
{
    if (config.hotkey == QLatin1String("custom") && config.customKeycode >= 0) {
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
