#include "ui/overlays/message_hud.h"
#include "platform/text_literals.h"

#include "ui/overlays/floating_panel.h"

#include "support/fakes/fake_screens.h"
#include "support/fakes/manual_main_queue.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <memory>

namespace tavlo {
namespace {

using std::chrono::milliseconds;

class MessageHUDTest : public testing::Test {
protected:
    MessageHUDTest() { screens.frame = QRect(0, 30, 1280, 770); }

    static FloatingPanel* panel()
    {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == "MessageHUD"_L1) {
                return dynamic_cast<FloatingPanel*>(window);
            }
        }
        return nullptr;
    }
    static bool visible() { return panel() != nullptr && panel()->isVisible(); }

    ManualMainQueue queue;
    FakeScreens screens;
    std::unique_ptr<MessageHUD> hud = std::make_unique<MessageHUD>(queue, screens);
};

TEST_F(MessageHUDTest, IsBuiltAtTheFirstShow)
{
    EXPECT_EQ(panel(), nullptr);
    hud->hide();
    EXPECT_EQ(panel(), nullptr);
    hud->show(u"Hallo"_s, std::nullopt);
    EXPECT_TRUE(visible());
    EXPECT_EQ(hud->view().text(), u"Hallo"_s);
}

TEST_F(MessageHUDTest, StandsInTheMiddleOfTheVisibleFrame)
{
    hud->show(u"Hallo"_s, std::nullopt);
    const int margin = panel()->shadowMargin();
    EXPECT_EQ(panel()->geometry().marginsRemoved({margin, margin, margin, margin}),
              QRect(640 - 230, 30 + 385 - 32, 460, 64));
}

TEST_F(MessageHUDTest, WithoutAMainScreenAtTheFirstShowItIsShownAtTheInitialOrigin)
{
    screens.frame.reset();
    hud->show(u"Hallo"_s, std::nullopt);
    EXPECT_TRUE(visible());
    EXPECT_EQ(panel()->pos(), QPoint(0, 0));
    const int margins = 2 * panel()->shadowMargin();
    EXPECT_EQ(panel()->size(), QSize(460 + margins, 64 + margins));
}

TEST_F(MessageHUDTest, WithoutAMainScreenItIsShownWhereItWas)
{
    hud->show(u"Hallo"_s, std::nullopt);
    const QRect before = panel()->geometry();
    hud->hide();
    screens.frame.reset();
    hud->show(u"Hallo"_s, std::nullopt);
    EXPECT_TRUE(visible());
    EXPECT_EQ(panel()->geometry(), before);
}

TEST_F(MessageHUDTest, HidesItselfAfterTheDelayAndNotBefore)
{
    hud->show(u"Hallo"_s, 2.5);
    queue.advance(milliseconds(2499));
    EXPECT_TRUE(visible());
    queue.advance(milliseconds(1));
    EXPECT_FALSE(visible());
}

TEST_F(MessageHUDTest, StaysWithoutADelay)
{
    hud->show(u"Hallo"_s, std::nullopt);
    queue.advance(std::chrono::hours(24));
    EXPECT_TRUE(visible());
}

TEST_F(MessageHUDTest, AShowWithADelayFollowedByOneWithoutStays)
{
    hud->show(u"Een"_s, 1.5);
    hud->show(u"Twee"_s, std::nullopt);
    queue.advance(std::chrono::minutes(1));
    EXPECT_TRUE(visible());
    EXPECT_EQ(hud->view().text(), u"Twee"_s);
}

TEST_F(MessageHUDTest, ANewMessageStartsItsOwnDelay)
{
    hud->show(u"Een"_s, 5.0);
    queue.advance(milliseconds(4000));
    hud->show(u"Twee"_s, 6.0);
    queue.advance(milliseconds(5999));
    EXPECT_TRUE(visible());
    queue.advance(milliseconds(1));
    EXPECT_FALSE(visible());
}

