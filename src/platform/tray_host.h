#pragma once

#include "platform/registration.h"

#include <functional>

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
    // Counts the session buses that there have been, for one that crashed and came back. An icon that was made while
    // the number was another one stands nowhere any more. Main thread.
    virtual int busNumber() const = 0;
    // Calls back on the main thread whenever the above changes, the desktop's first answer included.
    virtual Registration observe(std::function<void()> changed) = 0;
};

}  // namespace tavlo
