#pragma once

#include "hotkeys/hotkey_catalogue.h"
#include "settings/config.h"

#include <QString>
#include <QVariant>

#include <vector>

namespace tavlo {

// What a menu item does. None: the item is greyed.
enum class MenuAction {
    None,
    PickLanguage,
    MenuToggle,
    PasteAgain,
    PickHotkey,
    StartCapture,
    ToggleDuck,
    OpenSettings,
    ToggleLogin,
    OpenFeedback,
    OpenAbout,
    Quit
};

enum class MenuCheck { NotCheckable, Off, On };

// One row of the menu, as a value. A separator has an empty title and no submenu.
struct MenuItemDescription {
    QString title;
    MenuAction action = MenuAction::None;
    MenuCheck check = MenuCheck::NotCheckable;
    QVariant representedObject;  // passed to the action
    QString keyEquivalent;       // one character, with Control; empty for none
    bool separator = false;
    std::vector<MenuItemDescription> submenu;

    bool operator==(const MenuItemDescription&) const = default;
};

using MenuDescription = std::vector<MenuItemDescription>;

// Everything that the menu shows.
struct MenuState {
    QString statusLine;
    QString lastText;
    bool recording = false;
    Config config;
    bool hasKey = false;  // for the provider of `config`
    HotkeyOption hotkey;  // the one in force
    bool loginItemEnabled = false;
};

// The menu for that state, in the interface language.
MenuDescription statusMenu(const MenuState& state);

}  // namespace tavlo
