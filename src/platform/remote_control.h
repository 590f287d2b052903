#pragma once

#include "platform/registration.h"

#include <QString>

#include <functional>

namespace tavlo {

// What the program is doing, as its icon and other programs show it.
enum class Activity {
    Ready,
    Recording,     // the microphone runs
    Transcribing,  // a finished recording is on its way to become text
    Capturing      // the user is choosing the hotkey by pressing it
};

enum class ClaimResult {
    Claimed,         // This process is the one instance of the session, and is served to others.
    AlreadyRunning,  // Another one is; it was asked to open its settings window.
    NoBus            // Nobody can tell: there is no session bus, or it refuses the name. The program runs unserved.
};

// What other programs of the session may ask for.
enum class RemoteCommand { Toggle, Cancel, PasteAgain, OpenSettings };

// One instance a session, and its control by other programs. Main thread.
class RemoteControl {
public:
    virtual ~RemoteControl() = default;

    // Becomes the session's instance if there is none. Waits for the bus, and for another instance two seconds at
    // most. A bus that goes away later is no failure; when it comes back at its place, the claim is made again.
    virtual ClaimResult claim() = 0;

    // `handler` is called on the main thread, by way of the main queue, after the asker has had its answer. A command
    // that comes while there is no handler is answered and dropped.
    [[nodiscard]] virtual Registration onCommand(std::function<void(RemoteCommand)> handler) = 0;

    // Tells the activity and the status line to whoever reads or watches them. Never waits; may be called before
    // `claim` and without a bus.
    virtual void publish(Activity activity, const QString& statusLine) = 0;
};

}  // namespace tavlo
