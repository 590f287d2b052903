#pragma once

#include "linux/x11/x11_display.h"
#include "platform/screens.h"

#include <QRect>
#include <QSize>

#include <cstdint>
#include <vector>

class QScreen;

namespace tavlo {

// What the window manager and the panels say about the room for windows, in the server's pixels. The numbers are
// unchecked: other programs write these properties.
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

// The toolkit's screens without what the window manager says panels cover. Needs the toolkit's application object;
// without an X server only the toolkit is asked. Main thread.
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
