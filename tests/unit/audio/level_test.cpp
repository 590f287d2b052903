#include "audio/recorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tavlo {
namespace {

float levelOf(const std::vector<float>& samples, int channels = 1)
{
    return blockLevel({{48000, channels}, samples.data(), samples.size() / static_cast<std::size_t>(channels)});
}

float squareWaveLevel(double decibels)
{
    const auto amplitude = static_cast<float>(std::pow(10, decibels / 20));
    std::vector<float> samples(4096);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = i % 2 == 0 ? amplitude : -amplitude;
    }
    return levelOf(samples);
}

TEST(Level, SilenceIsZero)
{
    EXPECT_EQ(levelOf(std::vector<float>(4096, 0.0F)), 0.0F);
}

TEST(Level, FullScaleSquareWaveIsOne)
{
    EXPECT_EQ(squareWaveLevel(0), 1.0F);
}

TEST(Level, MinusTwentyFiveDecibelsIsHalf)
{
    EXPECT_NEAR(squareWaveLevel(-25), 0.5F, 1e-6F);
}

TEST(Level, IsLinearInDecibels)
{
    EXPECT_NEAR(squareWaveLevel(-10), 0.8F, 1e-6F);
    EXPECT_NEAR(squareWaveLevel(-41), 0.18F, 1e-6F);
}

TEST(Level, StaysOnItsScale)
{
    EXPECT_EQ(squareWaveLevel(6), 1.0F);
    EXPECT_EQ(squareWaveLevel(-50), 0.0F);
    EXPECT_EQ(squareWaveLevel(-80), 0.0F);
}

TEST(Level, OnlyTheFirstChannelCounts)
{
    std::vector<float> loudRight;
    std::vector<float> loudLeft;
    for (int i = 0; i < 4096; ++i) {
        loudRight.insert(loudRight.end(), {0.0F, 1.0F});
        loudLeft.insert(loudLeft.end(), {1.0F, 0.0F});
    }
    EXPECT_EQ(levelOf(loudRight, 2), 0.0F);
    EXPECT_EQ(levelOf(loudLeft, 2), 1.0F);
}

TEST(Level, NothingCapturedIsZero)
{
    EXPECT_EQ(blockLevel({}), 0.0F);
    EXPECT_EQ(blockLevel({{48000, 1}, nullptr, 4096}), 0.0F);
}

TEST(Level, SamplesThatAreNoNumbersAreSilence)
{
    EXPECT_EQ(levelOf({0.5F, std::numeric_limits<float>::quiet_NaN()}), 0.0F);
    EXPECT_EQ(levelOf({0.5F, std::numeric_limits<float>::infinity()}), 0.0F);
}

TEST(JudgePeak, APeakOfExactly018IsSpeech)
{
    EXPECT_EQ(judgePeak(0.18F), Heard::Speech);
    EXPECT_EQ(judgePeak(std::nextafter(0.18F, 0.0F)), Heard::NoSpeech);
    EXPECT_EQ(judgePeak(1), Heard::Speech);
}

TEST(JudgePeak, APeakOfExactly001IsASignalWithoutSpeech)
{
    EXPECT_EQ(judgePeak(0.01F), Heard::NoSpeech);
    EXPECT_EQ(judgePeak(std::nextafter(0.01F, 0.0F)), Heard::NoSignal);
    EXPECT_EQ(judgePeak(0), Heard::NoSignal);
}

}  // namespace
}  // namespace tavlo
