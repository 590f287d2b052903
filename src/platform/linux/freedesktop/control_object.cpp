#include "platform/linux/freedesktop/control_object.h"

#include "platform/linux/freedesktop/control_interface_xml.h"

#include <QDBusError>
#include <QDBusVariant>

#include <utility>

namespace tavlo {

namespace {

const QString kLocalPath = QStringLiteral("/org/freedesktop/DBus/Local");
const QString kLocal = QStringLiteral("org.freedesktop.DBus.Local");
const QString kDisconnected = QStringLiteral("Disconnected");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

}  // namespace

QString ControlObject::path()
{
    return QStringLiteral("/nl/pelloquintar/Tavlo1");
}

QString ControlObject::interface()
{
    return QStringLiteral("nl.pelloquintar.Tavlo1");
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

void ControlObject::publish(const QString& state, const QString& statusLine)
{
    const QVariantMap before = properties();
    m_state = state;
    m_statusLine = statusLine;
    QVariantMap changed;
    const QVariantMap now = properties();
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (before.value(it.key()) != it.value()) {
            changed.insert(it.key(), it.value());
        }
    }
    if (m_bus && !changed.isEmpty()) {
        QDBusMessage notice = QDBusMessage::createSignal(path(), kProperties, QStringLiteral("PropertiesChanged"));
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
    const qsizetype start = document.indexOf(QLatin1String("<interface"));
    const QString end = QStringLiteral("</interface>\n");
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
    const std::function<void()> handler = handlerOf(message.member());
    if (!handler || (!message.interface().isEmpty() && message.interface() != interface())) {
        return false;
    }
    connection.send(message.createReply());
    m_queue.post(m_lifetime.reference(), handler);
    return true;
}

bool ControlObject::handleProperties(const QDBusMessage& message, const QDBusConnection& connection) const
{
    const QVariantList arguments = message.arguments();
    const QString wanted = arguments.value(0).toString();
    if (!wanted.isEmpty() && wanted != interface()) {
        connection.send(message.createErrorReply(QDBusError::UnknownInterface,
                                                 QStringLiteral("There is no interface %1 here.").arg(wanted)));
        return true;
    }
    if (message.member() == QLatin1String("GetAll")) {
        connection.send(message.createReply(QVariant(properties())));
        return true;
    }
    const QString name = arguments.value(1).toString();
    if (!properties().contains(name)) {
        connection.send(message.createErrorReply(QDBusError::UnknownProperty,
                                                 QStringLiteral("There is no property %1 here.").arg(name)));
    } else if (message.member() == QLatin1String("Get")) {
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(properties().value(name)))));
    } else {
        connection.send(message.createErrorReply(QDBusError::PropertyReadOnly,
                                                 QStringLiteral("The property %1 can only be read.").arg(name)));
    }
    return true;
}

QVariantMap ControlObject::properties() const
{
    return {{QStringLiteral("State"), m_state},
            {QStringLiteral("StatusLine"), m_statusLine},
            {QStringLiteral("Version"), m_version}};
}

std::function<void()> ControlObject::handlerOf(const QString& method) const
{
    if (method == QLatin1String("Toggle")) {
        return m_handlers.toggle;
    }
    if (method == QLatin1String("Cancel")) {
        return m_handlers.cancel;
    }
    if (method == QLatin1String("PasteAgain")) {
        return m_handlers.pasteAgain;
    }
    if (method == QLatin1String("OpenSettings")) {
        return m_handlers.openSettings;
    }
    return {};
}

void ControlObject::busDisconnected()
{
    if (m_disconnected) {
        m_disconnected();
    }
}

}  // namespace tavlo
