#pragma once

#include "platform/text_literals.h"
#include "support/private_bus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>

namespace tavlo {

// Another program on the bus. It keeps the messages that reach it. There is one at a time.
class OtherProgram : public QDBusVirtualObject {
public:
    explicit OtherProgram(const PrivateBus& bus)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"other-program"_s))
    {
    }
    ~OtherProgram() override { QDBusConnection::disconnectFromBus(u"other-program"_s); }

    QDBusConnection& bus() { return m_bus; }
    // Serves the desktop's notifications from here on. False when the bus refuses.
    bool serveNotifications()
    {
        return m_bus.registerVirtualObject(u"/org/freedesktop/Notifications"_s, this) &&
               m_bus.registerService(u"org.freedesktop.Notifications"_s);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override
    {
        messages.append(message);
        return true;
    }

    QList<QDBusMessage> messages;

private:
    QDBusConnection m_bus;
};

}  // namespace tavlo
