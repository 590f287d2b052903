#pragma once

#include "platform/desktop_notification.h"

#include <QDBusConnection>

namespace tavlo {

class SessionBusControl;

// Notices by the desktop's notification service on the session bus. Never waits for the bus: it uses a connection that
// the program has already.
class BusNotification : public DesktopNotification {
public:
    // `control` outlives it; `sessionBus` is used where that has no connection, since the bus may refuse it its name.
    BusNotification(const SessionBusControl& control, const QDBusConnection& sessionBus);

    void show(const QString& title, const QString& text) override;

private:
    const SessionBusControl& m_control;
    const QDBusConnection m_sessionBus;
};

}  // namespace tavlo
