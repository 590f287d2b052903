#include "linux/freedesktop/session_bus_control.h"

#include "linux/freedesktop/session_bus_address.h"
#include "platform/text_literals.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <utility>

namespace tavlo {

namespace {

const QString kLocalPath = u"/org/freedesktop/DBus/Local"_s;
const QString kLocal = u"org.freedesktop.DBus.Local"_s;
const QString kDisconnected = u"Disconnected"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

std::optional<RemoteCommand> commandOf(const QString& method)
{
    if (method == "Toggle"_L1) {
        return RemoteCommand::Toggle;
    }
    if (method == "Cancel"_L1) {
        return RemoteCommand::Cancel;
    }
    if (method == "PasteAgain"_L1) {
        return RemoteCommand::PasteAgain;
    }
    if (method == "OpenSettings"_L1) {
        return RemoteCommand::OpenSettings;
    }
    return std::nullopt;
}

// The value of the property State.
QString nameOf(Activity activity)
{
    switch (activity) {
        case Activity::Recording:
            return u"recording"_s;
        case Activity::Transcribing:
            return u"transcribing"_s;
        case Activity::Capturing:
            return u"capturing"_s;
        case Activity::Ready:
            break;
    }
    return u"ready"_s;
}

}  // namespace

QString ControlObject::path()
{
    return u"/nl/pelloquintar/Tavlo1"_s;
}

QString ControlObject::interface()
{
    return u"nl.pelloquintar.Tavlo1"_s;
}

ControlObject::ControlObject(MainQueue& queue, QString version) : m_queue(queue), m_version(std::move(version)) {}

void ControlObject::serveOn(const QDBusConnection& bus)
{
    m_bus = bus;
    m_bus->registerVirtualObject(path(), this);
    m_bus->connect(QString(), kLocalPath, kLocal, kDisconnected, this, SLOT(busDisconnected()));
}

// Each message that is handed over holds the connection. One that the library's thread hands over while the last other
// holder lets go would delete the connection twice.
void ControlObject::stopServing()
{
    if (m_bus) {
        m_bus->unregisterObject(path());
        m_bus->disconnect(QString(), kLocalPath, kLocal, kDisconnected, this, SLOT(busDisconnected()));
        m_bus.reset();
    }
}

void ControlObject::publish(Activity activity, const QString& statusLine)
{
    const QVariantMap before = properties();
    m_activity = activity;
    m_statusLine = statusLine;
    QVariantMap changed;
    const QVariantMap now = properties();
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (before.value(it.key()) != it.value()) {
            changed.insert(it.key(), it.value());
        }
    }
    if (m_bus && !changed.isEmpty()) {
        QDBusMessage notice = QDBusMessage::createSignal(path(), kProperties, u"PropertiesChanged"_s);
        notice << interface() << changed << QStringList();
        m_bus->send(notice);
    }
}

QString ControlObject::introspect(const QString& objectPath) const
{
    if (objectPath != path()) {
        return {};
    }
    // The library adds the node and the interfaces that every object has.
    const QString document = QString::fromUtf8(kControlInterfaceXml);
    const qsizetype start = document.indexOf("<interface"_L1);
    const QString end = u"</interface>\n"_s;
    return document.mid(start, document.indexOf(end) + end.size() - start);
}

bool ControlObject::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (message.type() != QDBusMessage::MethodCallMessage || message.path() != path()) {
        return false;
    }
    if (message.interface() == kProperties) {
        return handleProperties(message, connection);
    }
    const std::optional<RemoteCommand> command = commandOf(message.member());
    if (!command || (!message.interface().isEmpty() && message.interface() != interface())) {
        return false;
    }
    connection.send(message.createReply());
    m_queue.post(m_lifetime.reference(), [this, command] { m_commands.call(*command); });
    return true;
}

bool ControlObject::handleProperties(const QDBusMessage& message, const QDBusConnection& connection) const
{
    const QVariantList arguments = message.arguments();
    const QString wanted = arguments.value(0).toString();
    if (!wanted.isEmpty() && wanted != interface()) {
        connection.send(
            message.createErrorReply(QDBusError::UnknownInterface, u"There is no interface %1 here."_s.arg(wanted)));
        return true;
    }
    if (message.member() == "GetAll"_L1) {
        connection.send(message.createReply(QVariant(properties())));
        return true;
    }
    const QString name = arguments.value(1).toString();
    if (!properties().contains(name)) {
        connection.send(
            message.createErrorReply(QDBusError::UnknownProperty, u"There is no property %1 here."_s.arg(name)));
    } else if (message.member() == "Get"_L1) {
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(properties().value(name)))));
    } else {
        connection.send(
            message.createErrorReply(QDBusError::PropertyReadOnly, u"The property %1 can only be read."_s.arg(name)));
    }
    return true;
}

QVariantMap ControlObject::properties() const
{
    return {{u"State"_s, nameOf(m_activity)}, {u"StatusLine"_s, m_statusLine}, {u"Version"_s, m_version}};
}

void ControlObject::busDisconnected()
{
    if (m_disconnected) {
        m_disconnected();
    }
}

namespace {

const QString kName = u"nl.pelloquintar.tavlo"_s;
constexpr int kOtherInstanceMs = 2000;
// A bus that has just made its socket may not listen yet.
constexpr std::chrono::milliseconds kRetryDelay{200};
constexpr int kAttempts = 10;

// The socket of a bus address; empty where it has no place among the files.
QString socketOf(const QString& address)
{
    for (const QString& part : address.split(QLatin1Char(';'))) {
        if (!part.startsWith("unix:"_L1)) {
            continue;
        }
        for (const QString& field : part.mid(5).split(QLatin1Char(','))) {
            if (field.startsWith("path="_L1)) {
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

Registration SessionBusControl::onCommand(std::function<void(RemoteCommand)> handler)
{
    return m_object->onCommand(std::move(handler));
}

void SessionBusControl::publish(Activity activity, const QString& statusLine)
{
    m_object->publish(activity, statusLine);
}

std::optional<QDBusConnection> SessionBusControl::connection() const
{
    return m_object->bus();
}

ClaimResult SessionBusControl::claim()
{
    m_address = sessionBusAddress();
    if (m_address.isEmpty()) {
        return ClaimResult::NoBus;
    }
    // A connection of its own under a name of its own: the library never makes a shared one again after the bus left.
    static std::atomic<int> connectionCount = 0;
    m_connectionName = u"tavlo-control-%1"_s.arg(++connectionCount);
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
        const QDBusMessage request =
            QDBusMessage::createMethodCall(kName, ControlObject::path(), ControlObject::interface(), u"OpenSettings"_s);
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
        if (claim() != ClaimResult::NoBus) {
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
