#include "contract/backend.h"
#include "contract/x11/x11_environment.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/fakes/fake_pasteboard.h"
#include "support/x_hands.h"

#include <gtest/gtest.h>

#include <memory>

namespace tavlo {
namespace {

enum class Key { A, LeftShift, RightCommand };

// A keyboard under the user's hands.
class KeyboardRig {
public:
    virtual ~KeyboardRig() = default;
    virtual KeyboardMonitor& monitor() = 0;
    virtual void press(Key key) = 0;
    virtual void release(Key key) = 0;
};

class FakeRig : public KeyboardRig {
public:
    KeyboardMonitor& monitor() override { return m_monitor; }
    void press(Key key) override
    {
        if (key == Key::A) {
            m_monitor.sendKeyDown({KeyCode::A, m_flags, KeyRepeat::FirstPress, u"a"_s});
        } else {
            change(key, m_flags | modifierFlag(codeOf(key)));
        }
    }
    void release(Key key) override
    {
        if (key != Key::A) {
            // No two of these keys share a flag, so that one that is let go leaves the other's.
            const KeyCode other = codeOf(key == Key::LeftShift ? Key::RightCommand : Key::LeftShift);
            change(key, contains(m_flags, modifierFlag(other)) ? modifierFlag(other) : ModifierFlags::None);
        }
    }

private:
    static KeyCode codeOf(Key key) { return key == Key::LeftShift ? KeyCode::LeftShift : KeyCode::RightCommand; }
    void change(Key key, ModifierFlags flags)
    {
        m_flags = flags;
        m_monitor.sendFlagsChanged({codeOf(key), m_flags, KeyRepeat::FirstPress, {}});
    }

    FakeKeyboardMonitor m_monitor;
    ModifierFlags m_flags = ModifierFlags::None;
};

class RealRig : public KeyboardRig {
public:
    RealRig() { setKeyboard({}); }
    ~RealRig() override
    {
        for (const std::uint8_t key : m_hands.keysDown()) {
            m_hands.release(key);
        }
    }
    KeyboardMonitor& monitor() override { return m_desktop.keys(); }
    void press(Key key) override { m_hands.press(keyOf(key)); }
    void release(Key key) override { m_hands.release(keyOf(key)); }

private:
    static std::uint8_t keyOf(Key key) { return key == Key::A ? 38 : key == Key::LeftShift ? 50 : 134; }

    FakePasteboard m_pasteboard;
    X11Desktop m_desktop{m_pasteboard};
    XHands m_hands{testServer().displayName()};
};

class KeyboardMonitorContract : public testing::TestWithParam<Backend> {
protected:
    enum class Kind { KeyDown, FlagsChanged };

    struct Seen {
        Kind kind = Kind::KeyDown;
        KeyCode keyCode{};
        ModifierFlags modifierFlags = ModifierFlags::None;
        KeyRepeat repeat = KeyRepeat::FirstPress;
        QString characters;

        bool operator==(const Seen&) const = default;
    };

    KeyboardMonitorContract()
    {
        if (GetParam() == Backend::Real) {
            m_rig = std::make_unique<RealRig>();
        } else {
            m_rig = std::make_unique<FakeRig>();
        }
        m_rig->monitor().catchUp();
    }

    KeyboardMonitor& monitor() { return m_rig->monitor(); }
    // Notes every event until both registrations end.
    std::vector<Registration> note(std::vector<Seen>& into)
    {
        const auto handler = [&into](Kind kind) {
            return [&into, kind](const KeyEvent& event) {
                into.push_back(
                    {kind, event.keyCode, event.modifierFlags, event.repeat, event.charactersIgnoringModifiers});
            };
        };
        std::vector<Registration> registrations;
        registrations.push_back(monitor().onKeyDown(handler(Kind::KeyDown)));
        registrations.push_back(monitor().onFlagsChanged(handler(Kind::FlagsChanged)));
        return registrations;
    }
    void tap(Key key)
    {
        m_rig->press(key);
        m_rig->release(key);
        monitor().catchUp();
    }

    std::unique_ptr<KeyboardRig> m_rig;
};

TEST_P(KeyboardMonitorContract, PressesAndModifiersComeInTheirOrderWithTheFlagsThatHoldThen)
{
    std::vector<Seen> seen;
    const auto registrations = note(seen);
    EXPECT_TRUE(monitor().unavailableReason().isEmpty());
    m_rig->press(Key::LeftShift);
    m_rig->press(Key::A);
    m_rig->release(Key::A);
    m_rig->press(Key::RightCommand);
    m_rig->release(Key::LeftShift);
    m_rig->release(Key::RightCommand);
    monitor().catchUp();
    constexpr auto kFirst = KeyRepeat::FirstPress;
    constexpr auto kBoth = ModifierFlags::Shift | ModifierFlags::Command;
    const std::vector<Seen> expected{{Kind::FlagsChanged, KeyCode::LeftShift, ModifierFlags::Shift, kFirst, {}},
                                     {Kind::KeyDown, KeyCode::A, ModifierFlags::Shift, kFirst, u"a"_s},
                                     {Kind::FlagsChanged, KeyCode::RightCommand, kBoth, kFirst, {}},
                                     {Kind::FlagsChanged, KeyCode::LeftShift, ModifierFlags::Command, kFirst, {}},
                                     {Kind::FlagsChanged, KeyCode::RightCommand, ModifierFlags::None, kFirst, {}}};
    EXPECT_EQ(seen, expected);
}

TEST_P(KeyboardMonitorContract, EveryMonitorSeesTheKeysUntilItsRegistrationEnds)
{
    std::vector<Seen> first;
    std::vector<Seen> second;
    auto one = note(first);
    const auto other = note(second);
    tap(Key::A);
    EXPECT_EQ(first.size(), 1U);
    EXPECT_EQ(second.size(), 1U);
    one.clear();
    tap(Key::A);
    tap(Key::LeftShift);
    EXPECT_EQ(first.size(), 1U);
    EXPECT_EQ(second.size(), 4U);
}

TEST_P(KeyboardMonitorContract, AHandlerMayEndItsOwnRegistration)
{
    int calls = 0;
    Registration registration;
    registration = monitor().onKeyDown([&](const KeyEvent&) {
        ++calls;
        registration = {};
    });
    std::vector<Seen> seen;
    const auto other = note(seen);
    tap(Key::A);
    tap(Key::A);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen.size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(On, KeyboardMonitorContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
