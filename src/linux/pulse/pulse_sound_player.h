#pragma once

#include "linux/pulse/pulse_connection.h"
#include "platform/sound_player.h"

#include <pulse/operation.h>
#include <pulse/stream.h>

#include <list>
#include <vector>

namespace tavlo {

// Plays each sound through a short stream of its own, which is gone when the sound has ended.
class PulseSoundPlayer : public SoundPlayer {
public:
    // The connection outlives it.
    explicit PulseSoundPlayer(PulseConnection& connection);
    ~PulseSoundPlayer() override;
    PulseSoundPlayer(const PulseSoundPlayer&) = delete;
    PulseSoundPlayer& operator=(const PulseSoundPlayer&) = delete;

    void play(const Sound& sound, float volume) override;

private:
    struct Playing {
        PulseSoundPlayer* player = nullptr;
        pa_stream* stream = nullptr;
        pa_operation* drain = nullptr;  // once the samples are written
        std::vector<float> samples;
    };

    static void stateChanged(pa_stream* stream, void* playing);
    static void drained(pa_stream* stream, int success, void* playing);
    void end(Playing* playing);
    static void release(const Playing& playing);

    PulseConnection& m_connection;
    std::list<Playing> m_playing;
};

}  // namespace tavlo
