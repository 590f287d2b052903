#pragma once

#include "hotkeys/hotkey_detection.h"

namespace tavlo {

// Counts what the hotkey commands. Toggling starts and finishes a recording as the session does.
class FakeDictationControl : public DictationControl {
public:
    bool isRecording() const override { return recording; }

    void toggle() override
    {
        if (!busy) {
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

    bool busy = false;
    bool recording = false;
    int toggles = 0;
    int cancels = 0;
};

}  // namespace tavlo
