#include "hotkeys/hotkey_catalogue.h"

#include "platform/text_literals.h"
#include "settings/language.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

class HotkeyCatalogueTest : public ::testing::Test, protected TemporarySettings {
protected:
    ~HotkeyCatalogueTest() override { gLang = u"nl"_s; }

    HotkeyOption hotkey(const QByteArray& settings)
    {
        put(settings);
        return currentHotkey(file);
    }
};

TEST_F(HotkeyCatalogueTest, HasTheFiveRowsInMenuOrder)
{
    const auto row = [](std::size_t index, const char* id, const char* nl, const char* en, int code,
                        std::uint32_t flag) {
        const HotkeyOption& option = kHotkeyOptions.at(index);
        EXPECT_EQ(option.id.toStdString(), id);
        EXPECT_EQ(option.nlLabel.toStdString(), nl);
        EXPECT_EQ(option.enLabel.toStdString(), en);
        EXPECT_EQ(keyNumber(option.keyCode), code);
        EXPECT_EQ(static_cast<std::uint32_t>(option.flag), flag);
    };
    row(0, "rechter-command", "Rechter ⌘ Command", "Right ⌘ Command", 54, 0x100000);
    row(1, "rechter-option", "Rechter ⌥ Option", "Right ⌥ Option", 61, 0x80000);
    row(2, "rechter-control", "Rechter ⌃ Control", "Right ⌃ Control", 62, 0x40000);
    row(3, "rechter-shift", "Rechter ⇧ Shift", "Right ⇧ Shift", 60, 0x20000);
    row(4, "fn", "Fn 🌐 (wereldbol)", "Fn 🌐 (globe)", 63, 0x800000);
}

TEST_F(HotkeyCatalogueTest, NamesThirtyFourPlainKeys)
{
    const std::vector<std::pair<int, const char*>> names = {
        {122, "F1"},        {120, "F2"},  {99, "F3"},   {118, "F4"},  {96, "F5"},    {97, "F6"},   {98, "F7"},
        {100, "F8"},        {101, "F9"},  {109, "F10"}, {103, "F11"}, {111, "F12"},  {105, "F13"}, {107, "F14"},
        {113, "F15"},       {106, "F16"}, {64, "F17"},  {79, "F18"},  {80, "F19"},   {90, "F20"},  {49, "Spatie"},
        {36, "Return"},     {48, "Tab"},  {51, "⌫"},    {117, "⌦"},   {115, "Home"}, {119, "End"}, {116, "Page Up"},
        {121, "Page Down"}, {123, "←"},   {124, "→"},   {125, "↓"},   {126, "↑"},    {10, "§"}};
    EXPECT_EQ(names.size(), 34u);
    EXPECT_EQ(kKeyNames.size(), 34);
    for (const auto& [code, name] : names) {
        EXPECT_EQ(kKeyNames.value(static_cast<KeyCode>(code)).toStdString(), name);
    }
}

TEST_F(HotkeyCatalogueTest, ModifierKeysHaveTheFlagOfTheirPair)
{
    const std::vector<std::pair<int, std::uint32_t>> flags = {
        {53, 0},       {54, 0x100000}, {55, 0x100000}, {56, 0x20000},  {57, 0}, {58, 0x80000}, {59, 0x40000},
        {60, 0x20000}, {61, 0x80000},  {62, 0x40000},  {63, 0x800000}, {64, 0}, {0, 0},        {65535, 0}};
    for (const auto& [code, flag] : flags) {
        EXPECT_EQ(static_cast<std::uint32_t>(modifierFlag(static_cast<KeyCode>(code))), flag) << code;
    }
}

TEST_F(HotkeyCatalogueTest, NamesTheNineModifierKeysInBothLanguages)
{
    struct Row {
        int code;
        const char* nl;
        const char* en;
    };
    for (const Row& row :
         {Row{54, "Rechter ⌘", "Right ⌘"}, Row{55, "Linker ⌘", "Left ⌘"}, Row{56, "Linker ⇧", "Left ⇧"},
          Row{60, "Rechter ⇧", "Right ⇧"}, Row{58, "Linker ⌥", "Left ⌥"}, Row{61, "Rechter ⌥", "Right ⌥"},
          Row{59, "Linker ⌃", "Left ⌃"}, Row{62, "Rechter ⌃", "Right ⌃"}, Row{63, "Fn 🌐", "Fn 🌐"}}) {
        gLang = u"nl"_s;
        EXPECT_EQ(modifierLabel(static_cast<KeyCode>(row.code)), QString::fromUtf8(row.nl));
        gLang = u"en"_s;
        EXPECT_EQ(modifierLabel(static_cast<KeyCode>(row.code)), QString::fromUtf8(row.en));
    }
    EXPECT_EQ(modifierLabel(KeyCode::CapsLock), std::nullopt);
    EXPECT_EQ(modifierLabel(KeyCode::Escape), std::nullopt);
    EXPECT_EQ(modifierLabel(KeyCode::F17), std::nullopt);
}

