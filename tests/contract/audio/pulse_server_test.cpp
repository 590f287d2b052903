#include "audio/recorder.h"
#include "linux/pulse/pulse_audio_input.h"
#include "linux/pulse/pulse_connection.h"
#include "linux/pulse/pulse_output_volume.h"
#include "platform/text_literals.h"
#include "support/audio_servers.h"
#include "support/fakes/manual_main_queue.h"
#include "support/given_time.h"
#include "support/graph_watch.h"
#include "support/known_signal.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <algorithm>
#include <iostream>
#include <mutex>
#include <optional>

namespace tavlo {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

// What only a real server can do: be away, come back, stop answering, and hear the same as another program.
class PulseServer : public testing::TestWithParam<AudioServerKind> {
protected:
    void connect()
    {
        connection.emplace();
        input.emplace(*connection, queue);
        volume.emplace(*connection, queue);
        m_registration = input->onConfigurationChange([this] { ++notices; });
    }

    void startEverything()
    {
        ASSERT_TRUE(server.start());
        server.listenTo(u"voice"_s);
        connect();
        ASSERT_TRUE(hasMicrophone());
        if (GetParam() == AudioServerKind::PipeWire) {
            graph.emplace();
        }
    }

    bool hasMicrophone()
    {
        return queue.runUntil([this] { return format().sampleRate > 0; });
    }

    // No format where the server does not answer.
    AudioFormat format() { return input->inputFormat().value_or(AudioFormat{}); }

    bool hasNoMicrophone()
    {
        const Result<AudioFormat> answer = input->inputFormat();
        return answer && *answer == AudioFormat{};
    }

    bool saysThatTheServerDoesNotAnswer()
    {
        const Result<AudioFormat> answer = input->inputFormat();
        return !answer && answer.error().description == "De geluidsserver antwoordt niet."_L1;
    }

    AudioInput::BlockHandler keep()
    {
        return [this](const AudioBlock& block) {
            const std::lock_guard guard(m_mutex);
            m_samples.insert(m_samples.end(), block.samples, block.samples + block.frameCount);
        };
    }

    std::vector<float> samples()
    {
        const std::lock_guard guard(m_mutex);
        return m_samples;
    }

    // What the listener has not heard yet, it may hear in a moment.
    KnownSignal::HeardByOthers heardBy(const SignalListener& listener)
    {
        return [this, &listener](float before, float after) {
            return queue.runUntil([&] { return listener.heard(before, after); });
        };
    }

    // Whether the server itself lost audio in that time: then what was recorded cannot be judged to the frame.
    bool serverMissedAudio(Clock::time_point from) const
    {
        return graph && graph->missedBetween(from - 100ms, Clock::now());
    }

    void forget()
    {
        const std::lock_guard guard(m_mutex);
        m_samples.clear();
    }

