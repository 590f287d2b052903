#pragma once

#include "linux/wayland/wayland_connection.h"

#include <functional>
#include <string>

namespace tavlo {

// The keyboard description that the compositor gives to its programs, also to those without a window. Main thread.
class SeatKeymap {
public:
    // `changed` gets each description, in XKB's text format, the first one soon after the connection was made.
    // `connection` outlives this object.
    SeatKeymap(WaylandConnection& connection, std::function<void(const std::string& text)> changed);

private:
    void take(int file, std::uint32_t size);

    WaylandConnection& m_connection;
    std::function<void(const std::string&)> m_changed;
    WaylandPointer<wl_keyboard> m_keyboard{nullptr, wl_keyboard_destroy};
};

}  // namespace tavlo
