#pragma once

#include "ui/window_description.h"

namespace tavlo {

// The about window in the interface language. Without a version it shows "1.0".
WindowDescription aboutWindowLayout(const QString& version);

}  // namespace tavlo
