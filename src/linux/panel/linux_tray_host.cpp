#include "linux/panel/linux_tray_host.h"

#include "platform/text_literals.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace tavlo {

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
