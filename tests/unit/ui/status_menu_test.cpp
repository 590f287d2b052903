#include "ui/status_menu.h"

#include "language_scope.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavlo {
namespace {

MenuState readyState()
{
    MenuState state;
    state.statusLine = QStringLiteral("Klaar - druk op de sneltoets om te dicteren");
    state.hotkey = kHotkeyOptions[0];
    return state;
}

// One row as a line of text: what it shows, what it does, its check mark, its value and its key.
QString line(const MenuItemDescription& item)
{
    if (item.separator) {
        return QStringLiteral("---");
    }
    QString text = item.title;
    text += QStringLiteral(" | ") + QString::number(static_cast<int>(item.action));
    text += item.check == MenuCheck::NotCheckable ? QStringLiteral(" | -")
            : item.check == MenuCheck::On         ? QStringLiteral(" | on")
                                                  : QStringLiteral(" | off");
    text += QStringLiteral(" | ") + item.representedObject.toString() + QStringLiteral(" | ") + item.keyEquivalent;
    return text;
}

QStringList lines(const MenuDescription& menu, const QString& indentation = {})
{
    QStringList result;
    for (const MenuItemDescription& item : menu) {
        result.append(indentation + line(item));
        result += lines(item.submenu, indentation + QStringLiteral("  "));
    }
    return result;
}

// A row as expected.
QString row(const char8_t* title, MenuAction action, const char* check = "-", const char* object = "",
            const char* key = "")
{
    return QString::fromUtf8(title) + QStringLiteral(" | ") + QString::number(static_cast<int>(action)) +
           QStringLiteral(" | ") + QLatin1String(check) + QStringLiteral(" | ") + QLatin1String(object) +
           QStringLiteral(" | ") + QLatin1String(key);
}

TEST(StatusMenu, IsThisTableInDutch)
{
    const LanguageScope language(QStringLiteral("nl"));
    EXPECT_EQ(lines(statusMenu(readyState())),
              (QStringList{
                  row(u8"Klaar - druk op de sneltoets om te dicteren", MenuAction::None),
                  row(u8"Engine: lokale Whisper (large-v3-turbo)", MenuAction::None),
                  row(u8"🌐 Taal / Language", MenuAction::None),
                  QStringLiteral("  ") + row(u8"🇳🇱 Nederlands", MenuAction::PickLanguage, "on", "nl"),
                  QStringLiteral("  ") + row(u8"🇬🇧 English", MenuAction::PickLanguage, "off", "en"),
                  QStringLiteral("---"),
                  row(u8"Start opname  (Rechter ⌘ Command)", MenuAction::MenuToggle),
                  row(u8"Plak laatste tekst opnieuw", MenuAction::None),
                  QStringLiteral("---"),
                  row(u8"Sneltoets", MenuAction::None),
                  QStringLiteral("  ") + row(u8"Rechter ⌘ Command", MenuAction::PickHotkey, "on", "rechter-command"),
                  QStringLiteral("  ") + row(u8"Rechter ⌥ Option", MenuAction::PickHotkey, "off", "rechter-option"),
                  QStringLiteral("  ") + row(u8"Rechter ⌃ Control", MenuAction::PickHotkey, "off", "rechter-control"),
                  QStringLiteral("  ") + row(u8"Rechter ⇧ Shift", MenuAction::PickHotkey, "off", "rechter-shift"),
                  QStringLiteral("  ") + row(u8"Fn 🌐 (wereldbol)", MenuAction::PickHotkey, "off", "fn"),
                  QStringLiteral("  ---"),
                  QStringLiteral("  ") + row(u8"Andere toets kiezen…", MenuAction::StartCapture),
                  row(u8"Muziek dempen tijdens opname", MenuAction::ToggleDuck, "on"),
                  QStringLiteral("---"),
                  row(u8"Instellingen…", MenuAction::OpenSettings, "-", "", ","),
                  row(u8"Start bij inloggen", MenuAction::ToggleLogin, "off"),
                  row(u8"Feedback of idee insturen…", MenuAction::OpenFeedback),
                  row(u8"Over Tavlo…", MenuAction::OpenAbout),
                  QStringLiteral("---"),
                  row(u8"Stop Tavlo", MenuAction::Quit, "-", "", "q"),
              }));
}

TEST(StatusMenu, IsThisTableInEnglish)
{
    const LanguageScope language(QStringLiteral("en"));
    MenuState state = readyState();
    state.statusLine = QStringLiteral("Ready - press the hotkey to dictate");
    state.recording = true;
    state.lastText = QStringLiteral("Hello");
    state.loginItemEnabled = true;
    state.config.duckEnabled = false;
    state.config.apiKey = QStringLiteral("key");
    state.config.customKeycode = 96;
    state.config.customLabel = QStringLiteral("F5");
    state.hotkey = {QStringLiteral("custom"), QStringLiteral("F5"), QStringLiteral("F5"), 96, 0};
    EXPECT_EQ(lines(statusMenu(state)),
              (QStringList{
                  row(u8"Ready - press the hotkey to dictate", MenuAction::None),
                  row(u8"Engine: OpenAI gpt-4o-transcribe + local fallback", MenuAction::None),
                  row(u8"🌐 Taal / Language", MenuAction::None),
                  QStringLiteral("  ") + row(u8"🇳🇱 Nederlands", MenuAction::PickLanguage, "off", "nl"),
                  QStringLiteral("  ") + row(u8"🇬🇧 English", MenuAction::PickLanguage, "on", "en"),
                  QStringLiteral("---"),
                  row(u8"Stop recording", MenuAction::MenuToggle),
                  row(u8"Paste last text again", MenuAction::PasteAgain),
                  QStringLiteral("---"),
                  row(u8"Hotkey", MenuAction::None),
                  QStringLiteral("  ") + row(u8"Right ⌘ Command", MenuAction::PickHotkey, "off", "rechter-command"),
                  QStringLiteral("  ") + row(u8"Right ⌥ Option", MenuAction::PickHotkey, "off", "rechter-option"),
                  QStringLiteral("  ") + row(u8"Right ⌃ Control", MenuAction::PickHotkey, "off", "rechter-control"),
                  QStringLiteral("  ") + row(u8"Right ⇧ Shift", MenuAction::PickHotkey, "off", "rechter-shift"),
                  QStringLiteral("  ") + row(u8"Fn 🌐 (globe)", MenuAction::PickHotkey, "off", "fn"),
                  QStringLiteral("  ---"),
                  QStringLiteral("  ") + row(u8"Custom: F5", MenuAction::PickHotkey, "on", "custom"),
                  QStringLiteral("  ") + row(u8"Choose another key…", MenuAction::StartCapture),
                  row(u8"Duck music while recording", MenuAction::ToggleDuck, "off"),
                  QStringLiteral("---"),
                  row(u8"Settings…", MenuAction::OpenSettings, "-", "", ","),
                  row(u8"Start at login", MenuAction::ToggleLogin, "on"),
                  row(u8"Send feedback or an idea…", MenuAction::OpenFeedback),
                  row(u8"About Tavlo…", MenuAction::OpenAbout),
                  QStringLiteral("---"),
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
    state.config.apiKey = key;
    return statusMenu(state)[kEngineRow].title;
}

TEST(StatusMenu, TheEngineIsLocalWithEngineAutoAndAnEmptyKey)
{
    const LanguageScope language(QStringLiteral("en"));
    const QString local = QStringLiteral("Engine: local Whisper (large-v3-turbo)");
    const QString openAi = QStringLiteral("openai");
    EXPECT_EQ(engineLine(QStringLiteral("auto"), openAi, QString()), local);
    EXPECT_EQ(engineLine(openAi, openAi, QString()), local);
    EXPECT_EQ(engineLine(QStringLiteral("local"), openAi, QStringLiteral("key")), local);
}

TEST(StatusMenu, TheEngineIsGroqWithFallbackForTheCloudOnlySettingToo)
{
    const LanguageScope language(QStringLiteral("en"));
    EXPECT_EQ(engineLine(QStringLiteral("openai"), QStringLiteral("groq"), QStringLiteral("key")),
              QStringLiteral("Engine: Groq whisper-large-v3-turbo + local fallback"));
}

TEST(StatusMenu, AnUnknownEngineOrProviderReadsAsOpenAi)
{
    const LanguageScope language(QStringLiteral("nl"));
    EXPECT_EQ(engineLine(QStringLiteral("other"), QStringLiteral("other"), QStringLiteral("key")),
              QStringLiteral("Engine: OpenAI gpt-4o-transcribe + lokale fallback"));
}

TEST(StatusMenu, WithoutACustomKeyTheHotkeysEndWithTheSeparatorAndTheChoice)
{
    const LanguageScope language(QStringLiteral("en"));
    const MenuDescription hotkeys = statusMenu(readyState())[kHotkeyRow].submenu;
    ASSERT_EQ(hotkeys.size(), kHotkeyOptions.size() + 2);
    EXPECT_TRUE(hotkeys[kHotkeyOptions.size()].separator);
    EXPECT_EQ(hotkeys.back().title, QStringLiteral("Choose another key…"));
}

TEST(StatusMenu, ACustomKeyOfCodeZeroIsThere)
{
    const LanguageScope language(QStringLiteral("nl"));
    MenuState state = readyState();
    state.config.customKeycode = 0;
    state.config.customLabel = QStringLiteral("A");
    const MenuDescription hotkeys = statusMenu(state)[kHotkeyRow].submenu;
    ASSERT_EQ(hotkeys.size(), kHotkeyOptions.size() + 3);
    EXPECT_EQ(hotkeys[kHotkeyOptions.size() + 1].title, QStringLiteral("Aangepast: A"));
    EXPECT_EQ(hotkeys[kHotkeyOptions.size() + 1].check, MenuCheck::Off);
}

TEST(StatusMenu, PasteAgainBecomesActiveOnceThereIsAText)
{
    MenuState state = readyState();
    EXPECT_EQ(statusMenu(state)[kPasteRow].action, MenuAction::None);
    state.lastText = QStringLiteral("tekst");
    EXPECT_EQ(statusMenu(state)[kPasteRow].action, MenuAction::PasteAgain);
}

TEST(StatusMenu, ShowsTheCustomHotkeyInTheStartCommand)
{
    const LanguageScope language(QStringLiteral("nl"));
    MenuState state = readyState();
    state.hotkey = {QStringLiteral("custom"), QStringLiteral("F5"), QStringLiteral("F5"), 96, 0};
    EXPECT_EQ(statusMenu(state)[kToggleRow].title, QStringLiteral("Start opname  (F5)"));
    state.recording = true;
    EXPECT_EQ(statusMenu(state)[kToggleRow].title, QStringLiteral("Stop opname"));
}

TEST(StatusMenu, AnotherInterfaceLanguageShowsDutchAndChecksNone)
{
    const LanguageScope language(QStringLiteral("de"));
    const MenuDescription menu = statusMenu(readyState());
    EXPECT_EQ(menu.back().title, QStringLiteral("Stop Tavlo"));
    const MenuDescription& languages = menu[2].submenu;
    EXPECT_TRUE(std::ranges::all_of(languages, [](const auto& item) { return item.check == MenuCheck::Off; }));
}

TEST(StatusMenu, ShowsTheStatusLineAsItStands)
{
    MenuState state = readyState();
    state.statusLine = QStringLiteral("⚠️ R&D_test  \n") + QString(300, QLatin1Char('x'));
    EXPECT_EQ(statusMenu(state)[0].title, state.statusLine);
}

}  // namespace
}  // namespace tavlo
