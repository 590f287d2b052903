#pragma once

#include "ui/tray/status_menu.h"

#include <optional>
#include <utility>
#include <vector>

namespace tavlo {

// Keeps the icon's states and the menu.
class FakeStatusItem : public StatusItem {
public:
    Registration appear(StatusItemHandlers newHandlers) override
    {
        handlers = std::move(newHandlers);
        return Registration([this] { handlers = {}; });
    }
    void setIcon(Activity activity) override { icons.push_back(activity); }
    void setMenu(const MenuDescription& newMenu) override
    {
        menu = newMenu;
        ++menuCount;
    }

    // The one that stands; none before the first.
    std::optional<Activity> icon() const { return icons.empty() ? std::nullopt : std::optional(icons.back()); }
    // The menu's first line; empty before there is a menu.
    QString statusLine() const { return menu.empty() ? QString() : menu.front().title; }

    // The row of that title on the top level or one below it; none when there is no such row.
    const MenuItemDescription* item(const QString& title) const { return find(menu, title); }

    StatusItemHandlers handlers;  // called by the test
    std::vector<Activity> icons;  // in the order in which they were set
    MenuDescription menu;
    int menuCount = 0;

private:
    static const MenuItemDescription* find(const MenuDescription& rows, const QString& title)
    {
        for (const MenuItemDescription& row : rows) {
            if (row.title == title) {
                return &row;
            }
            if (const auto* below = find(row.submenu, title)) {
                return below;
            }
        }
        return nullptr;
    }
};

}  // namespace tavlo
