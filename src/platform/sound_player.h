#pragma once

#include <QString>

#include <vector>

namespace tavlo {

// A short sound of one channel. A backend may show `name` to the user, in a list of what is playing.
struct Sound {
    QString name;
    int sampleRate = 0;          // frames a second
    std::vector<float> samples;  // -1...1
};

class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    // Plays the sound at `volume` (0...1, values outside are clamped) on the default output, without waiting; takes a
    // copy of the samples. Plays nothing when there is no sound server. Main thread.
    virtual void play(const Sound& sound, float volume) = 0;
};

}  // namespace tavlo
