#pragma once

#include <QRect>

#include <optional>

namespace tavlo {

enum class Compositing { Absent, Present };

class Screens {
public:
    virtual ~Screens() = default;

    // The main screen without its panels, in device-independent pixels from the top-left of the desktop: the screen
    // of the active window, else of the pointer, else the primary one. None when there is no screen. Main thread.
    virtual std::optional<QRect> mainVisibleFrame() = 0;
    // Whether translucent windows are shown as such now. Main thread.
    virtual Compositing compositing() = 0;
};

}  // namespace tavlo
