#pragma once

#include "platform/words.h"

#include <QString>

namespace tavlo {

class KeyboardMonitor;
class Pasteboard;
class PasteKeystroke;
class Screens;

// What a dictation needs of the desktop's windows.
enum class DesktopCapability { Keys, Clipboard, Paste, Screens, Overlay };

// Who serves a capability, or why nobody does. Exactly one of the two is empty.
struct DesktopService {
    QString name;   // such as "XInput 2"
    Words missing;  // one sentence for the user, without a full stop

    bool isThere() const { return !name.isEmpty(); }
    bool operator==(const DesktopService&) const = default;
};

// The desktop that this session runs on. Its ports live as long as it does; one whose capability is missing does
// nothing, and can be called all the same. Main thread.
class Desktop {
public:
    virtual ~Desktop() = default;

    virtual KeyboardMonitor& keys() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual PasteKeystroke& keystroke() = 0;
    virtual Screens& screens() = 0;
    // As it is now; a round trip to the desktop's server at most.
    virtual DesktopService service(DesktopCapability capability) = 0;
};

}  // namespace tavlo
