#pragma once

#include <QString>

namespace tavlo {

class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    // Plays one of the sounds "Pop", "Tink" and "Basso" at `volume` (0...1) on the default output, without waiting.
    // An unknown name, or no sound server, plays nothing. Main thread.
    virtual void playSound(const QString& name, float volume) = 0;
};

}  // namespace tavlo
