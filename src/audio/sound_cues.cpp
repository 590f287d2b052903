#include "audio/sound_cues.h"

#include "platform/text_literals.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavlo {

namespace {

constexpr int kSampleRate = 48000;
constexpr double kPeak = 0.9;
constexpr double kFadeOutSeconds = 0.012;

// A sine that decays, possibly gliding from one pitch to another.
struct Partial {
    double fromHertz;
    double toHertz;
    double glideSeconds;  // time in which most of the glide is done
    double decaySeconds;  // time in which the loudness falls to a third
    double share;
};

struct Recipe {
    double seconds;
    double attackSeconds;
    std::vector<Partial> partials;
};

// A drop of water: one soft tone that glides upwards.
Recipe pop()
{
    return {0.11, 0.004, {{330, 720, 0.035, 0.030, 1.0}, {660, 1440, 0.035, 0.016, 0.25}}};
}

// A light tap on a glass: high partials that stand in no whole ratio.
Recipe tink()
{
    return {0.20, 0.0015, {{2093, 2093, 1, 0.055, 1.0}, {3520, 3520, 1, 0.030, 0.35}, {5586, 5586, 1, 0.016, 0.2}}};
}

// A low, sinking tone with enough overtones for small loudspeakers.
Recipe basso()
{
    return {0.38,
            0.008,
            {{147, 110, 0.15, 0.16, 1.0},
             {294, 220, 0.15, 0.12, 0.7},
             {441, 330, 0.15, 0.09, 0.4},
             {588, 440, 0.15, 0.06, 0.2}}};
}

// The phase, in radians, of a tone whose pitch approaches its goal exponentially.
double phase(const Partial& partial, double time)
{
    const double cycles = partial.toHertz * time + (partial.fromHertz - partial.toHertz) * partial.glideSeconds *
                                                       (1 - std::exp(-time / partial.glideSeconds));
    return 2 * std::numbers::pi * cycles;
}

Sound compute(const QString& name, const Recipe& recipe)
{
    std::vector<double> samples(static_cast<std::size_t>(recipe.seconds * kSampleRate));
    double loudest = 0;
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        const double time = static_cast<double>(frame) / kSampleRate;
        double sample = 0;
        for (const Partial& partial : recipe.partials) {
            sample += partial.share * std::exp(-time / partial.decaySeconds) * std::sin(phase(partial, time));
        }
        const double remaining = static_cast<double>(samples.size() - 1 - frame) / kSampleRate;
        sample *= std::min(time / recipe.attackSeconds, 1.0) * std::min(remaining / kFadeOutSeconds, 1.0);
        samples[frame] = sample;
        loudest = std::max(loudest, std::abs(sample));
    }
    std::vector<float> scaled(samples.size());
    std::transform(samples.begin(), samples.end(), scaled.begin(),
                   [loudest](double sample) { return static_cast<float>(sample * kPeak / loudest); });
    return {name, kSampleRate, std::move(scaled)};
}

}  // namespace

const Sound& sound(SoundCue cue)
{
    switch (cue) {
        case SoundCue::Started: {
            static const Sound started = compute(u"Pop"_s, pop());
            return started;
        }
        case SoundCue::Stopped: {
            static const Sound stopped = compute(u"Tink"_s, tink());
            return stopped;
        }
        case SoundCue::Alert:
            break;
    }
    static const Sound alert = compute(u"Basso"_s, basso());
    return alert;
}

}  // namespace tavlo
