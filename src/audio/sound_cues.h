#pragma once

#include <QString>

#include <vector>

namespace tavlo {

// One of the sounds "Pop", "Tink" and "Basso" as mono samples, -1...1, at `sampleRate` frames a second; empty for any
// other name. Each begins and ends in silence, so that it never clicks. Any thread.
std::vector<float> soundCue(const QString& name, int sampleRate);

}  // namespace tavlo
