#include "ui/tray/menu_mirror.h"

#include "platform/text_literals.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMenu>

#include <utility>

namespace tavlo {

namespace {

constexpr auto kActionProperty = "tavloAction";
constexpr auto kObjectProperty = "tavloRepresentedObject";
constexpr auto kCheckedProperty = "tavloChecked";

// Rows of different kinds cannot take each other's place.
bool sameKind(const MenuItemDescription& item, const QAction& action)
{
    return item.separator == action.isSeparator() && item.submenu.empty() == (action.menu() == nullptr);
}

}  // namespace

QString escapedTitle(const QString& title, TitleEscaping escaping)
{
    QString escaped = title;
    if (escaping == TitleEscaping::Toolkit) {
        return escaped.replace(QLatin1Char('&'), "&&"_L1);
    }
    // On the bus "_" marks the shortcut key, and "__" is shown as "_". The toolkit turns the first "&" of a title into
    // that mark, unless it is the last character, and leaves every other "&" as it is: doubled, it is shown as "&".
    escaped.replace(QLatin1Char('_'), "__"_L1);
    const qsizetype first = escaped.indexOf(QLatin1Char('&'));
    if (first >= 0 && first < escaped.size() - 1) {
        escaped.insert(first, QLatin1Char('&'));
    }
    return escaped;
}

MenuMirror::MenuMirror(TitleEscaping escaping, Handler handler) : m_escaping(escaping), m_handler(std::move(handler)) {}

void MenuMirror::show(const MenuDescription& description, QMenu& menu)
{
    qsizetype row = 0;
    for (const MenuItemDescription& item : description) {
        QAction* action = menu.actions().value(row);
        if (action == nullptr || !sameKind(item, *action)) {
            // A new row comes in here. The row that stood here may match a later one, so nothing is removed yet.
            QAction* made = makeAction(item, menu);
            menu.insertAction(action, made);
            action = made;
        }
        update(item, *action);
        if (!item.submenu.empty()) {
            show(item.submenu, *action->menu());
        }
        ++row;
    }
    const QList<QAction*> actions = menu.actions();
    for (qsizetype extra = row; extra < actions.size(); ++extra) {
        QAction* action = actions[extra];
        menu.removeAction(action);
        // The removed row may be the one whose handler is running.
        if (QMenu* submenu = action->menu()) {
            submenu->deleteLater();  // and with it its action
        } else {
            action->deleteLater();
        }
    }
}

QAction* MenuMirror::makeAction(const MenuItemDescription& item, QMenu& menu)
{
    if (!item.submenu.empty()) {
        return (new QMenu(&menu))->menuAction();
    }
    auto* action = new QAction(&menu);
    action->setSeparator(item.separator);
    QObject::connect(action, &QAction::triggered, action, [this, action] {
        // The toolkit has toggled the check mark by itself; only a new description may change it.
        action->setChecked(action->property(kCheckedProperty).toBool());
        m_handler(static_cast<MenuAction>(action->property(kActionProperty).toInt()),
                  action->property(kObjectProperty));
    });
    return action;
}

void MenuMirror::update(const MenuItemDescription& item, QAction& action)
{
    if (item.separator) {
        return;
    }
    action.setText(escapedTitle(item.title, m_escaping));
    if (QMenu* const submenu = action.menu()) {
        submenu->setAccessibleName(item.title);
    }
    action.setEnabled(item.action != MenuAction::None || !item.submenu.empty());
    action.setCheckable(item.check != MenuCheck::NotCheckable);
    action.setChecked(item.check == MenuCheck::On);
    action.setProperty(kCheckedProperty, item.check == MenuCheck::On);
    action.setProperty(kActionProperty, static_cast<int>(item.action));
    action.setProperty(kObjectProperty, item.representedObject);
    action.setMenuRole(QAction::NoRole);
    if (!item.keyEquivalent.isEmpty()) {
        action.setShortcut(QKeySequence("Ctrl+"_L1 + item.keyEquivalent.toUpper()));
        action.setShortcutVisibleInContextMenu(true);
    } else {
        action.setShortcut({});
    }
}

bool pressKeyEquivalent(const QMenu& menu, const QKeyEvent& key)
{
    const QKeySequence pressed(key.keyCombination());
    for (QAction* const action : menu.actions()) {
        if (action->isEnabled() && action->shortcut() == pressed) {
            while (QWidget* const open = QApplication::activePopupWidget()) {
                open->close();
            }
            action->trigger();
            return true;
        }
    }
    return false;
}

}  // namespace tavlo
