#include "linux/x11/x11_desktop.h"

#include "platform/text_literals.h"

namespace tavlo {

X11Desktop::X11Desktop(Pasteboard& pasteboard, const QByteArray& displayName)
    : m_pasteboard(pasteboard),
      m_display(displayName),
      m_keymap(m_display),
      m_keys(m_display, m_keymap),
      m_keystroke(m_display, m_keymap, m_keys, pasteboard),
      m_screens(m_display)
{
}

DesktopService X11Desktop::service(DesktopCapability capability)
{
    switch (capability) {
        case DesktopCapability::Keys: {
            const Words reason = m_keys.unavailableReason();
            return reason.isEmpty() ? DesktopService{u"XInput 2"_s, {}} : DesktopService{{}, reason};
        }
        case DesktopCapability::Paste:
            if (!m_keystroke.isTrusted()) {
                return {{},
                        {u"De X-server laat Tavlo geen toetsen sturen (XTEST)."_s,
                         u"The X server does not let Tavlo send keys (XTEST)."_s}};
            }
            return {u"XTEST"_s, {}};
        case DesktopCapability::Clipboard:
        case DesktopCapability::Screens:
        case DesktopCapability::Overlay:
            break;
    }
    if (!m_display.hasConnection()) {
        return {{}, m_keys.unavailableReason()};
    }
    return {u"X11"_s, {}};
}

}  // namespace tavlo
