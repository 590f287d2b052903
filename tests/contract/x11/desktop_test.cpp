#include "linux/desktop.h"
#include "contract/x11/x11_environment.h"
#include "linux/null_desktop.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <array>

namespace tavlo {
namespace {

constexpr std::array kCapabilities{DesktopCapability::Keys, DesktopCapability::Clipboard, DesktopCapability::Paste,
                                   DesktopCapability::Screens, DesktopCapability::Overlay};

// Exactly one of the two is said of each capability.
void expectAnAnswerForEach(Desktop& desktop)
{
    for (const DesktopCapability capability : kCapabilities) {
        const DesktopService service = desktop.service(capability);
        EXPECT_NE(service.name.isEmpty(), service.missing.isEmpty());
        EXPECT_EQ(service.missing.nl.isEmpty(), service.missing.en.isEmpty());
    }
}

TEST(DesktopSeam, AnX11SessionIsServedByX11)
{
    const std::unique_ptr<Desktop> desktop = makeDesktop();
    expectAnAnswerForEach(*desktop);
    EXPECT_EQ(describeServices(*desktop),
              u"Bureaublad: toetsen XInput 2, klembord X11, plakken XTEST, schermen X11, overlays X11"_s);
    EXPECT_TRUE(desktop->keys().unavailableReason().isEmpty());
    EXPECT_TRUE(desktop->keystroke().isTrusted());
    EXPECT_TRUE(desktop->screens().mainVisibleFrame().has_value());
}

TEST(DesktopSeam, AServerWithoutXTestSaysWhyNothingIsTyped)
{
    const XServer server({u"-extension"_s, u"XTEST"_s});
    QtPasteboard pasteboard;
    X11Desktop desktop(pasteboard, server.displayName());
    expectAnAnswerForEach(desktop);
    EXPECT_EQ(describeServices(desktop),
              u"Bureaublad: toetsen XInput 2, klembord X11, plakken niet, schermen X11, overlays X11"_s);
}

TEST(DesktopSeam, WithoutAServerEachCapabilityHasItsReason)
{
    QtPasteboard pasteboard;
    X11Desktop desktop(pasteboard, ":9999");
    expectAnAnswerForEach(desktop);
    EXPECT_EQ(describeServices(desktop),
              u"Bureaublad: toetsen niet, klembord niet, plakken niet, schermen niet, overlays niet"_s);
}

TEST(DesktopSeam, ADesktopOfWhichNothingCanBeUsedCanBeCalledAllTheSame)
{
    const Words reason{u"Nee."_s, u"No."_s};
    NullDesktop desktop(reason);
    expectAnAnswerForEach(desktop);
    EXPECT_EQ(desktop.service(DesktopCapability::Clipboard).missing, reason);
    EXPECT_EQ(desktop.keys().unavailableReason(), reason);
    const Registration keyDown = desktop.keys().onKeyDown([](const KeyEvent&) { FAIL() << "a key from nowhere"; });
    desktop.keys().catchUp();
    desktop.pasteboard().setText(u"text"_s);
    desktop.pasteboard().offerPrimarySelection();
    EXPECT_FALSE(desktop.keystroke().isTrusted());
    desktop.keystroke().sendPaste();
    EXPECT_EQ(desktop.screens().mainVisibleFrame(), std::nullopt);
    EXPECT_EQ(desktop.screens().compositing(), Compositing::Absent);
}

}  // namespace
}  // namespace tavlo
