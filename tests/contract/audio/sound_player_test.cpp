#include "audio/sound_cues.h"
#include "contract/audio/audio_rig.h"
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
#include <functional>
#include <memory>
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

// A desktop whose output is listened to.
class SoundRig {
public:
    virtual ~SoundRig() = default;
    virtual bool isUp() const = 0;
    virtual SoundPlayer& player() = 0;
    // The loudest sample that the output gives while `play` runs and after it; returns early once `isEnough` was heard.
    virtual float heardWhile(const std::function<void()>& play, float isEnough) = 0;
    virtual void removeServer() = 0;
};

class FakeRig : public SoundRig {
public:
    bool isUp() const override { return true; }
    SoundPlayer& player() override { return m_player; }
    float heardWhile(const std::function<void()>& play, float) override
    {
        m_player.loudest = 0;
        play();
        return m_player.loudest;
    }
    void removeServer() override { m_player.hasServer = false; }

private:
    FakeSoundPlayer m_player;
};

class ServerRig : public SoundRig {
public:
    explicit ServerRig(AudioServerKind kind) : m_server(kind)
    {
        if (!m_server.start()) {
            return;
        }
        m_server.listenTo(u"speakers"_s);
        m_connection.emplace();
        m_player.emplace(*m_connection);
        m_isUp = m_queue.runUntil([this] { return isConnected(); });
    }
    bool isUp() const override { return m_isUp; }
    SoundPlayer& player() override { return *m_player; }
    float heardWhile(const std::function<void()>& play, float isEnough) override
    {
        const SignalListener listener("speakers.monitor", 2);
        play();
        m_queue.runUntil([&] { return listener.loudest() >= isEnough; }, std::chrono::seconds(3));
        m_queue.runFor(std::chrono::milliseconds(150));
        const float loudest = listener.loudest();
        EXPECT_TRUE(isQuiet()) << "the streams are gone with the sounds";
        return loudest;
    }
    void removeServer() override
    {
        m_server.kill();
        EXPECT_TRUE(m_queue.runUntil([this] { return !isConnected(); }));
    }

    bool isQuiet()
    {
        return m_queue.runUntil([this] { return m_server.list(u"sink-inputs"_s).isEmpty(); });
    }
    // By its name in the server's list.
    bool comesToPlay(const QString& name)
    {
        return m_queue.runUntil([&] {
            return m_server.control({u"list"_s, u"sink-inputs"_s}).contains(u"media.name = \"%1\""_s.arg(name));
        });
    }
    void pass(std::chrono::milliseconds duration) { m_queue.runFor(duration); }
    void removePlayer() { m_player.reset(); }

private:
    bool isConnected()
    {
        const std::lock_guard guard(*m_connection);
        return m_connection->context() != nullptr;
    }

    AudioServer m_server;
    ManualMainQueue m_queue;
    std::optional<PulseConnection> m_connection;
    std::optional<PulseSoundPlayer> m_player;
    bool m_isUp = false;
};

AudioServerKind serverOf(RigKind kind)
{
    return kind == RigKind::PulseAudio ? AudioServerKind::PulseAudio : AudioServerKind::PipeWire;
}

class SoundPlayerContract : public testing::TestWithParam<RigKind> {
protected:
    void SetUp() override
    {
        if (GetParam() == RigKind::Fake) {
            rig = std::make_unique<FakeRig>();
        } else {
            rig = std::make_unique<ServerRig>(serverOf(GetParam()));
        }
        ASSERT_TRUE(rig->isUp());
    }

    std::unique_ptr<SoundRig> rig;
};

TEST_P(SoundPlayerContract, EachSoundIsHeardAtItsVolume)
{
    for (const SoundCue cue : {SoundCue::Started, SoundCue::Stopped, SoundCue::Alert}) {
        for (const float volume : {0.5F, 0.12F}) {
            // The output has sixteen bits. PulseAudio mixes a new sound into what it has already handed to the
            // listeners of its monitor, so that these may miss the first milliseconds, which the output itself plays.
            const float least = loudestAfter(kMissed, sound(cue).samples) * volume;
            const float heard = rig->heardWhile([&] { rig->player().play(sound(cue), volume); }, 0.9F * least);
            EXPECT_GE(heard, least - 0.002F) << sound(cue).name.toStdString();
            EXPECT_LE(heard, 0.9F * volume + 0.002F) << sound(cue).name.toStdString();
        }
    }
}

TEST_P(SoundPlayerContract, AVolumeOutsideTheScaleIsTakenAsItsEnd)
{
    const float least = loudestAfter(kMissed, sound(SoundCue::Alert).samples);
    const auto heardAt = [&](float volume, float isEnough) {
        return rig->heardWhile([&] { rig->player().play(sound(SoundCue::Alert), volume); }, isEnough);
    };
    const float loudest = heardAt(3.0F, 0.9F * least);
    EXPECT_GE(loudest, least - 0.002F);
    EXPECT_LE(loudest, 0.902F);
    EXPECT_LE(heardAt(-1.0F, 0.01F), 0.002F);
}

TEST_P(SoundPlayerContract, WithoutAServerNothingHappens)
{
    rig->removeServer();
    rig->player().play(sound(SoundCue::Alert), 0.5F);
}

INSTANTIATE_TEST_SUITE_P(On, SoundPlayerContract,
                         testing::Values(RigKind::Fake, RigKind::PulseAudio, RigKind::PipeWire),
                         testing::PrintToStringParamName());

class PulseSoundPlayerTest : public testing::TestWithParam<AudioServerKind> {
protected:
    void SetUp() override { ASSERT_TRUE(rig.isUp()); }

    ServerRig rig{GetParam()};
};

TEST_P(PulseSoundPlayerTest, AskingTakesNoTime)
{
    // The shortest of some: whatever waits for the server does so each time, a busy machine does not.
    Clock::duration shortest = std::chrono::seconds(1);
    for (int i = 0; i < 5; ++i) {
        const auto before = Clock::now();
        rig.player().play(sound(SoundCue::Started), 0.15F);
        shortest = std::min(shortest, Clock::now() - before);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(20));
    EXPECT_TRUE(rig.isQuiet()) << "the streams are gone with the sounds";
}

TEST_P(PulseSoundPlayerTest, SoundsOverlap)
{
    // The loudest part is heard twice as loud when both begin together. A server may begin the second one later, when
    // it is no longer there to be met: then they are played once more.
    float loudest = 0;
    for (int attempt = 0; attempt < 5 && loudest <= 0.6F; ++attempt) {
        loudest = rig.heardWhile(
            [this] {
                rig.player().play(sound(SoundCue::Alert), 0.4F);
                rig.player().play(sound(SoundCue::Alert), 0.4F);
            },
            0.6F);
    }
    EXPECT_GT(loudest, 0.6F);
}

TEST_P(PulseSoundPlayerTest, TheListOfWhatIsPlayingNamesTheSound)
{
    rig.player().play({u"Submarine"_s, 44100, std::vector<float>(44100)}, 1);
    EXPECT_TRUE(rig.comesToPlay(u"Submarine"_s));
}

TEST_P(PulseSoundPlayerTest, MayEndInTheMiddleOfASound)
{
    rig.player().play(sound(SoundCue::Alert), 0.5F);
    rig.pass(std::chrono::milliseconds(30));
    rig.removePlayer();
    EXPECT_TRUE(rig.isQuiet());
}

INSTANTIATE_TEST_SUITE_P(On, PulseSoundPlayerTest,
                         testing::Values(AudioServerKind::PulseAudio, AudioServerKind::PipeWire),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
