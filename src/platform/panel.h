#pragma once

#include "platform/registration.h"

#include <QStringList>

#include <functional>
#include <optional>

namespace tavlo {

// Where an icon can be put: a host on the session bus, which also shows our menu, or an X11 tray that embeds a window.
enum class TrayKind { None, Embedding, Bus };

class TrayHost {
public:
    virtual ~TrayHost() = default;

    // The best that is there by now; asking never blocks. Main thread.
    virtual TrayKind kind() const = 0;
    // Whether a tray of that kind is there by now, be it the best or not. Main thread.
    virtual bool offers(TrayKind kind) const = 0;
    // The number of the current session bus, which goes up when a bus that crashed is back. An icon made under an
    // earlier number is no longer shown and must be made again. Main thread.
    virtual int busNumber() const = 0;
    // `changed` runs on the main thread whenever the above changes, the desktop's first answer included.
    virtual Registration onChange(std::function<void()> changed) = 0;
};

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
