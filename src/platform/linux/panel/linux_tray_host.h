#pragma once

#include "platform/linux/panel/observers.h"
#include "platform/linux/panel/x11_tray_owner.h"
#include "platform/tray_host.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace tavlo {

// The trays of free desktops: a host of status notifier items on the session bus, and the X11 tray. Main thread.
class LinuxTrayHost : public QObject, public TrayHost {
    Q_OBJECT

public:
    explicit LinuxTrayHost(const QDBusConnection& sessionBus);

    TrayKind kind() const override;
    bool offers(TrayKind kind) const override;
    Registration observe(std::function<void()> changed) override { return m_observers.add(std::move(changed)); }

private Q_SLOTS:
    // Asks the bus, without waiting, whether icons are shown by now.
    void askBus();

private:
    void setBusHost(bool present);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    Observers m_observers;
    X11TrayOwner m_x11Tray;
    bool m_busHost = false;
};

}  // namespace tavlo