TEST_F(MessageHUDTest, AfterHideNoTimerIsLeftToFire)
{
    hud->show(u"Een"_s, 1.5);
    hud->hide();
    EXPECT_FALSE(visible());
    EXPECT_EQ(queue.waitingCount(), 0U);
    hud->show(u"Twee"_s, std::nullopt);
    queue.advance(std::chrono::minutes(1));
    EXPECT_TRUE(visible());
}

TEST_F(MessageHUDTest, ATimerThatOutlivesItDoesNothing)
{
    hud->show(u"Een"_s, 1.5);
    hud.reset();
    EXPECT_EQ(queue.waitingCount(), 0U);
    queue.advance(std::chrono::minutes(1));
}

TEST_F(MessageHUDTest, StandsAboveTheRecordingPanel)
{
    EXPECT_GT(PanelLevel::ScreenSaver, PanelLevel::Status);
    hud->show(u"Een"_s, std::nullopt);
    EXPECT_EQ(panel()->level(), PanelLevel::ScreenSaver);
}

TEST_F(MessageHUDTest, IsCutToItsRoundedShapeWithoutACompositor)
{
    screens.compositingNow = Compositing::Absent;
    hud->show(u"Een"_s, std::nullopt);
    EXPECT_EQ(panel()->size(), QSize(460, 64));
    EXPECT_FALSE(panel()->mask().contains(QPoint(2, 2)));
    EXPECT_TRUE(panel()->mask().contains(QPoint(6, 6)));
    EXPECT_TRUE(panel()->mask().contains(QPoint(1, 20)));
}

QImage picture(const QString& text)
{
    QImage image(460, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawMessage(painter, QRectF(0, 0, 460, 64), text, PanelLook::Translucent);
    return image;
}

// The smallest rectangle around everything that is nearly white.
QRect inked(const QImage& image)
{
    QRect area;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).red() > 120) {
                area |= QRect(x, y, 1, 1);
            }
        }
    }
    return area;
}

TEST(MessageView, DrawsADarkRoundedBox)
{
    const QImage image = picture(QString());
    EXPECT_EQ(image.pixelColor(1, 1).alpha(), 0);
    EXPECT_EQ(image.pixelColor(458, 62).alpha(), 0);
    EXPECT_NEAR(image.pixelColor(5, 6).alphaF(), 0.92F, 0.01F);
    EXPECT_NEAR(image.pixelColor(230, 32).alphaF(), 0.92F, 0.01F);
    EXPECT_NEAR(image.pixelColor(230, 32).redF(), 0.07F, 0.01F);
}

TEST(MessageView, DrawsAShortMessageAtFifteenPixelsMediumInTheMiddle)
{
    const QString text = u"Opname geannuleerd"_s;
    EXPECT_EQ(messageStyle(text).font.pixelSize(), 15);
    EXPECT_EQ(messageStyle(text).font.weight(), QFont::Medium);
    const QRect area = inked(picture(text));
    EXPECT_NEAR(area.center().x(), 230, 2);
    EXPECT_NEAR(area.center().y(), 32, 4);
}

TEST(MessageView, CutsWhatIsBeyondTwoLinesAndStaysWithinItsFrame)
{
    const QString text = u"Een woord en nog een "_s.repeated(40);
    const TextStyle style = messageStyle(text);
    EXPECT_EQ(style.font.pixelSize(), 11);
    const QRect area = inked(picture(text));
    EXPECT_TRUE(QRect(18, 12, 424, 40).contains(area));
    EXPECT_LE(area.height(), 2 * QFontMetrics(style.font).height());
    EXPECT_GT(area.height(), QFontMetrics(style.font).height());
}

TEST(MessageView, SurvivesAWordThatIsWiderThanItsFrame)
{
    EXPECT_TRUE(QRect(18, 12, 424, 40).contains(inked(picture(QString(500, QLatin1Char('W'))))));
}

}  // namespace
}  // namespace tavlo
