#include "ui/tray/status_menu.h"

#include "platform/text_literals.h"
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

QString engineLine(const MenuState& state)
{
    const Config& config = state.config;
    if (config.engine == kEngineLocal || !state.hasKey) {
        return t(u"Engine: lokale Whisper (large-v3-turbo)"_s, u"Engine: local Whisper (large-v3-turbo)"_s);
    }
    return u"Engine: "_s + config.providerName() + QLatin1Char(' ') + config.cloudModel() +
           t(u" + lokale fallback"_s, u" + local fallback"_s);
}

MenuDescription languageMenu()
{
    return {choice(u"🇳🇱 Nederlands"_s, MenuAction::PickLanguage, gLang == kDutch, kDutch),
            choice(u"🇬🇧 English"_s, MenuAction::PickLanguage, gLang == kEnglish, kEnglish)};
}

MenuDescription hotkeyMenu(const MenuState& state)
{
    MenuDescription menu;
    for (const HotkeyOption& option : kHotkeyOptions) {
        menu.push_back(choice(option.label(), MenuAction::PickHotkey, option.id == state.hotkey.id, option.id));
    }
    menu.push_back(separator());
    if (state.config.customKeycode >= 0) {
        menu.push_back(choice(t(u"Aangepast: "_s, u"Custom: "_s) + state.config.customLabel, MenuAction::PickHotkey,
                              state.hotkey.id == kHotkeyCustom, kHotkeyCustom));
    }
    menu.push_back(command(t(u"Andere toets kiezen…"_s, u"Choose another key…"_s), MenuAction::StartCapture));
    return menu;
}

QString toggleTitle(const MenuState& state)
{
    if (state.recording) {
        return t(u"Stop opname"_s, u"Stop recording"_s);
    }
    return t(u"Start opname  ("_s, u"Start recording  ("_s) + state.hotkey.label() + QLatin1Char(')');
}

}  // namespace

MenuDescription statusMenu(const MenuState& state)
{
    return {
        text(state.statusLine),
        text(engineLine(state)),
        folder(u"🌐 Taal / Language"_s, languageMenu()),
        separator(),
        command(toggleTitle(state), MenuAction::MenuToggle),
        command(t(u"Plak laatste tekst opnieuw"_s, u"Paste last text again"_s),
                state.lastText.isEmpty() ? MenuAction::None : MenuAction::PasteAgain),
        separator(),
        folder(t(u"Sneltoets"_s, u"Hotkey"_s), hotkeyMenu(state)),
        choice(t(u"Muziek dempen tijdens opname"_s, u"Duck music while recording"_s), MenuAction::ToggleDuck,
               state.config.duckEnabled),
        separator(),
        command(t(u"Instellingen…"_s, u"Settings…"_s), MenuAction::OpenSettings, u","_s),
        choice(t(u"Start bij inloggen"_s, u"Start at login"_s), MenuAction::ToggleLogin, state.loginItemEnabled),
        command(t(u"Feedback of idee insturen…"_s, u"Send feedback or an idea…"_s), MenuAction::OpenFeedback),
        command(t(u"Over Tavlo…"_s, u"About Tavlo…"_s), MenuAction::OpenAbout),
        separator(),
        command(t(u"Stop Tavlo"_s, u"Quit Tavlo"_s), MenuAction::Quit, u"q"_s),
    };
}

}  // namespace tavlo
