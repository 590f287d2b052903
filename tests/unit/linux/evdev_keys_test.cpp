#include "linux/evdev/evdev_keys.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace tavlo {
namespace {

struct Seen {
    bool isFlagsChange = false;
    KeyCode keyCode{};
    ModifierFlags flags = ModifierFlags::None;
    KeyRepeat repeat = KeyRepeat::FirstPress;
    QString text;

    bool operator==(const Seen&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Seen& seen)
{
    return out << (seen.isFlagsChange ? "flags " : "key ") << keyNumber(seen.keyCode) << " flags "
               << static_cast<std::uint32_t>(seen.flags) << " '" << qPrintable(seen.text) << "'";
}

class EvdevKeysTest : public testing::Test {
protected:
    void press(std::uint16_t code, EvdevKeys::Device device = 1) { keys.change(device, {code, EvdevAction::Press, 7}); }
    void repeat(std::uint16_t code) { keys.change(1, {code, EvdevAction::Repeat, 7}); }
    void release(std::uint16_t code, EvdevKeys::Device device = 1)
    {
        keys.change(device, {code, EvdevAction::Release, 7});
    }
    static EvdevKeySet setOf(std::initializer_list<std::uint16_t> codes)
    {
        EvdevKeySet set;
        for (const std::uint16_t code : codes) {
            set.set(code);
        }
        return set;
    }
    static Seen flags(KeyCode key, ModifierFlags flags) { return {true, key, flags, KeyRepeat::FirstPress, {}}; }
    static Seen key(KeyCode key, const QString& text, ModifierFlags flags = ModifierFlags::None,
                    KeyRepeat repeat = KeyRepeat::FirstPress)
    {
        return {false, key, flags, repeat, text};
    }
    std::vector<Seen> taken() { return std::exchange(seen, {}); }

    void note(bool isFlagsChange, const KeyEvent& event)
    {
        seen.push_back(
            {isFlagsChange, event.keyCode, event.modifierFlags, event.repeat, event.charactersIgnoringModifiers});
    }

    std::vector<Seen> seen;
    EvdevLayout layout;
    EvdevKeys keys{layout, [this](const KeyEvent& event) { note(false, event); },
                   [this](const KeyEvent& event) { note(true, event); }};
};

TEST_F(EvdevKeysTest, AModifierAloneIsPressedAndReleased)
{
    press(KEY_RIGHTMETA);
    release(KEY_RIGHTMETA);
    EXPECT_EQ(taken(), (std::vector<Seen>{flags(KeyCode::RightCommand, ModifierFlags::Command),
                                          flags(KeyCode::RightCommand, ModifierFlags::None)}));
}

TEST_F(EvdevKeysTest, KeysComeByTheirPlaceWithTheirTextAndTheModifiersThatAreHeld)
{
    press(KEY_LEFTCTRL);
    press(KEY_A);
    repeat(KEY_A);
    release(KEY_A);
    press(KEY_ESC);
    EXPECT_EQ(taken(), (std::vector<Seen>{flags(KeyCode::LeftControl, ModifierFlags::Control),
                                          key(KeyCode::A, u"a"_s, ModifierFlags::Control),
                                          key(KeyCode::A, u"a"_s, ModifierFlags::Control, KeyRepeat::AutoRepeat),
                                          key(KeyCode::Escape, {}, ModifierFlags::Control)}));
}

TEST_F(EvdevKeysTest, TheLayoutOfTheDesktopDecidesWhatAKeyTypesAndNotWhichItIs)
{
    layout.setKeymap(
        "xkb_keymap { xkb_keycodes { include \"evdev\" }; xkb_types { include \"complete\" };"
        "xkb_compatibility { include \"complete\" }; xkb_symbols { include \"pc+fr\" }; };");
    press(KEY_Q);
    EXPECT_EQ(taken(), std::vector<Seen>{key(KeyCode::Q, u"a"_s)});
    layout.setKeymap("nonsense");
    layout.setKeymap(
        "xkb_keymap { xkb_keycodes { <AB04> = 55; }; xkb_types { include \"complete\" };"
        "xkb_compatibility { include \"complete\" }; xkb_symbols { key <AB04> { [ v, V ] }; }; };");
    press(KEY_W);
    EXPECT_EQ(taken(), std::vector<Seen>{key(KeyCode::W, u"z"_s)});
}

TEST_F(EvdevKeysTest, NoTwoKeysShareACode)
{
    std::map<KeyCode, int> counts;
    for (std::uint16_t code = 1; code < KEY_CNT; ++code) {
        ++counts[layout.keyCode(code)];
    }
    // Control, Alt and Meta exist once more for programs that type, in the keyboard description only.
    for (const auto& [keyCode, count] : counts) {
        EXPECT_TRUE(count == 1 || keyNumber(keyCode) < 256) << keyNumber(keyCode);
    }
    EXPECT_EQ(layout.keyCode(KEY_FN), KeyCode::Function);
    EXPECT_EQ(layout.keyCode(KEY_SYSRQ), static_cast<KeyCode>(256 + 8 + KEY_SYSRQ));
}

TEST_F(EvdevKeysTest, TheFunctionKeyOfANewerKeyboardIsAModifier)
{
    press(KEY_FN);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::Function, ModifierFlags::Function)});
}

