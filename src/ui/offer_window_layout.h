#pragma once

#include "ui/window_description.h"

namespace tavlo {

// The window that offers the offline model, as it stands before the download, in the interface language.
WindowDescription offerWindowLayout();

// The status label while it says at length why a download failed: it takes the place of the progress bar as well,
// which is hidden then.
WindowElement offerFailureElement();

}  // namespace tavlo
