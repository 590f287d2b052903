#pragma once

#include "platform/registration.h"

#include <QStringList>

#include <functional>
#include <optional>

namespace tavlo {

enum class Shade { Dark, Light };

// What the desktop says about the look of its panel; absent where it says nothing.
struct PanelSurroundings {
    QStringList desktops;             // names of the desktop, such as "XFCE" or "ubuntu", "GNOME"
    std::optional<Shade> panel;       // the panel's own setting
    std::optional<Shade> preference;  // the user's preference for applications
    std::optional<Shade> theme;       // by the name of the theme in use

    bool operator==(const PanelSurroundings&) const = default;
};

class PanelAppearance {
public:
    virtual ~PanelAppearance() = default;

    // What is known by now; asking never blocks. Main thread.
    virtual PanelSurroundings surroundings() const = 0;
    // `changed` runs on the main thread whenever the above changes, the desktop's first answers included.
    virtual Registration onChange(std::function<void()> changed) = 0;
};

}  // namespace tavlo
