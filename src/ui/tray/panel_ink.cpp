#include "ui/tray/panel_ink.h"

#include <algorithm>
#include <array>

namespace tavlo {

namespace {

// Desktops whose panel is dark whatever the theme of the windows is.
constexpr std::array kDarkPanels{"GNOME", "Unity", "Budgie", "X-Cinnamon", "Pantheon", "sway"};
// These desktops name GNOME as well, but their panel follows the theme.
constexpr std::array kFollowingPanels{"GNOME-Flashback", "GNOME-Classic"};

template <std::size_t count>
bool names(const QStringList& desktops, const std::array<const char*, count>& known)
{
    return std::ranges::any_of(
        known, [&desktops](const char* name) { return desktops.contains(QLatin1String(name), Qt::CaseInsensitive); });
}

Shade panelShade(const PanelSurroundings& surroundings, const QColor& windowColour)
{
    if (surroundings.panel) {
        return *surroundings.panel;
    }
    if (names(surroundings.desktops, kDarkPanels) && !names(surroundings.desktops, kFollowingPanels)) {
        return Shade::Dark;
    }
    if (surroundings.theme) {
        return *surroundings.theme;
    }
    if (surroundings.preference) {
        return *surroundings.preference;
    }
    return windowColour.lightnessF() < 0.5F ? Shade::Dark : Shade::Light;
}

}  // namespace

IconInk panelInk(const PanelSurroundings& surroundings, const QColor& windowColour)
{
    return panelShade(surroundings, windowColour) == Shade::Dark ? IconInk::Light : IconInk::Dark;
}

}  // namespace tavlo
