#include "linux/desktop.h"

#include "linux/null_desktop.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/wayland_desktop.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"

#include <QDir>
#include <QGuiApplication>
#include <QLibrary>
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

// A Wayland desktop together with what X11 programs see of it.
class WaylandWithXwayland : public Desktop {
public:
    WaylandWithXwayland(std::unique_ptr<Desktop> x11, std::unique_ptr<Desktop> wayland)
        : m_x11(std::move(x11)), m_wayland(std::move(wayland))
    {
    }

    KeyboardMonitor& keys() override { return m_wayland->keys(); }
    Pasteboard& pasteboard() override { return m_wayland->pasteboard(); }
    PasteKeystroke& keystroke() override { return m_wayland->keystroke(); }
    Screens& screens() override { return m_wayland->screens(); }
    DesktopService service(DesktopCapability capability) override { return m_wayland->service(capability); }

private:
    std::unique_ptr<Desktop> m_x11;
    std::unique_ptr<Desktop> m_wayland;
};

bool isWaylandSession()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// Null where the module is missing or no compositor answers.
std::unique_ptr<Desktop> makeWaylandDesktop(Desktop& x11)
{
    QLibrary module(QDir(QCoreApplication::applicationDirPath()).filePath(u"../libexec/tavlo/tavlo-wayland.so"_s));
    const auto make = reinterpret_cast<MakeWaylandDesktop>(module.resolve(kMakeWaylandDesktop));
    return std::unique_ptr<Desktop>(make != nullptr ? make(x11) : nullptr);
}

}  // namespace

std::vector<char*> toolkitArguments(char* program)
{
    static std::array<char, 10> platform{"-platform"};
    static std::array<char, 12> xcb{"xcb;wayland"};  // the second where the first does not come up
    if (isWaylandSession() && !qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        return {program, platform.data(), xcb.data()};
    }
    return {program};
}

std::unique_ptr<Desktop> makeDesktop()
{
    if (QGuiApplication::platformName() == "xcb"_L1 || isWaylandSession()) {
        auto x11 = std::make_unique<X11DesktopWithToolkitClipboard>();
        if (!isWaylandSession()) {
            return x11;
        }
        if (auto wayland = makeWaylandDesktop(*x11)) {
            return std::make_unique<WaylandWithXwayland>(std::move(x11), std::move(wayland));
        }
        return std::make_unique<NullDesktop>(
            Words{u"De Wayland-compositor antwoordt niet, dus de sneltoets en het plakken werken niet."_s,
                  u"The Wayland compositor does not answer, so the hotkey and pasting do not work."_s});
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
