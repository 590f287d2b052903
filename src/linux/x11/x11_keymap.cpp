#include "linux/x11/x11_keymap.h"

#include "linux/x11/xcb.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>

namespace tavlo {

X11Keymap::X11Keymap(X11Display& display) : m_display(display)
{
    if (!m_display.hasConnection() ||
        xkb_x11_setup_xkb_extension(m_display.connection(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                    XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr,
                                    nullptr, &m_firstEvent, nullptr) == 0) {
        return;
    }
    m_device = xkb_x11_get_core_keyboard_device_id(m_display.connection());
    m_context.reset(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    if (m_device < 0 || !m_context) {
        return;
    }
    m_events = m_display.addReader(*this);
    selectEvents();
    refresh();
    m_display.flush();
}

bool X11Keymap::isAvailable()
{
    refresh();
    return m_keymap && m_display.hasConnection();
}

void X11Keymap::selectEvents()
{
    constexpr std::uint16_t kEvents =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    constexpr std::uint16_t kMapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                        XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS |
                                        XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                        XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
    constexpr std::uint16_t kStateParts = XCB_XKB_STATE_PART_MODIFIER_BASE | XCB_XKB_STATE_PART_MODIFIER_LATCH |
                                          XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_BASE |
                                          XCB_XKB_STATE_PART_GROUP_LATCH | XCB_XKB_STATE_PART_GROUP_LOCK;
    constexpr std::uint16_t kKeyboardParts = XCB_XKB_NKN_DETAIL_KEYCODES | XCB_XKB_NKN_DETAIL_DEVICE_ID;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = kKeyboardParts;
    details.newKeyboardDetails = kKeyboardParts;
    details.affectState = kStateParts;
    details.stateDetails = kStateParts;
    xcb_xkb_select_events_aux(m_display.connection(), static_cast<xcb_xkb_device_spec_t>(m_device), kEvents, 0, 0,
                              kMapParts, kMapParts, &details);
}

void X11Keymap::read(const xcb_generic_event_t& event)
{
    if ((event.response_type & 0x7f) != m_firstEvent) {
        return;
    }
    // All XKB events share one number; their kind is the second byte.
    switch (event.pad0) {
        case XCB_XKB_NEW_KEYBOARD_NOTIFY:
        case XCB_XKB_MAP_NOTIFY:
            // They come in bursts, so the description is read once, when it is needed next.
            m_stale = true;
            break;
        case XCB_XKB_STATE_NOTIFY: {
            const auto& notice = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
            if (m_state && notice.deviceID == m_device) {
                xkb_state_update_mask(m_state.get(), notice.baseMods, notice.latchedMods, notice.lockedMods,
                                      static_cast<xkb_layout_index_t>(notice.baseGroup),
                                      static_cast<xkb_layout_index_t>(notice.latchedGroup), notice.lockedGroup);
            }
            break;
        }
        default:
            break;
    }
}

void X11Keymap::refresh()
{
    if (!m_stale || !m_context || !m_display.hasConnection()) {
        return;
    }
    m_stale = false;
    XkbKeymap keymap(
        xkb_x11_keymap_new_from_device(m_context.get(), m_display.connection(), m_device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (keymap) {
        XkbState state(xkb_x11_state_new_from_device(keymap.get(), m_display.connection(), m_device));
        if (state) {
            m_state = std::move(state);
            m_keymap = std::move(keymap);
            m_keyCodes = keyCodesOf(m_keymap.get());
        }
    }
    m_display.flush();
}

KeyCode X11Keymap::keyCode(xcb_keycode_t key)
{
    refresh();
    return m_keyCodes[key];
}

xkb_keysym_t X11Keymap::symbol(xcb_keycode_t key) const
{
    return levelOneSymbol(m_keymap.get(), key, xkb_state_key_get_layout(m_state.get(), key));
}

QString X11Keymap::charactersIgnoringModifiers(xcb_keycode_t key)
{
    refresh();
    return m_keymap ? typedText(symbol(key)) : QString();
}

std::optional<xcb_keycode_t> X11Keymap::keyGiving(xkb_keysym_t wanted)
{
    refresh();
    if (!m_keymap) {
        return std::nullopt;
    }
    const xkb_keycode_t last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(m_keymap.get()), 255);
    for (xkb_keycode_t key = xkb_keymap_min_keycode(m_keymap.get()); key <= last; ++key) {
        if (symbol(static_cast<xcb_keycode_t>(key)) == wanted) {
            return static_cast<xcb_keycode_t>(key);
        }
    }
    return std::nullopt;
}

XkbState X11Keymap::stateOfActiveLayout() const
{
    XkbState state(xkb_state_new(m_keymap.get()));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0,
                          xkb_state_serialize_layout(m_state.get(), XKB_STATE_LAYOUT_EFFECTIVE));
    return state;
}

xkb_mod_mask_t X11Keymap::modifiersWhileHeld(xcb_keycode_t key)
{
    refresh();
    if (!m_keymap) {
        return 0;
    }
    constexpr xkb_mod_mask_t kRealModifiers = 0xff;
    const XkbState state = stateOfActiveLayout();
    xkb_state_update_key(state.get(), key, XKB_KEY_DOWN);
    const xkb_mod_mask_t held = xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_DEPRESSED);
    const xkb_mod_mask_t locked = xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_LOCKED);
    xkb_state_update_key(state.get(), key, XKB_KEY_UP);
    const xkb_mod_mask_t left = xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE);
    return locked == 0 && left == 0 ? held & kRealModifiers : 0;
}

bool X11Keymap::isSameUnder(xcb_keycode_t key, xcb_keycode_t held)
{
    refresh();
    if (!m_keymap) {
        return false;
    }
    const XkbState state = stateOfActiveLayout();
    const xkb_keysym_t alone = xkb_state_key_get_one_sym(state.get(), key);
    xkb_state_update_key(state.get(), held, XKB_KEY_DOWN);
    return xkb_state_key_get_one_sym(state.get(), key) == alone;
}

}  // namespace tavlo