TEST_F(EvdevKeysTest, AModifierHeldOnTwoKeyboardsChangesWithTheFirstAndTheLast)
{
    press(KEY_LEFTSHIFT, 1);
    press(KEY_LEFTSHIFT, 2);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::LeftShift, ModifierFlags::Shift)});
    release(KEY_LEFTSHIFT, 1);
    EXPECT_EQ(taken(), std::vector<Seen>());
    press(KEY_F9, 1);
    EXPECT_EQ(taken(), std::vector<Seen>{key(KeyCode::F9, {}, ModifierFlags::Shift)});
    release(KEY_LEFTSHIFT, 2);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::LeftShift, ModifierFlags::None)});
}

TEST_F(EvdevKeysTest, AReleaseOfAKeyThatWasNotDownIsLeftOut)
{
    release(KEY_RIGHTMETA);
    release(KEY_A);
    EXPECT_EQ(taken(), std::vector<Seen>());
}

TEST_F(EvdevKeysTest, ButtonsOfAMouseAreNoKeys)
{
    press(BTN_LEFT);
    press(BTN_TRIGGER_HAPPY1);
    press(BTN_DPAD_UP);
    EXPECT_EQ(taken(), std::vector<Seen>());
}

TEST_F(EvdevKeysTest, AfterALossTheKeysAreAsTheDeviceSays)
{
    press(KEY_LEFTSHIFT);
    press(KEY_A);
    taken();
    keys.catchUp(1, setOf({KEY_A, KEY_RIGHTMETA}), 9);
    EXPECT_EQ(taken(), (std::vector<Seen>{flags(KeyCode::LeftShift, ModifierFlags::None),
                                          flags(KeyCode::RightCommand, ModifierFlags::Command)}));
    release(KEY_RIGHTMETA);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::RightCommand, ModifierFlags::None)});
}

TEST_F(EvdevKeysTest, WhatWasHeldBeforeAnybodyListenedIsNotPressedNow)
{
    keys.begin(1, setOf({KEY_RIGHTMETA, KEY_A, BTN_LEFT}));
    EXPECT_EQ(taken(), std::vector<Seen>());
    press(KEY_F9);
    EXPECT_EQ(taken(), std::vector<Seen>{key(KeyCode::F9, {}, ModifierFlags::Command)});
    release(KEY_RIGHTMETA);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::RightCommand, ModifierFlags::None)});
}

TEST_F(EvdevKeysTest, AKeyboardThatIsPulledOutLetsItsKeysGo)
{
    press(KEY_RIGHTMETA);
    taken();
    keys.end(1);
    EXPECT_EQ(taken(), std::vector<Seen>{flags(KeyCode::RightCommand, ModifierFlags::None)});
    keys.end(1);
    EXPECT_EQ(taken(), std::vector<Seen>());
}

// Of whatever comes, the modifiers that are told last are those that are down at last.
TEST_F(EvdevKeysTest, TheFlagsFollowTheKeysThroughAnything)
{
    std::mt19937 random(7);
    EvdevKeySet down;
    for (int step = 0; step < 20'000; ++step) {
        const auto code = static_cast<std::uint16_t>(random() % KEY_CNT);
        const auto action = static_cast<EvdevAction>(random() % 3);
        if (random() % 500 == 0) {
            down = setOf({code});
            keys.catchUp(1, down, 0);
        } else {
            keys.change(1, {code, action, 0});
            down.set(code, action != EvdevAction::Release);
        }
    }
    taken();
    press(KEY_F1);
    ModifierFlags expected = ModifierFlags::None;
    for (std::uint16_t code = 0; code < KEY_CNT; ++code) {
        if (down.test(code)) {
            expected |= modifierFlag(layout.keyCode(code));
        }
    }
    EXPECT_EQ(taken(), std::vector<Seen>{key(KeyCode::F1, {}, expected)});
}

TEST(EvdevKeysToRead, OutsideAChoiceOnlyTheHotkeyTheModifiersAndEscapeAreRead)
{
    const EvdevLayout layout;
    const EvdevKeySet keys = keysToRead({.hotkey = KeyCode::F9, .everyKey = false}, layout);
    for (const std::size_t code : {KEY_F9, KEY_ESC, KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTCTRL, KEY_RIGHTCTRL,
                                   KEY_LEFTALT, KEY_RIGHTALT, KEY_LEFTMETA, KEY_RIGHTMETA, KEY_CAPSLOCK, KEY_FN}) {
        EXPECT_TRUE(keys.test(code)) << code;
    }
    for (const std::size_t code : {KEY_A, KEY_1, KEY_SPACE, KEY_ENTER, KEY_F8, KEY_KP1, BTN_LEFT}) {
        EXPECT_FALSE(keys.test(code)) << code;
    }
}

TEST(EvdevKeysToRead, WhileAKeyIsChosenAllButButtonsAreRead)
{
    const EvdevKeySet keys = keysToRead({.everyKey = true}, EvdevLayout());
    EXPECT_TRUE(keys.test(KEY_A));
    EXPECT_TRUE(keys.test(KEY_MICMUTE));
    EXPECT_FALSE(keys.test(BTN_LEFT));
}

}  // namespace
}  // namespace tavlo
