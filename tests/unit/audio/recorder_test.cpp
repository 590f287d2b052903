#include "audio/recorder.h"

#include "audio/speech_converter.h"
#include "platform/text_literals.h"
#include "settings/language.h"
#include "support/fakes/fake_audio_input.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <thread>

namespace tavlo {
namespace {

std::vector<float> loud(std::size_t samples)
{
    return std::vector<float>(samples, 0.5F);
}

// The samples of a recording, whose header must be the one for that many.
QByteArray samplesOf(const QByteArray& wav)
{
    QByteArray expected = wav;
    std::fill_n(expected.begin(), kWavHeaderSize, '\0');
    writeWavHeader(expected);
    EXPECT_EQ(wav.first(kWavHeaderSize).toHex(), expected.first(kWavHeaderSize).toHex());
    return wav.mid(kWavHeaderSize);
}

class RecorderTest : public testing::Test {
protected:
    RecorderTest()
    {
        recorder.levelHandler = [this](float level) { levels.push_back(level); };
    }

    std::vector<float> levels;
    ManualMainQueue queue;
    FakeAudioInput input;
    Recorder recorder{input, queue};
};

TEST_F(RecorderTest, HandsOverTheWholeRecordingToTheLastFrame)
{
    ASSERT_TRUE(recorder.start());
    EXPECT_TRUE(recorder.isRecording());
    input.capture(loud(48000));
    const QByteArray pcm = samplesOf(recorder.stop());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_FALSE(input.isRunning());
    ASSERT_EQ(pcm.size(), 32000);
    EXPECT_NEAR(qFromLittleEndian<qint16>(pcm.constData() + 16000), 16384, 3);
    EXPECT_GT(qFromLittleEndian<qint16>(pcm.constData() + pcm.size() - 2), 8000);
}

TEST_F(RecorderTest, StopTwiceGivesNothingTheSecondTime)
{
    ASSERT_TRUE(recorder.start());
    input.capture(loud(9600));
    EXPECT_FALSE(recorder.stop().isEmpty());
    EXPECT_TRUE(recorder.stop().isEmpty());
    EXPECT_EQ(input.stopCount(), 1);
}

TEST_F(RecorderTest, StopWithoutStartGivesNothing)
{
    EXPECT_TRUE(recorder.stop().isEmpty());
    EXPECT_EQ(input.stopCount(), 0);
}

TEST_F(RecorderTest, PeakOutlivesTheRecordingAndIsZeroAfterTheNextStart)
{
    ASSERT_TRUE(recorder.start());
    input.capture(std::vector<float>(4096, 1.0F));
    input.capture(std::vector<float>(4096, 0.01F));
    EXPECT_EQ(recorder.peakLevel(), 1.0F);
    recorder.stop();
    EXPECT_EQ(recorder.peakLevel(), 1.0F);
    EXPECT_EQ(recorder.peakLevel(), 1.0F) << "reading does not reset it";
    ASSERT_TRUE(recorder.start());
    EXPECT_EQ(recorder.peakLevel(), 0.0F);
}

TEST_F(RecorderTest, TheShortLastBlockCountsForThePeak)
{
    ASSERT_TRUE(recorder.start());
    input.capture(std::vector<float>(100, 1.0F));
    EXPECT_EQ(recorder.peakLevel(), 0.0F);
    recorder.stop();
    EXPECT_EQ(recorder.peakLevel(), 1.0F);
}

TEST_F(RecorderTest, NoInputFailsWithCodeOneInDutchWhateverTheLanguage)
{
    input.noMicrophone();
    for (const char* language : {"nl", "en"}) {
        gLang = QString::fromLatin1(language);
        const Result<void> started = recorder.start();
        ASSERT_FALSE(started);
        EXPECT_EQ(started.error(), (Error{u"Tavlo"_s, 1, u"Geen microfoon beschikbaar (of geen toestemming)."_s}));
    }
    gLang = u"nl"_s;
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(input.startCount(), 0);
}

TEST_F(RecorderTest, AServerThatDoesNotAnswerIsNotAMissingMicrophone)
{
    const Error silence{u"PulseAudio"_s, 7, u"De geluidsserver antwoordt niet."_s};
    input.failFormat(silence);
    const Result<void> started = recorder.start();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), silence);
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(input.startCount(), 0);
}

TEST_F(RecorderTest, NoInputLeavesThePeakOfTheRecordingBefore)
{
    ASSERT_TRUE(recorder.start());
    input.capture(std::vector<float>(4096, 1.0F));
    recorder.stop();
    input.noMicrophone();
    EXPECT_FALSE(recorder.start());
    EXPECT_EQ(recorder.peakLevel(), 1.0F);
}

TEST(Recorder, AnInputWithoutChannelsFailsWithCodeOne)
{
    ManualMainQueue queue;
    FakeAudioInput input({48000, 0});
    Recorder recorder(input, queue);
    EXPECT_EQ(recorder.start().error().code, 1);
}

TEST(Recorder, AnInconvertibleFormatFailsWithCodeTwo)
{
    ManualMainQueue queue;
    FakeAudioInput input({std::numeric_limits<double>::infinity(), 1});
    Recorder recorder(input, queue);
    const Result<void> started = recorder.start();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), (Error{u"Tavlo"_s, 2, u"Audioconversie niet mogelijk."_s}));
    EXPECT_FALSE(recorder.isRecording());
}

