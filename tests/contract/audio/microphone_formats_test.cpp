#include "audio/recorder.h"
#include "audio/speech_converter.h"
#include "linux/pulse/pulse_audio_input.h"
#include "linux/pulse/pulse_connection.h"
#include "platform/text_literals.h"
#include "support/audio_servers.h"
#include "support/fakes/manual_main_queue.h"
#include "support/known_signal.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

// What the microphone hears: one tone in each channel.
struct Tone {
    double frequency;  // Hz
    double amplitude;  // of full scale
};
constexpr Tone kLeft{440, 0.5};
constexpr Tone kRight{660, 0.25};
constexpr double kTolerance = 0.02;

// How strong a frequency is in `frameCount` frames from `first` on of one channel, as an amplitude of full scale.
double strength(double frequency, const std::vector<float>& samples, std::size_t first, std::size_t frameCount,
                AudioFormat format, int channel)
{
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < frameCount; ++i) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / format.sampleRate;
        const std::size_t index = (first + i) * static_cast<std::size_t>(format.channelCount);
        sum += static_cast<double>(samples[index + static_cast<std::size_t>(channel)]) * std::polar(1.0, -angle);
    }
    return 2 * std::abs(sum) / static_cast<double>(frameCount);
}

struct Expected {
    int channel;
    double left;   // strength of the left channel's tone
    double right;  // and of the right one's
};

// Whether the tones were as strong as expected during some tenth of a second, a whole number of periods of both: where
// the machine was too busy to feed the microphone there is a hole.
bool isHeard(const std::vector<float>& samples, AudioFormat format, const std::vector<Expected>& channels)
{
    const auto window = static_cast<std::size_t>(format.sampleRate / 10);
    const std::size_t frames = samples.size() / static_cast<std::size_t>(format.channelCount);
    for (std::size_t first = 0; first + window <= frames; first += window / 4) {
        bool isRight = true;
        for (const Expected& each : channels) {
            const auto measured = [&](Tone tone) {
                return strength(tone.frequency, samples, first, window, format, each.channel);
            };
            isRight = isRight && std::abs(measured(kLeft) - each.left) < kTolerance &&
                      std::abs(measured(kRight) - each.right) < kTolerance;
        }
        if (isRight) {
            return true;
        }
    }
    return false;
}

// A microphone of the server that hears the tones, as long as this lives. It is the default one.
class ToneMicrophone {
public:
    ToneMicrophone(const AudioServer& server, AudioFormat format) : m_format(format)
    {
        const QString pipe = m_folder.filePath(u"pipe"_s);
        server.loadModule({u"module-pipe-source"_s, u"source_name=tones"_s, u"file="_s + pipe, u"format=s16le"_s,
                           u"rate=%1"_s.arg(format.sampleRate), u"channels=%1"_s.arg(format.channelCount),
                           format.channelCount == 2 ? u"channel_map=front-left,front-right"_s : u"channel_map=mono"_s});
        server.control({u"set-default-source"_s, u"tones"_s});
        m_pipe = open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        m_thread.emplace([this] { return writeSome(); });
    }
    ~ToneMicrophone()
    {
        m_isEnding = true;
        m_thread.reset();
        close(m_pipe);
    }
    ToneMicrophone(const ToneMicrophone&) = delete;
    ToneMicrophone& operator=(const ToneMicrophone&) = delete;

    bool isOpen() const { return m_pipe >= 0; }

private:
    // A hundredth of a second; waits where the pipe is full.
    bool writeSome()
    {
        std::vector<std::int16_t> samples;
        for (int i = 0; i < static_cast<int>(m_format.sampleRate / 100); ++i, ++m_frame) {
            for (int channel = 0; channel < m_format.channelCount; ++channel) {
                const Tone tone = channel == 0 ? kLeft : kRight;
                const double angle = 2 * std::numbers::pi * tone.frequency * m_frame / m_format.sampleRate;
                samples.push_back(static_cast<std::int16_t>(std::lround(32767 * tone.amplitude * std::sin(angle))));
            }
        }
        const std::size_t size = samples.size() * sizeof(std::int16_t);
        // So little is written whole or not at all.
        while (write(m_pipe, samples.data(), size) < 0) {
            if (errno != EAGAIN || m_isEnding) {
                return false;
            }
            std::this_thread::sleep_for(2ms);
        }
        return true;
    }

