#pragma once

#include "platform/linux/x11/x11_display.h"
#include "platform/screens.h"

class QScreen;

namespace tavlo {

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