    AudioServer server{GetParam()};
    ManualMainQueue queue;
    std::optional<PulseConnection> connection;
    std::optional<PulseAudioInput> input;
    std::optional<PulseOutputVolume> volume;
    std::optional<GraphWatch> graph;
    int notices = 0;

private:
    std::mutex m_mutex;
    std::vector<float> m_samples;
    Registration m_registration;
};

TEST(KnownSignalTest, ABreakIsToldUnlessOthersHeardTheSameOne)
{
    std::vector<float> recorded;
    for (std::uint64_t frame = 0; frame < 100; ++frame) {
        recorded.push_back(frame >= 40 && frame < 60 ? 0.0F : KnownSignal::sample(frame));
    }
    const auto nobody = [](float, float) { return false; };
    EXPECT_EQ(KnownSignal::describeBreaks(recorded, nobody),
              "at 40 of 100: frame 39 then silence; at 60 of 100: silence then frame 60; ");
    const auto theBeginningOnly = [](float, float after) { return after == 0.0F; };
    EXPECT_EQ(KnownSignal::describeBreaks(recorded, theBeginningOnly), "at 60 of 100: silence then frame 60; ");
    recorded.erase(recorded.begin() + 40, recorded.begin() + 60);
    EXPECT_EQ(KnownSignal::describeBreaks(recorded, nobody), "at 40 of 80: frame 39 then frame 60; ");
}

// Whatever another program with a short buffer has heard before the stop is in the recording.
TEST_P(PulseServer, NothingIsLostAtTheEnd)
{
    startEverything();
    const SignalPlayer player;
    const SignalListener listener("microphone");
    ASSERT_TRUE(queue.runUntil([&] { return listener.last() > 0; }));
    std::vector<double> stopTimes;
    std::vector<double> startTimes;
    GivenTime given;
    std::vector<double> tails;
    int disturbed = 0;
    for (int dictation = 0; dictation < 20;) {
        ASSERT_LT(disturbed, 100) << "the server itself misses audio all the time";
        forget();
        const auto pressed = Clock::now();
        given.restart();
        ASSERT_GT(format().sampleRate, 0);
        ASSERT_TRUE(input->start(keep()));
        startTimes.push_back(milliseconds(given.elapsed()));
        queue.runFor(100ms + std::chrono::milliseconds(7 * dictation));

        given.restart();
        const float heard = listener.last();
        input->stop();
        stopTimes.push_back(milliseconds(given.elapsed()));

        const std::vector<float> recorded = samples();
        ASSERT_FALSE(recorded.empty());
        const std::string breaks = KnownSignal::describeBreaks(recorded, heardBy(listener));
        // The distance on the signal's circle, positive when the recording goes on beyond what was heard.
        const auto distance =
            static_cast<std::int16_t>(KnownSignal::position(recorded.back()) - KnownSignal::position(heard));
        const bool isSilentAtEnd = recorded.back() == 0.0F || heard == 0.0F;
        const bool isWhole = breaks.empty() && distance >= 0 && !isSilentAtEnd;
        if (!isWhole && serverMissedAudio(pressed)) {
            ++disturbed;
            continue;
        }
        EXPECT_EQ(breaks, "") << dictation;
        EXPECT_FALSE(isSilentAtEnd) << dictation;
        EXPECT_GE(distance, 0) << dictation;
        tails.push_back(distance / 48.0);
        ++dictation;
    }
    const auto median = [](std::vector<double> values) {
        std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
        return values[values.size() / 2];
    };
    std::cout << "start: median " << median(startTimes) << " ms, most "
              << *std::max_element(startTimes.begin(), startTimes.end()) << " ms; stop: median " << median(stopTimes)
              << " ms, most " << *std::max_element(stopTimes.begin(), stopTimes.end())
              << " ms; beyond the other listener: median " << median(tails)
              << " ms; disturbed by the server: " << disturbed << "\n";
    EXPECT_LT(*std::max_element(startTimes.begin(), startTimes.end()), 320);
    EXPECT_LT(*std::max_element(stopTimes.begin(), stopTimes.end()), 300);
}

TEST_P(PulseServer, ARecorderOnARealMicrophoneMeasuresAndConverts)
{
    startEverything();
    const SignalPlayer player;
    Recorder recorder(*input, queue);
    std::vector<float> levels;
    recorder.levelHandler = [&levels](float level) { levels.push_back(level); };
    ASSERT_TRUE(recorder.start());
    ASSERT_TRUE(queue.runUntil([&] { return levels.size() >= 12; }));
    const QByteArray pcm = recorder.stop();
    EXPECT_GE(pcm.size(), 2 * 12 * 4096 / 3);
    EXPECT_GT(recorder.peakLevel(), 0.5F);
}

TEST_P(PulseServer, WithoutAServerAtLaunchEverythingWorksWhenItComes)
{
    const GivenTime waited;
    connect();
    EXPECT_TRUE(hasNoMicrophone());
    EXPECT_LT(waited.elapsed(), 350ms);
    EXPECT_EQ(volume->defaultDevice(), std::nullopt);
    EXPECT_FALSE(volume->setVolume(u"speakers"_s, 0.5F));
    volume->flush();
    const Result<void> started = input->start(keep());
    ASSERT_FALSE(started);
    EXPECT_FALSE(started.error().description.isEmpty());
    // A server that starts just now would fail to make it.
    queue.runFor(300ms);
    EXPECT_FALSE(QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/pulse"_s));

    ASSERT_TRUE(server.start());
    server.listenTo(u"voice"_s);
    ASSERT_TRUE(hasMicrophone());
    ASSERT_TRUE(input->start(keep()));
    EXPECT_TRUE(queue.runUntil([this] { return !samples().empty(); }));
    input->stop();
    EXPECT_TRUE(queue.runUntil([this] { return volume->setVolume(u"speakers"_s, 0.5F); }));
}

TEST_P(PulseServer, KilledWhileRecordingAndStartedAgain)
{
    startEverything();
    ASSERT_TRUE(input->start(keep()));
    ASSERT_TRUE(queue.runUntil([this] { return !samples().empty(); }));
    EXPECT_EQ(notices, 0);
    server.kill();
    EXPECT_TRUE(queue.runUntil([this] { return notices > 0; }));
    const std::size_t came = samples().size();
    const GivenTime waited;
    input->stop();
    EXPECT_LT(waited.elapsed(), 100ms);
    EXPECT_GE(samples().size(), came);
    EXPECT_TRUE(hasNoMicrophone());

    ASSERT_TRUE(server.start());
    server.listenTo(u"voice"_s);
    const SignalPlayer player;
    ASSERT_TRUE(hasMicrophone());
    const SignalListener listener("microphone");
    if (GetParam() == AudioServerKind::PipeWire) {
        graph.emplace();
    }
    std::string breaks = "the server missed audio in each attempt";
    for (int attempt = 0; attempt < 20; ++attempt) {
        forget();
        const auto begin = Clock::now();
        ASSERT_TRUE(input->start(keep()));
        ASSERT_TRUE(queue.runUntil([this] { return samples().size() >= 8192; }));
        input->stop();
        const std::string found = KnownSignal::describeBreaks(samples(), heardBy(listener));
        if (found.empty() || !serverMissedAudio(begin)) {
            breaks = found;
            break;
        }
    }
    EXPECT_EQ(breaks, "");
    EXPECT_TRUE(queue.runUntil([this] { return volume->volume(u"speakers"_s).has_value(); }));
}

// Some servers keep devices from a program for as long as its connection lasts.
TEST_P(PulseServer, WithoutAMicrophoneAPressConnectsAnewAndTheOutputsStayKnown)
{
    startEverything();
    const auto ownClient = [this] {
        for (const QString& block :
             server.control({u"list"_s, u"clients"_s}).split(u"Client #"_s, Qt::SkipEmptyParts)) {
            if (block.contains(u"application.id = \"nl.pelloquintar.tavlo\""_s)) {
                return block.section(QLatin1Char('\n'), 0, 0);
            }
        }
        return QString();
    };
    const QString client = ownClient();
    ASSERT_FALSE(client.isEmpty());
    EXPECT_GT(format().sampleRate, 0);
    EXPECT_EQ(ownClient(), client) << "with a microphone the connection is kept";

    server.unplug(u"microphone"_s);
    server.unplug(u"headset"_s);
    ASSERT_TRUE(queue.runUntil([this] {
        const std::lock_guard guard(*connection);
        return !connection->devices().microphone();
    }));
    const GivenTime waited;
    EXPECT_TRUE(hasNoMicrophone());
    EXPECT_LT(waited.elapsed(), 350ms);
    EXPECT_TRUE(queue.runUntil([&] { return !ownClient().isEmpty() && ownClient() != client; }));
    EXPECT_TRUE(queue.runUntil([this] { return volume->volume(u"speakers"_s).has_value(); }));
}

TEST_P(PulseServer, AServerThatAnswersNoMoreIsAFailureInTime)
{
    startEverything();
    server.freeze();
    const GivenTime waited;
    const Result<void> started = input->start(keep());
    const auto took = waited.elapsed();
    server.thaw();
    EXPECT_LT(took, 350ms);
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().description, u"De geluidsserver antwoordt niet."_s);
    EXPECT_TRUE(queue.runUntil([this] { return static_cast<bool>(input->start(keep())); }));
    input->stop();
}

TEST_P(PulseServer, AServerThatAcceptsTheConnectionAndNeverAnswersIsWaitedForOnce)
{
    ASSERT_TRUE(server.start());
    server.listenTo(u"voice"_s);
    server.freeze();
    connect();
    GivenTime waited;
    EXPECT_TRUE(saysThatTheServerDoesNotAnswer());
    EXPECT_GE(waited.clockTime(), 300ms);
    EXPECT_LT(waited.elapsed(), 350ms);
    waited.restart();
    EXPECT_TRUE(saysThatTheServerDoesNotAnswer());
    EXPECT_FALSE(input->start(keep()));
    EXPECT_TRUE(saysThatTheServerDoesNotAnswer());
    EXPECT_LT(waited.elapsed(), 300ms);

    server.thaw();
    ASSERT_TRUE(hasMicrophone());
    EXPECT_TRUE(queue.runUntil([this] { return static_cast<bool>(input->start(keep())); }));
    input->stop();
}

// A microphone that is unknown when the server stops answering is not a missing one.
TEST_P(PulseServer, AServerThatStopsWhileNoMicrophoneIsKnownIsAFailureInTime)
{
    startEverything();
    server.unplug(u"microphone"_s);
    server.unplug(u"headset"_s);
    ASSERT_TRUE(queue.runUntil([this] { return hasNoMicrophone(); }));
    server.freeze();
    const GivenTime waited;
    EXPECT_TRUE(saysThatTheServerDoesNotAnswer());
    EXPECT_LT(waited.elapsed(), 350ms);
    server.thaw();
    EXPECT_TRUE(queue.runUntil([this] { return hasNoMicrophone(); }));
}

TEST_P(PulseServer, AMicrophoneThatOpensTooLateIsClosedAgain)
{
    startEverything();
    server.freeze();
    const Result<void> started = input->start(keep());
    server.thaw();
    ASSERT_FALSE(started);
    const auto openStreamCount = [this] {
        return server.control({u"list"_s, u"source-outputs"_s}).count(u"media.name = \"Dictation\""_s);
    };
    // When this one runs, the server has made the one before too.
    ASSERT_TRUE(queue.runUntil([this] { return static_cast<bool>(input->start(keep())); }));
    EXPECT_TRUE(queue.runUntil([&] { return openStreamCount() == 1; })) << openStreamCount() << " are open";
    input->stop();
    EXPECT_TRUE(queue.runUntil([&] { return openStreamCount() == 0; })) << openStreamCount() << " are still open";
}

TEST_P(PulseServer, AServerThatAnswersNoMoreHoldsNeitherTheStopNorTheVolume)
{
    startEverything();
    ASSERT_TRUE(input->start(keep()));
    ASSERT_TRUE(queue.runUntil([this] { return !samples().empty(); }));
    ASSERT_TRUE(queue.runUntil([this] { return volume->hasVolume(u"speakers"_s); }));
    server.freeze();
    GivenTime waited;
    input->stop();
    EXPECT_LT(waited.elapsed(), 300ms);
    waited.restart();
    EXPECT_TRUE(volume->setVolume(u"speakers"_s, 0.5F));
    EXPECT_NEAR(*volume->volume(u"speakers"_s), 0.5F, 0.001F);
    EXPECT_LT(waited.elapsed(), 20ms);
    waited.restart();
    volume->flush();
    EXPECT_LT(waited.elapsed(), 550ms);
    server.thaw();
}

// The notice of a change waits for the main thread. When a recording has begun on the new microphone by then, the
// notice is outdated and must not end it.
TEST_P(PulseServer, ANoticeFromBeforeTheRecordingDoesNotDisturbIt)
{
    startEverything();
    server.control({u"set-default-source"_s, u"headset"_s});
    ManualMainQueue meanwhile;  // lets time pass, while the main thread's own queue stands still
    ASSERT_TRUE(meanwhile.runUntil([this] {
        const std::lock_guard guard(*connection);
        const auto& microphone = connection->devices().microphone();
        return microphone && microphone->name == "headset";
    }));
    ASSERT_GT(format().sampleRate, 0);
    ASSERT_TRUE(input->start(keep()));
    queue.runFor(300ms);
    EXPECT_EQ(notices, 0);
    server.control({u"set-default-source"_s, u"microphone"_s});
    EXPECT_TRUE(queue.runUntil([this] { return notices > 0; })) << "a change during the recording is noticed";
    input->stop();
}

TEST_P(PulseServer, AMonitorChosenAsDefaultIsNoMicrophone)
{
    startEverything();
    server.control({u"set-default-source"_s, u"speakers.monitor"_s});
    EXPECT_TRUE(queue.runUntil([this] { return hasNoMicrophone(); }));
    EXPECT_TRUE(queue.runUntil([this] { return notices > 0; }));
    server.control({u"set-default-source"_s, u"microphone"_s});
    EXPECT_TRUE(hasMicrophone());
}

// How often the threads of this process went to sleep of their own accord.
long voluntarySwitches(const QByteArray& threadName)
{
    long sum = 0;
    const QDir tasks(u"/proc/self/task"_s);
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks.filePath(task + u"/status"_s));
        if (!status.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QByteArray text = status.readAll();
        if (!text.startsWith("Name:\t" + threadName + '\n')) {
            continue;
        }
        for (const QByteArray& line : text.split('\n')) {
            if (line.startsWith("voluntary_ctxt_switches:")) {
                sum += line.mid(24).trimmed().toLong();
            }
        }
    }
    return sum;
}

TEST_P(PulseServer, SleepsWhileIdle)
{
    startEverything();
    ASSERT_TRUE(input->start(keep()));
    queue.runFor(100ms);
    input->stop();
    queue.runFor(500ms);
    const long before = voluntarySwitches("tavlo-audio");
    EXPECT_GT(before, 0);
    queue.runFor(3000ms);
    EXPECT_EQ(voluntarySwitches("tavlo-audio"), before);
}

INSTANTIATE_TEST_SUITE_P(On, PulseServer, testing::Values(AudioServerKind::PulseAudio, AudioServerKind::PipeWire),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
