#include "contract/audio/audio_rig.h"
#include "platform/text_literals.h"
#include "support/given_time.h"
#include "support/known_signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tavlo {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Keeps what was handed over, from whatever thread.
class Recording {
public:
    AudioInput::BlockHandler handler()
    {
        return [this](const AudioBlock& block) {
            const std::lock_guard guard(m_mutex);
            m_blocks.push_back(block.frameCount);
            m_samples.insert(m_samples.end(), block.samples,
                             block.samples + block.frameCount * static_cast<std::size_t>(block.format.channelCount));
            m_formats.push_back(block.format);
        };
    }

    std::size_t blockCount() const { return blocks().size(); }
    std::vector<std::size_t> blocks() const
    {
        const std::lock_guard guard(m_mutex);
        return m_blocks;
    }
    std::vector<float> samples() const
    {
        const std::lock_guard guard(m_mutex);
        return m_samples;
    }
    std::vector<AudioFormat> formats() const
    {
        const std::lock_guard guard(m_mutex);
        return m_formats;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::size_t> m_blocks;
    std::vector<float> m_samples;
    std::vector<AudioFormat> m_formats;
};

class AudioInputContract : public testing::TestWithParam<RigKind> {
protected:
    void SetUp() override
    {
        rig = makeRig(GetParam());
        ASSERT_TRUE(rig->isUp());
        m_registration = rig->input().onConfigurationChange([this] { ++notices; });
    }

    AudioInput& input() { return rig->input(); }
    AudioFormat format() { return input().inputFormat().value_or(AudioFormat{-1, -1}); }
    bool startRecording() { return format().sampleRate > 0 && input().start(recording.handler()); }

    // What is wrong with the signal of what `record` leaves in its Recording. Only what was recorded while the server
    // itself missed nothing can be judged to the frame: it is recorded again until that is so.
    std::string faultsOf(const std::function<void(Recording&)>& record)
    {
        constexpr int kAttempts = 20;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            const Clock::time_point begin = Clock::now();
            Recording each;
            record(each);
            const std::vector<float> samples = each.samples();
            std::string faults = KnownSignal::describeBreaks(samples, heardByOthers);
            if (samples.empty() || samples.back() == 0.0F) {
                faults += "no signal at the end";
            }
            if (faults.empty() || !rig->serverMissedAudio(begin - 100ms, Clock::now())) {
                return faults;
            }
        }
        return "the server missed audio in each attempt";
    }

    std::unique_ptr<AudioRig> rig;
    Recording recording;
    int notices = 0;
    KnownSignal::HeardByOthers heardByOthers = [this](float before, float after) {
        return rig->heardByOthers(before, after);
    };

private:
    Registration m_registration;
};

TEST_P(AudioInputContract, TellsTheMicrophonesOwnFormat)
{
    EXPECT_EQ(format(), (AudioFormat{48000, 1}));
}

TEST_P(AudioInputContract, DeliversTheWholeSignalInBlocks)
{
    rig->speak();
    std::vector<std::size_t> blocks;
    std::vector<AudioFormat> formats;
    const auto record = [&](Recording& each) {
        ASSERT_GT(format().sampleRate, 0);
        ASSERT_TRUE(input().start(each.handler()));
        ASSERT_TRUE(rig->waitUntil([&] { return each.blockCount() >= 12; }));
        rig->pass(50ms);
        input().stop();
        blocks = each.blocks();
        formats = each.formats();
    };
    EXPECT_EQ(faultsOf(record), "");
    ASSERT_FALSE(blocks.empty());
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i], 4096U);
    }
    EXPECT_LE(blocks.back(), 4096U);
    EXPECT_GT(blocks.back(), 0U);
    for (const AudioFormat& format : formats) {
        EXPECT_EQ(format, (AudioFormat{48000, 1}));
    }
}

TEST_P(AudioInputContract, AVeryShortRecordingHasWhatWasCaptured)
{
    rig->speak();
    ASSERT_TRUE(startRecording());
    rig->pass(20ms);
    input().stop();
    const std::size_t frames = recording.samples().size();
    EXPECT_GE(frames, 480U);
    // One block, unless a busy machine came back to the test late.
    EXPECT_EQ(recording.blockCount(), (frames + 4095) / 4096);
    EXPECT_LT(frames, 48000U);
}

TEST_P(AudioInputContract, NothingIsDeliveredAfterTheStop)
{
    rig->speak();
    ASSERT_TRUE(startRecording());
    ASSERT_TRUE(rig->waitUntil([&] { return recording.blockCount() >= 2; }));
    input().stop();
    const std::size_t delivered = recording.blockCount();
    rig->pass(200ms);
    input().stop();
    EXPECT_EQ(recording.blockCount(), delivered);
}

