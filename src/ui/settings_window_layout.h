#pragma once

#include "ui/window_description.h"

namespace tavlo {

// The settings window in the interface language. The pop-ups, the slider, the key field, the vocabulary, the check box
// and the two texts that change are in it as places only: the controls themselves outlive the window.
WindowDescription settingsWindowLayout();

}  // namespace tavlo
