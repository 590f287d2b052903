#include "audio/level.h"

#include <algorithm>
#include <cmath>

namespace tavlo {

namespace {

constexpr double kQuietestRms = 0.00001;  // -100 dBFS, keeps the logarithm of silence finite
constexpr double kRangeDecibels = 50;

}  // namespace

float blockLevel(const AudioBlock& block)
{
    if (block.samples == nullptr || block.frameCount == 0 || block.format.channelCount < 1) {
        return 0;
    }
    const auto stride = static_cast<std::size_t>(block.format.channelCount);
    double sumOfSquares = 0;
    for (std::size_t frame = 0; frame < block.frameCount; ++frame) {
        const double sample = block.samples[frame * stride];
        sumOfSquares += sample * sample;
    }
    const double rms = std::sqrt(sumOfSquares / static_cast<double>(block.frameCount));
    // A sample that is no number makes the sum no number; such a block counts as silence.
    const double audible = std::isfinite(rms) ? std::max(rms, kQuietestRms) : kQuietestRms;
    const double level = (20 * std::log10(audible) + kRangeDecibels) / kRangeDecibels;
    return static_cast<float>(std::clamp(level, 0.0, 1.0));
}

}  // namespace tavlo
