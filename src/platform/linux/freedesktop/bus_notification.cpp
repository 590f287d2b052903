#include "platform/linux/freedesktop/bus_notification.h"

#include "platform/linux/session_bus_address.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

namespace tavlo {

void BusNotification::show(const QString& title, const QString& text)
{
    const QString address = sessionBusAddress();
    if (address.isEmpty()) {
        return;
    }
    const QString name = QStringLiteral("tavlo-notification");
    QDBusConnection bus = QDBusConnection::connectToBus(address, name);
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    const quint32 replacesNone = 0;
    const qint32 desktopsOwnTime = -1;
    message << QStringLiteral("Tavlo") << replacesNone << QStringLiteral("nl.pelloquintar.tavlo") << title << text
            << QStringList() << QVariantMap() << desktopsOwnTime;
    // Nobody waits for the answer: where there is no such service, there is nobody else to tell.
    bus.send(message);
    QDBusConnection::disconnectFromBus(name);
}

}  // namespace tavlo
