#include "platform/linux/freedesktop/session_bus_control.h"

#include "platform/linux/freedesktop/control_object.h"
#include "platform/linux/session_bus_address.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <utility>

namespace tavlo {

namespace {

const QString kName = QStringLiteral("nl.pelloquintar.tavlo");
constexpr int kOtherInstanceMs = 2000;
// A bus that has just made its socket may not listen yet.
constexpr std::chrono::milliseconds kRetryDelay{200};
constexpr int kAttempts = 10;

// The socket of a bus address; empty where it has no place among the files.
QString socketOf(const QString& address)
{
    for (const QString& part : address.split(QLatin1Char(';'))) {
        if (!part.startsWith(QLatin1String("unix:"))) {
            continue;
        }
        for (const QString& field : part.mid(5).split(QLatin1Char(','))) {
            if (field.startsWith(QLatin1String("path="))) {
                return QUrl::fromPercentEncoding(field.mid(5).toUtf8());
            }
        }
    }
    return {};
}

}  // namespace

SessionBusControl::SessionBusControl(MainQueue& queue, QString version)
    : m_queue(queue), m_object(std::make_unique<ControlObject>(queue, std::move(version)))
{
    m_object->onDisconnected([this] {
        // Not within the connection's own signal, which is about to be taken down.
        m_queue.post(m_lifetime.reference(), [this] { busWentAway(); });
    });
}

SessionBusControl::~SessionBusControl()
{
    disconnect();
}

ClaimResult SessionBusControl::claim(RemoteHandlers handlers)
{
    m_object->setHandlers(std::move(handlers));
    return connectAndClaim();
}

void SessionBusControl::publish(const QString& state, const QString& statusLine)
{
    m_object->publish(state, statusLine);
}

std::optional<QDBusConnection> SessionBusControl::connection() const
{
    return m_object->bus();
}

ClaimResult SessionBusControl::connectAndClaim()
{
    m_address = sessionBusAddress();
    if (m_address.isEmpty()) {
        return ClaimResult::NoBus;
    }
    // A connection of its own under a name of its own: the library never makes a shared one again after the bus left.
    static std::atomic<int> connectionCount = 0;
    m_connectionName = QStringLiteral("tavlo-control-%1").arg(++connectionCount);
    QDBusConnection bus = QDBusConnection::connectToBus(m_address, m_connectionName);
    if (!bus.isConnected()) {
        disconnect();
        return ClaimResult::NoBus;
    }
    // The object first, so that whoever sees the name can call it.
    m_object->serveOn(bus);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(kName, QDBusConnectionInterface::DontQueueService);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        return ClaimResult::Claimed;
    }
    if (reply.isValid()) {
        const QDBusMessage request = QDBusMessage::createMethodCall(
            kName, ControlObject::path(), ControlObject::interface(), QStringLiteral("OpenSettings"));
        bus.call(request, QDBus::Block, kOtherInstanceMs);
    }
    disconnect();
    // A bus that refuses the name has told of no other instance.
    return reply.isValid() ? ClaimResult::AlreadyRunning : ClaimResult::NoBus;
}

void SessionBusControl::busWentAway()
{
    if (m_connectionName.isEmpty()) {
        return;
    }
    disconnect();
    watchForBus();
}

void SessionBusControl::disconnect()
{
    m_object->stopServing();
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(std::exchange(m_connectionName, QString()));
    }
}

void SessionBusControl::watchForBus()
{
    const QString socket = socketOf(m_address);
    if (socket.isEmpty()) {
        return;  // A bus without a place among the files cannot be waited for without polling.
    }
    m_watcher = std::make_unique<QFileSystemWatcher>(QStringList{QFileInfo(socket).path()});
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, m_watcher.get(),
                     [this] { tryAgain(kAttempts); });
    // It may have come back before anybody watched.
    tryAgain(kAttempts);
}

void SessionBusControl::tryAgain(int attemptsLeft)
{
    m_retry.renew();
    if (!QFileInfo::exists(socketOf(m_address)) || attemptsLeft == 0) {
        return;
    }
    m_queue.postAfter(kRetryDelay, m_retry.reference(), [this, attemptsLeft] {
        if (connectAndClaim() != ClaimResult::NoBus) {
            m_watcher.reset();
            if (m_returned && !m_connectionName.isEmpty()) {
                m_returned(QDBusConnection(m_connectionName));
            }
        } else {
            tryAgain(attemptsLeft - 1);
        }
    });
}

}  // namespace tavlo