TEST_F(RecorderTest, TheInputsOwnErrorPassesUnchanged)
{
    const Error error{u"PulseAudio"_s, 6, u"Connection refused"_s};
    input.failStarts(error);
    const Result<void> started = recorder.start();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), error);
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_TRUE(recorder.stop().isEmpty());

    input.failStarts(std::nullopt);
    EXPECT_TRUE(recorder.start());
}

TEST_F(RecorderTest, OneLevelABlockOnTheMainQueue)
{
    ASSERT_TRUE(recorder.start());
    input.capture(std::vector<float>(std::size_t{3} * 4096, 1.0F));
    EXPECT_TRUE(levels.empty()) << "never on the capture thread";
    queue.runPending();
    EXPECT_EQ(levels, (std::vector<float>{1, 1, 1}));
}

TEST_F(RecorderTest, ABlockWithoutFramesGivesNoLevel)
{
    ASSERT_TRUE(recorder.start());
    input.deliver({{48000, 1}, nullptr, 0});
    queue.runPending();
    EXPECT_TRUE(levels.empty());
    EXPECT_EQ(recorder.peakLevel(), 0.0F);
}

TEST_F(RecorderTest, WorksWithoutALevelHandler)
{
    recorder.levelHandler = nullptr;
    ASSERT_TRUE(recorder.start());
    input.capture(loud(4096));
    queue.runPending();
    EXPECT_GT(recorder.peakLevel(), 0.8F);
}

TEST_F(RecorderTest, ALevelInFlightDoesNotKeepTheRecorderAlive)
{
    std::vector<float> seen;
    {
        Recorder shortLived(input, queue);
        shortLived.levelHandler = [&seen](float level) { seen.push_back(level); };
        ASSERT_TRUE(shortLived.start());
        input.capture(loud(4096));
    }
    queue.runPending();
    EXPECT_TRUE(seen.empty());
    EXPECT_FALSE(input.isRunning()) << "a recorder that goes away leaves no microphone open";
}

TEST_F(RecorderTest, ASecondRecordingBeginsEmpty)
{
    ASSERT_TRUE(recorder.start());
    input.capture(loud(48000));
    recorder.stop();
    ASSERT_TRUE(recorder.start());
    input.capture(std::vector<float>(24000, 0.0F));
    EXPECT_EQ(samplesOf(recorder.stop()), QByteArray(16000, '\0'));
}

TEST_F(RecorderTest, AStartWhileRecordingReplacesTheRecording)
{
    ASSERT_TRUE(recorder.start());
    input.capture(loud(48000));
    ASSERT_TRUE(recorder.start());
    EXPECT_EQ(input.stopCount(), 1);
    input.capture(loud(24000));
    EXPECT_EQ(samplesOf(recorder.stop()).size(), 16000);
}

// Each frame of a rising tone differs from those around it, so that a block that is lost, doubled or out of its place
// shows in every sample from there on.
TEST_F(RecorderTest, NoFrameIsLostDoubledOrMoved)
{
    constexpr std::size_t kFrames = std::size_t{48000} * 3;
    std::vector<float> sweep(kFrames);
    const auto value = [](double seconds) {
        return 0.5 * std::sin(2 * std::numbers::pi * (300 + 400 * seconds) * seconds);
    };
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        sweep[frame] = static_cast<float>(value(static_cast<double>(frame) / 48000));
    }
    ASSERT_TRUE(recorder.start());
    input.capture(sweep);
    const QByteArray samples = samplesOf(recorder.stop());
    ASSERT_EQ(samples.size(), qsizetype{2} * 48000);
    for (qsizetype n = 100; n < 48000 - 100; ++n) {
        const double expected = 32768 * value(static_cast<double>(n) / 16000);
        ASSERT_NEAR(qFromLittleEndian<qint16>(samples.constData() + 2 * n), expected, 30) << "frame " << n;
    }
}

TEST(RecordingSeconds, AreThoseOfTheSamplesAlone)
{
    EXPECT_EQ(recordingSeconds({}), 0);
    EXPECT_EQ(recordingSeconds(QByteArray(kWavHeaderSize, '\0')), 0);
    EXPECT_EQ(recordingSeconds(QByteArray(kWavHeaderSize + 12800, '\0')), 0.4);
    EXPECT_LT(recordingSeconds(QByteArray(kWavHeaderSize + 12798, '\0')), 0.4);
}

TEST_F(RecorderTest, PeakMayBeReadWhileBlocksArriveOnAnotherThread)
{
    ASSERT_TRUE(recorder.start());
    std::thread capture([this] {
        for (int i = 0; i < 20; ++i) {
            input.capture(loud(4096));
        }
    });
    float last = 0;
    for (int i = 0; i < 1000; ++i) {
        const float now = recorder.peakLevel();
        EXPECT_GE(now, last);
        last = now;
    }
    capture.join();
    EXPECT_EQ(samplesOf(recorder.stop()).size(), 2 * ((20 * 4096 + 1) / 3));
}

}  // namespace
}  // namespace tavlo
