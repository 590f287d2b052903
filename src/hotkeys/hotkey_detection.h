#pragma once

#include "platform/keyboard_monitor.h"
#include "platform/queues.h"

namespace tavlo {

class ConfigFile;
class HotkeyCapture;

// The dictation that the hotkey starts and ends. Main thread.
class DictationControl {
public:
    virtual ~DictationControl() = default;

    virtual bool isRecording() const = 0;
    // Starts or finishes a recording; does nothing while a transcription or a capture is under way.
    virtual void toggle() = 0;
    // Ends a running recording without a result; does nothing when none runs any more.
    virtual void cancelRecording() = 0;
};

// Turns the desktop's key events into commands. Every command is posted to the main queue, so that it runs after the
// event has been handled. Reads the settings file afresh at each event, never the keychain. Main thread.
class HotkeyDetection {
public:
    // While a capture runs, it gets every key. All of them outlive this object.
    HotkeyDetection(MainQueue& queue, const ConfigFile& file, HotkeyCapture& capture, DictationControl& dictation);

    // For changes of a modifier key.
    void handleFlags(const KeyEvent& event);
    // For presses and repeats of all other keys.
    void handleKeyDown(const KeyEvent& event);

private:
    MainQueue& m_queue;
    const ConfigFile& m_file;
    HotkeyCapture& m_capture;
    DictationControl& m_dictation;
    Lifetime m_lifetime;
};

}  // namespace tavlo
