#include "linux/wayland_desktop.h"

#include "linux/evdev/evdev_keyboard_monitor.h"
#include "linux/freedesktop/login_session.h"
#include "linux/wayland/seat_keymap.h"
#include "linux/wayland/wayland_paste_keystroke.h"
#include "linux/wayland/wayland_pasteboard.h"
#include "platform/text_literals.h"

#include <memory>

namespace tavlo {

namespace {

const QString kInputDevices = u"/dev/input"_s;

// Compositors show the keys of the whole desktop to nobody, and an X11 program behind Xwayland is told nothing either:
// it connects and stays silent. What is left are the kernel's devices, where the user may read them.
Words noKeys()
{
    return {
        u"Wayland laat Tavlo geen toetsen zien. Installeer tavlo-wayland-keys, of laat je bureaublad zelf een toets "
        "Tavlo bedienen: de handleiding zegt hoe (Wayland)."_s,
        u"Wayland shows Tavlo no keys. Install tavlo-wayland-keys, or let your desktop itself have a key control "
        "Tavlo: the guide says how (Wayland)."_s};
}

class WaylandDesktop : public Desktop {
public:
    explicit WaylandDesktop(Desktop& x11) : m_x11(x11), m_keystroke(m_connection, m_pasteboard) {}

    bool isThere() const { return m_connection.isConnected(); }

    KeyboardMonitor& keys() override { return m_keys; }
    Pasteboard& pasteboard() override { return hasClipboard() ? m_pasteboard : m_x11.pasteboard(); }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    Screens& screens() override { return m_x11.screens(); }

    DesktopService service(DesktopCapability capability) override
    {
        switch (capability) {
            case DesktopCapability::Keys:
                if (const Words reason = m_keys.unavailableReason(); !reason.isEmpty()) {
                    return {{}, reason};
                }
                return {u"evdev"_s, {}};
            case DesktopCapability::Clipboard:
                return hasClipboard() ? DesktopService{u"data-control"_s, {}} : m_x11.service(capability);
            case DesktopCapability::Paste:
                if (!m_keystroke.isTrusted()) {
                    return {{},
                            {u"Dit bureaublad laat Tavlo geen toetsen sturen."_s,
                             u"This desktop does not let Tavlo send keys."_s}};
                }
                return {m_keystroke.serviceName(), {}};
            case DesktopCapability::Screens:
            case DesktopCapability::Overlay:
                break;
        }
        return m_x11.service(capability);
    }

private:
    bool hasClipboard() const { return WaylandPasteboard::isOfferedBy(m_connection); }

    Desktop& m_x11;
    WaylandConnection m_connection;
    EvdevKeyboardMonitor m_keys{kInputDevices, noKeys()};
    SeatKeymap m_keymap{m_connection, [this](const std::string& text) { m_keys.setKeymap(text); }};
    LoginSession m_login{QDBusConnection::systemBus()};
    Registration m_loginChange = m_login.onChange([this] { m_keys.setListening(m_login.isInFront()); });
    WaylandPasteboard m_pasteboard{m_connection};
    WaylandPasteKeystroke m_keystroke;
};

}  // namespace

}  // namespace tavlo

extern "C" Q_DECL_EXPORT tavlo::Desktop* tavloMakeWaylandDesktop(tavlo::Desktop& x11)
{
    auto desktop = std::make_unique<tavlo::WaylandDesktop>(x11);
    return desktop->isThere() ? desktop.release() : nullptr;
}
