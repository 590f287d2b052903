#include "linux/wayland/seat_keymap.h"

#include "posix/file_access.h"

#include <utility>

#include <sys/mman.h>

namespace tavlo {

SeatKeymap::SeatKeymap(WaylandConnection& connection, std::function<void(const std::string& text)> changed)
    : m_connection(connection), m_changed(std::move(changed))
{
    // A seat that has no keyboard yet must not be asked for one.
    static constexpr wl_seat_listener kSeatListener{
        .capabilities =
            [](void* data, wl_seat* seat, std::uint32_t capabilities) {
                auto* const self = static_cast<SeatKeymap*>(data);
                if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) == 0 || self->m_keyboard) {
                    return;
                }
                static constexpr wl_keyboard_listener kListener{
                    .keymap =
                        [](void* owner, wl_keyboard*, std::uint32_t format, std::int32_t file, std::uint32_t size) {
                            const Descriptor closed(file);
                            if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1) {
                                static_cast<SeatKeymap*>(owner)->take(file, size);
                            }
                        },
                    .enter = [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
                    .leave = [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
                    .key = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
                    .modifiers = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                    std::uint32_t) {},
                    .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {}};
                self->m_keyboard.reset(wl_seat_get_keyboard(seat));
                wl_keyboard_add_listener(self->m_keyboard.get(), &kListener, self);
                self->m_connection.flush();
            },
        .name = [](void*, wl_seat*, const char*) {}};
    if (m_connection.seat() != nullptr) {
        wl_seat_add_listener(m_connection.seat(), &kSeatListener, this);
        m_connection.flush();
    }
}

void SeatKeymap::take(int file, std::uint32_t size)
{
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (size == 0 || memory == MAP_FAILED) {
        return;
    }
    // It ends with a zero, which is no part of the text.
    const std::string text(static_cast<const char*>(memory), size - 1);
    munmap(memory, size);
    m_changed(text);
}

}  // namespace tavlo
