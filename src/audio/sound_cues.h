#pragma once

#include "platform/sound_player.h"

namespace tavlo {

// The program's sounds, computed rather than taken from files. The comment gives the name each is known by.
enum class SoundCue {
    Started,  // "Pop": recording
    Stopped,  // "Tink": the recording is over
    Alert     // "Basso": cancelled, or something went wrong
};

// The sound, at 48,000 frames a second. It begins and ends in silence, so that it never clicks. Computed at its first
// use, which takes a millisecond at most, and kept. Any thread.
const Sound& sound(SoundCue cue);

}  // namespace tavlo
