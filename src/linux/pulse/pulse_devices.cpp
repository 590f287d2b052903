#include "linux/pulse/pulse_devices.h"

#include <pulse/operation.h>
#include <pulse/subscribe.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace tavlo {

namespace {

// Some servers keep volumes as floating-point numbers and answer with a value one step off.
constexpr pa_volume_t kRounding = 2;

bool isSameVolume(const pa_cvolume& one, const pa_cvolume& other)
{
    if (one.channels != other.channels) {
        return false;
    }
    for (int channel = 0; channel < one.channels; ++channel) {
        const pa_volume_t low = std::min(one.values[channel], other.values[channel]);
        const pa_volume_t high = std::max(one.values[channel], other.values[channel]);
        if (high - low > kRounding) {
            return false;
        }
    }
    return true;
}

void release(pa_operation* operation)
{
    if (operation != nullptr) {
        pa_operation_unref(operation);
    }
}

}  // namespace

PulseDevices::PulseDevices(std::function<void()> changed) : m_changed(std::move(changed)) {}

void PulseDevices::attach(pa_context* context)
{
    detach();
    m_context = context;
    pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t type, std::uint32_t index, void* self) {
            static_cast<PulseDevices*>(self)->event(type, index);
        },
        this);
    const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK |
                                                          PA_SUBSCRIPTION_MASK_SOURCE);
    release(pa_context_subscribe(context, mask, nullptr, nullptr));
    askServer();
    askSink(PA_INVALID_INDEX);
}

void PulseDevices::detach()
{
    // The context cancels what is on its way; no answer comes after this.
    m_context = nullptr;
    m_questions.clear();
    m_settings.clear();
    m_sinks.clear();
    m_microphone.reset();
    m_defaultSourceName.clear();
    m_defaultSinkName.clear();
    m_defaultSourceIndex = PA_INVALID_INDEX;
    m_serverKnown = m_sourceKnown = m_sinksKnown = false;
}

std::optional<std::string> PulseDevices::defaultSink() const
{
    if (m_sinks.count(m_defaultSinkName) == 0) {
        return std::nullopt;
    }
    return m_defaultSinkName;
}

bool PulseDevices::hasVolume(const std::string& sink) const
{
    const auto found = m_sinks.find(sink);
    return found != m_sinks.end() && found->second.hasVolume;
}

std::optional<float> PulseDevices::volume(const std::string& sink) const
{
    if (!hasVolume(sink)) {
        return std::nullopt;
    }
    const pa_volume_t loudest = pa_cvolume_max(&m_sinks.at(sink).volume);
    return static_cast<float>(static_cast<double>(loudest) / PA_VOLUME_NORM);
}

bool PulseDevices::setVolume(const std::string& sink, float scalar)
{
    if (m_context == nullptr || !hasVolume(sink) || std::isnan(scalar)) {
        return false;
    }
    Sink& found = m_sinks.at(sink);
    const double steps = std::round(std::clamp(static_cast<double>(scalar), 0.0, 1.0) * PA_VOLUME_NORM);
    // Always from the balance that the user chose, never from what an earlier setting rounded it to.
    pa_cvolume volume = found.balance;
    pa_cvolume_scale(&volume, static_cast<pa_volume_t>(steps));
    found.volume = volume;

    Pending* const setting = remember(m_settings, sink);
    pa_operation* const operation = pa_context_set_sink_volume_by_name(
        m_context, sink.c_str(), &volume,
        [](pa_context*, int, void* data) {
            const auto* const pending = static_cast<Pending*>(data);
            pending->devices->confirmed(pending);
        },
        setting);
    if (operation == nullptr) {
        forget(m_settings, setting);
        return false;
    }
    release(operation);
    return true;
}

void PulseDevices::askServer()
{
    release(pa_context_get_server_info(
        m_context,
        [](pa_context*, const pa_server_info* info, void* self) {
            static_cast<PulseDevices*>(self)->serverAnswered(info);
        },
        this));
}

void PulseDevices::askMicrophone()
{
    if (m_context != nullptr) {
        m_sourceKnown = false;
        askServer();
    }
}

void PulseDevices::askDefaultSource()
{
    release(pa_context_get_source_info_by_name(
        m_context, m_defaultSourceName.c_str(),
        [](pa_context*, const pa_source_info* info, int end, void* data) {
            auto* const self = static_cast<PulseDevices*>(data);
            if (end == 0) {
                self->sourceAnswered(info);
            } else if (end < 0) {
                self->sourceAnswered(nullptr);
            }
        },
        this));
}

