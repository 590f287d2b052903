#include "desk.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QString kHelpPageOpened = u"open "_s + kPasteHelpURL;

class TextDeliveryTest : public testing::Test {
protected:
    TextDeliveryTest() { desk.app->applicationDidFinishLaunching(); }

    void dictate(const QString& text)
    {
        desk.local.setResult(text);
        desk.pressHotkey();
        desk.speak(1000);
        desk.pressHotkey();
        desk.runBackground();
    }

    Desk desk;
};

TEST_F(TextDeliveryTest, TheChordFollowsTheClipboardBy150Milliseconds)
{
    dictate(u"hallo"_s);
    EXPECT_EQ(desk.events.last(), u"clipboard: hallo"_s);
    desk.queue.advance(std::chrono::milliseconds(149));
    EXPECT_EQ(desk.events.last(), u"clipboard: hallo"_s);
    desk.queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(desk.events.last(), u"paste: hallo"_s);
}

TEST_F(TextDeliveryTest, PasteAgainWithoutALastTextChangesNothing)
{
    desk.choose(MenuAction::PasteAgain);
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_TRUE(desk.events.isEmpty());
}

TEST_F(TextDeliveryTest, TwoPastesWithin150MillisecondsBothPasteTheSecondText)
{
    dictate(u"eerste"_s);
    desk.queue.advance(std::chrono::milliseconds(100));
    dictate(u"tweede"_s);
    desk.queue.advance(std::chrono::milliseconds(150));
    EXPECT_EQ(desk.events.filter(u"paste: "_s), (QStringList{u"paste: tweede"_s, u"paste: tweede"_s}));
}

TEST_F(TextDeliveryTest, ANewDictationMayStartWhileTheChordIsPending)
{
    dictate(u"eerste"_s);
    desk.pressHotkey();
    EXPECT_TRUE(desk.app->state().recording);
    desk.queue.advance(std::chrono::milliseconds(150));
    EXPECT_EQ(desk.events.last(), u"paste: eerste"_s);
}

TEST_F(TextDeliveryTest, WithoutTrustTheTextStaysOnTheClipboardAndTheUserIsTold)
{
    desk.keystroke.trusted = false;
    dictate(u"hallo"_s);
    EXPECT_EQ(desk.app->state().statusLine,
              u"⚠️ Tekst staat op klembord (⌘V) - zet Toegankelijkheid weer aan "
              "voor automatisch plakken"_s);
    EXPECT_EQ(desk.events.mid(desk.events.size() - 3),
              (QStringList{u"clipboard: hallo"_s, u"Basso 0.4"_s, kHelpPageOpened}));
    const auto lines = desk.log.lines().size();
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_TRUE(desk.events.filter(u"paste: "_s).isEmpty());
    gLang = u"en"_s;
    desk.choose(MenuAction::PasteAgain);
    EXPECT_EQ(desk.app->state().statusLine,
              u"⚠️ Text is on the clipboard (⌘V) - re-enable Accessibility for automatic pasting"_s);
    EXPECT_EQ(desk.events.filter(kHelpPageOpened).size(), 2);
    EXPECT_EQ(desk.log.lines().size(), lines);
}

TEST_F(TextDeliveryTest, TrustIsAskedForOnEveryPaste)
{
    dictate(u"hallo"_s);
    desk.choose(MenuAction::PasteAgain);
    EXPECT_EQ(desk.keystroke.trustQuestionCount, 2);
}

}  // namespace
}  // namespace tavlo
