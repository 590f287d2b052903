#include "linux/x11/x11_keyboard_monitor.h"

#include "linux/x11/xcb.h"
#include "platform/text_literals.h"

#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <array>
#include <utility>
#include <vector>

namespace tavlo {

namespace {

// Request numbers wrap around; the nearer direction tells which came first.
bool isBefore(std::uint32_t first, std::uint32_t second)
{
    return static_cast<std::int32_t>(first - second) < 0;
}

void selectEvents(X11Display& display)
{
    struct Selection {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    };
    // Only of the master keyboards: the devices themselves would report each key a second time.
    const std::array<Selection, 2> selections{{
        {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
         XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE},
        {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY},
    }};
    xcb_input_xi_select_events(display.connection(), display.root(), static_cast<std::uint16_t>(selections.size()),
                               &selections[0].head);
}

}  // namespace

X11KeyboardMonitor::X11KeyboardMonitor(X11Display& display, X11Keymap& keymap) : m_display(display), m_keymap(keymap)
{
    xcb_connection_t* const connection = m_display.connection();
    const xcb_query_extension_reply_t* const extension =
        m_display.hasConnection() ? xcb_get_extension_data(connection, &xcb_input_id) : nullptr;
    if (extension == nullptr || extension->present == 0) {
        return;
    }
    const auto version =
        ownReply(xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    // XInput 2.0 hides raw keys from us while another program has grabbed the keyboard.
    if (!version ||
        std::pair(version->major_version, version->minor_version) < std::pair<std::uint16_t, std::uint16_t>(2, 1)) {
        return;
    }
    m_opcode = extension->major_opcode;
    const xcb_query_extension_reply_t* const keyboard = xcb_get_extension_data(connection, &xcb_xkb_id);
    m_keyboardEvents = keyboard != nullptr && keyboard->present != 0 ? keyboard->first_event : 0;
    m_events = m_display.addReader(*this);
    selectEvents(m_display);
    // In this order, for findTestDevices() waits for the server: once this returns, the keys that are down are known.
    requestState();
    findTestDevices();
    m_display.flush();
}

bool X11KeyboardMonitor::seesKeys() const
{
    return m_opcode != 0 && m_display.hasConnection();
}

Words X11KeyboardMonitor::unavailableReason() const
{
    if (!m_display.hasConnection()) {
        return {u"Er is geen verbinding met een X-server, dus de sneltoets werkt niet."_s,
                u"There is no connection to an X server, so the hotkey does not work."_s};
    }
    if (!seesKeys()) {
        return {u"De X-server heeft XInput 2 niet, dus de sneltoets werkt niet."_s,
                u"The X server has no XInput 2, so the hotkey does not work."_s};
    }
    if (!m_keymap.isAvailable()) {
        return {u"De X-server beschrijft zijn toetsenbord niet (XKB), dus de sneltoets werkt niet."_s,
                u"The X server does not describe its keyboard (XKB), so the hotkey does not work."_s};
    }
    return {};
}

X11KeyboardMonitor::OwnKeys::OwnKeys(X11KeyboardMonitor& monitor)
    : m_monitor(monitor), m_first(xcb_grab_server(monitor.m_display.connection()).sequence)
{
}

X11KeyboardMonitor::OwnKeys::~OwnKeys()
{
    const xcb_void_cookie_t last = xcb_ungrab_server(m_monitor.m_display.connection());
    m_monitor.m_ownSpans.push_back({m_first, last.sequence});
    m_monitor.m_display.flush();
}

bool X11KeyboardMonitor::isOwn(std::uint32_t request)
{
    while (!m_ownSpans.empty() && !isBefore(request, m_ownSpans.front().last)) {
        m_ownSpans.pop_front();
    }
    return !m_ownSpans.empty() && !isBefore(request, m_ownSpans.front().first);
}

void X11KeyboardMonitor::read(const xcb_generic_event_t& event)
{
    applyState(event.full_sequence);
    const int type = event.response_type & 0x7f;
    if (m_keyboardEvents != 0 && type == m_keyboardEvents && event.pad0 == XCB_XKB_STATE_NOTIFY) {
        // The server knows of no modifier that is down: if we do, we have missed a release.
        const auto& notice = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
        if (notice.baseMods == 0 && m_down.any()) {
            requestState();
        }
        return;
    }
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (type != XCB_GE_GENERIC || generic.extension != m_opcode) {
        return;
    }
    if (generic.event_type == XCB_INPUT_HIERARCHY) {
        // A keyboard that is unplugged takes the keys with it that were down on it.
        findTestDevices();
        requestState();
        m_display.flush();
    } else if (generic.event_type == XCB_INPUT_RAW_KEY_PRESS || generic.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
        readKey(event);
    }
}

void X11KeyboardMonitor::readKey(const xcb_generic_event_t& event)
{
    const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
    if (raw.detail >= m_down.size()) {
        return;
    }
    RawKey key;
    key.key = static_cast<xcb_keycode_t>(raw.detail);
    key.time = raw.time;
    if (m_testDevices.contains(raw.sourceid)) {
        key.source = isOwn(raw.full_sequence) ? KeySource::OurProgram : KeySource::OtherProgram;
    }
    const bool wasDown = m_down.test(key.key);
    if (raw.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
        if (!wasDown && key.source != KeySource::OurProgram) {
            return;  // programs that send keys release more than they have pressed
        }
        key.action = KeyAction::Release;
    } else if (wasDown || (raw.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0) {
        key.action = KeyAction::Repeat;
    }
    if (key.source != KeySource::OurProgram) {
        m_down.set(key.key, key.action != KeyAction::Release);
    }
    report(key);
    m_rawKey.call(key);
}

void X11KeyboardMonitor::report(const RawKey& key)
{
    if (key.source == KeySource::OurProgram) {
        return;
    }
    KeyEvent event;
    event.keyCode = m_keymap.keyCode(key.key);
    event.time = key.time;
    if (isModifierKey(event.keyCode)) {
        // A modifier that is down already has not changed.
        if (key.action != KeyAction::Repeat) {
            event.modifierFlags = modifierFlags();
            m_flagsChanged.call(event);
        }
    } else if (key.action != KeyAction::Release) {
        event.modifierFlags = modifierFlags();
        event.repeat = key.action == KeyAction::Repeat ? KeyRepeat::AutoRepeat : KeyRepeat::FirstPress;
        event.charactersIgnoringModifiers = m_keymap.charactersIgnoringModifiers(key.key);
        m_keyDown.call(event);
    }
}

ModifierFlags X11KeyboardMonitor::modifierFlags()
{
    ModifierFlags flags = ModifierFlags::None;
    for (std::size_t key = 0; key < m_down.size(); ++key) {
        if (m_down.test(key)) {
            flags |= modifierFlag(m_keymap.keyCode(static_cast<xcb_keycode_t>(key)));
        }
    }
    return flags;
}

void X11KeyboardMonitor::findTestDevices()
{
    // The server marks the devices behind XTEST with this property.
    xcb_connection_t* const connection = m_display.connection();
    const xcb_atom_t mark = m_display.atom("XTEST Device");
    const auto devices = ownReply(xcb_input_xi_query_device_reply(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
    m_testDevices.clear();
    if (!devices || mark == XCB_ATOM_NONE) {
        return;
    }
    std::vector<std::pair<std::uint16_t, xcb_input_xi_get_property_cookie_t>> questions;
    for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        if (device.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD) {
            const auto id = device.data->deviceid;
            questions.emplace_back(id, xcb_input_xi_get_property(connection, id, 0, mark, XCB_ATOM_ANY, 0, 1));
        }
    }
    for (const auto& [id, question] : questions) {
        const auto answer = ownReply(xcb_input_xi_get_property_reply(connection, question, nullptr));
        if (answer && answer->num_items > 0) {
            m_testDevices.insert(id);
        }
    }
}

void X11KeyboardMonitor::requestState()
{
    if (!m_stateRequest) {
        m_stateRequest = xcb_query_keymap(m_display.connection());
    }
}

void X11KeyboardMonitor::applyState(std::optional<std::uint32_t> upToRequest)
{
    // The answer describes the moment of its request: it must not be applied to events before that.
    if (!m_stateRequest || (upToRequest && isBefore(*upToRequest, m_stateRequest->sequence))) {
        return;
    }
    void* reply = nullptr;
    if (xcb_poll_for_reply(m_display.connection(), m_stateRequest->sequence, &reply, nullptr) == 0) {
        return;
    }
    m_stateRequest.reset();
    if (const auto state = ownReply(static_cast<xcb_query_keymap_reply_t*>(reply))) {
        for (std::size_t key = 0; key < m_down.size(); ++key) {
            m_down.set(key, ((state->keys[key / 8] >> (key % 8)) & 1) != 0);
        }
    }
}

}  // namespace tavlo
