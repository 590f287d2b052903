#include "contract/audio/audio_rig.h"

#include "linux/pulse/pulse_audio_input.h"
#include "linux/pulse/pulse_connection.h"
#include "linux/pulse/pulse_output_volume.h"
#include "platform/text_literals.h"
#include "support/audio_servers.h"
#include "support/graph_watch.h"
#include "support/known_signal.h"

#include <QRegularExpression>

#include <optional>

namespace tavlo {

namespace {

class ServerRig : public AudioRig {
public:
    explicit ServerRig(AudioServerKind kind) : m_server(kind)
    {
        if (!m_server.start()) {
            return;
        }
        m_server.listenTo(u"voice"_s);
        m_connection.emplace();
        m_input.emplace(*m_connection, m_queue);
        m_volume.emplace(*m_connection, m_queue);
        m_isUp = m_queue.runUntil([this] { return m_input->inputFormat().value_or(AudioFormat{}).sampleRate > 0; });
    }

    bool isUp() const override { return m_isUp; }
    AudioInput& input() override { return *m_input; }
    OutputVolume& volume() override { return *m_volume; }
    void speak() override
    {
        m_player.emplace();
        m_listener.emplace("microphone");
        m_isUp = m_queue.runUntil([this] { return m_listener->last() > 0; });
        if (m_server.kind() == AudioServerKind::PipeWire) {
            m_graph.emplace();
        }
    }
    bool heardByOthers(float before, float after) override
    {
        return m_listener && m_queue.runUntil([&] { return m_listener->heard(before, after); });
    }
    bool serverMissedAudio(std::chrono::steady_clock::time_point from,
                           std::chrono::steady_clock::time_point to) override
    {
        return m_graph && m_graph->missedBetween(from, to);
    }
    bool waitUntil(const std::function<bool()>& isDone) override { return m_queue.runUntil(isDone); }
    void pass(std::chrono::milliseconds duration) override { m_queue.runFor(duration); }

    void chooseMicrophone(const QString& name) override { m_server.control({u"set-default-source"_s, name}); }
    void unplug(const QString& microphone) override { m_server.unplug(microphone); }

    void setChannels(float left, float right) override
    {
        const auto number = [](float scalar) { return QString::number(static_cast<int>(scalar * 65536)); };
        m_server.control({u"set-sink-volume"_s, u"speakers"_s, number(left), number(right)});
    }

    std::vector<float> channels() override
    {
        const QString answer = m_server.control({u"get-sink-volume"_s, u"speakers"_s});
        static const QRegularExpression kVolume(u": +(\\d+) /"_s);
        std::vector<float> found;
        for (auto each = kVolume.globalMatch(answer); each.hasNext();) {
            found.push_back(each.next().captured(1).toFloat() / 65536);
        }
        return found;
    }

    int openStreamCount() override
    {
        // One is the listener's that keeps the sink awake; remapping sources are open streams of the server itself.
        const QString outputs = m_server.control({u"list"_s, u"source-outputs"_s});
        return static_cast<int>(outputs.count(u"media.name = \"Dictation\""_s));
    }

private:
    AudioServer m_server;
    ManualMainQueue m_queue;
    std::optional<PulseConnection> m_connection;
    std::optional<PulseAudioInput> m_input;
    std::optional<PulseOutputVolume> m_volume;
    std::optional<SignalPlayer> m_player;
    std::optional<SignalListener> m_listener;
    std::optional<GraphWatch> m_graph;
    bool m_isUp = false;
};

}  // namespace

std::unique_ptr<AudioRig> makeServerRig(RigKind kind)
{
    return std::make_unique<ServerRig>(kind == RigKind::PulseAudio ? AudioServerKind::PulseAudio
                                                                   : AudioServerKind::PipeWire);
}

}  // namespace tavlo
