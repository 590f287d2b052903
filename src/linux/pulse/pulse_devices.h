#pragma once

#include "platform/audio_input.h"

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/volume.h>

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

namespace tavlo {

// The default microphone of the server.
struct PulseMicrophone {
    std::string name;
    AudioFormat format;
    pa_channel_map channelMap{};
};

// What is known of the server's devices, kept up to date by its own notices, so that nobody waits for an answer.
// Everything under the connection's lock.
class PulseDevices {
public:
    // Called after each change of what is known.
    explicit PulseDevices(std::function<void()> changed);

    // The context became ready, or is gone; without one nothing is known.
    void attach(pa_context* context);
    void detach();

    // Whether the first answers after `attach` have all come.
    bool isKnown() const { return m_serverKnown && m_sourceKnown && m_sinksKnown; }
    // None where the default source is a monitor of a sink, or there is none.
    const std::optional<PulseMicrophone>& microphone() const { return m_microphone; }
    // Asks the server again which microphone is the default one.
    void askMicrophone();
    // Whether the server has answered that.
    bool knowsMicrophone() const { return m_sourceKnown; }
    std::optional<std::string> defaultSink() const;
    bool hasVolume(const std::string& sink) const;
    // On the scale of the desktop's slider, 1 being the normal volume. What was set last, until another program changes
    // it.
    std::optional<float> volume(const std::string& sink) const;
    bool setVolume(const std::string& sink, float scalar);
    // Volumes that the server has not confirmed yet.
    std::size_t unconfirmedCount() const { return m_settings.size(); }

private:
    struct Sink {
        std::uint32_t index = PA_INVALID_INDEX;
        bool hasVolume = false;
        pa_cvolume volume{};
        // The channels' balance: the last volume above silence that another program set.
        pa_cvolume balance{};
        std::uint64_t confirmedAt = 0;  // answers to earlier questions are outdated
    };

    // A question or a setting on its way, the callbacks' user data.
    struct Pending {
        PulseDevices* devices = nullptr;
        std::uint64_t number = 0;
        std::string sink;
    };

    void askServer();
    void askDefaultSource();
    void askSink(std::uint32_t index);
    void event(pa_subscription_event_type_t type, std::uint32_t index);
    void serverAnswered(const pa_server_info* info);
    void sourceAnswered(const pa_source_info* info);
    void sinkAnswered(const pa_sink_info& info, std::uint64_t askedAt);
    void confirmed(const Pending* setting);
    void report() const;
    Pending* remember(std::list<Pending>& list, const std::string& sink = {});
    static void forget(std::list<Pending>& list, const Pending* pending);

    std::function<void()> m_changed;
    pa_context* m_context = nullptr;
    bool m_serverKnown = false;
    bool m_sourceKnown = false;
    bool m_sinksKnown = false;
    std::string m_defaultSourceName;
    std::string m_defaultSinkName;
    std::uint32_t m_defaultSourceIndex = PA_INVALID_INDEX;
    std::optional<PulseMicrophone> m_microphone;
    std::map<std::string, Sink> m_sinks;
    std::uint64_t m_number = 0;
    std::list<Pending> m_questions;
    std::list<Pending> m_settings;
};

}  // namespace tavlo
