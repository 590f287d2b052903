#include "linux/qt/local_key_filter.h"

#include "contract/x11/x11_environment.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/fakes/fake_pasteboard.h"
#include "support/x_hands.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QWindow>

#include <gtest/gtest.h>

namespace tavlo {
namespace {

// A window of this program that notes its keys.
class KeyWindow : public QWindow {
public:
    QList<int> presses;
    QList<int> releases;
    std::function<void(int)> onPress;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (!event->isAutoRepeat()) {
            presses.append(event->key());
        }
        if (onPress) {
            onPress(event->key());
        }
    }
    void keyReleaseEvent(QKeyEvent* event) override { releases.append(event->key()); }
};

// X key codes.
constexpr std::uint8_t kKeyA = 38;
constexpr std::uint8_t kKeyB = 56;
constexpr std::uint8_t kReturn = 36;
constexpr std::uint8_t kLeftShift = 50;

class LocalKeyFilterTest : public testing::Test {
protected:
    void SetUp() override
    {
        setKeyboard({});
        m_window.setGeometry(0, 0, 200, 100);
        m_window.show();
        m_hands.movePointer(50, 50);
        m_window.requestActivate();
        ASSERT_TRUE(waitUntil([this] { return QGuiApplication::focusWindow() == &m_window; }));
    }

    FakePasteboard m_pasteboard;
    X11Desktop m_desktop{m_pasteboard};
    XHands m_hands{testServer().displayName()};
    bool m_capturing = false;
    QList<KeyCode> m_captured;
    KeyWindow m_window;
    LocalKeyFilter m_filter{m_desktop.keys(), [this] { return m_capturing; }};
};

TEST_F(LocalKeyFilterTest, KeysReachTheWindowWhileNoCaptureRuns)
{
    m_hands.tap(kKeyA);
    EXPECT_TRUE(waitUntil([this] { return m_window.releases.size() == 1; }));
    EXPECT_EQ(m_window.presses, QList<int>{Qt::Key_A});
}

TEST_F(LocalKeyFilterTest, AKeyDownOfThisProcesssOwnWindowDuringACaptureNeverReachesTheWindow)
{
    m_capturing = true;
    m_hands.tap(kKeyA);
    // Releases and modifiers pass, so that nothing is left stuck.
    m_hands.tap(kLeftShift);
    EXPECT_TRUE(waitUntil([this] { return m_window.releases.size() == 2; }));
    EXPECT_EQ(m_window.presses, QList<int>{Qt::Key_Shift});
}

TEST_F(LocalKeyFilterTest, TheKeyThatEndsTheCaptureDoesNotReachTheWindowEither)
{
    // As a capture does: it has ended by the time at which the toolkit may come to this key.
    m_capturing = true;
    const auto registration = m_desktop.keys().onKeyDown([this](const KeyEvent&) {
        if (m_capturing) {
            QMetaObject::invokeMethod(
                &m_window, [this] { m_capturing = false; }, Qt::QueuedConnection);
        }
    });
    for (int i = 0; i < 20; ++i) {
        m_capturing = true;
        m_hands.tap(kKeyA);
        ASSERT_TRUE(waitUntil([&] { return m_window.releases.size() == 2 * i + 1 && !m_capturing; }));
        ASSERT_EQ(m_window.presses.size(), i) << "the captured key";
        // Keys are told apart by their times, which count in milliseconds.
        const auto captured = std::chrono::steady_clock::now();
        ASSERT_TRUE(
            waitUntil([&] { return std::chrono::steady_clock::now() - captured > std::chrono::milliseconds(3); }));
        m_hands.tap(kKeyB);
        ASSERT_TRUE(waitUntil([&] { return m_window.releases.size() == 2 * i + 2; }));
        ASSERT_EQ(m_window.presses.size(), i + 1) << "the key after it";
    }
}

TEST_F(LocalKeyFilterTest, TheKeyThatStartsACaptureIsNotCaptured)
{
    const auto registration = m_desktop.keys().onKeyDown([this](const KeyEvent& event) {
        if (m_capturing) {
            m_captured.append(event.keyCode);
        }
    });
    m_window.onPress = [this](int key) { m_capturing = key == Qt::Key_Return; };
    for (int i = 1; i <= 50; ++i) {
        m_capturing = false;
        m_hands.tap(kReturn);
        ASSERT_TRUE(waitUntil([&] { return m_window.releases.size() == i; }));
        m_desktop.keys().catchUp();
        EXPECT_EQ(m_captured, QList<KeyCode>());
        EXPECT_EQ(m_window.presses.size(), i);
    }
}

TEST(LocalKeyFilterAlone, RepeatsOfASwallowedKeyAreSwallowedUntilItIsReleased)
{
    FakeKeyboardMonitor monitor;
    bool capturing = true;
    KeyWindow window;
    LocalKeyFilter filter(monitor, [&] { return capturing; });
    constexpr quint32 kScanCode = 65;
    const auto send = [&](QEvent::Type type, bool isRepeat) {
        QKeyEvent event(type, Qt::Key_Space, Qt::NoModifier, kScanCode, 0, 0, u" "_s, isRepeat);
        event.setTimestamp(5000);
        QCoreApplication::sendEvent(&window, &event);
    };
    send(QEvent::KeyPress, false);
    capturing = false;
    send(QEvent::KeyPress, true);
    EXPECT_EQ(window.presses.size(), 0);
    send(QEvent::KeyRelease, false);
    send(QEvent::KeyPress, false);
    EXPECT_EQ(window.presses.size(), 1);
    EXPECT_GE(monitor.catchUpCount, 1);
}

TEST(LocalKeyFilterAlone, KeysLongAfterACaptureReachTheWindowWhereverTheClockStands)
{
    FakeKeyboardMonitor monitor;
    bool capturing = true;
    KeyWindow window;
    LocalKeyFilter filter(monitor, [&] { return capturing; });
    constexpr std::uint32_t kCaptured = 5000;
    KeyEvent captured;
    captured.time = kCaptured;
    monitor.sendKeyDown(captured);
    capturing = false;
    const auto arrives = [&](std::uint32_t time) {
        const qsizetype before = window.presses.size();
        QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, 38, 0, 0, u"a"_s);
        event.setTimestamp(time);
        QCoreApplication::sendEvent(&window, &event);
        return window.presses.size() > before;
    };
    EXPECT_FALSE(arrives(kCaptured)) << "the toolkit comes to it after the capture";
    EXPECT_TRUE(arrives(kCaptured + 1));
    // Half of the clock's numbers later, the other half still lies before the capture's.
    EXPECT_TRUE(arrives(kCaptured + 0x80000001U));
    EXPECT_TRUE(arrives(kCaptured - 60'001U));
    // A whole turn of the clock later. Meanwhile the monitor has seen keys.
    KeyEvent later;
    later.time = kCaptured + 0x70000000U;
    monitor.sendKeyDown(later);
    EXPECT_TRUE(arrives(kCaptured - 1));
}

}  // namespace
}  // namespace tavlo
