#pragma once

#include "platform/screens.h"

namespace tavlo {

// One screen, as the test wants it.
class FakeScreens : public Screens {
public:
    std::optional<QRect> mainVisibleFrame() override { return frame; }
    Compositing compositing() override { return compositingNow; }

    std::optional<QRect> frame = QRect(0, 0, 1920, 1040);
    Compositing compositingNow = Compositing::Present;
};

}  // namespace tavlo
