#pragma once

#include "platform/keyboard_monitor.h"
#include "platform/queues.h"

namespace tavlo {

class ConfigFile;

// What hotkey detection reads and commands: the session's side of it.
class HotkeyTarget {
public:
    virtual ~HotkeyTarget() = default;

    virtual bool isCapturing() const = 0;
    virtual bool isRecording() const = 0;
    // Starts or finishes a recording; does nothing while a transcription or a capture is under way.
    virtual void toggle() = 0;
    // Ends a running recording without a result; does nothing when none runs any more.
    virtual void cancelRecording() = 0;
    virtual void captureModifier(const KeyEvent& event) = 0;
    virtual void finishCapture(const KeyEvent& event) = 0;
};

// Turns the desktop's key events into commands. Every command is posted to the main queue, so that it runs after the
// event has been handled. Reads the settings file afresh at each event, never the keychain. Main thread.
class HotkeyDetection {
public:
    HotkeyDetection(MainQueue& queue, const ConfigFile& file, HotkeyTarget& target);

    // For changes of a modifier key.
    void handleFlags(const KeyEvent& event);
    // For presses and repeats of all other keys.
    void handleKeyDown(const KeyEvent& event);

private:
    MainQueue& m_queue;
    const ConfigFile& m_file;
    HotkeyTarget& m_target;
    Lifetime m_lifetime;
};

}  // namespace tavlo
