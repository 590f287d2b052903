#pragma once

#include "platform/queues.h"
#include "platform/registration.h"
#include "platform/remote_control.h"
#include "platform/text_literals.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFileSystemWatcher>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace tavlo {

// The description of the bus interface: the text of packaging/nl.pelloquintar.Tavlo1.xml.
extern const char* const kControlInterfaceXml;

// The object at /nl/pelloquintar/Tavlo1 on the bus.
class ControlObject : public QDBusVirtualObject {
    Q_OBJECT

public:
    static QString path();
    static QString interface();

    ControlObject(MainQueue& queue, QString version);

    Registration onCommand(std::function<void(RemoteCommand)> handler) { return m_commands.add(std::move(handler)); }
    void onDisconnected(std::function<void()> disconnected) { m_disconnected = std::move(disconnected); }
    void serveOn(const QDBusConnection& bus);
    // To be called before the connection is given up: from here on it hands over nothing more.
    void stopServing();
    // The connection that it serves on.
    const std::optional<QDBusConnection>& bus() const { return m_bus; }
    void publish(Activity activity, const QString& statusLine);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private Q_SLOTS:
    void busDisconnected();

private:
    bool handleProperties(const QDBusMessage& message, const QDBusConnection& connection) const;
    QVariantMap properties() const;

    MainQueue& m_queue;
    QString m_version;
    Activity m_activity = Activity::Ready;
    QString m_statusLine;
    HandlerList<RemoteCommand> m_commands;
    std::function<void()> m_disconnected;
    std::optional<QDBusConnection> m_bus;
    Lifetime m_lifetime;
};

// The instance's name nl.pelloquintar.tavlo on the session bus, and the interface nl.pelloquintar.Tavlo1 behind it.
class SessionBusControl : public RemoteControl {
public:
    SessionBusControl(MainQueue& queue, QString version);
    ~SessionBusControl() override;
    SessionBusControl(const SessionBusControl&) = delete;
    SessionBusControl& operator=(const SessionBusControl&) = delete;

    ClaimResult claim() override;
    Registration onCommand(std::function<void(RemoteCommand)> handler) override;
    void publish(Activity activity, const QString& statusLine) override;

    // The connection to the bus, while there is one.
    std::optional<QDBusConnection> connection() const;
    // Tells of a bus that came back after a crash, by the connection that was made to it.
    void onReturn(std::function<void(const QDBusConnection&)> returned) { m_returned = std::move(returned); }

private:
    void disconnect();
    void busWentAway();
    void watchForBus();
    void tryAgain(int attemptsLeft);

    MainQueue& m_queue;
    std::unique_ptr<ControlObject> m_object;
    std::function<void(const QDBusConnection&)> m_returned;
    QString m_address;
    QString m_connectionName;  // Empty while there is no connection.
    // Tells of a socket that appears at the bus's place. Exists while the bus is away.
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    Lifetime m_retry;
    Lifetime m_lifetime;
};

}  // namespace tavlo
