#pragma once

#include "platform/sound_player.h"

#include <functional>
#include <vector>

namespace tavlo {

// Keeps what it was asked to play.
class FakeSoundPlayer : public SoundPlayer {
public:
    struct Played {
        QString name;
        float volume = 0;

        bool operator==(const Played&) const = default;
    };

    void play(const Sound& sound, float volume) override
    {
        played.push_back({sound.name, volume});
        if (onPlay) {
            onPlay(played.back());
        }
    }

    std::vector<Played> played;
    std::function<void(const Played&)> onPlay;  // for a test that looks at the order of things
};

}  // namespace tavlo
