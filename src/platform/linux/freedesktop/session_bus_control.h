#pragma once

#include "platform/main_queue.h"
#include "platform/remote_control.h"

#include <QDBusConnection>
#include <QFileSystemWatcher>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace tavlo {

class ControlObject;

// The instance's name nl.pelloquintar.tavlo on the session bus, and the interface nl.pelloquintar.Tavlo1 behind it.
class SessionBusControl : public RemoteControl {
public:
    SessionBusControl(MainQueue& queue, QString version);
    ~SessionBusControl() override;
    SessionBusControl(const SessionBusControl&) = delete;
    SessionBusControl& operator=(const SessionBusControl&) = delete;

    ClaimResult claim(RemoteHandlers handlers) override;
    void publish(const QString& state, const QString& statusLine) override;

    // The connection to the bus, while there is one.
    std::optional<QDBusConnection> connection() const;
    // Tells of a bus that came back after a crash, by the connection that was made to it.
    void onReturn(std::function<void(const QDBusConnection&)> returned) { m_returned = std::move(returned); }

private:
    ClaimResult connectAndClaim();
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