TEST_P(AudioInputContract, NoMicrophoneIsOpenWhileIdle)
{
    EXPECT_EQ(rig->openStreamCount(), 0);
    ASSERT_TRUE(startRecording());
    EXPECT_EQ(rig->openStreamCount(), 1);
    input().stop();
    EXPECT_TRUE(rig->waitUntil([&] { return rig->openStreamCount() == 0; }));
}

TEST_P(AudioInputContract, RecordsAgainAndAgainWithoutANotice)
{
    rig->speak();
    for (int dictation = 0; dictation < 10; ++dictation) {
        const auto record = [&](Recording& each) {
            ASSERT_GT(format().sampleRate, 0);
            ASSERT_TRUE(input().start(each.handler()));
            rig->pass(60ms);
            input().stop();
        };
        EXPECT_EQ(faultsOf(record), "") << dictation;
    }
    rig->pass(100ms);
    EXPECT_EQ(notices, 0);
}

TEST_P(AudioInputContract, AStreamDestroyedWhileRunningGivesNothingMore)
{
    ASSERT_TRUE(startRecording());
    Recording second;
    ASSERT_TRUE(input().start(second.handler())) << "a second start replaces the first";
    ASSERT_TRUE(rig->waitUntil([&] { return second.blockCount() >= 1; }));
    const std::size_t first = recording.blockCount();
    rig->pass(200ms);
    EXPECT_EQ(recording.blockCount(), first);
    input().stop();
}

TEST_P(AudioInputContract, AnotherDefaultMicrophoneIsNoticedWhileRecording)
{
    ASSERT_TRUE(startRecording());
    rig->pass(100ms);
    EXPECT_EQ(notices, 0) << "opening the microphone is no change";
    rig->chooseMicrophone(u"headset"_s);
    EXPECT_TRUE(rig->waitUntil([&] { return notices > 0; }));
    input().stop();
    EXPECT_FALSE(recording.samples().empty());
}

TEST_P(AudioInputContract, AnotherDefaultMicrophoneIsNoticedWhileIdle)
{
    rig->chooseMicrophone(u"headset"_s);
    EXPECT_TRUE(rig->waitUntil([&] { return notices > 0; }));
    EXPECT_TRUE(startRecording());
    input().stop();
}

TEST_P(AudioInputContract, ARecordingStartedAfterTheChangeIsNotDisturbedByIt)
{
    rig->speak();
    rig->chooseMicrophone(u"headset"_s);
    ASSERT_TRUE(rig->waitUntil([&] { return notices > 0; }));
    notices = 0;
    ASSERT_TRUE(startRecording());
    rig->pass(300ms);
    EXPECT_EQ(notices, 0);
    input().stop();
}

TEST_P(AudioInputContract, UnpluggingTheMicrophoneInUseIsNoticed)
{
    ASSERT_TRUE(startRecording());
    ASSERT_TRUE(rig->waitUntil([&] { return recording.blockCount() >= 1; }));
    rig->unplug(u"microphone"_s);
    EXPECT_TRUE(rig->waitUntil([&] { return notices > 0; }));
    const GivenTime stopping;
    input().stop();
    EXPECT_LT(stopping.elapsed(), 300ms);
    EXPECT_FALSE(recording.samples().empty()) << "what came until then is there";
}

TEST_P(AudioInputContract, UnpluggingBothLeavesNoMicrophone)
{
    rig->unplug(u"headset"_s);
    rig->unplug(u"microphone"_s);
    EXPECT_TRUE(rig->waitUntil([&] { return format() == AudioFormat{}; }))
        << "a monitor of an output is not a microphone";
    const Result<void> started = input().start(recording.handler());
    ASSERT_FALSE(started);
    EXPECT_FALSE(started.error().description.isEmpty());
    EXPECT_TRUE(rig->waitUntil([&] { return notices > 0; }));
}

TEST_P(AudioInputContract, ACallbackThatWasUnregisteredIsNotCalled)
{
    int calls = 0;
    {
        const Registration registration = input().onConfigurationChange([&calls] { ++calls; });
    }
    rig->chooseMicrophone(u"headset"_s);
    EXPECT_TRUE(rig->waitUntil([&] { return notices > 0; }));
    EXPECT_EQ(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(On, AudioInputContract, testing::Values(RigKind::Fake, RigKind::PulseAudio, RigKind::PipeWire),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
