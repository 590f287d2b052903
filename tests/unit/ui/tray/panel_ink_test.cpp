#include "platform/text_literals.h"
#include "ui/tray/tavlo_icon.h"

#include "linux/panel/linux_panel_appearance.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QColor kLightWindows(239, 239, 239);
const QColor kDarkWindows(35, 38, 41);

PanelSurroundings on(const QStringList& desktops)
{
    PanelSurroundings surroundings;
    surroundings.desktops = desktops;
    return surroundings;
}

TEST(PanelInk, GoesByThePaletteWhenTheDesktopSaysNothing)
{
    EXPECT_EQ(panelInk({}, kLightWindows), IconInk::Dark);
    EXPECT_EQ(panelInk({}, kDarkWindows), IconInk::Light);
}

TEST(PanelInk, IsLightOnGnomesPanelInTheLightThemeToo)
{
    PanelSurroundings gnome = on({u"ubuntu"_s, u"GNOME"_s});
    gnome.preference = Shade::Light;
    EXPECT_EQ(panelInk(gnome, kLightWindows), IconInk::Light);
    gnome.preference = Shade::Dark;
    EXPECT_EQ(panelInk(gnome, kDarkWindows), IconInk::Light);
}

TEST(PanelInk, IsLightOnSwaysBar)
{
    EXPECT_EQ(panelInk(on({u"sway"_s}), kLightWindows), IconInk::Light);
}

TEST(PanelInk, FollowsTheThemeOnGnomesPanelOfOld)
{
    const PanelSurroundings flashback = on({u"GNOME-Flashback"_s, u"GNOME"_s});
    EXPECT_EQ(panelInk(flashback, kLightWindows), IconInk::Dark);
    EXPECT_EQ(panelInk(flashback, kDarkWindows), IconInk::Light);
}

TEST(PanelInk, ThePanelsOwnSettingComesFirst)
{
    PanelSurroundings xfce = on({u"XFCE"_s});
    xfce.theme = Shade::Light;
    xfce.preference = Shade::Light;
    xfce.panel = Shade::Dark;
    EXPECT_EQ(panelInk(xfce, kLightWindows), IconInk::Light);
    xfce.theme = Shade::Dark;
    xfce.panel = Shade::Light;
    EXPECT_EQ(panelInk(xfce, kDarkWindows), IconInk::Dark);
}

TEST(PanelInk, TheThemeComesBeforeThePreferenceAndThatBeforeThePalette)
{
    PanelSurroundings kde = on({u"KDE"_s});
    kde.preference = Shade::Dark;
    EXPECT_EQ(panelInk(kde, kLightWindows), IconInk::Light);
    kde.theme = Shade::Light;
    EXPECT_EQ(panelInk(kde, kLightWindows), IconInk::Dark);
}

QVariantMap panelProperties(int style, const QVariantList& colour, bool darkMode)
{
    return {{u"/panels/panel-1/background-style"_s, style},
            {u"/panels/panel-1/background-rgba"_s, colour},
            {u"/panels/dark-mode"_s, darkMode}};
}

TEST(XfcePanelShade, GoesByTheColourOfAPanelThatHasOne)
{
    EXPECT_EQ(xfcePanelShade(panelProperties(1, {0.9, 0.9, 0.9, 1.0}, true)), Shade::Light);
    EXPECT_EQ(xfcePanelShade(panelProperties(1, {0.1, 0.1, 0.9, 1.0}, false)), Shade::Dark);
}

TEST(XfcePanelShade, GoesByTheDarkModeOtherwise)
{
    EXPECT_EQ(xfcePanelShade(panelProperties(0, {0.9, 0.9, 0.9, 1.0}, true)), Shade::Dark);
    EXPECT_EQ(xfcePanelShade(panelProperties(0, {0.1, 0.1, 0.1, 1.0}, false)), std::nullopt);
    EXPECT_EQ(xfcePanelShade({}), std::nullopt);
}

TEST(XfcePanelShade, IgnoresAColourThatIsNone)
{
    EXPECT_EQ(xfcePanelShade(panelProperties(1, {0.9}, true)), Shade::Dark);
    EXPECT_EQ(xfcePanelShade(panelProperties(1, {}, false)), std::nullopt);
}

TEST(ShadeOfTheme, GoesByTheName)
{
    EXPECT_EQ(shadeOfTheme(u"Adwaita-dark"_s), Shade::Dark);
    EXPECT_EQ(shadeOfTheme(u"Greybird-Dark"_s), Shade::Dark);
    EXPECT_EQ(shadeOfTheme(u"Adwaita"_s), Shade::Light);
}

}  // namespace
}  // namespace tavlo
