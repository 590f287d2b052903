#include "linux/panel/linux_tray_host.h"

#include "linux/x11/xcb.h"
#include "platform/text_literals.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>

#include <utility>

namespace tavlo {

X11TrayOwner::X11TrayOwner(std::function<void()> changed) : m_changed(std::move(changed))
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return;
    }
    m_connection = x11->connection();
    // The toolkit knows one screen of the server, the first one in every session of today.
    m_selection = internAtom(m_connection, "_NET_SYSTEM_TRAY_S0");
    m_manager = internAtom(m_connection, "MANAGER");
    lookUp();
    qGuiApp->installNativeEventFilter(this);
}

X11TrayOwner::~X11TrayOwner() = default;

bool X11TrayOwner::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    // A new tray announces itself to the root window, of which the toolkit reads the events; an old one is destroyed.
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    bool concerned = false;
    switch (event->response_type & 0x7f) {
        case XCB_CLIENT_MESSAGE: {
            const auto* note = static_cast<const xcb_client_message_event_t*>(message);
            concerned = note->type == m_manager && note->data.data32[1] == m_selection;
            break;
        }
        case XCB_DESTROY_NOTIFY:
            concerned = m_owner != XCB_WINDOW_NONE &&
                        static_cast<const xcb_destroy_notify_event_t*>(message)->window == m_owner;
            break;
        default:
            break;
    }
    if (concerned) {
        lookUp();
        m_changed();
    }
    return false;
}

void X11TrayOwner::lookUp()
{
    m_owner = selectionOwner(m_connection, m_selection);
    if (m_owner != XCB_WINDOW_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_owner, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
}

namespace {

const QString kWatcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString kWatcherPath = u"/StatusNotifierWatcher"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

}  // namespace

LinuxTrayHost::LinuxTrayHost(const QDBusConnection& sessionBus)
    : m_bus(sessionBus),
      m_watcher(kWatcherName, m_bus, QDBusServiceWatcher::WatchForOwnerChange),
      m_x11Tray([this] { m_changed.call(); })
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (owner.isEmpty()) {
                    setBusHost(false);
                } else {
                    askBus();
                }
            });
    watch();
}

void LinuxTrayHost::moveTo(const QDBusConnection& sessionBus)
{
    m_bus = sessionBus;
    m_watcher.setConnection(m_bus);
    ++m_busNumber;
    // The toolkit's icon, of which there is one, has a connection of this name. The library would reuse it although its
    // bus is gone.
    QDBusConnection::disconnectFromBus(u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid()));
    watch();
}

void LinuxTrayHost::watch()
{
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(kWatcherName, kWatcherPath, kWatcherName, QLatin1String(signal), this, SLOT(askBus()));
    }
    m_bus.connect(kWatcherName, kWatcherPath, kProperties, u"PropertiesChanged"_s, this, SLOT(askBus()));
    askBus();
}

TrayKind LinuxTrayHost::kind() const
{
    if (m_busHost) {
        return TrayKind::Bus;
    }
    return m_x11Tray.present() ? TrayKind::Embedding : TrayKind::None;
}

bool LinuxTrayHost::offers(TrayKind kind) const
{
    return (kind == TrayKind::Bus && m_busHost) || (kind == TrayKind::Embedding && m_x11Tray.present());
}

void LinuxTrayHost::askBus()
{
    if (!m_bus.isConnected()) {
        return;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(kWatcherName, kWatcherPath, kProperties, u"Get"_s);
    question << kWatcherName << u"IsStatusNotifierHostRegistered"_s;
    question.setAutoStartService(false);
    auto* call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, asked = m_busNumber] {
        call->deleteLater();
        if (asked != m_busNumber) {
            return;  // the answer is from a bus that is gone
        }
        const QDBusPendingReply<QDBusVariant> reply = *call;
        setBusHost(reply.isValid() && reply.value().variant().toBool());
    });
}

void LinuxTrayHost::setBusHost(bool present)
{
    // The first answer of a new bus is a change, whatever it says.
    if (std::exchange(m_answeredNumber, m_busNumber) != m_busNumber || m_busHost != present) {
        m_busHost = present;
        m_changed.call();
    }
}

}  // namespace tavlo
