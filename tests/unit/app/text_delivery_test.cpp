#include "desk.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

class TextDeliveryTest : public testing::Test {
protected:
    TextDeliveryTest() { desk.app->applicationDidFinishLaunching(); }

    void dictate(const QString& text)
    {
        desk.local.result = text;
        desk.pressHotkey();
        desk.speak(1000);
        desk.pressHotkey();
        desk.runBackground();
    }

    Desk desk;
};

TEST_F(TextDeliveryTest, TheChordFollowsTheClipboardBy150Milliseconds)
{
    dictate(QStringLiteral("hallo"));
    EXPECT_EQ(desk.events.last(), QStringLiteral("clipboard: hallo"));
    desk.queue.advance(std::chrono::milliseconds(149));
    EXPECT_EQ(desk.events.last(), QStringLiteral("clipboard: hallo"));
    desk.queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(desk.events.last(), QStringLiteral("paste: hallo"));
}

TEST_F(TextDeliveryTest, PasteAgainWithoutALastTextChangesNothing)
{
    desk.app->pasteAgain();
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_TRUE(desk.events.isEmpty());
}

TEST_F(TextDeliveryTest, TwoPastesWithin150MillisecondsBothPasteTheSecondText)
{
    dictate(QStringLiteral("eerste"));
    desk.queue.advance(std::chrono::milliseconds(100));
    dictate(QStringLiteral("tweede"));
    desk.queue.advance(std::chrono::milliseconds(150));
    EXPECT_EQ(desk.events.filter(QStringLiteral("paste: ")),
              (QStringList{QStringLiteral("paste: tweede"), QStringLiteral("paste: tweede")}));
}

TEST_F(TextDeliveryTest, ANewDictationMayStartWhileTheChordIsPending)
{
    dictate(QStringLiteral("eerste"));
    desk.pressHotkey();
    EXPECT_TRUE(desk.app->isRecording());
    desk.queue.advance(std::chrono::milliseconds(150));
    EXPECT_EQ(desk.events.last(), QStringLiteral("paste: eerste"));
}

TEST_F(TextDeliveryTest, WithoutTrustTheTextStaysOnTheClipboardAndTheUserIsTold)
{
    desk.keystroke.trusted = false;
    dictate(QStringLiteral("hallo"));
    EXPECT_EQ(desk.app->statusLine(),
              QStringLiteral("⚠️ Tekst staat op klembord (⌘V) - zet Toegankelijkheid weer aan "
                             "voor automatisch plakken"));
    EXPECT_EQ(desk.events.mid(desk.events.size() - 3),
              (QStringList{QStringLiteral("clipboard: hallo"), QStringLiteral("Basso 0.4"),
                           QStringLiteral("trust settings")}));
    const auto lines = desk.log.lines().size();
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_TRUE(desk.events.filter(QStringLiteral("paste: ")).isEmpty());
    gLang = QStringLiteral("en");
    desk.app->pasteAgain();
    EXPECT_EQ(desk.app->statusLine(),
              QStringLiteral("⚠️ Text is on the clipboard (⌘V) - re-enable Accessibility for automatic pasting"));
    EXPECT_EQ(desk.events.filter(QStringLiteral("trust settings")).size(), 2);
    EXPECT_EQ(desk.log.lines().size(), lines);
}

TEST_F(TextDeliveryTest, TrustIsAskedForOnEveryPaste)
{
    dictate(QStringLiteral("hallo"));
    desk.app->pasteAgain();
    EXPECT_EQ(desk.keystroke.trustQuestions, 2);
}

}  // namespace
}  // namespace tavlo
