// The texts of the message overlay and of the warning about a typing key, in the fonts that desktops come with.

#include "hotkeys/hotkey_capture.h"
#include "platform/text_literals.h"
#include "ui/overlays/message_hud.h"
#include "ui/windows/typing_key_alert.h"
#include "window_test_support.h"

#include <QAbstractButton>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QLabel>
#include <QMessageBox>

#include <algorithm>
#include <vector>

using namespace tavlo;
using namespace tavlo::test;

namespace {

// The longest texts of the message overlay, and those of a capture.
std::vector<QString> longMessages()
{
    return {
        u"Geen microfoonsignaal ontvangen. Gebruikt FaceTime, Zoom of Teams de microfoon? Beëindig het "
        "gesprek of geef Tavlo even de microfoon."_s,
        u"No microphone signal received. Is FaceTime, Zoom or Teams using the mic? End the call or let "
        "Tavlo use the microphone."_s,
        u"Je microfoon of audio-apparaat is gewisseld tijdens de opname. De opname is gestopt - druk op "
        "de sneltoets om opnieuw te beginnen."_s,
        u"Your microphone or audio device changed during recording. Recording stopped - press the "
        "hotkey to start again."_s,
        u"⌨️  Druk nu op de toets die je als sneltoets wilt gebruiken - Esc om te annuleren"_s,
        u"⌨️  Now press the key you want to use as the hotkey - Esc to cancel"_s,
        u"Caps Lock is niet geschikt - druk op een andere toets (Esc = annuleren)"_s,
        u"Caps Lock is not suitable - press another key (Esc = cancel)"_s,
        u"✓ Sneltoets is nu: Page Down"_s,
        u"Toetskeuze geannuleerd"_s,
        u"Key selection cancelled"_s};
}

class MessageFont : public testing::TestWithParam<const char*> {};

TEST_P(MessageFont, FitsEveryMessageOnTwoLines)
{
    const QString family = QLatin1String(GetParam());
    ASSERT_TRUE(QFontDatabase::families().contains(family)) << GetParam() << " is not installed";
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(family));
    for (const QString& text : longMessages()) {
        const TextStyle style = messageStyle(text);
        EXPECT_EQ(QFontInfo(style.font).family(), family);
        EXPECT_GE(style.font.pixelSize(), 12) << text.toStdString();
        const QSizeF needed = TextBlock(text, style, Wrapping::BetweenWords, 424).size();
        EXPECT_LE(needed.width(), 424) << text.toStdString();
        EXPECT_LE(needed.height(), std::min(40.0, 2 * QFontMetricsF(style.font).height())) << text.toStdString();
    }
    QApplication::setFont(before);
}

TEST_P(MessageFont, TheTypingKeyAlertHasRoomForItsTexts)
{
    const QString family = QLatin1String(GetParam());
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(family, 10));
    for (const char* const language : {"nl", "en"}) {
        const LanguageScope scope(QString::fromLatin1(language));
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
