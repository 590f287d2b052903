#include "ui/tray/status_menu.h"
#include "platform/text_literals.h"

#include "language_scope.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavlo {
namespace {

MenuState readyState()
{
    MenuState state;
    state.statusLine = u"Klaar - druk op de sneltoets om te dicteren"_s;
    state.hotkey = kHotkeyOptions[0];
    return state;
}

// One row as a line of text: what it shows, what it does, its check mark, its value and its key.
QString line(const MenuItemDescription& item)
{
    if (item.separator) {
        return u"---"_s;
    }
    QString text = item.title;
    text += u" | "_s + QString::number(static_cast<int>(item.action));
    text += item.check == MenuCheck::NotCheckable ? u" | -"_s : item.check == MenuCheck::On ? u" | on"_s : u" | off"_s;
    text += u" | "_s + item.representedObject.toString() + u" | "_s + item.keyEquivalent;
    return text;
}

QStringList lines(const MenuDescription& menu, const QString& indentation = {})
{
    QStringList result;
    for (const MenuItemDescription& item : menu) {
        result.append(indentation + line(item));
        result += lines(item.submenu, indentation + u"  "_s);
    }
    return result;
}

// A row as expected.
QString row(const char8_t* title, MenuAction action, const char* check = "-", const char* object = "",
            const char* key = "")
{
    return QString::fromUtf8(title) + u" | "_s + QString::number(static_cast<int>(action)) + u" | "_s +
           QLatin1String(check) + u" | "_s + QLatin1String(object) + u" | "_s + QLatin1String(key);
}

TEST(StatusMenu, IsThisTableInDutch)
{
    const LanguageScope language(u"nl"_s);
    EXPECT_EQ(lines(statusMenu(readyState())),
              (QStringList{
                  row(u8"Klaar - druk op de sneltoets om te dicteren", MenuAction::None),
                  row(u8"Engine: lokale Whisper (large-v3-turbo)", MenuAction::None),
                  row(u8"🌐 Taal / Language", MenuAction::None),
                  u"  "_s + row(u8"🇳🇱 Nederlands", MenuAction::PickLanguage, "on", "nl"),
                  u"  "_s + row(u8"🇬🇧 English", MenuAction::PickLanguage, "off", "en"),
                  u"---"_s,
                  row(u8"Start opname  (Rechter ⌘ Command)", MenuAction::MenuToggle),
                  row(u8"Plak laatste tekst opnieuw", MenuAction::None),
                  u"---"_s,
                  row(u8"Sneltoets", MenuAction::None),
                  u"  "_s + row(u8"Rechter ⌘ Command", MenuAction::PickHotkey, "on", "rechter-command"),
                  u"  "_s + row(u8"Rechter ⌥ Option", MenuAction::PickHotkey, "off", "rechter-option"),
                  u"  "_s + row(u8"Rechter ⌃ Control", MenuAction::PickHotkey, "off", "rechter-control"),
                  u"  "_s + row(u8"Rechter ⇧ Shift", MenuAction::PickHotkey, "off", "rechter-shift"),
                  u"  "_s + row(u8"Fn 🌐 (wereldbol)", MenuAction::PickHotkey, "off", "fn"),
                  u"  ---"_s,
                  u"  "_s + row(u8"Andere toets kiezen…", MenuAction::StartCapture),
                  row(u8"Muziek dempen tijdens opname", MenuAction::ToggleDuck, "on"),
                  u"---"_s,
                  row(u8"Instellingen…", MenuAction::OpenSettings, "-", "", ","),
                  row(u8"Start bij inloggen", MenuAction::ToggleLogin, "off"),
                  row(u8"Feedback of idee insturen…", MenuAction::OpenFeedback),
                  row(u8"Over Tavlo…", MenuAction::OpenAbout),
                  u"---"_s,
                  row(u8"Stop Tavlo", MenuAction::Quit, "-", "", "q"),
              }));
}

TEST(StatusMenu, IsThisTableInEnglish)
{
    const LanguageScope language(u"en"_s);
    MenuState state = readyState();
    state.statusLine = u"Ready - press the hotkey to dictate"_s;
    state.recording = true;
    state.lastText = u"Hello"_s;
    state.loginItemEnabled = true;
    state.config.duckEnabled = false;
    state.hasKey = true;
    state.config.customKeycode = 96;
    state.config.customLabel = u"F5"_s;
    state.hotkey = {u"custom"_s, u"F5"_s, u"F5"_s, KeyCode::F5, ModifierFlags::None};
    EXPECT_EQ(lines(statusMenu(state)),
              (QStringList{
                  row(u8"Ready - press the hotkey to dictate", MenuAction::None),
                  row(u8"Engine: OpenAI gpt-4o-transcribe + local fallback", MenuAction::None),
                  row(u8"🌐 Taal / Language", MenuAction::None),
                  u"  "_s + row(u8"🇳🇱 Nederlands", MenuAction::PickLanguage, "off", "nl"),
                  u"  "_s + row(u8"🇬🇧 English", MenuAction::PickLanguage, "on", "en"),
                  u"---"_s,
                  row(u8"Stop recording", MenuAction::MenuToggle),
                  row(u8"Paste last text again", MenuAction::PasteAgain),
                  u"---"_s,
                  row(u8"Hotkey", MenuAction::None),
                  u"  "_s + row(u8"Right ⌘ Command", MenuAction::PickHotkey, "off", "rechter-command"),
                  u"  "_s + row(u8"Right ⌥ Option", MenuAction::PickHotkey, "off", "rechter-option"),
                  u"  "_s + row(u8"Right ⌃ Control", MenuAction::PickHotkey, "off", "rechter-control"),
                  u"  "_s + row(u8"Right ⇧ Shift", MenuAction::PickHotkey, "off", "rechter-shift"),
                  u"  "_s + row(u8"Fn 🌐 (globe)", MenuAction::PickHotkey, "off", "fn"),
                  u"  ---"_s,
                  u"  "_s + row(u8"Custom: F5", MenuAction::PickHotkey, "on", "custom"),
                  u"  "_s + row(u8"Choose another key…", MenuAction::StartCapture),
                  row(u8"Duck music while recording", MenuAction::ToggleDuck, "off"),
                  u"---"_s,
                  row(u8"Settings…", MenuAction::OpenSettings, "-", "", ","),
                  row(u8"Start at login", MenuAction::ToggleLogin, "on"),
                  row(u8"Send feedback or an idea…", MenuAction::OpenFeedback),
                  row(u8"About Tavlo…", MenuAction::OpenAbout),
                  u"---"_s,
                  row(u8"Quit Tavlo", MenuAction::Quit, "-", "", "q"),
              }));
}

constexpr std::size_t kEngineRow = 1;
constexpr std::size_t kToggleRow = 4;
constexpr std::size_t kPasteRow = 5;
constexpr std::size_t kHotkeyRow = 7;

QString engineLine(const QString& engine, const QString& provider, const QString& key)
{
    MenuState state = readyState();
    state.config.engine = engine;
    state.config.provider = provider;
    state.hasKey = !key.isEmpty();
    return statusMenu(state)[kEngineRow].title;
}

TEST(StatusMenu, TheEngineIsLocalWithEngineAutoAndAnEmptyKey)
{
    const LanguageScope language(u"en"_s);
    const QString local = u"Engine: local Whisper (large-v3-turbo)"_s;
    const QString openAi = u"openai"_s;
    EXPECT_EQ(engineLine(u"auto"_s, openAi, QString()), local);
    EXPECT_EQ(engineLine(openAi, openAi, QString()), local);
    EXPECT_EQ(engineLine(u"local"_s, openAi, u"key"_s), local);
}

TEST(StatusMenu, TheEngineIsGroqWithFallbackForTheCloudOnlySettingToo)
{
    const LanguageScope language(u"en"_s);
    EXPECT_EQ(engineLine(u"openai"_s, u"groq"_s, u"key"_s), u"Engine: Groq whisper-large-v3-turbo + local fallback"_s);
}

TEST(StatusMenu, AnUnknownEngineOrProviderReadsAsOpenAi)
{
    const LanguageScope language(u"nl"_s);
    EXPECT_EQ(engineLine(u"other"_s, u"other"_s, u"key"_s), u"Engine: OpenAI gpt-4o-transcribe + lokale fallback"_s);
}

TEST(StatusMenu, WithoutACustomKeyTheHotkeysEndWithTheSeparatorAndTheChoice)
{
    const LanguageScope language(u"en"_s);
    const MenuDescription hotkeys = statusMenu(readyState())[kHotkeyRow].submenu;
    ASSERT_EQ(hotkeys.size(), kHotkeyOptions.size() + 2);
    EXPECT_TRUE(hotkeys[kHotkeyOptions.size()].separator);
    EXPECT_EQ(hotkeys.back().title, u"Choose another key…"_s);
}

TEST(StatusMenu, ACustomKeyOfCodeZeroIsThere)
{
    const LanguageScope language(u"nl"_s);
    MenuState state = readyState();
    state.config.customKeycode = 0;
    state.config.customLabel = u"A"_s;
    const MenuDescription hotkeys = statusMenu(state)[kHotkeyRow].submenu;
    ASSERT_EQ(hotkeys.size(), kHotkeyOptions.size() + 3);
    EXPECT_EQ(hotkeys[kHotkeyOptions.size() + 1].title, u"Aangepast: A"_s);
    EXPECT_EQ(hotkeys[kHotkeyOptions.size() + 1].check, MenuCheck::Off);
}

TEST(StatusMenu, PasteAgainBecomesActiveOnceThereIsAText)
{
    MenuState state = readyState();
    EXPECT_EQ(statusMenu(state)[kPasteRow].action, MenuAction::None);
    state.lastText = u"tekst"_s;
    EXPECT_EQ(statusMenu(state)[kPasteRow].action, MenuAction::PasteAgain);
}

TEST(StatusMenu, ShowsTheCustomHotkeyInTheStartCommand)
{
    const LanguageScope language(u"nl"_s);
    MenuState state = readyState();
    state.hotkey = {u"custom"_s, u"F5"_s, u"F5"_s, KeyCode::F5, ModifierFlags::None};
    EXPECT_EQ(statusMenu(state)[kToggleRow].title, u"Start opname  (F5)"_s);
    state.recording = true;
    EXPECT_EQ(statusMenu(state)[kToggleRow].title, u"Stop opname"_s);
}

TEST(StatusMenu, AnotherInterfaceLanguageShowsDutchAndChecksNone)
{
    const LanguageScope language(u"de"_s);
    const MenuDescription menu = statusMenu(readyState());
    EXPECT_EQ(menu.back().title, u"Stop Tavlo"_s);
    const MenuDescription& languages = menu[2].submenu;
    EXPECT_TRUE(std::ranges::all_of(languages, [](const auto& item) { return item.check == MenuCheck::Off; }));
}

TEST(StatusMenu, ShowsTheStatusLineAsItStands)
{
    MenuState state = readyState();
    state.statusLine = u"⚠️ R&D_test  \n"_s + QString(300, QLatin1Char('x'));
    EXPECT_EQ(statusMenu(state)[0].title, state.statusLine);
}

}  // namespace
}  // namespace tavlo
