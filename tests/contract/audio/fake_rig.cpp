#include "contract/audio/audio_rig.h"

#include "platform/text_literals.h"
#include "support/fakes/fake_audio_input.h"
#include "support/fakes/fake_output_volume.h"
#include "support/known_signal.h"

namespace tavlo {

namespace {

class FakeRig : public AudioRig {
public:
    FakeRig()
    {
        m_input.plug(u"headset"_s, {48000, 1});
        m_volume.devices[u"voice"_s] = {{1.0F}, true};
    }

    bool isUp() const override { return true; }
    AudioInput& input() override { return m_input; }
    OutputVolume& volume() override { return m_volume; }
    void speak() override { m_isSpeaking = true; }
    bool heardByOthers(float, float) override { return false; }
    bool serverMissedAudio(std::chrono::steady_clock::time_point, std::chrono::steady_clock::time_point) override
    {
        return false;
    }

    bool waitUntil(const std::function<bool()>& isDone) override
    {
        for (int i = 0; i < 1000 && !isDone(); ++i) {
            pass(std::chrono::milliseconds(10));
        }
        return isDone();
    }

    void pass(std::chrono::milliseconds duration) override
    {
        std::vector<float> samples(static_cast<std::size_t>(48 * duration.count()), 0.0F);
        if (m_isSpeaking) {
            for (float& sample : samples) {
                sample = KnownSignal::sample(m_frame++);
            }
        }
        m_input.capture(samples);
    }

    void chooseMicrophone(const QString& name) override { m_input.setDefault(name); }
    void unplug(const QString& microphone) override { m_input.unplug(microphone); }
    void setChannels(float left, float right) override
    {
        m_volume.devices[u"speakers"_s].channels = {left, right};
        m_volume.notifyChange();
    }
    std::vector<float> channels() override { return m_volume.devices[u"speakers"_s].channels; }
    int openStreamCount() override { return m_input.isRunning() ? 1 : 0; }

private:
    FakeAudioInput m_input;
    FakeOutputVolume m_volume;
    bool m_isSpeaking = false;
    std::uint64_t m_frame = 0;
};

}  // namespace

std::unique_ptr<AudioRig> makeFakeRig()
{
    return std::make_unique<FakeRig>();
}

}  // namespace tavlo
