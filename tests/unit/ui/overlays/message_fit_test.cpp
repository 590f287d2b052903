// The texts of the message overlay and of the warning about a typing key, in the fonts that desktops come with.

#include "app/dictation_session.h"
#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/text_literals.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "support/fakes/fake_hotkey_display.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/overlays/message_hud.h"
#include "ui/windows/typing_key_alert.h"
#include "window_test_support.h"

#include <QAbstractButton>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QLabel>
#include <QMessageBox>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <vector>

using namespace tavlo;
using namespace tavlo::test;

namespace {

KeyEvent keyWithCode(KeyCode keyCode)
{
    KeyEvent event;
    event.keyCode = keyCode;
    return event;
}

// What the message overlay says in the present language: the longest texts, and those of a capture.
std::vector<QString> messages()
{
    const QTemporaryDir folder;
    ManualMainQueue queue;
    MemoryLog log;
    FakeSecretStore secrets(queue);
    Keychain keychain(secrets);
    ConfigFile file(folder.filePath(u"config.json"_s), keychain, log);
    FakeHotkeyDisplay display;
    const FakeKeyboardMonitor keyboard;
    HotkeyCapture capture(queue, keyboard, file, log, display);

    std::vector<QString> shown{noSignalMessage(), deviceChangedMessage()};
    const auto note = [&shown, &display] {
        ASSERT_TRUE(display.message);
        shown.push_back(display.message->text);
        display.message.reset();
    };
    capture.startCapture();
    queue.advance(std::chrono::milliseconds(300));
    note();
    capture.captureModifier(keyWithCode(KeyCode::CapsLock));
    note();
    capture.finishCapture(keyWithCode(KeyCode::PageDown));
    note();
    capture.startCapture();
    capture.finishCapture(keyWithCode(KeyCode::Escape));
    note();
    return shown;
}

class MessageFont : public testing::TestWithParam<const char*> {};

TEST_P(MessageFont, FitsEveryMessageOnTwoLines)
{
    const QString family = QLatin1String(GetParam());
    ASSERT_TRUE(QFontDatabase::families().contains(family)) << GetParam() << " is not installed";
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(family));
    for (const QString& language : {kDutch, kEnglish}) {
        const LanguageScope scope(language);
        ASSERT_EQ(messages().size(), 6U);
        for (const QString& text : messages()) {
            const TextStyle style = messageStyle(text);
            EXPECT_EQ(QFontInfo(style.font).family(), family);
            EXPECT_GE(style.font.pixelSize(), 12) << text.toStdString();
            const QSizeF needed = TextBlock(text, style, Wrapping::BetweenWords, 424).size();
            EXPECT_LE(needed.width(), 424) << text.toStdString();
            EXPECT_LE(needed.height(), std::min(40.0, 2 * QFontMetricsF(style.font).height())) << text.toStdString();
        }
    }
    QApplication::setFont(before);
}

TEST_P(MessageFont, TheTypingKeyAlertHasRoomForItsTexts)
{
    const QString family = QLatin1String(GetParam());
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(family, 10));
    for (const QString& language : {kDutch, kEnglish}) {
        const LanguageScope scope(language);
        TypingKeyAlertBox alert;
        alert.show(typingKeyAlert(t(u"Spatie"_s, u"Space"_s)), [](TypingKeyAnswer) {});
        QApplication::processEvents();
        int measured = 0;
        for (const QLabel* const label : alert.box()->findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) {
                const int height =
                    label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
                EXPECT_LE(height, label->height()) << label->text().toStdString();
                EXPECT_TRUE(label->wordWrap() || label->sizeHint().width() <= label->width())
                    << label->text().toStdString();
                EXPECT_EQ(QFontInfo(label->font()).family(), family);
                ++measured;
            }
        }
        for (const QAbstractButton* const button : alert.box()->buttons()) {
            EXPECT_LE(button->sizeHint().width(), button->width()) << button->text().toStdString();
            EXPECT_LE(button->sizeHint().height(), button->height()) << button->text().toStdString();
            ++measured;
        }
        EXPECT_EQ(measured, 5);
    }
    QApplication::setFont(before);
}

INSTANTIATE_TEST_SUITE_P(Families, MessageFont,
                         testing::Values("DejaVu Sans", "Noto Sans", "Cantarell", "Inter", "Liberation Sans"),
                         [](const auto& family) {
                             std::string name = family.param;
                             std::erase(name, ' ');
                             return name;
                         });

}  // namespace
