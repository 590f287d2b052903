#include "linux/desktop.h"

#include "linux/null_desktop.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"

#include <QGuiApplication>
#include <QStringList>

#include <array>
#include <utility>

namespace tavlo {

namespace {

// The X11 backend with the toolkit's clipboard, which the toolkit holds on its own connection to the same server.
class X11DesktopWithToolkitClipboard : private QtPasteboard, public X11Desktop {
public:
    X11DesktopWithToolkitClipboard() : X11Desktop(static_cast<QtPasteboard&>(*this)) {}
};

}  // namespace

std::unique_ptr<Desktop> makeDesktop()
{
    if (QGuiApplication::platformName() == "xcb"_L1) {
        return std::make_unique<X11DesktopWithToolkitClipboard>();
    }
    return std::make_unique<NullDesktop>(
        Words{u"Dit bureaublad is geen X11-bureaublad, dus de sneltoets en het plakken werken niet."_s,
              u"This desktop is no X11 desktop, so the hotkey and pasting do not work."_s});
}

QString describeServices(Desktop& desktop)
{
    static const std::array kNames{
        std::pair{DesktopCapability::Keys, u"toetsen"_s},     std::pair{DesktopCapability::Clipboard, u"klembord"_s},
        std::pair{DesktopCapability::Paste, u"plakken"_s},    std::pair{DesktopCapability::Screens, u"schermen"_s},
        std::pair{DesktopCapability::Overlay, u"overlays"_s},
    };
    QStringList parts;
    for (const auto& [capability, name] : kNames) {
        const DesktopService service = desktop.service(capability);
        parts.append(name + u" "_s + (service.isThere() ? service.name : u"niet"_s));
    }
    return u"Bureaublad: "_s + parts.join(u", "_s);
}

}  // namespace tavlo
