#pragma once

#include <QByteArray>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

#include <wayland-client-core.h>
#include <wayland-client-protocol.h>

namespace tavlo {

// Owns an object of a protocol, which the function that its header names gives back.
template <class T>
using WaylandPointer = std::unique_ptr<T, void (*)(T*)>;

// Our own connection to a Wayland compositor, beside whatever the toolkit uses, and the protocols that the compositor
// offers on it. Events are read by the main thread's event loop. Main thread.
class WaylandConnection {
public:
    // Connects to the display that the environment names. Waits for the compositor's list of protocols, for three
    // seconds at most; a compositor that does not answer by then offers nothing.
    WaylandConnection();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    bool isConnected() const { return m_isUsable; }
    bool offers(const wl_interface& interface) const;
    // Takes the compositor's first object of that protocol, in the highest version that both sides know up to
    // `version`; null where it has none. The caller owns it.
    template <class T>
    T* bind(const wl_interface& interface, std::uint32_t version)
    {
        return static_cast<T*>(bindObject(interface, version));
    }
    // The first seat; null where there is none.
    wl_seat* seat() const { return m_seat.get(); }

    // Sends what has been requested. Does not wait for it to be read.
    void flush();
    // Waits until the compositor has handled everything requested so far and its answers have been dispatched; false
    // when `limit` has passed or the connection has ended.
    bool roundTrip(std::chrono::milliseconds limit);

private:
    struct Global {
        std::uint32_t name = 0;
        std::uint32_t version = 0;
    };

    void* bindObject(const wl_interface& interface, std::uint32_t version);
    void readEvents();
    bool waitReadable(std::chrono::milliseconds limit);
    void connectionEnded();

    WaylandPointer<wl_display> m_display;
    WaylandPointer<wl_registry> m_registry{nullptr, wl_registry_destroy};
    std::map<QByteArray, Global> m_globals;  // the first of each
    WaylandPointer<wl_seat> m_seat{nullptr, wl_seat_destroy};
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable;  // enabled while requests wait for room
    bool m_isUsable = false;
};

}  // namespace tavlo
