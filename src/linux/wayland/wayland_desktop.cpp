#include "linux/wayland/wayland_desktop.h"

#include "linux/null_desktop.h"
#include "linux/wayland/wayland_paste_keystroke.h"
#include "linux/wayland/wayland_pasteboard.h"
#include "platform/text_literals.h"

#include <memory>

namespace tavlo {

namespace {

// Compositors show the keys of the whole desktop to nobody, and an X11 program behind Xwayland is told nothing either:
// it connects and stays silent.
Words noKeys()
{
    return {
        u"Wayland laat Tavlo geen toetsen zien. Laat je bureaublad zelf een toets Tavlo bedienen: de handleiding "
        "zegt hoe (Wayland)."_s,
        u"Wayland shows Tavlo no keys. Let your desktop itself have a key control Tavlo: the guide says how "
        "(Wayland)."_s};
}

class WaylandDesktop : public Desktop {
public:
    explicit WaylandDesktop(Desktop& x11) : m_x11(x11), m_keys(noKeys()), m_keystroke(m_connection, m_pasteboard) {}

    bool isThere() const { return m_connection.isConnected(); }

    KeyboardMonitor& keys() override { return m_keys; }
    Pasteboard& pasteboard() override { return hasClipboard() ? m_pasteboard : m_x11.pasteboard(); }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    Screens& screens() override { return m_x11.screens(); }

    DesktopService service(DesktopCapability capability) override
    {
        switch (capability) {
            case DesktopCapability::Keys:
                return {{}, m_keys.unavailableReason()};
            case DesktopCapability::Clipboard:
                return hasClipboard() ? DesktopService{u"data-control"_s, {}} : m_x11.service(capability);
            case DesktopCapability::Paste:
                if (!m_keystroke.isTrusted()) {
                    return {{},
                            {u"Dit bureaublad laat Tavlo geen toetsen sturen."_s,
                             u"This desktop does not let Tavlo send keys."_s}};
                }
                return {u"virtual-keyboard"_s, {}};
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
    NullKeyboardMonitor m_keys;
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
