#pragma once

#include "linux/x11/x11_tray_owner.h"
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

    // Uses this connection from now on: the session bus came back after a crash.
    void moveTo(const QDBusConnection& sessionBus);

    TrayKind kind() const override;
    bool offers(TrayKind kind) const override;
    int busNumber() const override { return m_busNumber; }
    Registration onChange(std::function<void()> changed) override { return m_changed.add(std::move(changed)); }

private Q_SLOTS:
    // Asks the bus, without waiting, whether icons are shown by now.
    void askBus();

private:
    void watch();
    void setBusHost(bool present);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    HandlerList<> m_changed;
    X11TrayOwner m_x11Tray;
    int m_busNumber = 1;
    int m_answeredNumber = 1;  // the bus that `m_busHost` is about
    bool m_busHost = false;
};

}  // namespace tavlo
