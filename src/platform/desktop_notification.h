#pragma once

#include <QString>

namespace tavlo {

// A notice of the desktop's own kind, for what must be said where there is no icon and no window. Main thread.
class DesktopNotification {
public:
    virtual ~DesktopNotification() = default;

    // Shows the notice where the desktop can, and does nothing where it cannot. Never waits.
    virtual void show(const QString& title, const QString& text) = 0;
};

}  // namespace tavlo
