#pragma once

#include "linux/x11/x11_display.h"
#include "platform/screens.h"

#include <QRect>
#include <QSize>

#include <cstdint>
#include <vector>

class QScreen;

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

// The toolkit's screens, and what the window manager says about panels. Needs the toolkit's application object.
// Without an X server it goes by the toolkit alone. Main thread.
class X11Screens : public Screens {
public:
    explicit X11Screens(X11Display& display);

    std::optional<QRect> mainVisibleFrame() override;
    Compositing compositing() override;

private:
    QScreen* mainScreen();
    std::optional<QRect> geometryOf(xcb_window_t window);
    QRect visiblePixels(const QScreen& screen);

    X11Display& m_display;
};

}  // namespace tavlo
