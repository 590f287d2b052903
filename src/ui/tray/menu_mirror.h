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

// Makes a QMenu show a description. The menu and its items are changed in place: a panel that has the menu open keeps
// showing the items that it has read. Main thread.
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

// Closes all menus and chooses the row of `menu` that has this key as its equivalent, as a menu bar does; an open menu
// of the toolkit only knows the underlined letters of its titles. Returns whether there was such a row.
bool pressKeyEquivalent(const QMenu& menu, const QKeyEvent& key);

}  // namespace tavlo
