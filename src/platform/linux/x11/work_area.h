#pragma once

#include <QRect>
#include <QSize>

#include <cstdint>
#include <vector>

namespace tavlo {

// What a window manager and the panels tell about the room for windows. All in the server's pixels; numbers as they
// stand in the properties, which may hold anything.
struct WorkAreaHints {
    QSize desktop;
    int monitorCount = 1;
    std::uint32_t currentDesktop = 0;
    std::vector<std::uint32_t> monitorAreas;         // _GTK_WORKAREAS_D<current>: four a monitor
    std::vector<std::uint32_t> desktopAreas;         // _NET_WORKAREA: four a desktop
    std::vector<std::vector<std::uint32_t>> struts;  // _NET_WM_STRUT_PARTIAL of each panel
};

// The part of a monitor that no panel covers; the whole monitor where the hints make no sense.
QRect workArea(const QRect& monitor, const WorkAreaHints& hints);

}  // namespace tavlo