TEST_F(HotkeyCatalogueTest, CustomWithoutAKeyCodeGivesTheRightCommandKey)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "custom"})"), kHotkeyOptions[0]);
    EXPECT_EQ(hotkey(R"({"hotkey": "custom", "custom_keycode": -1})"), kHotkeyOptions[0]);
}

TEST_F(HotkeyCatalogueTest, FnIsKeyCode63WithTheFunctionFlag)
{
    gLang = u"en"_s;
    const HotkeyOption option = hotkey(R"({"hotkey": "fn"})");
    EXPECT_EQ(option.keyCode, KeyCode{63});
    EXPECT_EQ(option.flag, ModifierFlags::Function);
    EXPECT_EQ(option.label(), u"Fn 🌐 (globe)"_s);
}

TEST_F(HotkeyCatalogueTest, ACustomKeyWithoutALabelIsNamedByItsNumberInTheInterfaceLanguage)
{
    const QByteArray settings = R"({"hotkey": "custom", "custom_keycode": 50})";
    EXPECT_EQ(hotkey(settings).label(), u"Toets 50"_s);
    EXPECT_EQ(hotkey(settings).flag, ModifierFlags::None);
    EXPECT_EQ(hotkey(settings).id, u"custom"_s);
    gLang = u"en"_s;
    EXPECT_EQ(hotkey(settings).label(), u"Key 50"_s);
    EXPECT_EQ(hotkey(settings).nlLabel, u"Key 50"_s);
}

TEST_F(HotkeyCatalogueTest, ACustomLabelStandsInBothLanguages)
{
    const HotkeyOption option =
        hotkey(R"({"hotkey": "custom", "custom_keycode": 58, "custom_label": "Linker ⌥", "custom_is_modifier": true})");
    EXPECT_EQ(option.nlLabel, u"Linker ⌥"_s);
    EXPECT_EQ(option.enLabel, u"Linker ⌥"_s);
    EXPECT_EQ(option.flag, ModifierFlags::Option);
    EXPECT_EQ(option.keyCode, KeyCode{58});
}

TEST_F(HotkeyCatalogueTest, CapsLockAsACustomModifierHasNoFlag)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "custom", "custom_keycode": 57, "custom_is_modifier": true})").flag,
              ModifierFlags::None);
}

TEST_F(HotkeyCatalogueTest, AnUnknownIdGivesTheRightCommandKey)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "links-command"})"), kHotkeyOptions[0]);
    EXPECT_EQ(hotkey(R"({"hotkey": ""})"), kHotkeyOptions[0]);
}

TEST_F(HotkeyCatalogueTest, TheLastKeyCodeIsAKeyCode)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "custom", "custom_keycode": 65535})").keyCode, KeyCode{65535});
}

TEST_F(HotkeyCatalogueTest, AKeyCodeAbove65535StopsTheProgramAndNamesTheFileAndTheKey)
{
    EXPECT_DEATH(hotkey(R"({"hotkey": "custom", "custom_keycode": 65536})"), "config.json.*custom_keycode.*65536");
}

TEST_F(HotkeyCatalogueTest, AKeyCodeAbove65535IsHarmlessWhileAnotherHotkeyIsInForce)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "fn", "custom_keycode": 65536})").keyCode, KeyCode{63});
}

TEST_F(HotkeyCatalogueTest, TheHotkeyIsReadAfreshAndNeverAsksTheKeychain)
{
    EXPECT_EQ(hotkey(R"({"hotkey": "fn"})").keyCode, KeyCode{63});
    file.update(u"hotkey"_s, u"rechter-shift"_s);
    EXPECT_EQ(currentHotkey(file).keyCode, KeyCode{60});
    EXPECT_EQ(store.calls, 0);
}

}  // namespace
}  // namespace tavlo