    AudioFormat m_format;
    QTemporaryDir m_folder;
    int m_pipe = -1;
    double m_frame = 0;
    std::atomic<bool> m_isEnding{false};
    std::optional<SignalThread> m_thread;
};

// The samples of a WAV image.
std::vector<float> samplesOf(const QByteArray& wav)
{
    std::vector<float> samples;
    for (qsizetype at = kWavHeaderSize; at + 1 < wav.size(); at += 2) {
        std::int16_t sample = 0;
        std::memcpy(&sample, wav.constData() + at, sizeof sample);
        samples.push_back(static_cast<float>(sample) / 32768);
    }
    return samples;
}

using Parameters = std::tuple<AudioServerKind, AudioFormat>;

class MicrophoneFormats : public testing::TestWithParam<Parameters> {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.start());
        microphone.emplace(server, format);
        ASSERT_TRUE(microphone->isOpen());
        connection.emplace();
        input.emplace(*connection, queue);
        ASSERT_TRUE(queue.runUntil([this] { return input->inputFormat() == format; }));
    }

    const AudioFormat format = std::get<AudioFormat>(GetParam());
    AudioServer server{std::get<AudioServerKind>(GetParam())};
    ManualMainQueue queue;
    std::optional<ToneMicrophone> microphone;
    std::optional<PulseConnection> connection;
    std::optional<PulseAudioInput> input;
};

TEST_P(MicrophoneFormats, EachChannelIsDeliveredAtTheMicrophonesOwnRate)
{
    std::mutex mutex;
    std::vector<float> recorded;
    ASSERT_TRUE(input->start([&](const AudioBlock& block) {
        const std::lock_guard guard(mutex);
        EXPECT_EQ(block.format, format);
        recorded.insert(recorded.end(), block.samples,
                        block.samples + block.frameCount * static_cast<std::size_t>(block.format.channelCount));
    }));
    std::vector<Expected> expected = {{0, kLeft.amplitude, 0}};
    if (format.channelCount == 2) {
        expected.push_back({1, 0, kRight.amplitude});
    }
    EXPECT_TRUE(queue.runUntil([&] {
        const std::lock_guard guard(mutex);
        return isHeard(recorded, format, expected);
    }));
    input->stop();
}

TEST_P(MicrophoneFormats, TheRecordingIsTheMeanOfTheChannelsAtSixteenKilohertz)
{
    std::size_t levels = 0;
    Recorder recorder(*input, queue);
    recorder.levelHandler = [&levels](float) { ++levels; };
    const double share = 1.0 / format.channelCount;
    const Expected expected{0, kLeft.amplitude * share, format.channelCount == 2 ? kRight.amplitude * share : 0};
    bool isRight = false;
    // Again where the machine was too busy to feed the microphone.
    for (int attempt = 0; attempt < 10 && !isRight; ++attempt) {
        levels = 0;
        ASSERT_TRUE(recorder.start());
        ASSERT_TRUE(queue.runUntil([&] { return levels >= 8; }));
        isRight = isHeard(samplesOf(recorder.stop()), {kSpeechSampleRate, 1}, {expected});
    }
    EXPECT_TRUE(isRight);
}

INSTANTIATE_TEST_SUITE_P(On, MicrophoneFormats,
                         testing::Combine(testing::Values(AudioServerKind::PulseAudio, AudioServerKind::PipeWire),
                                          testing::Values(AudioFormat{48000, 2}, AudioFormat{44100, 1},
                                                          AudioFormat{44100, 2})),
                         [](const testing::TestParamInfo<Parameters>& parameter) {
                             const AudioFormat format = std::get<AudioFormat>(parameter.param);
                             return testing::PrintToString(std::get<AudioServerKind>(parameter.param)) +
                                    std::to_string(static_cast<int>(format.sampleRate)) + "Hz" +
                                    std::to_string(format.channelCount);
                         });

}  // namespace
}  // namespace tavlo
