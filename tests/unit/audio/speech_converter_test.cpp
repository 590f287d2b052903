#include "audio/speech_converter.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace tavlo {
namespace {

std::vector<float> tone(double hertz, double sampleRate, std::size_t frames, int channels = 1)
{
    std::vector<float> samples;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(frame) / sampleRate;
        samples.insert(samples.end(), static_cast<std::size_t>(channels), static_cast<float>(0.5 * std::sin(angle)));
    }
    return samples;
}

// Converts in blocks of `blockFrames`, the last one shorter, as a whole recording.
std::vector<std::int16_t> convertAll(const std::vector<float>& samples, const AudioFormat& format,
                                     std::size_t blockFrames)
{
    const auto converter = SpeechConverter::create(format);
    const auto channels = static_cast<std::size_t>(format.channelCount);
    const std::size_t frames = samples.size() / channels;
    for (std::size_t first = 0; first < frames; first += blockFrames) {
        const std::size_t count = std::min(blockFrames, frames - first);
        converter->convert({format, samples.data() + first * channels, count});
    }
    const QByteArray bytes = converter->finish().mid(kWavHeaderSize);
    std::vector<std::int16_t> converted(static_cast<std::size_t>(bytes.size()) / 2);
    qFromLittleEndian<std::int16_t>(bytes.constData(), static_cast<qsizetype>(converted.size()), converted.data());
    return converted;
}

TEST(SpeechConverter, CapacityOfAUsualBlockAt48000)
{
    EXPECT_EQ(convertedCapacity(48000, 4096), 1365U + 64U);
}

TEST(SpeechConverter, CapacityDropsTheFraction)
{
    EXPECT_EQ(convertedCapacity(44100, 4096), 1486U + 64U);
    EXPECT_EQ(convertedCapacity(16000, 4096), 4096U + 64U);
    EXPECT_EQ(convertedCapacity(8000, 4096), 8192U + 64U);
    EXPECT_EQ(convertedCapacity(48000, 0), 64U);
}

TEST(SpeechConverterDeathTest, CapacityThatIsNoNumberStopsTheProgram)
{
    EXPECT_DEATH(convertedCapacity(0, 4096), "cannot be converted");
    EXPECT_DEATH(convertedCapacity(-48000, 4096), "cannot be converted");
    EXPECT_DEATH(convertedCapacity(16000, std::size_t{1} << 32U), "cannot be converted");
    EXPECT_DEATH(convertedCapacity(std::numeric_limits<double>::quiet_NaN(), 1), "cannot be converted");
}

TEST(SpeechConverter, UnusableFormatsAreRefused)
{
    EXPECT_EQ(SpeechConverter::create({0, 1}), nullptr);
    EXPECT_EQ(SpeechConverter::create({-1, 1}), nullptr);
    EXPECT_EQ(SpeechConverter::create({48000, 0}), nullptr);
    EXPECT_EQ(SpeechConverter::create({std::numeric_limits<double>::quiet_NaN(), 1}), nullptr);
    EXPECT_EQ(SpeechConverter::create({std::numeric_limits<double>::infinity(), 1}), nullptr);
}

TEST(SpeechConverter, EverySampleArrivesAtEachUsualRate)
{
    for (const int rate : {8000, 11025, 16000, 22050, 32000, 44100, 48000, 96000, 192000}) {
        const auto frames = static_cast<std::size_t>(rate) * 2 + 77;
        const auto converted = convertAll(tone(440, rate, frames), {static_cast<double>(rate), 1}, 4096);
        const double expected = static_cast<double>(frames) * 16000 / rate;
        EXPECT_NEAR(static_cast<double>(converted.size()), expected, 1.0) << rate;
    }
}

TEST(SpeechConverter, ResultDoesNotDependOnTheBlocks)
{
    const auto samples = tone(997, 48000, 30000);
    const auto whole = convertAll(samples, {48000, 1}, samples.size());
    EXPECT_EQ(convertAll(samples, {48000, 1}, 4096), whole);
    EXPECT_EQ(convertAll(samples, {48000, 1}, 480), whole);
    EXPECT_EQ(convertAll(samples, {48000, 1}, 1), whole);
}

TEST(SpeechConverter, ToneComesOutInPlaceAndAtItsLoudness)
{
    const auto converted = convertAll(tone(1000, 48000, 48000), {48000, 1}, 4096);
    ASSERT_EQ(converted.size(), 16000U);
    for (std::size_t frame = 200; frame < converted.size() - 200; ++frame) {
        const double expected =
            0.5 * 32768 * std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(frame) / 16000);
        ASSERT_NEAR(converted[frame], expected, 4) << frame;
    }
}

TEST(SpeechConverter, LastFramesBeforeTheEndAreThere)
{
    std::vector<float> samples(48000, 0.0F);
    std::fill(samples.end() - 300, samples.end(), 0.5F);
    const auto converted = convertAll(samples, {48000, 1}, 4096);
    ASSERT_EQ(converted.size(), 16000U);
    EXPECT_GT(*std::max_element(converted.end() - 100, converted.end()), 15000);
    EXPECT_LT(*std::max_element(converted.begin(), converted.end() - 300), 300);
}

TEST(SpeechConverter, ChannelsAreMixedIntoOne)
{
    std::vector<float> samples;
    for (int i = 0; i < 48000; ++i) {
        samples.insert(samples.end(), {0.6F, 0.2F});
    }
    const auto converted = convertAll(samples, {48000, 2}, 4096);
    EXPECT_NEAR(converted[8000], 0.4 * 32768, 3);

    EXPECT_EQ(convertAll(tone(440, 48000, 20000, 6), {48000, 6}, 4096).size(),
              convertAll(tone(440, 48000, 20000), {48000, 1}, 4096).size());
}

TEST(SpeechConverter, TooLoudIsClippedNotWrapped)
{
    const auto converted = convertAll(std::vector<float>(9600, 1.7F), {48000, 1}, 4096);
    EXPECT_EQ(converted[1600], 32767);
}

TEST(SpeechConverter, SilenceStaysSilence)
{
    const auto converted = convertAll(std::vector<float>(48000, 0.0F), {44100, 1}, 4096);
    EXPECT_TRUE(std::all_of(converted.begin(), converted.end(), [](std::int16_t sample) { return sample == 0; }));
}

TEST(SpeechConverter, ASampleThatIsNoNumberSpoilsNothingElse)
{
    std::vector<float> samples(96000, 0.25F);
    samples[10] = std::numeric_limits<float>::quiet_NaN();
    const auto converted = convertAll(samples, {48000, 1}, 4096);
    EXPECT_NEAR(converted[16000], 8192, 3);
}

TEST(SpeechConverter, ABlockOfAnotherRateIsDropped)
{
    const auto converter = SpeechConverter::create({48000, 1});
    const std::vector<float> samples(4096, 0.5F);
    converter->convert({{44100, 1}, samples.data(), samples.size()});
    converter->convert({{48000, 1}, nullptr, 4096});
    converter->convert({{48000, 1}, samples.data(), 0});
    EXPECT_EQ(converter->finish().size(), kWavHeaderSize);
}

}  // namespace
}  // namespace tavlo
