#include "ui/overlays/recording_hud.h"
#include "platform/text_literals.h"

#include "ui/overlays/floating_panel.h"

#include "support/fakes/fake_screens.h"

#include <QApplication>

#include <gtest/gtest.h>

namespace tavlo {
namespace {

// The panels that stand for this name, shown or not.
QList<FloatingPanel*> panels(const QString& name)
{
    QList<FloatingPanel*> found;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* panel = dynamic_cast<FloatingPanel*>(window); panel != nullptr && panel->objectName() == name) {
            found.append(panel);
        }
    }
    return found;
}

class RecordingHUDTest : public testing::Test {
protected:
    RecordingHUDTest() { screens.frame = QRect(0, 30, 1280, 770); }

    static FloatingPanel* panel() { return panels(u"RecordingHUD"_s).value(0); }
    static QRect contentOnDesktop()
    {
        const int margin = panel()->shadowMargin();
        return panel()->geometry().marginsRemoved({margin, margin, margin, margin});
    }

    FakeScreens screens;
    RecordingHUD hud{screens};
};

TEST_F(RecordingHUDTest, IsBuiltAtTheFirstShow)
{
    EXPECT_EQ(panel(), nullptr);
    hud.hide();
    hud.push(0.5F);
    EXPECT_EQ(panel(), nullptr);
    hud.show();
    ASSERT_NE(panel(), nullptr);
    EXPECT_TRUE(panel()->isVisible());
}

TEST_F(RecordingHUDTest, ShowTwiceMakesNoSecondPanelAndZeroesTheMeterAgain)
{
    hud.show();
    hud.push(0.8F);
    ASSERT_FLOAT_EQ(hud.levelView().levels().back(), 0.8F);
    FloatingPanel* first = panel();
    hud.show();
    EXPECT_EQ(panels(u"RecordingHUD"_s), QList<FloatingPanel*>{first});
    EXPECT_EQ(hud.levelView().levels(), (std::array<float, kLevelCount>{}));
}

TEST_F(RecordingHUDTest, HideKeepsThePanelAndTheLevels)
{
    hud.show();
    hud.push(0.8F);
    FloatingPanel* first = panel();
    hud.hide();
    EXPECT_FALSE(first->isVisible());
    EXPECT_FLOAT_EQ(hud.levelView().levels().back(), 0.8F);
    hud.show();
    EXPECT_EQ(panel(), first);
    EXPECT_TRUE(first->isVisible());
}

TEST_F(RecordingHUDTest, StandsCentredAndFiftySixAboveTheBottomOfTheVisibleFrame)
{
    hud.show();
    EXPECT_EQ(contentOnDesktop(), QRect(640 - 95, 800 - 56 - 38, 190, 38));
    screens.frame = QRect(1280, 0, 1920, 1040);
    hud.show();
    EXPECT_EQ(contentOnDesktop(), QRect(1280 + 960 - 95, 1040 - 56 - 38, 190, 38));
}

TEST_F(RecordingHUDTest, StandsAtTheSamePlaceWithAndWithoutACompositor)
{
    screens.compositingNow = Compositing::Present;
    hud.show();
    const QRect translucent = contentOnDesktop();
    EXPECT_TRUE(panel()->mask().isEmpty());
    EXPECT_GT(panel()->shadowMargin(), 0);
    screens.compositingNow = Compositing::Absent;
    hud.show();
    EXPECT_EQ(contentOnDesktop(), translucent);
    EXPECT_EQ(panel()->shadowMargin(), 0);
}

TEST_F(RecordingHUDTest, IsCutToAPillWithoutACompositor)
{
    screens.compositingNow = Compositing::Absent;
    hud.show();
    const QRegion mask = panel()->mask();
    EXPECT_TRUE(mask.contains(QPoint(95, 0)));
    EXPECT_TRUE(mask.contains(QPoint(1, 19)));
    EXPECT_TRUE(mask.contains(QPoint(188, 19)));
    EXPECT_FALSE(mask.contains(QPoint(3, 3)));
    EXPECT_FALSE(mask.contains(QPoint(186, 34)));
    screens.compositingNow = Compositing::Present;
    hud.show();
    EXPECT_TRUE(panel()->mask().isEmpty());
}

TEST_F(RecordingHUDTest, WithoutAMainScreenAtTheFirstShowItIsShownAtTheInitialOrigin)
{
    screens.frame.reset();
    hud.show();
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->pos(), QPoint(0, 0));
}

TEST_F(RecordingHUDTest, WithoutAMainScreenItIsShownWhereItWas)
{
    hud.show();
    const QRect before = panel()->geometry();
    hud.hide();
    screens.frame.reset();
    hud.show();
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->geometry(), before);
}

TEST_F(RecordingHUDTest, NeverTakesTheFocusOrTheMouse)
{
    hud.show();
    const Qt::WindowFlags flags = panel()->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowTransparentForInput));
    EXPECT_TRUE(flags.testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(flags.testFlag(Qt::X11BypassWindowManagerHint));
    EXPECT_TRUE(panel()->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_FALSE(panel()->testAttribute(Qt::WA_QuitOnClose));
    EXPECT_EQ(QApplication::activeWindow(), nullptr);
}

}  // namespace
}  // namespace tavlo
