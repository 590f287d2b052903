#include "linux/x11/x11_paste_keystroke.h"

#include "linux/x11/xcb.h"

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace tavlo {

namespace {

constexpr int kMaximumDepth = 32;
constexpr xcb_window_t kNoWindow = XCB_WINDOW_NONE;  // libxcb's constants are of enumerated types

xcb_window_t windowUnderPointer(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    xcb_window_t window = display.root();
    for (int depth = 0; depth < kMaximumDepth; ++depth) {
        const auto pointer =
            ownReply(xcb_query_pointer_reply(connection, xcb_query_pointer(connection, window), nullptr));
        if (!pointer || pointer->child == kNoWindow) {
            break;
        }
        window = pointer->child;
    }
    return window == display.root() ? kNoWindow : window;
}

}  // namespace

xcb_window_t focusedWindow(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    const auto focus = ownReply(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_window_t window = focus ? focus->focus : kNoWindow;
    if (window == xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT} || window == display.root()) {
        window = windowUnderPointer(display);
    }
    return window != kNoWindow ? window : display.activeWindow();
}

QByteArrayList windowClass(X11Display& display, xcb_window_t window)
{
    xcb_connection_t* const connection = display.connection();
    for (int depth = 0; depth < kMaximumDepth && window != kNoWindow && window != display.root(); ++depth) {
        QByteArrayList names = display.property(window, XCB_ATOM_WM_CLASS, 8).split('\0');
        names.removeAll(QByteArray());
        if (!names.isEmpty()) {
            return names;
        }
        const auto tree = ownReply(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        window = tree ? tree->parent : kNoWindow;
    }
    return {};
}

namespace {

constexpr xkb_mod_mask_t kShiftModifier = XCB_MOD_MASK_SHIFT;
constexpr xkb_mod_mask_t kControlModifier = XCB_MOD_MASK_CONTROL;
// Alt and Super in every usual keymap. When such a key is tapped alone, desktops and programs open an overview or a
// menu.
constexpr xkb_mod_mask_t kTappedModifiers = XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
// Locks that change a chord. Caps Lock and Num Lock do not; toggling them would show on the screen.
constexpr std::uint8_t kDisturbingLocks = static_cast<std::uint8_t>(0xff & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2));
constexpr std::uint8_t kAllModifiers = 0xff;

}  // namespace

X11PasteKeystroke::X11PasteKeystroke(X11Display& display, X11Keymap& keymap, X11KeyboardMonitor& monitor,
                                     Pasteboard& pasteboard)
    : m_display(display),
      m_keymap(keymap),
      m_monitor(monitor),
      m_pasteboard(pasteboard),
      m_keys(monitor.onRawKey([this](const RawKey& key) { handle(key); }))
{
}

X11PasteKeystroke::~X11PasteKeystroke()
{
    m_display.catchUp();
    if (m_heldForUser.any() && m_display.hasConnection()) {
        // Nobody else would release these.
        const X11KeyboardMonitor::OwnKeys ours(m_monitor);
        for (std::size_t key = 0; key < m_heldForUser.size(); ++key) {
            if (m_heldForUser.test(key)) {
                release(static_cast<xcb_keycode_t>(key));
            }
        }
    }
    // The server may drop requests that it has not read when the connection is closed.
    m_display.catchUp();
}

bool X11PasteKeystroke::isTrusted()
{
    if (!m_display.hasConnection() || !m_display.hasExtension("XTEST") || !m_keymap.isAvailable()) {
        return false;
    }
    // A server that has the extension can still deny it to this program.
    const auto version = ownReply(xcb_test_get_version_reply(
        m_display.connection(), xcb_test_get_version(m_display.connection(), 2, 2), nullptr));
    m_display.flush();
    return version != nullptr;
}

void X11PasteKeystroke::sendPaste()
{
    if (!isTrusted()) {
        return;
    }
    m_display.catchUp();  // the layout and the keys as they are now
    const PasteChord wanted = pasteChordFor(windowClass(m_display, focusedWindow(m_display)));
    const bool canTypeV = m_keymap.keyGiving(XKB_KEY_v).has_value();
    const PasteChord chord = canTypeV ? wanted : PasteChord::ShiftInsert;
    const std::optional<ChordKeys> keys = keysFor(chord);
    if (!keys) {
        return;
    }
    if (chord == PasteChord::ShiftInsert) {
        m_pasteboard.offerPrimarySelection();
    }
    const X11KeyboardMonitor::OwnKeys ours(m_monitor);
    type(*keys);
}

std::optional<X11PasteKeystroke::ChordKeys> X11PasteKeystroke::keysFor(PasteChord chord)
{
    const auto control = modifierKey(XKB_KEY_Control_L, XKB_KEY_Control_R, kControlModifier);
    const auto shift = modifierKey(XKB_KEY_Shift_L, XKB_KEY_Shift_R, kShiftModifier);
    const auto typed = m_keymap.keyGiving(chord == PasteChord::ShiftInsert ? XKB_KEY_Insert : XKB_KEY_v);
    const auto main = chord == PasteChord::ShiftInsert ? shift : control;
    if (!typed || !main || (chord == PasteChord::ControlShiftV && !shift)) {
        return std::nullopt;
    }
    return ChordKeys{*main, chord == PasteChord::ControlShiftV ? shift : std::nullopt, *typed};
}

std::optional<xcb_keycode_t> X11PasteKeystroke::modifierKey(xkb_keysym_t left, xkb_keysym_t right,
                                                            xkb_mod_mask_t modifier)
{
    for (const xkb_keysym_t symbol : {left, right}) {
        const auto key = m_keymap.keyGiving(symbol);
        if (key && m_keymap.modifiersWhileHeld(*key) == modifier) {
            return key;
        }
    }
    return std::nullopt;
}

void X11PasteKeystroke::type(const ChordKeys& keys)
{
    xcb_connection_t* const connection = m_display.connection();
    constexpr xcb_xkb_device_spec_t kCoreKeyboard = XCB_XKB_ID_USE_CORE_KBD;
    const auto stateRequest = xcb_xkb_get_state(connection, kCoreKeyboard);
    const Keys down = keysDown();
    const auto state = ownReply(xcb_xkb_get_state_reply(connection, stateRequest, nullptr));
    const auto locks = static_cast<std::uint8_t>(state ? state->lockedMods & kDisturbingLocks : 0);
    const auto latches = static_cast<std::uint8_t>(state ? state->latchedMods : 0);
    if (locks != 0 || latches != 0) {
        xcb_xkb_latch_lock_state(connection, kCoreKeyboard, locks, 0, 0, 0, kAllModifiers, 0, 0);
    }

    // Held keys that must not seem tapped alone are released and pressed again while our own modifier is down, unless
    // the two together mean something else, such as the next layout.
    std::vector<xcb_keycode_t> wrapped;
    std::vector<xcb_keycode_t> plain;
    for (std::size_t i = 8; i < down.size(); ++i) {
        const auto key = static_cast<xcb_keycode_t>(i);
        const xkb_mod_mask_t modifiers = down.test(i) ? m_keymap.modifiersWhileHeld(key) : 0;
        if (modifiers == 0) {
            continue;
        }
        const bool isWrapped = (modifiers & kTappedModifiers) != 0 && !down.test(keys.main) &&
                               m_keymap.isSameUnder(keys.main, key) && m_keymap.isSameUnder(key, keys.main);
        (isWrapped ? wrapped : plain).push_back(key);
    }

    for (const xcb_keycode_t key : plain) {
        release(key);
    }
    if (down.test(keys.typed)) {
        release(keys.typed);  // the server ignores the press of a key that is down
    }
    press(keys.main);
    for (const xcb_keycode_t key : wrapped) {
        release(key);
    }
    if (keys.second) {
        press(*keys.second);
    }
    press(keys.typed);
    release(keys.typed);
    if (keys.second) {
        release(*keys.second);
    }
    // Unless the user's keys can be followed, a key pressed for the user might stay down for ever.
    const bool canPressAgain = m_monitor.seesKeys();
    const auto pressForUser = [&](const std::vector<xcb_keycode_t>& held) {
        for (const xcb_keycode_t key : held) {
            press(key);
            m_heldForUser.set(key);
        }
    };
    if (canPressAgain) {
        pressForUser(wrapped);
    }
    release(keys.main);
    if (canPressAgain) {
        pressForUser(plain);
    }
    if (locks != 0) {
        xcb_xkb_latch_lock_state(connection, kCoreKeyboard, locks, locks, 0, 0, 0, 0, 0);
    }
}

void X11PasteKeystroke::press(xcb_keycode_t key)
{
    // A program that ended in mid-chord may have left the key down on the test device; the server would then ignore the
    // press.
    fake(XCB_KEY_RELEASE, key);
    fake(XCB_KEY_PRESS, key);
}

void X11PasteKeystroke::release(xcb_keycode_t key)
{
    fake(XCB_KEY_RELEASE, key);
}

void X11PasteKeystroke::fake(std::uint8_t type, xcb_keycode_t key)
{
    xcb_test_fake_input(m_display.connection(), type, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
}

X11PasteKeystroke::Keys X11PasteKeystroke::keysDown()
{
    Keys down;
    xcb_connection_t* const connection = m_display.connection();
    if (const auto state = ownReply(xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr))) {
        for (std::size_t key = 0; key < down.size(); ++key) {
            down.set(key, ((state->keys[key / 8] >> (key % 8)) & 1) != 0);
        }
    }
    return down;
}

void X11PasteKeystroke::handle(const RawKey& key)
{
    if (key.action != KeyAction::Release || key.source == KeySource::OurProgram || !m_heldForUser.test(key.key)) {
        return;
    }
    if (key.source == KeySource::OtherProgram) {
        m_heldForUser.reset(key.key);  // the test device, on which it was pressed, has released it
        return;
    }
    const X11KeyboardMonitor::OwnKeys ours(m_monitor);
    // If the user has pressed it again, the next release ends it.
    if (!keysDown().test(key.key)) {
        release(key.key);
        m_heldForUser.reset(key.key);
    }
}

}  // namespace tavlo