// One sink, or all of them.
void PulseDevices::askSink(std::uint32_t index)
{
    Pending* const question = remember(m_questions);
    const pa_sink_info_cb_t answered = [](pa_context*, const pa_sink_info* info, int end, void* data) {
        auto* const pending = static_cast<Pending*>(data);
        PulseDevices* const self = pending->devices;
        if (end == 0) {
            self->sinkAnswered(*info, pending->number);
            return;
        }
        forget(self->m_questions, pending);
        self->m_sinksKnown = true;
        self->report();
    };
    pa_operation* const operation = index == PA_INVALID_INDEX
                                        ? pa_context_get_sink_info_list(m_context, answered, question)
                                        : pa_context_get_sink_info_by_index(m_context, index, answered, question);
    if (operation == nullptr) {
        forget(m_questions, question);
    }
    release(operation);
}

void PulseDevices::event(pa_subscription_event_type_t type, std::uint32_t index)
{
    const auto facility = static_cast<unsigned>(type) & static_cast<unsigned>(PA_SUBSCRIPTION_EVENT_FACILITY_MASK);
    const auto what = static_cast<unsigned>(type) & static_cast<unsigned>(PA_SUBSCRIPTION_EVENT_TYPE_MASK);
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
        askServer();
        return;
    }
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE) {
        // PipeWire does not always report a new default source: not when it is the one that would have been chosen
        // anyway.
        if (what != PA_SUBSCRIPTION_EVENT_CHANGE) {
            askServer();
        } else if (index == m_defaultSourceIndex && m_serverKnown) {
            askDefaultSource();
        }
        return;
    }
    if (facility != PA_SUBSCRIPTION_EVENT_SINK) {
        return;
    }
    if (what == PA_SUBSCRIPTION_EVENT_REMOVE) {
        std::erase_if(m_sinks, [index](const auto& sink) { return sink.second.index == index; });
        report();
    } else {
        askSink(index);
    }
}

void PulseDevices::serverAnswered(const pa_server_info* info)
{
    m_serverKnown = true;
    m_defaultSinkName = info != nullptr && info->default_sink_name != nullptr ? info->default_sink_name : "";
    m_defaultSourceName = info != nullptr && info->default_source_name != nullptr ? info->default_source_name : "";
    if (m_defaultSourceName.empty()) {
        sourceAnswered(nullptr);
    } else {
        askDefaultSource();
    }
}

void PulseDevices::sourceAnswered(const pa_source_info* info)
{
    m_sourceKnown = true;
    m_defaultSourceIndex = info != nullptr ? info->index : PA_INVALID_INDEX;
    if (info == nullptr || info->monitor_of_sink != PA_INVALID_INDEX) {
        m_microphone.reset();
    } else {
        m_microphone = PulseMicrophone{
            info->name, {static_cast<double>(info->sample_spec.rate), info->sample_spec.channels}, info->channel_map};
    }
    report();
}

void PulseDevices::sinkAnswered(const pa_sink_info& info, std::uint64_t askedAt)
{
    Sink& sink = m_sinks[info.name];
    const bool isNew = sink.index != info.index;
    sink.index = info.index;
    sink.hasVolume = info.volume.channels > 0 && pa_cvolume_valid(&info.volume) != 0;
    const std::string name = info.name;
    const bool isBeingSet = std::any_of(m_settings.begin(), m_settings.end(),
                                        [&name](const Pending& setting) { return setting.sink == name; });
    if (!isNew && (isBeingSet || askedAt < sink.confirmedAt)) {
        return;  // an answer from before our own setting
    }
    const bool isOwnSetting = !isNew && isSameVolume(sink.volume, info.volume);
    if (isOwnSetting) {
        return;
    }
    sink.volume = info.volume;
    if (isNew || pa_cvolume_max(&info.volume) > PA_VOLUME_MUTED) {
        sink.balance = info.volume;
    }
}

void PulseDevices::confirmed(const Pending* setting)
{
    const std::string name = setting->sink;
    forget(m_settings, setting);
    if (const auto found = m_sinks.find(name); found != m_sinks.end()) {
        found->second.confirmedAt = ++m_number;
        const bool isLast = std::none_of(m_settings.begin(), m_settings.end(),
                                         [&name](const Pending& other) { return other.sink == name; });
        if (isLast) {
            // Another program may have set the volume meanwhile, and answers from that time were ignored.
            askSink(found->second.index);
        }
    }
    report();
}

void PulseDevices::report() const
{
    if (m_changed) {
        m_changed();
    }
}

PulseDevices::Pending* PulseDevices::remember(std::list<Pending>& list, const std::string& sink)
{
    list.push_back({this, ++m_number, sink});
    return &list.back();
}

void PulseDevices::forget(std::list<Pending>& list, const Pending* pending)
{
    list.remove_if([pending](const Pending& each) { return &each == pending; });
}

}  // namespace tavlo
