#include "audio/sound_cues.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tavlo {
namespace {

class SoundCues : public testing::TestWithParam<SoundCue> {
protected:
    const std::vector<float>& cue() const { return sound(GetParam()).samples; }
};

TEST_P(SoundCues, IsShort)
{
    EXPECT_GE(cue().size(), 48000U / 20);
    EXPECT_LE(cue().size(), 48000U / 2);
}

TEST_P(SoundCues, BeginsAndEndsInSilence)
{
    EXPECT_EQ(cue().front(), 0.0F);
    EXPECT_EQ(cue().back(), 0.0F);
}

TEST_P(SoundCues, IsAudibleAtOnceAndNeverClips)
{
    const std::vector<float> samples = cue();
    const auto loudness = [](float sample) { return std::abs(sample); };
    std::vector<float> magnitudes(samples.size());
    std::transform(samples.begin(), samples.end(), magnitudes.begin(), loudness);
    EXPECT_NEAR(*std::max_element(magnitudes.begin(), magnitudes.end()), 0.9F, 1e-5F);
    EXPECT_GT(*std::max_element(magnitudes.begin(), magnitudes.begin() + 480), 0.1F) << "within ten milliseconds";
}

TEST_P(SoundCues, NeverJumps)
{
    const std::vector<float> samples = cue();
    for (std::size_t i = 1; i < samples.size(); ++i) {
        ASSERT_LT(std::abs(samples[i] - samples[i - 1]), 0.5F) << i;
    }
}

TEST_P(SoundCues, IsComputedOnce)
{
    EXPECT_EQ(&sound(GetParam()), &sound(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, SoundCues, testing::Values(SoundCue::Started, SoundCue::Stopped, SoundCue::Alert));

TEST(SoundCue, TheThreeHaveTheirNamesAndDiffer)
{
    const Sound& pop = sound(SoundCue::Started);
    const Sound& tink = sound(SoundCue::Stopped);
    const Sound& basso = sound(SoundCue::Alert);
    EXPECT_EQ(pop.name, u"Pop"_s);
    EXPECT_EQ(tink.name, u"Tink"_s);
    EXPECT_EQ(basso.name, u"Basso"_s);
    EXPECT_NE(pop.samples, tink.samples);
    EXPECT_NE(pop.samples, basso.samples);
    EXPECT_NE(tink.samples, basso.samples);
}

TEST_P(SoundCues, HasTheRateItWasComputedFor)
{
    EXPECT_EQ(sound(GetParam()).sampleRate, 48000);
}

}  // namespace
}  // namespace tavlo
