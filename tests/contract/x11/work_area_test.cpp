#include "linux/x11/x11_screens.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

// Two monitors side by side, the right one lower by 200 pixels.
const QRect kLeft(0, 0, 1920, 1080);
const QRect kRight(1920, 200, 1280, 800);

WorkAreaHints twoMonitors()
{
    WorkAreaHints hints;
    hints.desktop = QSize(3200, 1080);
    hints.monitorCount = 2;
    return hints;
}

TEST(WorkArea, IsTheWholeMonitorWithoutPanels)
{
    EXPECT_EQ(workArea(kRight, twoMonitors()), kRight);
}

TEST(WorkArea, APanelTakesRoomOnItsOwnMonitorOnly)
{
    WorkAreaHints hints = twoMonitors();
    hints.struts = {{0, 0, 30, 0, 0, 0, 0, 0, 0, 1919, 0, 0},       // at the top of the left one
                    {0, 0, 0, 120, 0, 0, 0, 0, 0, 0, 1920, 3199}};  // 40 high at the bottom of the right one
    EXPECT_EQ(workArea(kLeft, hints), QRect(0, 30, 1920, 1050));
    EXPECT_EQ(workArea(kRight, hints), QRect(1920, 200, 1280, 760));
}

TEST(WorkArea, PanelsAtTheSides)
{
    WorkAreaHints hints = twoMonitors();
    hints.struts = {{64, 0, 0, 0, 0, 1079, 0, 0, 0, 0, 0, 0}, {0, 50, 0, 0, 0, 0, 200, 999, 0, 0, 0, 0}};
    EXPECT_EQ(workArea(kLeft, hints), QRect(64, 0, 1856, 1080));
    EXPECT_EQ(workArea(kRight, hints), QRect(1920, 200, 1230, 800));
}

TEST(WorkArea, TheRoomOfTheWholeDesktopMeansNothingForOneOfTwoMonitors)
{
    WorkAreaHints hints = twoMonitors();
    hints.desktopAreas = {0, 230, 3200, 770};
    EXPECT_EQ(workArea(kLeft, hints), kLeft);
    hints.monitorAreas = {0, 30, 1920, 1050, 1920, 200, 1280, 800};
    EXPECT_EQ(workArea(kLeft, hints), QRect(0, 30, 1920, 1050));
    EXPECT_EQ(workArea(kRight, hints), kRight);
}

TEST(WorkArea, NonsenseLeavesTheWholeMonitor)
{
    WorkAreaHints hints = twoMonitors();
    hints.monitorCount = 1;
    hints.currentDesktop = 4'000'000'000U;
    hints.monitorAreas = {1, 2, 3};
    hints.desktopAreas = {5000, 5000, 10, 10};
    hints.struts = {{1, 2}, {4'000'000'000U, 4'000'000'000U, 4'000'000'000U, 4'000'000'000U, 0, 0, 0, 0, 0, 0, 0, 0}};
    EXPECT_EQ(workArea(kLeft, hints), kLeft);
    hints.currentDesktop = 0;
    EXPECT_EQ(workArea(kLeft, hints), kLeft);
}

}  // namespace
}  // namespace tavlo
