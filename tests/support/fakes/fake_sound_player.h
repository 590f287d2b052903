#pragma once

#include "platform/sound_player.h"

#include <algorithm>
#include <cmath>
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
        if (!hasServer) {
            return;
        }
        played.push_back({sound.name, volume});
        for (const float sample : sound.samples) {
            loudest = std::max(loudest, std::abs(sample) * std::clamp(volume, 0.0F, 1.0F));
        }
        if (onPlay) {
            onPlay(played.back());
        }
    }

    bool hasServer = true;
    float loudest = 0;  // sample that was played since the test set this back
    std::vector<Played> played;
    std::function<void(const Played&)> onPlay;  // for a test that looks at the order of things
};

}  // namespace tavlo
