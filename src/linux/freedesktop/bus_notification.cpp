#include "linux/freedesktop/bus_notification.h"

#include "linux/freedesktop/session_bus_control.h"
#include "platform/text_literals.h"

#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

namespace tavlo {

BusNotification::BusNotification(const SessionBusControl& control, const QDBusConnection& sessionBus)
    : m_control(control), m_sessionBus(sessionBus)
{
}

void BusNotification::show(const QString& title, const QString& text)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
                                       u"org.freedesktop.Notifications"_s, u"Notify"_s);
    const quint32 replacesNone = 0;
    const qint32 desktopsOwnTime = -1;
    message << u"Tavlo"_s << replacesNone << u"nl.pelloquintar.tavlo"_s << title << text << QStringList()
            << QVariantMap() << desktopsOwnTime;
    // Nobody waits for the answer: without such a service there is no other way to tell the user.
    m_control.connection().value_or(m_sessionBus).send(message);
}

}  // namespace tavlo
