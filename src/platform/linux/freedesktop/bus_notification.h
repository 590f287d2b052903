#pragma once

#include "platform/desktop_notification.h"

namespace tavlo {

// Notices by the desktop's notification service on the session bus.
class BusNotification : public DesktopNotification {
public:
    void show(const QString& title, const QString& text) override;
};

}  // namespace tavlo
