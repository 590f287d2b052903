#include "hotkeys/hotkey_detection.h"

#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_dictation_control.h"
#include "support/fakes/fake_hotkey_display.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

#include <optional>

namespace tavlo {
namespace {

constexpr KeyCode kF5 = KeyCode::F5;

class HotkeyDetectionTest : public ::testing::Test, protected TemporarySettings {
protected:
    void flags(KeyCode keyCode, ModifierFlags modifierFlags)
    {
        m_detection->handleFlags({keyCode, modifierFlags, KeyRepeat::FirstPress, QString()});
    }

    void key(KeyCode keyCode, KeyRepeat repeat = KeyRepeat::FirstPress,
             ModifierFlags modifierFlags = ModifierFlags::None)
    {
        m_detection->handleKeyDown({keyCode, modifierFlags, repeat, QString()});
    }

    void useKey(KeyCode keyCode)
    {
        file.update(u"hotkey"_s, u"custom"_s);
        file.update(u"custom_keycode"_s, keyNumber(keyCode));
    }

    FakeDictationControl m_target;
    FakeHotkeyDisplay m_display;
    FakeKeyboardMonitor m_keyboard;
    HotkeyCapture m_capture{queue, m_keyboard, file, log, m_display};
    std::optional<HotkeyDetection> m_detection{std::in_place, queue, file, m_capture, m_target};
};

TEST_F(HotkeyDetectionTest, RightCommandTogglesOnEachPressAndNeverOnARelease)
{
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
    EXPECT_TRUE(m_target.recording);
    flags(KeyCode::RightCommand, ModifierFlags::None);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
    EXPECT_FALSE(m_target.recording);
}

TEST_F(HotkeyDetectionTest, NothingHappensWithinTheEventItself)
{
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    EXPECT_EQ(m_target.toggles, 0);
    EXPECT_EQ(queue.waitingCount(), 1u);
}

TEST_F(HotkeyDetectionTest, LeftCommandIsNotTheRightOne)
{
    flags(KeyCode::LeftCommand, ModifierFlags::Command);
    flags(KeyCode::LeftCommand, ModifierFlags::None);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, ReleasingTheRightKeyWhileTheLeftOneIsHeldFires)
{
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    flags(KeyCode::RightCommand, ModifierFlags::Command);  // The release: the left key keeps the flag set.
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
}

TEST_F(HotkeyDetectionTest, TheHotkeyFiresAlsoAsPartOfAShortcut)
{
    flags(KeyCode::LeftShift, ModifierFlags::Shift);
    flags(KeyCode::RightCommand, ModifierFlags::Shift | ModifierFlags::Command);
    key(KeyCode::C, KeyRepeat::FirstPress, ModifierFlags::Shift | ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, RightOptionWithoutItsFlagDoesNothing)
{
    file.update(u"hotkey"_s, u"rechter-option"_s);
    flags(KeyCode::RightOption, ModifierFlags::None);
    flags(KeyCode::RightOption, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
    flags(KeyCode::RightOption, ModifierFlags::Option);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, PressesWhileATranscriptionRunsAreIgnored)
{
    m_target.busy = true;
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
    EXPECT_FALSE(m_target.recording);
}

TEST_F(HotkeyDetectionTest, APlainKeyTogglesOnceHoweverLongItIsHeld)
{
    useKey(kF5);
    key(kF5);
    key(kF5, KeyRepeat::AutoRepeat);
    key(kF5, KeyRepeat::AutoRepeat);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, ModifiersHeldWithAPlainKeyAreNotLookedAt)
{
    useKey(kF5);
    key(kF5, KeyRepeat::FirstPress, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, OtherKeysDoNothing)
{
    useKey(kF5);
    key(KeyCode::F6);
    flags(kF5, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, AModifierHotkeyIsNotHeardAsAKeyDown)
{
    key(KeyCode::RightCommand, KeyRepeat::FirstPress, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, ACapturedModifierIsHeardByItsFlag)
{
    useKey(KeyCode{58});
    file.update(u"custom_is_modifier"_s, true);
    flags(KeyCode::LeftOption, ModifierFlags::Option);
    flags(KeyCode::LeftOption, ModifierFlags::None);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, EscapeWhileRecordingCancelsAndDoesNotToggle)
{
    useKey(KeyCode::Escape);
    m_target.recording = true;
    key(KeyCode::Escape);
    queue.runPending();
    EXPECT_EQ(m_target.cancels, 1);
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, EscapeWhileIdleDoesNothing)
{
    key(KeyCode::Escape);
    queue.runPending();
    EXPECT_EQ(m_target.cancels, 0);
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, EscapeWhileIdleTogglesWhenItIsTheHotkey)
{
    useKey(KeyCode::Escape);
    key(KeyCode::Escape);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, ACaptureGetsEveryEventAndTheHotkeyDoesNotFire)
{
    m_target.recording = true;
    m_display.capturing = true;
    flags(KeyCode::RightCommand, ModifierFlags::None);  // A release chooses nothing.
    flags(KeyCode::CapsLock, ModifierFlags::None);
    EXPECT_TRUE(m_display.statusLine.isEmpty());
    queue.runPending();
    EXPECT_EQ(m_display.statusLine, u"Caps Lock is niet geschikt - kies een andere toets"_s);
    key(KeyCode::Escape);
    EXPECT_TRUE(m_display.capturing);
    queue.runPending();
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Toetskeuze geannuleerd"_s);

    // The hotkey itself and a plain key are chosen.
    m_display.capturing = true;
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    queue.runPending();
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 54);
    m_display.capturing = true;
    key(kF5);
    queue.runPending();
    EXPECT_EQ(file.loadWithoutKey().customKeycode, keyNumber(kF5));
    EXPECT_EQ(m_target.toggles, 0);
    EXPECT_EQ(m_target.cancels, 0);
}

TEST_F(HotkeyDetectionTest, AChangedSettingCountsAtTheNextEvent)
{
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    file.update(u"hotkey"_s, u"rechter-shift"_s);
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    flags(KeyCode::RightShift, ModifierFlags::Shift);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
}

TEST_F(HotkeyDetectionTest, TheKeychainIsNeverAsked)
{
    put(R"({"openai_api_key": "sk-x"})");
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    key(kF5);
    queue.runPending();
    EXPECT_EQ(store.calls, 0);
}

TEST_F(HotkeyDetectionTest, WhatIsQueuedDoesNotOutliveTheDetection)
{
    flags(KeyCode::RightCommand, ModifierFlags::Command);
    m_detection.reset();
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

}  // namespace
}  // namespace tavlo
