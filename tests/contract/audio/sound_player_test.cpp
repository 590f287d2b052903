#include "audio/sound_cues.h"
#include "linux/pulse/pulse_connection.h"
#include "linux/pulse/pulse_sound_player.h"
#include "platform/text_literals.h"
#include "support/audio_servers.h"
#include "support/fakes/fake_sound_player.h"
#include "support/fakes/manual_main_queue.h"
#include "support/known_signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>

namespace tavlo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::ptrdiff_t kMissed = std::ptrdiff_t{48} * 20;  // frames

float loudestAfter(std::ptrdiff_t first, const std::vector<float>& samples)
{
    float loudest = 0;
    std::for_each(samples.begin() + first, samples.end(),
                  [&loudest](float sample) { loudest = std::max(loudest, std::abs(sample)); });
    return loudest;
}

class PulseSoundPlayerTest : public testing::TestWithParam<AudioServerKind> {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.start());
        server.listenTo(u"speakers"_s);
        connection.emplace();
        player.emplace(*connection);
        ASSERT_TRUE(queue.runUntil([this] {
            const std::lock_guard guard(*connection);
            return connection->context() != nullptr;
        }));
    }

    // The loudest sample heard at the output from now on until `isEnough`.
    float hear(const SignalListener& listener, float isEnough)
    {
        queue.runUntil([&] { return listener.loudest() >= isEnough; }, std::chrono::seconds(3));
        queue.runFor(std::chrono::milliseconds(150));
        return listener.loudest();
    }

    bool isQuiet()
    {
        return queue.runUntil([this] { return server.list(u"sink-inputs"_s).isEmpty(); });
    }

    AudioServer server{GetParam()};
    ManualMainQueue queue;
    std::optional<PulseConnection> connection;
    std::optional<PulseSoundPlayer> player;
};

TEST_P(PulseSoundPlayerTest, EachSoundIsHeardAtItsVolume)
{
    for (const SoundCue cue : {SoundCue::Started, SoundCue::Stopped, SoundCue::Alert}) {
        for (const float volume : {0.5F, 0.12F}) {
            const SignalListener listener("speakers.monitor", 2);
            ASSERT_TRUE(listener.isOpen());
            player->play(sound(cue), volume);
            // The output has sixteen bits. PulseAudio mixes a new sound into what it has already handed to the
            // listeners of its monitor, so that these may miss the first milliseconds, which the output itself plays.
            const float least = loudestAfter(kMissed, sound(cue).samples) * volume;
            const float heard = hear(listener, 0.9F * least);
            EXPECT_GE(heard, least - 0.002F) << sound(cue).name.toStdString();
            EXPECT_LE(heard, 0.9F * volume + 0.002F) << sound(cue).name.toStdString();
            EXPECT_TRUE(isQuiet());
        }
    }
}

TEST_P(PulseSoundPlayerTest, AskingTakesNoTime)
{
    // The shortest of some: whatever waits for the server does so each time, a busy machine does not.
    Clock::duration shortest = std::chrono::seconds(1);
    for (int i = 0; i < 5; ++i) {
        const auto before = Clock::now();
        player->play(sound(SoundCue::Started), 0.15F);
        shortest = std::min(shortest, Clock::now() - before);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(20));
    EXPECT_TRUE(isQuiet()) << "the streams are gone with the sounds";
}

TEST_P(PulseSoundPlayerTest, SoundsOverlap)
{
    // The loudest part is heard twice as loud when both begin together. A server may begin the second one later, when
    // it is no longer there to be met: then they are played once more.
    float loudest = 0;
    for (int attempt = 0; attempt < 5 && loudest <= 0.6F; ++attempt) {
        const SignalListener listener("speakers.monitor", 2);
        player->play(sound(SoundCue::Alert), 0.4F);
        player->play(sound(SoundCue::Alert), 0.4F);
        loudest = hear(listener, 0.6F);
        EXPECT_TRUE(isQuiet());
    }
    EXPECT_GT(loudest, 0.6F);
}

TEST_P(PulseSoundPlayerTest, TheListOfWhatIsPlayingNamesTheSound)
{
    player->play({u"Submarine"_s, 44100, std::vector<float>(44100)}, 1);
    EXPECT_TRUE(queue.runUntil([this] {
        return server.control({u"list"_s, u"sink-inputs"_s}).contains(u"media.name = \"Submarine\""_s);
    }));
}

TEST_P(PulseSoundPlayerTest, WithoutAServerNothingHappens)
{
    player->play(sound(SoundCue::Alert), 0.5F);
    server.kill();
    ASSERT_TRUE(queue.runUntil([this] {
        const std::lock_guard guard(*connection);
        return connection->context() == nullptr;
    }));
    player->play(sound(SoundCue::Alert), 0.5F);
    player.reset();
}

TEST_P(PulseSoundPlayerTest, MayEndInTheMiddleOfASound)
{
    player->play(sound(SoundCue::Alert), 0.5F);
    queue.runFor(std::chrono::milliseconds(30));
    player.reset();
    EXPECT_TRUE(isQuiet());
}

INSTANTIATE_TEST_SUITE_P(On, PulseSoundPlayerTest,
                         testing::Values(AudioServerKind::PulseAudio, AudioServerKind::PipeWire),
                         testing::PrintToStringParamName());

TEST(FakeSoundPlayer, KeepsWhatItWasAskedToPlay)
{
    FakeSoundPlayer player;
    SoundPlayer& port = player;
    port.play(sound(SoundCue::Started), 0.15F);
    EXPECT_EQ(player.played, (std::vector<FakeSoundPlayer::Played>{{u"Pop"_s, 0.15F}}));
}

}  // namespace
}  // namespace tavlo
