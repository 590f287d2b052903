#pragma once

#include "platform/registration.h"

#include <QByteArray>
#include <QObject>

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class QSocketNotifier;

namespace tavlo {

// Reads the events of a display. Main thread.
class X11EventReader {
public:
    virtual void read(const xcb_generic_event_t& event) = 0;

protected:
    ~X11EventReader() = default;
};

// A connection to the X server besides the toolkit's. Its events are delivered on the main thread, from the event loop.
// All operations: main thread. Without a server, or once it is gone, they do nothing and hasConnection() is false.
class X11Display {
public:
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
    // The window that the window manager calls active; XCB_WINDOW_NONE without a window manager.
    xcb_window_t activeWindow();

    // Readers get every event, in the order in which they were added. None may be added or removed by an event.
    Registration addReader(X11EventReader& reader);

    // Sends the requests to the server. Events that libxcb has read by now, while sending or while waiting for a reply,
    // no longer make the socket readable, so they are delivered from the event loop: call this after waiting for a
    // reply too.
    void flush();
    // Delivers, before it returns, every event that the server has sent before this call.
    void catchUp();

private:
    void handleEvents();

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    int m_screenNumber = 0;
    std::unordered_map<std::string, xcb_atom_t> m_atoms;
    std::vector<X11EventReader*> m_readers;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QObject m_context;
    bool m_handlingQueued = false;
};

}  // namespace tavlo
