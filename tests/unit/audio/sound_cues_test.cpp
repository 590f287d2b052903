#include "audio/sound_cues.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tavlo {
namespace {

class SoundCues : public testing::TestWithParam<const char*> {
protected:
    std::vector<float> cue(int sampleRate = 48000) { return soundCue(QString::fromLatin1(GetParam()), sampleRate); }
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

TEST_P(SoundCues, LastsAsLongAtAnotherRate)
{
    EXPECT_NEAR(static_cast<double>(cue(44100).size()) / 44100, static_cast<double>(cue().size()) / 48000, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(All, SoundCues, testing::Values("Pop", "Tink", "Basso"));

TEST(SoundCue, TheThreeDiffer)
{
    const auto pop = soundCue(u"Pop"_s, 48000);
    const auto tink = soundCue(u"Tink"_s, 48000);
    const auto basso = soundCue(u"Basso"_s, 48000);
    EXPECT_NE(pop, tink);
    EXPECT_NE(pop, basso);
    EXPECT_NE(tink, basso);
}

TEST(SoundCue, AnUnknownNameIsNoSound)
{
    EXPECT_TRUE(soundCue(u"pop"_s, 48000).empty());
    EXPECT_TRUE(soundCue(QString(), 48000).empty());
}

}  // namespace
}  // namespace tavlo
