#include "hotkeys/hotkey_capture.h"

#include "hotkeys/hotkey_catalogue.h"
#include "hotkeys/hotkey_detection.h"
#include "settings/language.h"
#include "support/fakes/fake_hotkey_display.h"
#include "support/fakes/fake_hotkey_target.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace tavlo {
namespace {

using Message = FakeHotkeyDisplay::Message;

class HotkeyCaptureTest : public ::testing::Test, protected TemporarySettings {
protected:
    ~HotkeyCaptureTest() override { gLang = QStringLiteral("nl"); }

    void press(std::uint16_t keyCode, const QString& characters = {})
    {
        m_capture->finishCapture({keyCode, 0, KeyRepeat::FirstPress, characters});
    }

    void modifier(std::uint16_t keyCode, std::uint64_t flags)
    {
        m_capture->captureModifier({keyCode, flags, KeyRepeat::FirstPress, QString()});
    }

    // The label under which a pressed key is saved.
    QString captured(std::uint16_t keyCode, const QString& characters)
    {
        m_capture->startCapture();
        press(keyCode, characters);
        return file.loadWithoutKey().customLabel;
    }

    const QByteArray m_before = "{}";
    FakeHotkeyDisplay m_display;
    std::optional<HotkeyCapture> m_capture{std::in_place, queue, file, log, m_display};
};

TEST_F(HotkeyCaptureTest, StartingShowsTheKeyboardIconAndTheStatusLineAtOnce)
{
    m_capture->startCapture();
    EXPECT_TRUE(m_display.capturing);
    EXPECT_EQ(m_display.icon, QStringLiteral("keyboard"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Druk nu op de gewenste toets… (Esc = annuleren)"));
    EXPECT_GE(m_display.menuBuilds, 1);
    EXPECT_FALSE(m_display.message.has_value());
}

TEST_F(HotkeyCaptureTest, TheMessageComesAfterThreeTenthsOfASecondAndStays)
{
    m_capture->startCapture();
    queue.advance(std::chrono::milliseconds(299));
    EXPECT_FALSE(m_display.message.has_value());
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(m_display.message,
              (Message{QStringLiteral(
                           "⌨️  Druk nu op de toets die je als sneltoets wilt gebruiken - Esc om te annuleren"),
                       std::nullopt}));
}

TEST_F(HotkeyCaptureTest, TheMessageDoesNotComeWhenTheCaptureHasEnded)
{
    m_capture->startCapture();
    press(kEscapeKeyCode);
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
    EXPECT_EQ(m_display.icon, QStringLiteral("mic"));
    EXPECT_EQ(m_display.menuBuilds, 0);
    EXPECT_EQ(queue.waitingCount(), 0u);
}

TEST_F(HotkeyCaptureTest, F5IsSavedWithoutAnAlert)
{
    put(m_before);
    m_capture->startCapture();
    press(96);
    EXPECT_TRUE(m_display.alerts.empty());
    EXPECT_EQ(object(), (QJsonObject{{QStringLiteral("hotkey"), QStringLiteral("custom")},
                                     {QStringLiteral("custom_keycode"), 96},
                                     {QStringLiteral("custom_label"), QStringLiteral("F5")},
                                     {QStringLiteral("custom_is_modifier"), false}}));
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.icon, QStringLiteral("mic"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Sneltoets is nu: F5"));
    EXPECT_EQ(m_display.message, (Message{QStringLiteral("✓ Sneltoets is nu: F5"), 2.5}));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Sneltoets gewijzigd naar F5 (keycode 96)")});
}

TEST_F(HotkeyCaptureTest, TheSpaceBarRaisesTheAlertInEnglish)
{
    gLang = QStringLiteral("en");
    put(m_before);
    m_capture->startCapture();
    queue.advance(std::chrono::milliseconds(300));
    press(49, QStringLiteral(" "));
    ASSERT_EQ(m_display.alerts.size(), 1u);
    const TypingKeyAlert& alert = m_display.alerts[0];
    EXPECT_EQ(alert.title, QStringLiteral("'Space' is a commonly used typing key"));
    EXPECT_EQ(alert.text,
              QStringLiteral("If you set this key as the hotkey, recording will start or stop every time you type it "
                             "anywhere. An F-key (or §) is usually a better choice."));
    EXPECT_EQ(alert.chooseAnother, QStringLiteral("Choose another key"));
    EXPECT_EQ(alert.useAnyway, QStringLiteral("Use anyway"));
    EXPECT_EQ(alert.cancel, QStringLiteral("Cancel"));
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.icon, QStringLiteral("mic"));
    EXPECT_FALSE(m_display.message.has_value());
    EXPECT_EQ(bytes(), m_before);

    m_display.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_EQ(file.loadWithoutKey().customLabel, QStringLiteral("Space"));
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 49);
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Hotkey is now: Space"));
}

TEST_F(HotkeyCaptureTest, TheAlertSpeaksDutchToo)
{
    m_capture->startCapture();
    press(49);
    ASSERT_EQ(m_display.alerts.size(), 1u);
    const TypingKeyAlert& alert = m_display.alerts[0];
    EXPECT_EQ(alert.title, QStringLiteral("'Spatie' is een veelgebruikte typtoets"));
    EXPECT_EQ(alert.text, QStringLiteral("Als je deze toets als sneltoets instelt, start of stopt de opname élke keer "
                                         "dat je hem ergens typt. Een F-toets (of §) is meestal een betere keuze."));
    EXPECT_EQ(alert.chooseAnother, QStringLiteral("Andere toets kiezen"));
    EXPECT_EQ(alert.useAnyway, QStringLiteral("Toch gebruiken"));
    EXPECT_EQ(alert.cancel, QStringLiteral("Annuleer"));
}

TEST_F(HotkeyCaptureTest, ChoosingAnotherKeyStartsAFreshCapture)
{
    m_capture->startCapture();
    press(36);
    m_display.answer(TypingKeyAnswer::ChooseAnother);
    EXPECT_TRUE(m_display.capturing);
    EXPECT_EQ(m_display.icon, QStringLiteral("keyboard"));
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, CancellingTheAlertKeepsTheOldHotkey)
{
    m_capture->startCapture();
    press(48);
    const int builds = m_display.menuBuilds;
    m_display.answer(TypingKeyAnswer::Cancel);
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Toetskeuze geannuleerd"));
    EXPECT_EQ(m_display.menuBuilds, builds + 1);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, OnlyTheFourTypingKeysRaiseTheAlert)
{
    for (const std::uint16_t code : std::to_array<std::uint16_t>({49, 36, 48, 51})) {
        m_capture->startCapture();
        press(code);
    }
    EXPECT_EQ(m_display.alerts.size(), 4u);
    EXPECT_EQ(m_display.alerts[3].title, QStringLiteral("'⌫' is een veelgebruikte typtoets"));
    for (const std::uint16_t code : std::to_array<std::uint16_t>({0, 117, 76, 10})) {
        m_capture->startCapture();
        press(code, QStringLiteral("x"));
    }
    EXPECT_EQ(m_display.alerts.size(), 4u);
}

TEST_F(HotkeyCaptureTest, AnAnswerAfterTheObjectIsGoneDoesNothing)
{
    m_capture->startCapture();
    press(49);
    m_capture.reset();
    m_display.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, ALetterIsSavedUpperCasedWithoutAnAlert)
{
    EXPECT_EQ(captured(0, QStringLiteral("a")), QStringLiteral("A"));
    EXPECT_TRUE(m_display.alerts.empty());
}

TEST_F(HotkeyCaptureTest, AKeyIsNamedByItsFirstCharacterWhenThatCanBeShown)
{
    EXPECT_EQ(captured(23, QStringLiteral("5")), QStringLiteral("5"));
    EXPECT_EQ(captured(27, QStringLiteral("-")), QStringLiteral("-"));
    EXPECT_EQ(captured(24, QStringLiteral("=")), QStringLiteral("="));
    EXPECT_EQ(captured(50, QStringLiteral("²")), QStringLiteral("²"));
    EXPECT_EQ(captured(41, QStringLiteral("ö")), QStringLiteral("Ö"));
    EXPECT_EQ(captured(41, QStringLiteral("é")), QStringLiteral("É"));
    EXPECT_EQ(captured(12, QStringLiteral("й")), QStringLiteral("Й"));
    EXPECT_EQ(captured(27, QStringLiteral("ß")), QStringLiteral("SS"));
    EXPECT_EQ(captured(1, QStringLiteral("xy")), QStringLiteral("X"));
}

TEST_F(HotkeyCaptureTest, AKeyWithoutANameIsNamedByItsNumber)
{
    EXPECT_EQ(captured(76, QString()), QStringLiteral("Toets 76"));
    EXPECT_EQ(captured(77, QStringLiteral("\u001b")), QStringLiteral("Toets 77"));
    EXPECT_EQ(captured(78, QStringLiteral(" ")), QStringLiteral("Toets 78"));
    gLang = QStringLiteral("en");
    EXPECT_EQ(captured(76, QString()), QStringLiteral("Key 76"));
}

TEST_F(HotkeyCaptureTest, TheTableOfNamesGoesBeforeTheCharacters)
{
    EXPECT_EQ(captured(10, QStringLiteral("<")), QStringLiteral("§"));
    EXPECT_EQ(captured(123, QStringLiteral("x")), QStringLiteral("←"));
}

TEST_F(HotkeyCaptureTest, LeftOptionIsSavedAsAModifierAndWorksAsTheHotkey)
{
    m_capture->startCapture();
    modifier(58, kOptionFlag);
    const Config config = file.loadWithoutKey();
    EXPECT_EQ(config.hotkey, QStringLiteral("custom"));
    EXPECT_EQ(config.customKeycode, 58);
    EXPECT_EQ(config.customLabel, QStringLiteral("Linker ⌥"));
    EXPECT_TRUE(config.customIsModifier);
    EXPECT_TRUE(m_display.alerts.empty());

    FakeHotkeyTarget target;
    HotkeyDetection detection(queue, file, target);
    detection.handleFlags({58, kOptionFlag, KeyRepeat::FirstPress, QString()});
    detection.handleFlags({61, kOptionFlag, KeyRepeat::FirstPress, QString()});
    queue.runPending();
    EXPECT_EQ(target.toggles, 1);
}

TEST_F(HotkeyCaptureTest, LeftOptionHasItsEnglishName)
{
    gLang = QStringLiteral("en");
    m_capture->startCapture();
    modifier(58, kOptionFlag);
    EXPECT_EQ(file.loadWithoutKey().customLabel, QStringLiteral("Left ⌥"));
    EXPECT_EQ(m_display.message, (Message{QStringLiteral("✓ Hotkey is now: Left ⌥"), 2.5}));
}

TEST_F(HotkeyCaptureTest, CapsLockIsRefusedAndEscapeThenEndsTheCapture)
{
    gLang = QStringLiteral("en");
    m_capture->startCapture();
    modifier(57, 0x10000);
    EXPECT_TRUE(m_display.capturing);
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Caps Lock is not suitable - choose another key"));
    EXPECT_EQ(m_display.message,
              (Message{QStringLiteral("Caps Lock is not suitable - press another key (Esc = cancel)"), std::nullopt}));
    press(kEscapeKeyCode);
    EXPECT_FALSE(m_display.capturing);
    EXPECT_EQ(m_display.icon, QStringLiteral("mic"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Key selection cancelled"));
    EXPECT_EQ(m_display.message, (Message{QStringLiteral("Key selection cancelled"), 1.5}));
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, CapsLockIsRefusedInDutch)
{
    m_capture->startCapture();
    modifier(57, 0);
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Caps Lock is niet geschikt - kies een andere toets"));
    EXPECT_EQ(m_display.message->text,
              QStringLiteral("Caps Lock is niet geschikt - druk op een andere toets (Esc = annuleren)"));
}

TEST_F(HotkeyCaptureTest, ReleasesAndOtherKeysLeaveTheCaptureRunning)
{
    m_capture->startCapture();
    modifier(58, 0);
    modifier(64, kOptionFlag);
    modifier(53, kCommandFlag);
    EXPECT_TRUE(m_display.capturing);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(HotkeyCaptureTest, EventsThatComeAfterTheCaptureEndedDoNothing)
{
    press(96);
    modifier(58, kOptionFlag);
    EXPECT_FALSE(QFile::exists(file.path()));
    EXPECT_EQ(m_display.menuBuilds, 0);
}

TEST_F(HotkeyCaptureTest, PickingARowKeepsTheCapturedKey)
{
    put(R"({"hotkey": "custom", "custom_keycode": 96, "custom_label": "F5", "custom_is_modifier": false})");
    m_capture->pickHotkey(QStringLiteral("rechter-shift"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Sneltoets is nu: Rechter ⇧ Shift"));
    EXPECT_EQ(file.loadWithoutKey().customKeycode, 96);
    m_capture->pickHotkey(QStringLiteral("custom"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Sneltoets is nu: F5"));
}

TEST_F(HotkeyCaptureTest, PickingFnAddsTheGlobeKeyHint)
{
    m_capture->pickHotkey(QStringLiteral("fn"));
    EXPECT_EQ(m_display.statusLine, QStringLiteral("Sneltoets is nu: Fn 🌐 (wereldbol) - zet evt. Systeeminstellingen ▸ "
                                                   "Toetsenbord ▸ 'Druk op 🌐' op 'Doe niets'"));
    gLang = QStringLiteral("en");
    m_capture->pickHotkey(QStringLiteral("fn"));
    EXPECT_EQ(m_display.statusLine,
              QStringLiteral("Hotkey is now: Fn 🌐 (globe) - you may want to set System Settings ▸ "
                             "Keyboard ▸ 'Press 🌐' to 'Do Nothing'"));
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
