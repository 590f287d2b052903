#include "linux/wayland/virtual_keyboard.h"

#include <chrono>
#include <string_view>

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <virtual-keyboard-unstable-v1-client-protocol.h>

namespace tavlo {

namespace {

// The keys of the chords, each where a US keyboard has it, so that a program which goes by the key's place and one
// which goes by its symbol understand the same. Key codes of a keymap are the kernel's plus 8.
constexpr std::string_view kKeymap = R"(xkb_keymap {
    xkb_keycodes { minimum = 8; maximum = 255; <LCTL> = 37; <LFSH> = 50; <AB04> = 55; <INS> = 118; };
    xkb_types { include "complete" };
    xkb_compatibility { include "complete" };
    xkb_symbols {
        key <LCTL> { [ Control_L ] };
        key <LFSH> { [ Shift_L ] };
        key <AB04> { type = "ALPHABETIC", [ v, V ] };
        key <INS> { [ Insert ] };
        modifier_map Shift { <LFSH> };
        modifier_map Control { <LCTL> };
    };
};
)";
constexpr std::uint32_t kShiftModifier = 1;  // the masks that every keymap has
constexpr std::uint32_t kControlModifier = 4;

std::uint32_t modifierOf(std::uint32_t code)
{
    return code == KEY_LEFTSHIFT ? kShiftModifier : code == KEY_LEFTCTRL ? kControlModifier : 0;
}

bool setKeymap(zwp_virtual_keyboard_v1* keyboard)
{
    const int file = memfd_create("tavlo-keymap", MFD_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const std::size_t size = kKeymap.size() + 1;  // with the zero at its end
    const bool isWritten = write(file, kKeymap.data(), size) == static_cast<ssize_t>(size);
    if (isWritten) {
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                       static_cast<std::uint32_t>(size));
    }
    close(file);
    return isWritten;
}

}  // namespace

VirtualKeyboard::VirtualKeyboard(WaylandConnection& connection) : m_keyboard(nullptr, zwp_virtual_keyboard_v1_destroy)
{
    const WaylandPointer<zwp_virtual_keyboard_manager_v1> manager(
        connection.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface, 1),
        zwp_virtual_keyboard_manager_v1_destroy);
    if (!manager || connection.seat() == nullptr) {
        return;
    }
    m_keyboard.reset(zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager.get(), connection.seat()));
    if (!setKeymap(m_keyboard.get())) {
        m_keyboard.reset();
    }
    connection.flush();
}

void VirtualKeyboard::press(std::uint32_t code)
{
    send(code, WL_KEYBOARD_KEY_STATE_PRESSED);
    setModifiers(m_modifiers | modifierOf(code));
}

void VirtualKeyboard::release(std::uint32_t code)
{
    send(code, WL_KEYBOARD_KEY_STATE_RELEASED);
    setModifiers(m_modifiers & ~modifierOf(code));
}

void VirtualKeyboard::send(std::uint32_t code, wl_keyboard_key_state state)
{
    using namespace std::chrono;
    const auto time = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    zwp_virtual_keyboard_v1_key(m_keyboard.get(), static_cast<std::uint32_t>(time), code, state);
}

// Compositors differ in whether they work out the modifiers of such a keyboard, so they are told.
void VirtualKeyboard::setModifiers(std::uint32_t modifiers)
{
    if (modifiers != m_modifiers) {
        m_modifiers = modifiers;
        zwp_virtual_keyboard_v1_modifiers(m_keyboard.get(), modifiers, 0, 0, 0);
    }
}

}  // namespace tavlo
