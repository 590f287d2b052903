#pragma once

#include "ui/tray/status_menu.h"

#include <QString>

namespace tavlo {

// The icon in the panel, with its menu. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    // One of "mic", "waveform", "hourglass", "keyboard"; any other name looks like "mic".
    virtual void setIcon(const QString& state) = 0;
    virtual void setMenu(const MenuDescription& menu) = 0;
};

}  // namespace tavlo
