#pragma once

#include "platform/panel.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <xcb/xcb.h>

#include <functional>

namespace tavlo {

// Whether there is an X11 tray, which embeds icons; follows it over the toolkit's connection. Without an X server there
// is none. Main thread.
class X11TrayOwner : public QAbstractNativeEventFilter {
public:
    explicit X11TrayOwner(std::function<void()> changed);
    ~X11TrayOwner() override;

    bool present() const { return m_owner != XCB_WINDOW_NONE; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    // One round trip to the server.
    void lookUp();

    std::function<void()> m_changed;
    xcb_connection_t* m_connection = nullptr;
    xcb_atom_t m_selection = XCB_ATOM_NONE;  // which the tray owns
    xcb_atom_t m_manager = XCB_ATOM_NONE;    // the message with which a new tray announces itself
    xcb_window_t m_owner = XCB_WINDOW_NONE;  // the tray
};

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
