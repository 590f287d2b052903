#pragma once

namespace tavlo {

// What the program is doing, as its icon and other programs show it.
enum class Activity {
    Ready,
    Recording,     // the microphone runs
    Transcribing,  // a finished recording is on its way to become text
    Capturing      // the user is choosing the hotkey by pressing it
};

}  // namespace tavlo
