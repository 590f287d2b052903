#pragma once

#include "ui/tray/status_menu.h"

#include <QString>
#include <QVariant>

#include <functional>

class QAction;
class QKeyEvent;
class QMenu;

namespace tavlo {

// How a title must be written so that every "&" and "_" in it is shown and none becomes a shortcut key.
enum class TitleEscaping {
    Toolkit,  // for menus that this process shows
    Bus       // for menus that the panel shows, which marks its shortcut keys in another way
};

QString escapedTitle(const QString& title, TitleEscaping escaping);

// Makes a QMenu show a description. A menu and its items are changed in place, since a panel that has the menu open
// keeps the items that it has read. Main thread.
class MenuMirror {
public:
    using Handler = std::function<void(MenuAction action, const QVariant& representedObject)>;

    // `handler` is called within the menu's own event.
    MenuMirror(TitleEscaping escaping, Handler handler);

    void show(const MenuDescription& description, QMenu& menu);

private:
    QAction* makeAction(const MenuItemDescription& item, QMenu& menu);
    void update(const MenuItemDescription& item, QAction& action);

    TitleEscaping m_escaping;
    Handler m_handler;
};

// Chooses the row of `menu` that has this key as its equivalent, and closes all menus, as a menu bar does. An open menu
// of the toolkit does so for the keys of its titles alone. Returns whether there was such a row.
bool pressKeyEquivalent(const QMenu& menu, const QKeyEvent& key);

}  // namespace tavlo
