#include "linux/x11/x11_keyboard_monitor.h"

#include "platform/text_literals.h"

namespace tavlo {

X11KeyboardMonitor::X11KeyboardMonitor(X11Display& display, X11Keymap& keymap, X11RawKeys& rawKeys)
    : m_display(display),
      m_keymap(keymap),
      m_rawKeys(rawKeys),
      m_keys(rawKeys.onKey([this](const RawKey& key) { handle(key); }))
{
}

Words X11KeyboardMonitor::unavailableReason() const
{
    if (!m_display.hasConnection()) {
        return {u"Er is geen verbinding met een X-server, dus de sneltoets werkt niet."_s,
                u"There is no connection to an X server, so the hotkey does not work."_s};
    }
    if (!m_rawKeys.isAvailable()) {
        return {u"De X-server heeft XInput 2 niet, dus de sneltoets werkt niet."_s,
                u"The X server has no XInput 2, so the hotkey does not work."_s};
    }
    if (!m_keymap.isAvailable()) {
        return {u"De X-server beschrijft zijn toetsenbord niet (XKB), dus de sneltoets werkt niet."_s,
                u"The X server does not describe its keyboard (XKB), so the hotkey does not work."_s};
    }
    return {};
}

void X11KeyboardMonitor::catchUp()
{
    m_display.catchUp();
}

void X11KeyboardMonitor::handle(const RawKey& key)
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
    const X11RawKeys::Keys& down = m_rawKeys.down();
    for (std::size_t key = 0; key < down.size(); ++key) {
        if (down.test(key)) {
            flags |= modifierFlag(m_keymap.keyCode(static_cast<xcb_keycode_t>(key)));
        }
    }
    return flags;
}

}  // namespace tavlo
