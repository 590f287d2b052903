#pragma once

#include "platform/sound_player.h"

#include <functional>
#include <vector>

namespace tavlo {

// Keeps what it was asked to play.
class FakeSoundPlayer : public SoundPlayer {
public:
    struct Sound {
        QString name;
        float volume = 0;

        bool operator==(const Sound&) const = default;
    };

    void playSound(const QString& name, float volume) override
    {
        played.push_back({name, volume});
        if (onPlay) {
            onPlay(played.back());
        }
    }

    std::vector<Sound> played;
    std::function<void(const Sound&)> onPlay;  // for a test that looks at the order of things
};

}  // namespace tavlo
