#include "hotkeys/hotkey_capture.h"

#include "hotkeys/hotkey_catalogue.h"
#include "hotkeys/hotkey_detection.h"
#include "platform/text_literals.h"
#include "settings/language.h"
#include "support/fakes/fake_dictation_control.h"
#include "support/fakes/fake_hotkey_display.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace tavlo {
namespace {

using Message = FakeHotkeyDisplay::Message;

class HotkeyCaptureTest : public ::testing::Test, protected TemporarySettings {
protected:
    ~HotkeyCaptureTest() override { gLang = u"nl"_s; }

    void press(KeyCode keyCode, const QString& characters = {})
    {
        m_capture->finishCapture({keyCode, ModifierFlags::None, KeyRepeat::FirstPress, characters});
    }

    void modifier(KeyCode keyCode, ModifierFlags flags)
    {
        m_capture->captureModifier({keyCode, flags, KeyRepeat::FirstPress, QString()});
    }

    // The label under which a pressed key is saved.
    QString captured(KeyCode keyCode, const QString& characters)
    {
        m_capture->startCapture();
        press(keyCode, characters);
        return file.loadWithoutKey().customLabel;
    }

    const QByteArray m_before = "{}";
    FakeHotkeyDisplay m_display;
    FakeKeyboardMonitor m_keyboard;
    std::optional<HotkeyCapture> m_capture{std::in_place, queue, m_keyboard, file, log, m_display};
};

TEST_F(HotkeyCaptureTest, StartingIsShownAtOnce)
{
    m_capture->startCapture();
    EXPECT_TRUE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Druk nu op de gewenste toets… (Esc = annuleren)"_s);
    EXPECT_GE(m_display.menuBuilds, 1);
    EXPECT_FALSE(m_display.message.has_value());
}

TEST_F(HotkeyCaptureTest, WhereNoKeyCanArriveNoneIsWaitedFor)
{
    m_keyboard.reason = {u"Geen toetsen."_s, u"No keys."_s};
    m_capture->startCapture();
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"⚠️ Geen toetsen."_s);
    queue.advance(std::chrono::seconds(1));
    EXPECT_FALSE(m_display.message.has_value());
}

TEST_F(HotkeyCaptureTest, TheMessageComesAfterThreeTenthsOfASecondAndStays)
{
    m_capture->startCapture();
    queue.advance(std::chrono::milliseconds(299));
    EXPECT_FALSE(m_display.message.has_value());
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(m_display.message,
              (Message{u"⌨️  Druk nu op de toets die je als sneltoets wilt gebruiken - Esc om te annuleren"_s,
                       std::nullopt}));
}

TEST_F(HotkeyCaptureTest, TheMessageDoesNotComeWhenTheCaptureHasEnded)
{
    m_capture->startCapture();
    press(KeyCode::Escape);
    m_display.message.reset();
    queue.advance(std::chrono::seconds(1));
    EXPECT_FALSE(m_display.message.has_value());
}

TEST_F(HotkeyCaptureTest, TheMessageDoesNotOutliveTheObject)
{
    m_capture->startCapture();
    m_capture.reset();
    queue.advance(std::chrono::seconds(1));
    EXPECT_FALSE(m_display.message.has_value());
}

TEST_F(HotkeyCaptureTest, StartingWhileRecordingOrBusyDoesNothing)
{
    m_display.recording = true;
    m_capture->startCapture();
    EXPECT_FALSE(m_display.capturing);
    m_display.recording = false;
    m_display.busy = true;
    m_capture->startCapture();
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.menuBuilds, 0);
    EXPECT_EQ(queue.waitingCount(), 0u);
}

TEST_F(HotkeyCaptureTest, F5IsSavedWithoutAnAlert)
{
    put(m_before);
    m_capture->startCapture();
    press(KeyCode::F5);
    EXPECT_TRUE(m_display.alerts.empty());
    EXPECT_EQ(object(), (QJsonObject{{u"hotkey"_s, u"custom"_s},
                                     {u"custom_keycode"_s, 96},
                                     {u"custom_label"_s, u"F5"_s},
                                     {u"custom_is_modifier"_s, false}}));
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Sneltoets is nu: F5"_s);
    EXPECT_EQ(m_display.message, (Message{u"✓ Sneltoets is nu: F5"_s, 2.5}));
    EXPECT_EQ(log.lines(), QStringList{u"Sneltoets gewijzigd naar F5 (keycode 96)"_s});
}

TEST_F(HotkeyCaptureTest, TheSpaceBarRaisesTheAlertInEnglish)
{
    gLang = u"en"_s;
    put(m_before);
    m_capture->startCapture();
    queue.advance(std::chrono::milliseconds(300));
    press(KeyCode::Space, u" "_s);
    ASSERT_EQ(m_display.alerts.size(), 1u);
    const TypingKeyAlert& alert = m_display.alerts[0];
    EXPECT_EQ(alert.title, u"'Space' is a commonly used typing key"_s);
    EXPECT_EQ(alert.text,
              u"If you set this key as the hotkey, recording will start or stop every time you type it "
              "anywhere. An F-key (or §) is usually a better choice."_s);
    EXPECT_EQ(alert.chooseAnother, u"Choose another key"_s);
    EXPECT_EQ(alert.useAnyway, u"Use anyway"_s);
    EXPECT_EQ(alert.cancel, u"Cancel"_s);
    EXPECT_FALSE(m_display.capturing);
    EXPECT_FALSE(m_display.message.has_value());
    EXPECT_EQ(bytes(), m_before);

    m_display.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_EQ(file.loadWithoutKey().customLabel, u"Space"_s);
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 49);
    EXPECT_EQ(m_display.statusLine, u"Hotkey is now: Space"_s);
}

