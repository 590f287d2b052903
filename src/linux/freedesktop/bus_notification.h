#pragma once

#include "platform/desktop_notification.h"

#include <QDBusConnection>

namespace tavlo {

class SessionBusControl;

// Notifications through the desktop's service on the session bus. Never waits for the bus: it uses a connection that is
// there already.
class BusNotification : public DesktopNotification {
public:
    // Sends over `control`'s connection, and over `sessionBus` while there is none. `control` outlives this object.
    BusNotification(const SessionBusControl& control, const QDBusConnection& sessionBus);

    void show(const QString& title, const QString& text) override;

private:
    const SessionBusControl& m_control;
    const QDBusConnection m_sessionBus;
};

}  // namespace tavlo
