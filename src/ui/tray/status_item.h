#pragma once

#include "platform/activity.h"
#include "platform/registration.h"
#include "ui/tray/status_menu.h"

#include <QVariant>

#include <functional>

namespace tavlo {

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
