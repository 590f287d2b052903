#pragma once

#include <QString>

#include <cstdint>

namespace tavlo {

// What the parts of the application object share. Main thread only.
struct SessionState {
    bool busy = false;           // a finished recording is being transcribed; toggles are ignored
    std::int64_t busyToken = 0;  // generation number of the current transcription
    bool capturing = false;      // a hotkey is being chosen; toggles are ignored
    QString statusLine;          // first line of the menu; set through StatusBoard
    QString lastText;            // the last text delivered
};

}  // namespace tavlo
