#include "linux/x11/x11_screens.h"
#include "contract/backend.h"
#include "contract/x11/x11_environment.h"
#include "support/fakes/fake_screens.h"
#include "support/x_hands.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace tavlo {
namespace {

// The server's screens, 1280 by 800 pixels each, side by side where there are two. The toolkit may scale them.
class ScreensTest : public testing::Test {
protected:
    ~ScreensTest() override
    {
        for (const char* property :
             {"_NET_ACTIVE_WINDOW", "_NET_CLIENT_LIST", "_NET_WORKAREA", "_NET_CURRENT_DESKTOP", "_GTK_WORKAREAS_D0"}) {
            m_hands.removeProperty(m_hands.root(), property);
        }
    }

    // A rectangle in pixels of the first screen, as points.
    static QRect points(int x, int y, int width, int height)
    {
        const double scale = QGuiApplication::primaryScreen()->devicePixelRatio();
        const auto rounded = [scale](int pixels) { return qRound(pixels / scale); };
        return {rounded(x), rounded(y), rounded(width), rounded(height)};
    }

    void setRoot(const QByteArray& property, const std::vector<std::uint32_t>& numbers)
    {
        m_hands.setNumbers(m_hands.root(), property, numbers);
    }

    X11Display m_display;
    X11Screens m_screens{m_display};
    XHands m_hands{testServer().displayName()};
};

TEST_F(ScreensTest, WithoutAWindowManagerTheWholeScreenIsVisible)
{
    EXPECT_EQ(m_screens.mainVisibleFrame(), points(0, 0, 1280, 800));
}

TEST_F(ScreensTest, ThePanelsThatTheWindowManagerLeavesRoomForAreLeftOut)
{
    setRoot("_NET_CURRENT_DESKTOP", {1});
    setRoot("_NET_WORKAREA", {0, 0, 1280, 800, 0, 30, 1280, 710});
    EXPECT_EQ(m_screens.mainVisibleFrame(), points(0, 30, 1280, 710));
}

TEST_F(ScreensTest, APanelsOwnWordIsEnough)
{
    const xcb_window_t panel = m_hands.createWindow(0, 740, 1280, 60);
    setRoot("_NET_CLIENT_LIST", {panel});
    m_hands.setNumbers(panel, "_NET_WM_STRUT_PARTIAL", {0, 0, 0, 60, 0, 0, 0, 0, 0, 0, 0, 1279});
    EXPECT_EQ(m_screens.mainVisibleFrame(), points(0, 0, 1280, 740));
}

TEST_F(ScreensTest, AWorkAreaOfTheMonitorItselfGoesFirst)
{
    setRoot("_NET_WORKAREA", {0, 0, 1280, 800});
    setRoot("_GTK_WORKAREAS_D0", {0, 30, 1280, 770});
    EXPECT_EQ(m_screens.mainVisibleFrame(), points(0, 30, 1280, 770));
}

TEST_F(ScreensTest, NonsenseFromTheWindowManagerLeavesTheWholeScreen)
{
    setRoot("_NET_CURRENT_DESKTOP", {4000000000U});
    setRoot("_NET_WORKAREA", {0, 0, 0, 0, 7});
    setRoot("_GTK_WORKAREAS_D0", {5});
    setRoot("_NET_ACTIVE_WINDOW", {0xfffffff});
    setRoot("_NET_CLIENT_LIST", {0xfffffff, m_hands.root()});
    EXPECT_EQ(m_screens.mainVisibleFrame(), points(0, 0, 1280, 800));
}

TEST_F(ScreensTest, CompositingFollowsTheCompositorThatRunsNow)
{
    EXPECT_EQ(m_screens.compositing(), Compositing::Absent);
    m_hands.ownSelection("_NET_WM_CM_S0", m_hands.createWindow(0, 0, 1, 1));
    EXPECT_EQ(m_screens.compositing(), Compositing::Present);
    m_hands.ownSelection("_NET_WM_CM_S0", XCB_WINDOW_NONE);
    EXPECT_EQ(m_screens.compositing(), Compositing::Absent);
}

// One screen with a panel along its upper edge, on the fake and on the server.
class ScreensContract : public testing::TestWithParam<Backend> {
protected:
    ScreensContract()
    {
        m_fake.frame = whole();
        m_fake.compositingNow = Compositing::Absent;
    }
    ~ScreensContract() override
    {
        setCompositor(false);
        m_hands.removeProperty(m_hands.root(), "_NET_WORKAREA");
    }

    Screens& screens() { return GetParam() == Backend::Real ? static_cast<Screens&>(m_real) : m_fake; }
    static QRect whole() { return QGuiApplication::primaryScreen()->geometry(); }

    // What a panel leaves of the screen.
    QRect showPanel()
    {
        const double scale = QGuiApplication::primaryScreen()->devicePixelRatio();
        const QRect left = whole().adjusted(0, qRound(30 / scale), 0, 0);
        m_fake.frame = left;
        m_hands.setNumbers(m_hands.root(), "_NET_WORKAREA", {0, 30, 1280, 770});
        return left;
    }
    void setCompositor(bool runs)
    {
        m_fake.compositingNow = runs ? Compositing::Present : Compositing::Absent;
        const xcb_window_t none = XCB_WINDOW_NONE;
        m_hands.ownSelection("_NET_WM_CM_S0", runs ? m_hands.createWindow(0, 0, 1, 1) : none);
    }

private:
    X11Display m_display;
    X11Screens m_real{m_display};
    FakeScreens m_fake;
    XHands m_hands{testServer().displayName()};
};

TEST_P(ScreensContract, TheFrameIsTheScreenWithoutItsPanelsAsTheyAreNow)
{
    EXPECT_EQ(screens().mainVisibleFrame(), whole());
    const QRect left = showPanel();
    EXPECT_EQ(screens().mainVisibleFrame(), left);
}

TEST_P(ScreensContract, CompositingIsAsItIsNow)
{
    EXPECT_EQ(screens().compositing(), Compositing::Absent);
    setCompositor(true);
    EXPECT_EQ(screens().compositing(), Compositing::Present);
    setCompositor(false);
    EXPECT_EQ(screens().compositing(), Compositing::Absent);
}

INSTANTIATE_TEST_SUITE_P(On, ScreensContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
