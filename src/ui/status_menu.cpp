#include "ui/status_menu.h"

#include "settings/language.h"

#include <utility>

namespace tavlo {

namespace {

MenuItemDescription separator()
{
    MenuItemDescription item;
    item.separator = true;
    return item;
}

MenuItemDescription text(const QString& title)
{
    MenuItemDescription item;
    item.title = title;
    return item;
}

MenuItemDescription command(const QString& title, MenuAction action, const QString& keyEquivalent = {})
{
    MenuItemDescription item;
    item.title = title;
    item.action = action;
    item.keyEquivalent = keyEquivalent;
    return item;
}

MenuItemDescription choice(const QString& title, MenuAction action, bool on, const QVariant& representedObject = {})
{
    MenuItemDescription item = command(title, action);
    item.check = on ? MenuCheck::On : MenuCheck::Off;
    item.representedObject = representedObject;
    return item;
}

MenuItemDescription folder(const QString& title, MenuDescription submenu)
{
    MenuItemDescription item;
    item.title = title;
    item.submenu = std::move(submenu);
    return item;
}

QString engineLine(const Config& config)
{
    if (config.engine == QLatin1String("local") || config.apiKey.isEmpty()) {
        return t(QStringLiteral("Engine: lokale Whisper (large-v3-turbo)"),
                 QStringLiteral("Engine: local Whisper (large-v3-turbo)"));
    }
    return QStringLiteral("Engine: ") + config.providerName() + QLatin1Char(' ') + config.cloudModel() +
           t(QStringLiteral(" + lokale fallback"), QStringLiteral(" + local fallback"));
}

MenuDescription languageMenu()
{
    const QString dutch = QStringLiteral("nl");
    const QString english = QStringLiteral("en");
    return {choice(QStringLiteral("🇳🇱 Nederlands"), MenuAction::PickLanguage, gLang == dutch, dutch),
            choice(QStringLiteral("🇬🇧 English"), MenuAction::PickLanguage, gLang == english, english)};
}

MenuDescription hotkeyMenu(const MenuState& state)
{
    MenuDescription menu;
    for (const HotkeyOption& option : kHotkeyOptions) {
        menu.push_back(choice(option.label(), MenuAction::PickHotkey, option.id == state.hotkey.id, option.id));
    }
    menu.push_back(separator());
    if (state.config.customKeycode >= 0) {
        const QString custom = QStringLiteral("custom");
        menu.push_back(choice(t(QStringLiteral("Aangepast: "), QStringLiteral("Custom: ")) + state.config.customLabel,
                              MenuAction::PickHotkey, state.hotkey.id == custom, custom));
    }
    menu.push_back(command(t(QStringLiteral("Andere toets kiezen…"), QStringLiteral("Choose another key…")),
                           MenuAction::StartCapture));
    return menu;
}

QString toggleTitle(const MenuState& state)
{
    if (state.recording) {
        return t(QStringLiteral("Stop opname"), QStringLiteral("Stop recording"));
    }
    return t(QStringLiteral("Start opname  ("), QStringLiteral("Start recording  (")) + state.hotkey.label() +
           QLatin1Char(')');
}

}  // namespace

MenuDescription statusMenu(const MenuState& state)
{
    return {
        text(state.statusLine),
        text(engineLine(state.config)),
        folder(QStringLiteral("🌐 Taal / Language"), languageMenu()),
        separator(),
        command(toggleTitle(state), MenuAction::MenuToggle),
        command(t(QStringLiteral("Plak laatste tekst opnieuw"), QStringLiteral("Paste last text again")),
                state.lastText.isEmpty() ? MenuAction::None : MenuAction::PasteAgain),
        separator(),
        folder(t(QStringLiteral("Sneltoets"), QStringLiteral("Hotkey")), hotkeyMenu(state)),
        choice(t(QStringLiteral("Muziek dempen tijdens opname"), QStringLiteral("Duck music while recording")),
               MenuAction::ToggleDuck, state.config.duckEnabled),
        separator(),
        command(t(QStringLiteral("Instellingen…"), QStringLiteral("Settings…")), MenuAction::OpenSettings,
                QStringLiteral(",")),
        choice(t(QStringLiteral("Start bij inloggen"), QStringLiteral("Start at login")), MenuAction::ToggleLogin,
               state.loginItemEnabled),
        command(t(QStringLiteral("Feedback of idee insturen…"), QStringLiteral("Send feedback or an idea…")),
                MenuAction::OpenFeedback),
        command(t(QStringLiteral("Over Tavlo…"), QStringLiteral("About Tavlo…")), MenuAction::OpenAbout),
        separator(),
        command(t(QStringLiteral("Stop Tavlo"), QStringLiteral("Quit Tavlo")), MenuAction::Quit, QStringLiteral("q")),
    };
}

}  // namespace tavlo
