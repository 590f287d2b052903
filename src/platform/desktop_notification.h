#pragma once

#include <QString>

namespace tavlo {

// A notification by the desktop, for what must be said while there is neither an icon nor a window. Main thread.
class DesktopNotification {
public:
    virtual ~DesktopNotification() = default;

    // Shows the notification; does nothing where the desktop cannot. Never waits.
    virtual void show(const QString& title, const QString& text) = 0;
};

}  // namespace tavlo