TEST_F(HotkeyCaptureTest, TheAlertSpeaksDutchToo)
{
    m_capture->startCapture();
    press(KeyCode::Space);
    ASSERT_EQ(m_display.alerts.size(), 1u);
    const TypingKeyAlert& alert = m_display.alerts[0];
    EXPECT_EQ(alert.title, u"'Spatie' is een veelgebruikte typtoets"_s);
    EXPECT_EQ(alert.text,
              u"Als je deze toets als sneltoets instelt, start of stopt de opname élke keer "
              "dat je hem ergens typt. Een F-toets (of §) is meestal een betere keuze."_s);
    EXPECT_EQ(alert.chooseAnother, u"Andere toets kiezen"_s);
    EXPECT_EQ(alert.useAnyway, u"Toch gebruiken"_s);
    EXPECT_EQ(alert.cancel, u"Annuleer"_s);
}

TEST_F(HotkeyCaptureTest, ChoosingAnotherKeyStartsAFreshCapture)
{
    m_capture->startCapture();
    press(KeyCode::Return);
    m_display.answer(TypingKeyAnswer::ChooseAnother);
    EXPECT_TRUE(m_display.capturing);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, CancellingTheAlertKeepsTheOldHotkey)
{
    m_capture->startCapture();
    press(KeyCode::Tab);
    const int builds = m_display.menuBuilds;
    m_display.answer(TypingKeyAnswer::Cancel);
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Toetskeuze geannuleerd"_s);
    EXPECT_EQ(m_display.menuBuilds, builds + 1);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, OnlyTheFourTypingKeysRaiseTheAlert)
{
    for (const KeyCode code : {KeyCode::Space, KeyCode::Return, KeyCode::Tab, KeyCode::Backspace}) {
        m_capture->startCapture();
        press(code);
    }
    EXPECT_EQ(m_display.alerts.size(), 4u);
    EXPECT_EQ(m_display.alerts[3].title, u"'⌫' is een veelgebruikte typtoets"_s);
    for (const KeyCode code : {KeyCode::A, KeyCode::Delete, KeyCode::KeypadEnter, KeyCode::Section}) {
        m_capture->startCapture();
        press(code, u"x"_s);
    }
    EXPECT_EQ(m_display.alerts.size(), 4u);
}

TEST_F(HotkeyCaptureTest, AnAnswerAfterTheObjectIsGoneDoesNothing)
{
    m_capture->startCapture();
    press(KeyCode::Space);
    m_capture.reset();
    m_display.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, ALetterIsSavedUpperCasedWithoutAnAlert)
{
    EXPECT_EQ(captured(KeyCode::A, u"a"_s), u"A"_s);
    EXPECT_TRUE(m_display.alerts.empty());
}

TEST_F(HotkeyCaptureTest, AKeyIsNamedByItsFirstCharacterWhenThatCanBeShown)
{
    EXPECT_EQ(captured(KeyCode::Digit5, u"5"_s), u"5"_s);
    EXPECT_EQ(captured(KeyCode::Minus, u"-"_s), u"-"_s);
    EXPECT_EQ(captured(KeyCode::Equal, u"="_s), u"="_s);
    EXPECT_EQ(captured(KeyCode::Grave, u"²"_s), u"²"_s);
    EXPECT_EQ(captured(KeyCode::Semicolon, u"ö"_s), u"Ö"_s);
    EXPECT_EQ(captured(KeyCode::Semicolon, u"é"_s), u"É"_s);
    EXPECT_EQ(captured(KeyCode::Q, u"й"_s), u"Й"_s);
    EXPECT_EQ(captured(KeyCode::Minus, u"ß"_s), u"SS"_s);
    EXPECT_EQ(captured(KeyCode::S, u"xy"_s), u"X"_s);
}

TEST_F(HotkeyCaptureTest, AKeyWithoutANameIsNamedByItsNumber)
{
    EXPECT_EQ(captured(KeyCode::KeypadEnter, QString()), u"Toets 76"_s);
    EXPECT_EQ(captured(KeyCode{77}, u"\u001b"_s), u"Toets 77"_s);
    EXPECT_EQ(captured(KeyCode::KeypadMinus, u" "_s), u"Toets 78"_s);
    gLang = u"en"_s;
    EXPECT_EQ(captured(KeyCode::KeypadEnter, QString()), u"Key 76"_s);
}

TEST_F(HotkeyCaptureTest, TheTableOfNamesGoesBeforeTheCharacters)
{
    EXPECT_EQ(captured(KeyCode::Section, u"<"_s), u"§"_s);
    EXPECT_EQ(captured(KeyCode::Left, u"x"_s), u"←"_s);
}

