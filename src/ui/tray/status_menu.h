#pragma once

#include "hotkeys/hotkey_catalogue.h"
#include "platform/registration.h"
#include "platform/remote_control.h"
#include "settings/config.h"

#include <QString>
#include <QVariant>

#include <functional>
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

// Whether there is a tray to stand in.
enum class TrayPresence { Absent, Present };

struct StatusItemHandlers {
    // A row of the menu was chosen; by way of the main queue, after the menu has dealt with the choice.
    std::function<void(MenuAction action, const QVariant& representedObject)> chosen;
    // Once soon after the icon was asked for, later at each change that lasts.
    std::function<void(TrayPresence)> trayChanged;
};

// The icon in the panel, with its menu. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    // Puts the icon into the tray as soon as there is one. To be called once. The handlers are called until the
    // registration goes, `trayChanged` possibly within this call; the icon stays.
    [[nodiscard]] virtual Registration appear(StatusItemHandlers handlers) = 0;
    // The icon's shape tells the activity.
    virtual void setIcon(Activity activity) = 0;
    virtual void setMenu(const MenuDescription& menu) = 0;
};

}  // namespace tavlo
