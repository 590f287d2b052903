#include "support/x_hands.h"

#include "linux/x11/xcb.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <memory>

namespace tavlo {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

template <class T>
std::unique_ptr<T, Free> own(T* reply)
{
    return std::unique_ptr<T, Free>(reply);
}

}  // namespace

XHands::XHands(const QByteArray& displayName) : m_connection(xcb_connect(displayName.constData(), nullptr))
{
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    own(xcb_xkb_use_extension_reply(m_connection, xcb_xkb_use_extension(m_connection, 1, 0), nullptr));
    const auto* const input = xcb_get_extension_data(m_connection, &xcb_input_id);
    if (input == nullptr || input->present == 0) {
        return;
    }
    m_firstInputEvent = input->first_event;
    own(xcb_input_xi_query_version_reply(m_connection, xcb_input_xi_query_version(m_connection, 2, 2), nullptr));
    const auto devices = own(xcb_input_xi_query_device_reply(
        m_connection, xcb_input_xi_query_device(m_connection, XCB_INPUT_DEVICE_ALL), nullptr));
    for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        const QByteArray name(xcb_input_xi_device_info_name(device.data), device.data->name_len);
        if (device.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && !name.contains("XTEST")) {
            m_keyboard = static_cast<std::uint8_t>(device.data->deviceid);
        }
    }
}

XHands::~XHands()
{
    xcb_disconnect(m_connection);
}

void XHands::press(std::uint8_t code, Device device)
{
    key(XCB_KEY_PRESS, code, device);
}

void XHands::release(std::uint8_t code, Device device)
{
    key(XCB_KEY_RELEASE, code, device);
}

void XHands::tap(std::uint8_t code, Device device)
{
    press(code, device);
    release(code, device);
}

void XHands::key(std::uint8_t coreType, std::uint8_t code, Device device)
{
    // Through any device: the extension's own kind of event with the device's number.
    const bool isKeyboard = device == Device::Keyboard;
    const auto extensionType = static_cast<std::uint8_t>(
        m_firstInputEvent + (coreType == XCB_KEY_PRESS ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE));
    xcb_test_fake_input(m_connection, isKeyboard ? extensionType : coreType, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0,
                        0, isKeyboard ? m_keyboard : 0);
    sync();
}

void XHands::sync()
{
    own(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    while (own(xcb_poll_for_event(m_connection))) {
    }
}

std::vector<std::uint8_t> XHands::keysDown()
{
    std::vector<std::uint8_t> keys;
    const auto state = own(xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr));
    for (unsigned code = 0; code < 256; ++code) {
        if (((state->keys[code / 8] >> (code % 8)) & 1U) != 0) {
            keys.push_back(static_cast<std::uint8_t>(code));
        }
    }
    return keys;
}

void XHands::lockGroup(std::uint8_t group)
{
    xcb_xkb_latch_lock_state(m_connection, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
    sync();
}

void XHands::lockModifiers(std::uint8_t modifiers)
{
    xcb_xkb_latch_lock_state(m_connection, XCB_XKB_ID_USE_CORE_KBD, 0xff, modifiers, 0, 0, 0, 0, 0);
    sync();
}

std::uint8_t XHands::lockedModifiers()
{
    return own(xcb_xkb_get_state_reply(m_connection, xcb_xkb_get_state(m_connection, XCB_XKB_ID_USE_CORE_KBD), nullptr))
        ->lockedMods;
}

bool XHands::grabKeyboard()
{
    const auto reply = own(xcb_grab_keyboard_reply(
        m_connection,
        xcb_grab_keyboard(m_connection, 0, m_root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void XHands::ungrabKeyboard()
{
    xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
    sync();
}

void XHands::movePointer(int x, int y)
{
    xcb_warp_pointer(m_connection, XCB_WINDOW_NONE, m_root, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y));
    sync();
}

xcb_window_t XHands::focus()
{
    return own(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr))->focus;
}

xcb_atom_t XHands::atom(const QByteArray& name)
{
    const auto length = static_cast<std::uint16_t>(name.size());
    return own(xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, length, name.constData()), nullptr))
        ->atom;
}

xcb_window_t XHands::createWindow(int x, int y, int width, int height)
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, static_cast<std::int16_t>(x),
                      static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                      static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0,
                      nullptr);
    sync();
    return window;
}

void XHands::setNumbers(xcb_window_t window, const QByteArray& property, const std::vector<std::uint32_t>& numbers)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(property), XCB_ATOM_CARDINAL, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
    sync();
}

void XHands::removeProperty(xcb_window_t window, const QByteArray& property)
{
    xcb_delete_property(m_connection, window, atom(property));
    sync();
}

void XHands::ownSelection(const QByteArray& name, xcb_window_t window)
{
    xcb_set_selection_owner(m_connection, window, atom(name), XCB_CURRENT_TIME);
    sync();
}

}  // namespace tavlo