TEST_F(HotkeyCaptureTest, LeftOptionIsSavedAsAModifierAndWorksAsTheHotkey)
{
    m_capture->startCapture();
    modifier(KeyCode::LeftOption, ModifierFlags::Option);
    const Config config = file.loadWithoutKey();
    EXPECT_EQ(config.hotkey, u"custom"_s);
    EXPECT_EQ(config.customKeycode, 58);
    EXPECT_EQ(config.customLabel, u"Linker ⌥"_s);
    EXPECT_TRUE(config.customIsModifier);
    EXPECT_TRUE(m_display.alerts.empty());

    FakeDictationControl target;
    HotkeyDetection detection(queue, file, *m_capture, target);
    detection.handleFlags({KeyCode::LeftOption, ModifierFlags::Option, KeyRepeat::FirstPress, QString()});
    detection.handleFlags({KeyCode::RightOption, ModifierFlags::Option, KeyRepeat::FirstPress, QString()});
    queue.runPending();
    EXPECT_EQ(target.toggles, 1);
}

TEST_F(HotkeyCaptureTest, LeftOptionHasItsEnglishName)
{
    gLang = u"en"_s;
    m_capture->startCapture();
    modifier(KeyCode::LeftOption, ModifierFlags::Option);
    EXPECT_EQ(file.loadWithoutKey().customLabel, u"Left ⌥"_s);
    EXPECT_EQ(m_display.message, (Message{u"✓ Hotkey is now: Left ⌥"_s, 2.5}));
}

TEST_F(HotkeyCaptureTest, CapsLockIsRefusedAndEscapeThenEndsTheCapture)
{
    gLang = u"en"_s;
    m_capture->startCapture();
    modifier(KeyCode::CapsLock, ModifierFlags{0x10000});
    EXPECT_TRUE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Caps Lock is not suitable - choose another key"_s);
    EXPECT_EQ(m_display.message,
              (Message{u"Caps Lock is not suitable - press another key (Esc = cancel)"_s, std::nullopt}));
    press(KeyCode::Escape);
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, u"Key selection cancelled"_s);
    EXPECT_EQ(m_display.message, (Message{u"Key selection cancelled"_s, 1.5}));
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, CapsLockIsRefusedInDutch)
{
    m_capture->startCapture();
    modifier(KeyCode::CapsLock, ModifierFlags::None);
    EXPECT_EQ(m_display.statusLine, u"Caps Lock is niet geschikt - kies een andere toets"_s);
    EXPECT_EQ(m_display.message->text, u"Caps Lock is niet geschikt - druk op een andere toets (Esc = annuleren)"_s);
}

TEST_F(HotkeyCaptureTest, ReleasesAndOtherKeysLeaveTheCaptureRunning)
{
    m_capture->startCapture();
    modifier(KeyCode::LeftOption, ModifierFlags::None);
    modifier(KeyCode::F17, ModifierFlags::Option);
    modifier(KeyCode::Escape, ModifierFlags::Command);
    EXPECT_TRUE(m_display.capturing);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, EventsThatComeAfterTheCaptureEndedDoNothing)
{
    press(KeyCode::F5);
    modifier(KeyCode::LeftOption, ModifierFlags::Option);
    EXPECT_FALSE(QFile::exists(file.path()));
    EXPECT_EQ(m_display.menuBuilds, 0);
}

TEST_F(HotkeyCaptureTest, PickingARowKeepsTheCapturedKey)
{
    put(R"({"hotkey": "custom", "custom_keycode": 96, "custom_label": "F5", "custom_is_modifier": false})");
    m_capture->pickHotkey(u"rechter-shift"_s);
    EXPECT_EQ(m_display.statusLine, u"Sneltoets is nu: Rechter ⇧ Shift"_s);
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 96);
    m_capture->pickHotkey(u"custom"_s);
    EXPECT_EQ(m_display.statusLine, u"Sneltoets is nu: F5"_s);
}

TEST_F(HotkeyCaptureTest, PickingFnAddsTheGlobeKeyHint)
{
    m_capture->pickHotkey(u"fn"_s);
    EXPECT_EQ(m_display.statusLine,
              u"Sneltoets is nu: Fn 🌐 (wereldbol) - zet evt. Systeeminstellingen ▸ "
              "Toetsenbord ▸ 'Druk op 🌐' op 'Doe niets'"_s);
    gLang = u"en"_s;
    m_capture->pickHotkey(u"fn"_s);
    EXPECT_EQ(m_display.statusLine,
              u"Hotkey is now: Fn 🌐 (globe) - you may want to set System Settings ▸ "
              "Keyboard ▸ 'Press 🌐' to 'Do Nothing'"_s);
}

TEST_F(HotkeyCaptureTest, PickingWhatIsNoTextDoesNothing)
{
    m_capture->pickHotkey(QVariant());
    m_capture->pickHotkey(54);
    EXPECT_FALSE(QFile::exists(file.path()));
    EXPECT_EQ(m_display.menuBuilds, 0);
}

}  // namespace
}  // namespace tavlo
