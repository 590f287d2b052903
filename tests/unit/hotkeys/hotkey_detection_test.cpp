#include "hotkeys/hotkey_detection.h"

#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_dictation_control.h"
#include "support/fakes/fake_hotkey_display.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

#include <optional>

namespace tavlo {
namespace {

constexpr std::uint16_t kF5 = 96;

class HotkeyDetectionTest : public ::testing::Test, protected TemporarySettings {
protected:
    void flags(std::uint16_t keyCode, std::uint64_t modifierFlags)
    {
        m_detection->handleFlags({keyCode, modifierFlags, KeyRepeat::FirstPress, QString()});
    }

    void key(std::uint16_t keyCode, KeyRepeat repeat = KeyRepeat::FirstPress, std::uint64_t modifierFlags = 0)
    {
        m_detection->handleKeyDown({keyCode, modifierFlags, repeat, QString()});
    }

    void useKey(int keyCode)
    {
        file.update(u"hotkey"_s, u"custom"_s);
        file.update(u"custom_keycode"_s, keyCode);
    }

    FakeDictationControl m_target;
    FakeHotkeyDisplay m_display;
    HotkeyCapture m_capture{queue, file, log, m_display};
    std::optional<HotkeyDetection> m_detection{std::in_place, queue, file, m_capture, m_target};
};

TEST_F(HotkeyDetectionTest, RightCommandTogglesOnEachPressAndNeverOnARelease)
{
    flags(54, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
    EXPECT_TRUE(m_target.recording);
    flags(54, 0);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
    flags(54, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
    EXPECT_FALSE(m_target.recording);
}

TEST_F(HotkeyDetectionTest, NothingHappensWithinTheEventItself)
{
    flags(54, kCommandFlag);
    EXPECT_EQ(m_target.toggles, 0);
    EXPECT_EQ(queue.waitingCount(), 1u);
}

TEST_F(HotkeyDetectionTest, LeftCommandIsNotTheRightOne)
{
    flags(55, kCommandFlag);
    flags(55, 0);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, ReleasingTheRightKeyWhileTheLeftOneIsHeldFires)
{
    flags(54, kCommandFlag);
    flags(54, kCommandFlag);  // The release: the left key keeps the flag set.
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
}

TEST_F(HotkeyDetectionTest, TheHotkeyFiresAlsoAsPartOfAShortcut)
{
    flags(56, kShiftFlag);
    flags(54, kShiftFlag | kCommandFlag);
    key(8, KeyRepeat::FirstPress, kShiftFlag | kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, RightOptionWithoutItsFlagDoesNothing)
{
    file.update(u"hotkey"_s, u"rechter-option"_s);
    flags(61, 0);
    flags(61, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
    flags(61, kOptionFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, PressesWhileATranscriptionRunsAreIgnored)
{
    m_target.busy = true;
    flags(54, kCommandFlag);
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
    key(kF5, KeyRepeat::FirstPress, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, OtherKeysDoNothing)
{
    useKey(kF5);
    key(97);
    flags(kF5, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, AModifierHotkeyIsNotHeardAsAKeyDown)
{
    key(54, KeyRepeat::FirstPress, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, ACapturedModifierIsHeardByItsFlag)
{
    useKey(58);
    file.update(u"custom_is_modifier"_s, true);
    flags(58, kOptionFlag);
    flags(58, 0);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, EscapeWhileRecordingCancelsAndDoesNotToggle)
{
    useKey(kEscapeKeyCode);
    m_target.recording = true;
    key(kEscapeKeyCode);
    queue.runPending();
    EXPECT_EQ(m_target.cancels, 1);
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, EscapeWhileIdleDoesNothing)
{
    key(kEscapeKeyCode);
    queue.runPending();
    EXPECT_EQ(m_target.cancels, 0);
    EXPECT_EQ(m_target.toggles, 0);
}

TEST_F(HotkeyDetectionTest, EscapeWhileIdleTogglesWhenItIsTheHotkey)
{
    useKey(kEscapeKeyCode);
    key(kEscapeKeyCode);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 1);
}

TEST_F(HotkeyDetectionTest, ACaptureGetsEveryEventAndTheHotkeyDoesNotFire)
{
    m_target.recording = true;
    m_display.capturing = true;
    flags(54, 0);  // A release chooses nothing.
    flags(57, 0);
    EXPECT_TRUE(m_display.statusLine.isEmpty());
    queue.runPending();
    EXPECT_EQ(m_display.statusLine, u"Caps Lock is niet geschikt - kies een andere toets"_s);
    key(kEscapeKeyCode);
    EXPECT_TRUE(m_display.capturing);
    queue.runPending();
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Toetskeuze geannuleerd"_s);

    // The hotkey itself and a plain key are chosen.
    m_display.capturing = true;
    flags(54, kCommandFlag);
    queue.runPending();
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 54);
    m_display.capturing = true;
    key(kF5);
    queue.runPending();
    EXPECT_EQ(file.loadWithoutKey().customKeycode, kF5);
    EXPECT_EQ(m_target.toggles, 0);
    EXPECT_EQ(m_target.cancels, 0);
}

TEST_F(HotkeyDetectionTest, AChangedSettingCountsAtTheNextEvent)
{
    flags(54, kCommandFlag);
    file.update(u"hotkey"_s, u"rechter-shift"_s);
    flags(54, kCommandFlag);
    flags(60, kShiftFlag);
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 2);
}

TEST_F(HotkeyDetectionTest, TheKeychainIsNeverAsked)
{
    put(R"({"openai_api_key": "sk-x"})");
    flags(54, kCommandFlag);
    key(kF5);
    queue.runPending();
    EXPECT_EQ(store.calls, 0);
}

TEST_F(HotkeyDetectionTest, WhatIsQueuedDoesNotOutliveTheDetection)
{
    flags(54, kCommandFlag);
    m_detection.reset();
    queue.runPending();
    EXPECT_EQ(m_target.toggles, 0);
}

}  // namespace
}  // namespace tavlo
