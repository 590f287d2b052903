#include "linux/wayland/wayland_connection.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>

namespace tavlo {

namespace {

// Long, because a compositor that is starting, or that looks up for the first time what this program may use, is busy;
// and giving up is for the whole session.
constexpr std::chrono::milliseconds kStartTime{3000};

}  // namespace

WaylandConnection::WaylandConnection() : m_display(wl_display_connect(nullptr), wl_display_disconnect)
{
    if (!m_display) {
        return;
    }
    m_isUsable = true;
    const int descriptor = wl_display_get_fd(m_display.get());
    m_readable = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    m_writable = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write);
    m_writable->setEnabled(false);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(), [this] { readEvents(); });
    QObject::connect(m_writable.get(), &QSocketNotifier::activated, m_writable.get(), [this] { flush(); });

    static constexpr wl_registry_listener kListener{
        .global =
            [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<WaylandConnection*>(self)->m_globals.try_emplace(QByteArray(interface),
                                                                             Global{name, version});
            },
        .global_remove =
            [](void* self, wl_registry*, std::uint32_t name) {
                std::erase_if(static_cast<WaylandConnection*>(self)->m_globals,
                              [name](const auto& entry) { return entry.second.name == name; });
            }};
    m_registry.reset(wl_display_get_registry(m_display.get()));
    wl_registry_add_listener(m_registry.get(), &kListener, this);
    if (!roundTrip(kStartTime)) {
        connectionEnded();
        return;
    }
    m_seat.reset(bind<wl_seat>(wl_seat_interface, 1));
}

WaylandConnection::~WaylandConnection() = default;

bool WaylandConnection::offers(const wl_interface& interface) const
{
    return m_isUsable && m_globals.contains(QByteArray(interface.name));
}

void* WaylandConnection::bindObject(const wl_interface& interface, std::uint32_t version)
{
    if (!m_isUsable) {
        return nullptr;
    }
    const auto found = m_globals.find(QByteArray(interface.name));
    return found == m_globals.end() ? nullptr
                                    : wl_registry_bind(m_registry.get(), found->second.name, &interface,
                                                       std::min(version, found->second.version));
}

void WaylandConnection::flush()
{
    if (!m_isUsable) {
        return;
    }
    const bool isWaiting = wl_display_flush(m_display.get()) < 0;
    if (isWaiting && errno != EAGAIN) {
        connectionEnded();
        return;
    }
    m_writable->setEnabled(isWaiting);
}

bool WaylandConnection::roundTrip(std::chrono::milliseconds limit)
{
    if (!m_isUsable) {
        return false;
    }
    bool isDone = false;
    static constexpr wl_callback_listener kListener{
        .done = [](void* done, wl_callback*, std::uint32_t) { *static_cast<bool*>(done) = true; }};
    const WaylandPointer<wl_callback> callback(wl_display_sync(m_display.get()), wl_callback_destroy);
    wl_callback_add_listener(callback.get(), &kListener, &isDone);

    const auto end = std::chrono::steady_clock::now() + limit;
    flush();
    while (m_isUsable && !isDone) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !waitReadable(left)) {
            break;
        }
        readEvents();
    }
    return isDone;
}

bool WaylandConnection::waitReadable(std::chrono::milliseconds limit)
{
    pollfd waited{wl_display_get_fd(m_display.get()), POLLIN, 0};
    return poll(&waited, 1, static_cast<int>(limit.count())) > 0;
}

// Reads what is there without waiting for more, and dispatches it.
void WaylandConnection::readEvents()
{
    while (wl_display_prepare_read(m_display.get()) != 0) {
        wl_display_dispatch_pending(m_display.get());
    }
    if (wl_display_read_events(m_display.get()) < 0 || wl_display_dispatch_pending(m_display.get()) < 0) {
        connectionEnded();
        return;
    }
    flush();
}

// A compositor that has gone takes its session along. Until the process ends with it, everything does nothing.
void WaylandConnection::connectionEnded()
{
    m_isUsable = false;
    m_globals.clear();
    if (m_readable) {
        m_readable->setEnabled(false);
        m_writable->setEnabled(false);
    }
}

}  // namespace tavlo
