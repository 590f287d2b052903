#pragma once

#include "platform/panel.h"
#include "platform/remote_control.h"

#include <QColor>
#include <QIcon>

namespace tavlo {

// The colour in which the icon is drawn, so that it stands out on its panel.
enum class IconInk { Dark, Light };

// The icon of the status item, drawn in code; its shape tells the activity. Main thread.
class TavloIcon {
public:
    TavloIcon() = delete;

    // The icon of an activity: three bars in a frame while ready, the bars cut out of a block while recording, three
    // dots while transcribing, a question mark while a key is chosen. The same object for the same activity and ink at
    // every call. It is drawn anew for every size and scale that is asked for. In dark ink it is an alpha mask in
    // black.
    static QIcon menuBar(Activity activity, IconInk ink = IconInk::Dark);
};

// The ink that stands out on the desktop's panel. `windowColour`, the background of windows in the application's
// palette, decides when the desktop says nothing.
IconInk panelInk(const PanelSurroundings& surroundings, const QColor& windowColour);

}  // namespace tavlo
