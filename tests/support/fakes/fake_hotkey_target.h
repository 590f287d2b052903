#pragma once

#include "hotkeys/hotkey_detection.h"

#include <vector>

namespace tavlo {

// Counts what hotkey detection commands. Toggling starts and finishes a recording as the session does.
class FakeHotkeyTarget : public HotkeyTarget {
public:
    bool isCapturing() const override { return capturing; }
    bool isRecording() const override { return recording; }

    void toggle() override
    {
        if (!busy && !capturing) {
            ++toggles;
            recording = !recording;
        }
    }

    void cancelRecording() override
    {
        if (recording) {
            ++cancels;
            recording = false;
        }
    }

    void captureModifier(const KeyEvent& event) override { modifiers.push_back(event); }
    void finishCapture(const KeyEvent& event) override { keys.push_back(event); }

    bool busy = false;
    bool capturing = false;
    bool recording = false;
    int toggles = 0;
    int cancels = 0;
    std::vector<KeyEvent> modifiers;
    std::vector<KeyEvent> keys;
};

}  // namespace tavlo
