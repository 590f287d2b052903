#pragma once

#include "platform/registration.h"

#include <QByteArray>
#include <QObject>

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class QSocketNotifier;

namespace tavlo {

// A connection to the X server of our own, beside that of the window toolkit. Its events are handed out on the main
// thread, from the event loop. All operations: main thread. Without a server, or once it is gone, the operations do
// nothing and hasConnection() is false.
class X11Display {
public:
    using EventHandler = std::function<void(const xcb_generic_event_t&)>;

    // `name` as in $DISPLAY; empty means $DISPLAY itself.
    explicit X11Display(const QByteArray& name = QByteArray());
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    bool hasConnection() const;
    // Never null: without a server this is libxcb's connection in its error state, on which every request fails.
    xcb_connection_t* connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    int screenNumber() const { return m_screenNumber; }

    // Asks the server, which is one round trip.
    bool hasExtension(const char* name) const;
    // XCB_ATOM_NONE without a server. Asks the server the first time only.
    xcb_atom_t atom(const std::string& name);
    // A property's value, at most 64 kB; empty when it is not there or not of this format (8, 16 or 32).
    QByteArray property(xcb_window_t window, xcb_atom_t name, int format);
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t name);

    // Handlers are called in the order in which they were added, for every event.
    [[nodiscard]] Registration onEvent(EventHandler handler);

    // Hands the requests to the server. Events that libxcb reads on the way are handed out from the event loop, since
    // the socket will not wake us for them any more; the same goes for events read while waiting for a reply, so
    // whoever waited for one calls this afterwards.
    void flush();
    // Handles every event that the server has sent before this call, now.
    void catchUp();

private:
    void handleEvents();

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    int m_screenNumber = 0;
    std::unordered_map<std::string, xcb_atom_t> m_atoms;
    HandlerList<const xcb_generic_event_t&> m_handlers;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QObject m_context;
    bool m_handlingQueued = false;
};

}  // namespace tavlo
