#pragma once

#include "platform/sound_player.h"

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

    void playSound(const QString& name, float volume) override { played.push_back({name, volume}); }

    std::vector<Sound> played;
};

}  // namespace tavlo
