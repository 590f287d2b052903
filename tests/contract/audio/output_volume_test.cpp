#include "contract/audio/audio_rig.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace tavlo {
namespace {

const QString kSpeakers = u"speakers"_s;
constexpr float kStep = 3.0F / 65536;

class OutputVolumeContract : public testing::TestWithParam<RigKind> {
protected:
    void SetUp() override
    {
        rig = makeRig(GetParam());
        ASSERT_TRUE(rig->isUp());
        ASSERT_TRUE(rig->waitUntil([this] { return volume().defaultDevice() == kSpeakers; }));
    }

    OutputVolume& volume() { return rig->volume(); }
    bool comesTo(float left, float right)
    {
        return rig->waitUntil([&] {
            const std::vector<float> now = rig->channels();
            return now.size() == 2 && std::abs(now[0] - left) <= kStep && std::abs(now[1] - right) <= kStep;
        });
    }
    bool reads(float scalar)
    {
        return rig->waitUntil([&] {
            const std::optional<float> now = volume().volume(kSpeakers);
            return now && std::abs(*now - scalar) <= kStep;
        });
    }

    std::unique_ptr<AudioRig> rig;
};

TEST_P(OutputVolumeContract, ReadsWhatTheUserChose)
{
    rig->setChannels(0.5F, 0.5F);
    EXPECT_TRUE(reads(0.5F));
    rig->setChannels(0.75F, 0.25F);
    EXPECT_TRUE(reads(0.75F)) << "the louder channel counts, as on the desktop's slider";
}

TEST_P(OutputVolumeContract, WhatIsSetIsReadAtOnceAndReachesTheDevice)
{
    EXPECT_TRUE(volume().setVolume(kSpeakers, 0.3F));
    EXPECT_NEAR(*volume().volume(kSpeakers), 0.3F, kStep);
    volume().flush();
    EXPECT_TRUE(comesTo(0.3F, 0.3F));
    EXPECT_NEAR(*volume().volume(kSpeakers), 0.3F, kStep);
}

TEST_P(OutputVolumeContract, FlushedVolumesAreThereWhenItReturns)
{
    volume().setVolume(kSpeakers, 0.3F);
    volume().setVolume(kSpeakers, 0.9F);
    volume().flush();
    const std::vector<float> now = rig->channels();
    ASSERT_EQ(now.size(), 2U);
    EXPECT_NEAR(now[0], 0.9F, kStep);
    EXPECT_NEAR(now[1], 0.9F, kStep);
}

TEST_P(OutputVolumeContract, AFadeEndsWhereItShouldAndKeepsTheBalance)
{
    rig->setChannels(0.8F, 0.4F);
    ASSERT_TRUE(reads(0.8F));
    for (int dictation = 0; dictation < 3; ++dictation) {
        for (int n = 1; n <= 15; ++n) {
            volume().setVolume(kSpeakers, 0.8F - 0.8F * static_cast<float>(n) / 15);
            rig->pass(std::chrono::milliseconds(5));
        }
        EXPECT_TRUE(comesTo(0, 0));
        EXPECT_EQ(*volume().volume(kSpeakers), 0.0F);
        for (int n = 1; n <= 15; ++n) {
            volume().setVolume(kSpeakers, 0.8F * static_cast<float>(n) / 15);
            EXPECT_NEAR(*volume().volume(kSpeakers), 0.8F * static_cast<float>(n) / 15, kStep);
            rig->pass(std::chrono::milliseconds(5));
        }
        EXPECT_TRUE(comesTo(0.8F, 0.4F));
        EXPECT_TRUE(reads(0.8F));
    }
}

TEST_P(OutputVolumeContract, AnotherProgramsChangeAfterOursIsSeen)
{
    volume().setVolume(kSpeakers, 0.3F);
    ASSERT_TRUE(comesTo(0.3F, 0.3F));
    rig->setChannels(0.6F, 0.2F);
    EXPECT_TRUE(reads(0.6F));
    volume().setVolume(kSpeakers, 0.3F);
    EXPECT_TRUE(comesTo(0.3F, 0.1F)) << "with the balance of the other program";
}

TEST_P(OutputVolumeContract, WhoListensHearsOfAnotherProgramsChangeUntilUnregistered)
{
    int changes = 0;
    Registration listening = volume().onChange([&] { ++changes; });
    rig->setChannels(0.6F, 0.6F);
    EXPECT_TRUE(rig->waitUntil([&] { return changes > 0; }));
    ASSERT_TRUE(reads(0.6F));
    listening = {};
    const int before = changes;
    rig->setChannels(0.5F, 0.5F);
    ASSERT_TRUE(reads(0.5F));
    rig->pass(std::chrono::milliseconds(50));
    EXPECT_EQ(changes, before);
}

TEST_P(OutputVolumeContract, AnOlderRegistrationThatEndsLeavesTheNewerOneInForce)
{
    int older = 0;
    int newer = 0;
    std::optional<Registration> first(volume().onChange([&] { ++older; }));
    const Registration second = volume().onChange([&] { ++newer; });
    rig->setChannels(0.6F, 0.6F);
    EXPECT_TRUE(rig->waitUntil([&] { return older > 0 && newer > 0; })) << "both hear of it";
    ASSERT_TRUE(reads(0.6F));
    first.reset();
    newer = 0;
    rig->setChannels(0.5F, 0.5F);
    EXPECT_TRUE(rig->waitUntil([&] { return newer > 0; }));
}

TEST_P(OutputVolumeContract, OtherOutputsHaveVolumesOfTheirOwn)
{
    const QString voice = u"voice"_s;
    EXPECT_TRUE(volume().hasVolume(voice));
    EXPECT_TRUE(volume().setVolume(voice, 0.5F));
    EXPECT_NEAR(*volume().volume(voice), 0.5F, kStep);
    EXPECT_TRUE(reads(1.0F));
}

TEST_P(OutputVolumeContract, AnUnknownDeviceHasNothing)
{
    const QString unknown = u"gone"_s;
    EXPECT_FALSE(volume().hasVolume(unknown));
    EXPECT_EQ(volume().volume(unknown), std::nullopt);
    EXPECT_FALSE(volume().setVolume(unknown, 0.5F));
    volume().flush();
}

INSTANTIATE_TEST_SUITE_P(On, OutputVolumeContract,
                         testing::Values(RigKind::Fake, RigKind::PulseAudio, RigKind::PipeWire),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
