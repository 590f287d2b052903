#include "linux/pulse/pulse_sound_player.h"

#include "linux/pulse/pulse_connection.h"

#include <pulse/operation.h>
#include <pulse/proplist.h>

#include <algorithm>
#include <mutex>

namespace tavlo {

namespace {

constexpr double kTargetSeconds = 0.04;  // the server's buffer: short, so that the sound starts at once

}  // namespace

PulseSoundPlayer::PulseSoundPlayer(PulseConnection& connection) : m_connection(connection) {}

PulseSoundPlayer::~PulseSoundPlayer()
{
    const std::lock_guard guard(m_connection);
    while (!m_playing.empty()) {
        end(&m_playing.front());
    }
}

void PulseSoundPlayer::play(const Sound& sound, float volume)
{
    const std::lock_guard guard(m_connection);
    pa_context* const context = m_connection.context();
    if (context == nullptr) {
        return;
    }
    pa_sample_spec spec{};
    spec.format = PA_SAMPLE_FLOAT32NE;
    spec.rate = static_cast<std::uint32_t>(sound.sampleRate);
    spec.channels = 1;
    pa_proplist* const properties = pa_proplist_new();
    // So that the desktop's volume for event sounds applies.
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "event");
    pa_stream* const stream =
        pa_stream_new_with_proplist(context, sound.name.toUtf8().constData(), &spec, nullptr, properties);
    pa_proplist_free(properties);
    if (stream == nullptr) {
        return;
    }
    m_playing.push_back({this, stream, nullptr, sound.samples});
    Playing& playing = m_playing.back();
    const float factor = std::clamp(volume, 0.0F, 1.0F);
    for (float& sample : playing.samples) {
        sample *= factor;
    }
    pa_stream_set_state_callback(stream, &PulseSoundPlayer::stateChanged, &playing);

    pa_buffer_attr buffer{};
    buffer.maxlength = static_cast<std::uint32_t>(-1);
    buffer.tlength = static_cast<std::uint32_t>(sound.sampleRate * kTargetSeconds * sizeof(float));
    buffer.prebuf =
        static_cast<std::uint32_t>(-1);  // the server's own: it starts when the buffer is full, which is at once
    buffer.minreq = static_cast<std::uint32_t>(-1);
    buffer.fragsize = static_cast<std::uint32_t>(-1);
    if (pa_stream_connect_playback(stream, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) < 0) {
        end(&playing);
    }
}

// On the connection's thread, or under its lock.
void PulseSoundPlayer::stateChanged(pa_stream* stream, void* data)
{
    auto* const playing = static_cast<Playing*>(data);
    switch (pa_stream_get_state(stream)) {
        case PA_STREAM_READY: {
            const std::vector<float>& samples = playing->samples;
            const int written =
                pa_stream_write(stream, samples.data(), samples.size() * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
            pa_operation* const drain =
                written == 0 ? pa_stream_drain(stream, &PulseSoundPlayer::drained, playing) : nullptr;
            playing->drain = drain;
            if (drain == nullptr) {
                playing->player->end(playing);
            }
            break;
        }
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            playing->player->end(playing);
            break;
        default:
            break;
    }
}

void PulseSoundPlayer::drained(pa_stream*, int, void* data)
{
    auto* const playing = static_cast<Playing*>(data);
    playing->player->end(playing);
}

void PulseSoundPlayer::end(Playing* playing)
{
    release(*playing);
    m_playing.remove_if([playing](const Playing& each) { return &each == playing; });
}

void PulseSoundPlayer::release(const Playing& playing)
{
    if (playing.drain != nullptr) {
        // Its answer may still be on the way.
        pa_operation_cancel(playing.drain);
        pa_operation_unref(playing.drain);
    }
    closeStream(playing.stream);
}

}  // namespace tavlo
