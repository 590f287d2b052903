#pragma once

#include <QAbstractNativeEventFilter>

#include <functional>

#include <xcb/xcb.h>

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

}  // namespace tavlo
